// Takes out of a vendor's model what tells whose hardware it is.
#pragma once

#include "cim/recording/VendorModel.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace cim {

// Replaces in all texts, keys included, whatever is not known to tell nothing: serial numbers, WWNs, addresses, names
// of hosts and people, and every word that is in no vocabulary of the field. The same is replaced by the same, so that
// what belonged together still does. Models and versions stay that look like ones and hold nothing that is replaced
// elsewhere. Answers how many texts of each property were left as they were.
using LeftTexts = std::map<std::string, std::size_t>;
LeftTexts Anonymise(VendorModel *model, const std::vector<std::string> &hosts);

} // namespace cim
