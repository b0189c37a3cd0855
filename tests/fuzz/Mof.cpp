#include "cim/broker/ClassTree.h"
#include "tests/fuzz/Fuzz.h"

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
        for (const cim::PropertyDeclaration &property : declaration->properties) {
            Require(property.type != CMPI_null, "a property has a type");
            Require(declaration->Property(property.name) == &property, "and is there once");
        }
        children += classes.SubclassesOf(name, false).size();
    }
    Require(children + classes.SubclassesOf("", false).size() == classes.Names().size(), "each is once in the tree");
}
