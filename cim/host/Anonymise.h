// Takes out of a vendor's model what tells whose hardware it is.
#pragma once

#include "VendorModel.h"

#include <string>
#include <vector>

namespace cim {

// Serial numbers, WWNs and other long hexadecimal identifiers, and host names are replaced in all texts, keys included:
// the same by the same, so that what belonged together still does. Texts keep their lengths and forms, except for host
// names. Of a host's full name the short one is replaced, too.
void Anonymise(VendorModel *model, const std::vector<std::string> &hosts);

} // namespace cim
