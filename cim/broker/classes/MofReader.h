// Reads class declarations from a MOF text, as they stand: superclasses are names, inherited properties are not in.
#pragma once

#include "cim/broker/classes/ClassTree.h"
#include "cim/broker/classes/MofLexer.h"

#include <vector>

namespace cim {

struct MofClass {
    ClassDeclaration declaration;
    int line = 0;
    std::vector<int> propertyLines; // where each of the declaration's properties stands
};

// In the order of the text. Throws TextError.
std::vector<MofClass> ReadMof(std::string_view text);

} // namespace cim
