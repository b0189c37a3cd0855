#include "cim/broker/ClassTree.h"

#include "cim/broker/MofReader.h"
#include "cim/broker/TextFile.h"
#include "cim/broker/Value.h"

#include <algorithm>

namespace cim {
namespace {

std::string TypeText(const PropertyDeclaration &property) {
    return std::string(NameOfType(property.type)) + ((property.type & CMPI_ARRAY) != 0 ? "[]" : "");
}

bool SameForm(const ClassDeclaration &a, const ClassDeclaration &b) {
    return SameName(a.superclass, b.superclass) && a.association == b.association &&
           std::equal(a.properties.begin(), a.properties.end(), b.properties.begin(), b.properties.end(),
                      [](const PropertyDeclaration &x, const PropertyDeclaration &y) {
                          return SameName(x.name, y.name) && x.type == y.type && x.key == y.key &&
                                 SameName(x.referenceClass, y.referenceClass);
                      });
}

// Puts the superclass's properties in front. A property declared again keeps its place, its type and its being a key.
void Inherit(MofClass &parsed, const ClassDeclaration &base) {
    ClassDeclaration &declaration = parsed.declaration;
    std::vector<PropertyDeclaration> own = std::move(declaration.properties);
    declaration.properties = base.properties;
    declaration.association = declaration.association || base.association;
    for (std::size_t i = 0; i < own.size(); ++i) {
        PropertyDeclaration &property = own[i];
        const auto inherited = std::find_if(declaration.properties.begin(), declaration.properties.end(),
                                            [&](const auto &known) { return SameName(known.name, property.name); });
        if (inherited == declaration.properties.end()) {
            declaration.properties.push_back(std::move(property));
            continue;
        }
        if (inherited->type != property.type)
            throw TextError{parsed.propertyLines[i], "property '" + property.name.Text() + "' is " +
                                                         TypeText(property) + " here and " + TypeText(*inherited) +
                                                         " in '" + inherited->originClass + "'"};
        property.key = property.key || inherited->key;
        *inherited = std::move(property);
    }
}

} // namespace

const PropertyDeclaration *ClassDeclaration::Property(std::string_view wanted) const {
    const auto found = std::find_if(properties.begin(), properties.end(), [&](const PropertyDeclaration &property) {
        return SameName(property.name, wanted);
    });
    return found != properties.end() ? &*found : nullptr;
}

// By length first, which tells most names apart.
bool ClassTree::NoCase::operator()(std::string_view a, std::string_view b) const {
    if (a.size() != b.size()) return a.size() < b.size();
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [&](char x, char y) { return lower(x) < lower(y); });
}

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
                const auto base = grown.find(std::string_view(declaration.superclass));
                if (!declaration.superclass.empty() && base == grown.end()) {
                    later.push_back(std::move(parsed));
                    continue;
                }
                if (base != grown.end()) Inherit(parsed, base->second);
                const auto [known, isNew] = grown.try_emplace(declaration.name, declaration);
                if (!isNew && !SameForm(known->second, declaration))
                    throw TextError{parsed.line,
                                    "class '" + declaration.name + "' is declared a second time in another form"};
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
        *error = name + ":" + std::to_string(wrong.line) + ": " + wrong.reason;
        return false;
    }
}

const ClassDeclaration *ClassTree::Find(std::string_view name) const {
    const auto found = classes.find(name);
    return found != classes.end() ? &found->second : nullptr;
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
    for (const auto &[key, declaration] : classes) {
        const bool direct = SameName(declaration.superclass, name);
        if (direct || (deep && (name.empty() || (!SameName(key, name) && IsA(key, name)))))
            found.push_back(declaration.name);
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> ClassTree::Names() const {
    std::vector<std::string> names;
    for (const auto &[key, declaration] : classes) names.push_back(declaration.name);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace cim
