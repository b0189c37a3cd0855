// The document that the picture is drawn from.
#pragma once

#include "cim/host/Json.h"
#include "cim/picture/Observer.h"

namespace cim::picture {

// The shape of `quarnel list --json`, where each instance has its "facts" besides, and "time", "age",
// "watchedSince", "system" and "changes" (docs/picture.md).
Json InventoryDocument(const Observation &observation);

} // namespace cim::picture
