// The document that the picture is drawn from.
#pragma once

#include "cim/inventory/Json.h"
#include "cim/picture/Observer.h"

namespace cim::picture {

// What `quarnel list --json` prints, and "age", "watchedSince", "rejected" while the hardware file cannot be read,
// "gone" and "changes" (docs/picture.md).
Json InventoryDocument(const Observation &observation, bool sample);

} // namespace cim::picture
