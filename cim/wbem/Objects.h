// Object paths, instances and values as DSP0201's elements, read from messages whose grammar has been checked.
#pragma once

#include "cim/broker/classes/ClassTree.h"
#include "cim/broker/classes/Value.h"

#include <pugixml.hpp>

#include <string>

namespace cim::wbem {

// All of an element's text, whether it is written plain or as CDATA.
std::string TextIn(const pugi::xml_node &element);
// The first child that is an element; null when there is none.
pugi::xml_node FirstElement(const pugi::xml_node &element);

// Of a LOCALNAMESPACEPATH: "root/cimv2".
std::string ReadNameSpace(const pugi::xml_node &element);

// Of an INSTANCENAME. Keys get the types that the class declares. Throws a Fault that names the key whose value is not
// of its type.
ObjectPath ReadInstanceName(const pugi::xml_node &element, const std::string &nameSpace, const ClassTree &classes);

// Of any of DSP0201's six kinds of path. What the element does not say of the namespace is `nameSpace`.
ObjectPath ReadPath(const pugi::xml_node &element, const std::string &nameSpace, const ClassTree &classes);

// Of an INSTANCE, without keys in its path. Throws a Fault that names the property whose value is not of its type.
Instance ReadInstance(const pugi::xml_node &element, const std::string &nameSpace, const ClassTree &classes);

} // namespace cim::wbem
