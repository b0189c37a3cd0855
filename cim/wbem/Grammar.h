// DSP0201's elements, as far as requests have them.
#pragma once

#include <pugixml.hpp>

namespace cim::wbem {

// Throws a Refusal when an element at or below `root` has children, text or a number of children that DSP0201 does not
// give it, or lacks an attribute that it must have.
void RequireValid(const pugi::xml_node &root);

} // namespace cim::wbem
