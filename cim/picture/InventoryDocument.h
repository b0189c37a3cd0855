// The document that the picture is drawn from.
#pragma once

#include "cim/inventory/Json.h"
#include "cim/picture/Observer.h"

namespace cim::picture {

// The shape of `quarnel list --json`, where each instance has its "facts" besides, and "time", "age",
// "watchedSince", "system" and "changes" (docs/picture.md), and "source" when it is the sample hardware.
Json InventoryDocument(const Observation &observation, bool sample);

} // namespace cim::picture
