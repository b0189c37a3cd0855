#include "cim/broker/classes/ClassTree.h"

#include "cim/broker/classes/MofReader.h"
#include "cim/broker/classes/SourceText.h"
#include "cim/values/Types.h"

#include <algorithm>

namespace cim {
namespace {

bool SameForm(const ClassDeclaration &a, const ClassDeclaration &b) {
    return SameName(a.superclass, b.superclass) && a.association == b.association &&
           std::equal(a.properties.begin(), a.properties.end(), b.properties.begin(), b.properties.end(),
                      [](const PropertyDeclaration &x, const PropertyDeclaration &y) {
                          return SameName(x.name, y.name) && x.type == y.type && x.key == y.key &&
                                 SameName(x.referenceClass, y.referenceClass);
                      });
}

// Puts the superclass's properties in front. A property declared again keeps its place, its type and its being a key,
// and what other qualifiers it does not give anew.
void Inherit(MofClass &parsed, const ClassDeclaration &base) {
    ClassDeclaration &declaration = parsed.declaration;
    declaration.association = declaration.association || base.association;
    declaration.qualifiers = Inherited(declaration.qualifiers, base.qualifiers);
    Named<PropertyDeclaration> all = base.properties;
    for (std::size_t i = 0; i < declaration.properties.size(); ++i) {
        PropertyDeclaration property = declaration.properties[i];
        PropertyDeclaration *inherited = all.Find(property.name);
        if (inherited == nullptr) {
            all.Add(std::move(property));
            continue;
        }
        if (inherited->type != property.type)
            throw TextError{parsed.propertyLines[i], "property '" + property.name.Text() + "' is " +
                                                         DeclaredTypeName(property.type) + " here and " +
                                                         DeclaredTypeName(inherited->type) + " in '" +
                                                         inherited->originClass + "'"};
        property.key = property.key || inherited->key;
        property.qualifiers = Inherited(property.qualifiers, inherited->qualifiers);
        *inherited = std::move(property);
    }
    declaration.properties = std::move(all);
}

} // namespace

bool ClassTree::ReadFile(const std::string &file, std::string *error) {
    std::string text;
    return ReadWholeFile(file, &text, error) && ReadText(text, file, error);
}

bool ClassTree::ReadText(std::string_view text, const std::string &name, std::string *error) {
    try {
        std::vector<MofClass> waiting = ReadMof(text);
        auto grown = classes;
        // A superclass may stand behind its subclasses: take what is ready until nothing is.
        while (!waiting.empty()) {
            std::vector<MofClass> later;
            for (MofClass &parsed : waiting) {
                ClassDeclaration &declaration = parsed.declaration;
                const ClassDeclaration *base = grown.Find(declaration.superclass);
                if (!declaration.superclass.empty() && base == nullptr) {
                    later.push_back(std::move(parsed));
                    continue;
                }
                if (base != nullptr) Inherit(parsed, *base);
                const ClassDeclaration *known = grown.Find(declaration.name);
                if (known != nullptr && !SameForm(*known, declaration))
                    throw TextError{parsed.line,
                                    "class '" + declaration.name + "' is declared a second time in another form"};
                if (known == nullptr) grown.Add(declaration);
            }
            if (later.size() == waiting.size())
                throw TextError{later[0].line, "class '" + later[0].declaration.name +
                                                   "' has the unknown superclass '" + later[0].declaration.superclass +
                                                   "'"};
            waiting = std::move(later);
        }
        classes = std::move(grown);
        return true;
    } catch (const TextError &wrong) {
        *error = wrong.In(name);
        return false;
    }
}

bool ClassTree::IsA(std::string_view name, std::string_view base) const {
    if (SameName(name, base)) return true;
    const ClassDeclaration *declaration = Find(name);
    while (declaration != nullptr && !declaration->superclass.empty()) {
        if (SameName(declaration->superclass, base)) return true;
        declaration = Find(declaration->superclass);
    }
    return false;
}

std::vector<std::string> ClassTree::SubclassesOf(std::string_view name, bool deep) const {
    std::vector<std::string> found;
    for (const ClassDeclaration &each : classes) {
        const bool direct = SameName(each.superclass, name);
        if (direct || (deep && (name.empty() || (!SameName(each.name, name) && IsA(each.name, name)))))
            found.push_back(each.name);
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace cim
