// Which provider serves which class where, read from registration files in sfcb's stanza format:
//
//   [ClassName]
//     provider: NAME
//     location: LIBRARY          # lib<LIBRARY>.so
//     type: instance association
//     namespace: root/cimv2 root/interop
//     unload: never              # optional
#pragma once

#include "cim/broker/classes/ClassTree.h"

#include <string>
#include <string_view>
#include <vector>

namespace cim {

enum class MiKind { Instance, Association };

struct Registration {
    std::string className;
    std::string provider;
    std::string location;
    std::vector<std::string> nameSpaces;
    bool instance = false;
    bool association = false;
    bool neverUnload = false;

    bool Has(MiKind kind) const { return kind == MiKind::Instance ? instance : association; }
    bool In(std::string_view nameSpace) const;
};

// Adds the registrations of a text. False, with "NAME:LINE: reason" in `error`, when it is not well formed, names a
// class that the tree does not have, or contradicts what is there already.
bool ReadRegistrations(std::string_view text, const std::string &name, const ClassTree &classes,
                       std::vector<Registration> *registrations, std::string *error);

} // namespace cim
