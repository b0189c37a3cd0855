// The keys by which a client names an instance. Providers need not look at all of them, the server does.
#pragma once

#include "cim/broker/classes/ClassTree.h"
#include "cim/broker/classes/Value.h"

namespace cim::wbem {

// Throws a Fault that names a key of the class that the path lacks, or one of the path that the class does not have.
// A class that the tree does not know may have any keys.
void RequireKeysOfClass(const ObjectPath &path, const ClassTree &classes);

// Whether the keys that a client asked for are those of the instance that was found, no fewer and no others.
bool SameKeys(const ObjectPath &asked, const ObjectPath &found);

} // namespace cim::wbem
