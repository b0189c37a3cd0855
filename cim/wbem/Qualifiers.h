// Qualifiers and their declarations as DSP0201's elements.
#pragma once

#include "cim/broker/classes/Qualifiers.h"
#include "cim/wbem/XmlWriter.h"

namespace cim::wbem {

enum class Shown { All, Local }; // Local: without those that a superclass gave

// QUALIFIER elements. `inherited`: they stand at an element that is a superclass's itself.
void WriteQualifiers(XmlWriter &xml, const Qualifiers &qualifiers, bool inherited, Shown shown);

// QUALIFIER.DECLARATION
void WriteQualifierDeclaration(XmlWriter &xml, const QualifierDeclaration &declaration);

} // namespace cim::wbem
