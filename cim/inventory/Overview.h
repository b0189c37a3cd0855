// What `quarnel watch` shows on a terminal: what needs a look before anything healthy, in whatever room there is.
#pragma once

#include "cim/inventory/Gone.h"
#include "cim/inventory/Tables.h"

#include <string>

namespace cim {

// So many lines at most; 0: any number. A count of all that there is comes first, then things of all kinds that are not
// OK or are gone, then those that have recovered lately, then a table a kind of the others as far as there is room.
std::string RenderOverview(const Inventory &inventory, const Memory &memory, const TablesOptions &options,
                           std::size_t height);

} // namespace cim
