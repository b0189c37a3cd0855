#include "cim/broker/classes/ClassTree.h"
#include "tests/fuzz/Fuzz.h"

namespace {

using fuzz::Require;

void RequireSound(const cim::Qualifiers &qualifiers) {
    if (qualifiers == nullptr) return;
    for (const cim::Qualifier &each : *qualifiers) {
        Require(each.value.type == each.declaration->type, "a qualifier's value is of its type");
        Require(cim::ValueOfQualifier(qualifiers, each.declaration->name) == &each.value, "and it is there once");
    }
}

} // namespace

void fuzz::Read(std::string_view input) {
    cim::ClassTree classes;
    std::string error;
    if (!classes.ReadText(input, "text", &error)) {
        Require(error.rfind("text:", 0) == 0, "where and why: " + error);
        Require(classes.Names().empty(), "nothing is added of what is wrong");
        return;
    }
    std::size_t children = 0;
    for (const std::string &name : classes.Names()) {
        const cim::ClassDeclaration *declaration = classes.Find(name);
        Require(declaration != nullptr && declaration->name == name, "a class goes by its name");
        Require(classes.IsA(name, name), "a class is its own kind");
        Require(declaration->superclass.empty() || classes.IsA(name, declaration->superclass), "and its superclass's");
        RequireSound(declaration->qualifiers);
        for (const cim::PropertyDeclaration &property : declaration->properties) {
            RequireSound(property.qualifiers);
            Require(property.type != CMPI_null, "a property has a type");
            Require(declaration->Property(property.name) == &property, "and is there once");
        }
        children += classes.SubclassesOf(name, false).size();
    }
    Require(children + classes.SubclassesOf("", false).size() == classes.Names().size(), "each is once in the tree");
}
