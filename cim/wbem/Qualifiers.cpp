#include "cim/wbem/Qualifiers.h"

#include "cim/values/Types.h"
#include "cim/wbem/ValueText.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace cim::wbem {

namespace {

// As far as they are not what DSP0201 takes for granted.
void AddFlavors(XmlWriter &xml, const QualifierDeclaration &declaration) {
    if (!declaration.overridable) xml.Add({"OVERRIDABLE", "false"});
    if (!declaration.toSubclass) xml.Add({"TOSUBCLASS", "false"});
    if (declaration.translatable) xml.Add({"TRANSLATABLE", "true"});
}

void WriteValue(XmlWriter &xml, const Value &value) {
    const auto *elements = value.As<Value::Elements>();
    if (elements == nullptr) return xml.Leaf("VALUE", TextOf(value));
    const Element array(xml, "VALUE.ARRAY");
    for (const Value &each : *elements) WriteValue(xml, each);
}

void WriteScopes(XmlWriter &xml, std::string_view scopes) {
    const Element scope(xml, "SCOPE");
    while (!scopes.empty()) {
        const std::string name(scopes.substr(0, scopes.find(' ')));
        xml.Add({name.c_str(), "true"});
        scopes.remove_prefix(std::min(name.size() + 1, scopes.size()));
    }
}

} // namespace

void WriteQualifiers(XmlWriter &xml, const Qualifiers &qualifiers, bool inherited, Shown shown) {
    if (qualifiers == nullptr) return;
    for (const Qualifier &each : *qualifiers) {
        const bool propagated = inherited || each.propagated;
        if (propagated && shown == Shown::Local) continue;
        const QualifierDeclaration &declaration = *each.declaration;
        const Element element(xml, "QUALIFIER", {{"NAME", declaration.name}, {"TYPE", TypeName(declaration.type)}});
        if (propagated) xml.Add({"PROPAGATED", "true"});
        AddFlavors(xml, declaration);
        WriteValue(xml, each.value);
    }
}

void WriteQualifierDeclaration(XmlWriter &xml, const QualifierDeclaration &declaration) {
    const Element element(xml, "QUALIFIER.DECLARATION",
                          {{"NAME", declaration.name}, {"TYPE", TypeName(declaration.type)}});
    if ((declaration.type & CMPI_ARRAY) != 0) xml.Add({"ISARRAY", "true"});
    AddFlavors(xml, declaration);
    WriteScopes(xml, declaration.scopes);
    if (declaration.type == CMPI_boolean) xml.Leaf("VALUE", "FALSE");
}

} // namespace cim::wbem
