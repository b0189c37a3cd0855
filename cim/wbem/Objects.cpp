#include "cim/wbem/Objects.h"

#include "cim/values/Types.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/ValueText.h"

namespace cim::wbem {

namespace {

constexpr std::size_t kMostKeys = 32; // looking for doubles takes time in proportion to the square

Fault WrongValue(const char *what, const std::string &name, const std::string &text, CMPIType type) {
    return InvalidParameter(std::string(what) + " " + name + ": \"" + text + "\" is not of type " + TypeName(type));
}

Value ReadText(const pugi::xml_node &element, CMPIType type, const char *what, const std::string &name) {
    const std::string text = TextIn(element);
    auto value = ValueOf(type, text);
    if (!value) throw WrongValue(what, name, text, type);
    return *std::move(value);
}

Value ReadReference(const pugi::xml_node &element, const std::string &nameSpace, const ClassTree &classes) {
    return Value::Reference(ReadPath(FirstElement(element), nameSpace, classes));
}

// What a key is by the request alone, where the class does not say.
CMPIType TypeOfKey(const pugi::xml_node &keyValue, const std::string &text) {
    if (const CMPIType type = TypeNamed(keyValue.attribute("TYPE").value()); type != CMPI_null) return type;
    const std::string_view kind = keyValue.attribute("VALUETYPE").as_string("string");
    if (kind != "numeric") return kind == "boolean" ? CMPI_boolean : CMPI_string;
    return ValueOf(CMPI_uint64, text) ? CMPI_uint64 : ValueOf(CMPI_sint64, text) ? CMPI_sint64 : CMPI_real64;
}

Value ReadKey(const pugi::xml_node &element, const std::string &name, const PropertyDeclaration *declared,
              const std::string &nameSpace, const ClassTree &classes) {
    if (std::string_view(element.name()) == "VALUE.REFERENCE") return ReadReference(element, nameSpace, classes);
    const CMPIType written = TypeOfKey(element, TextIn(element));
    const bool known = declared != nullptr && declared->type != CMPI_ref;
    return ReadText(element, known ? declared->type : written, "key", name);
}

// The only key that a class has; null when it has none or several, or is not known.
const PropertyDeclaration *OnlyKey(const ClassDeclaration *known) {
    if (known == nullptr) return nullptr;
    const PropertyDeclaration *only = nullptr;
    int keys = 0;
    for (const PropertyDeclaration &property : known->properties) {
        if (property.key && ++keys == 1) only = &property;
    }
    return keys == 1 ? only : nullptr;
}

CMPIType DeclaredType(const pugi::xml_node &property) {
    const std::string name = property.attribute("TYPE").value();
    const CMPIType type = TypeNamed(name);
    if (type == CMPI_null)
        throw NotValid(std::string(property.attribute("NAME").value()) + ": " + name + " is not a type");
    return type;
}

Value ReadArray(const pugi::xml_node &element, CMPIType type, const std::string &name) {
    Value::Elements elements;
    for (const pugi::xml_node child : element.children()) {
        if (child.type() != pugi::node_element) continue;
        const bool null = std::string_view(child.name()) == "VALUE.NULL";
        elements.push_back(null ? Value::Null(type) : ReadText(child, type, "property", name));
    }
    return Value::ArrayOf(type, std::move(elements));
}

Value ReadProperty(const pugi::xml_node &property, const std::string &nameSpace, const ClassTree &classes) {
    const std::string_view tag = property.name();
    const std::string name = property.attribute("NAME").value();
    if (tag == "PROPERTY.REFERENCE") {
        const pugi::xml_node reference = property.child("VALUE.REFERENCE");
        return reference ? ReadReference(reference, nameSpace, classes) : Value::Null(CMPI_ref);
    }
    const CMPIType type = DeclaredType(property);
    if (tag == "PROPERTY.ARRAY") {
        const pugi::xml_node array = property.child("VALUE.ARRAY");
        return array ? ReadArray(array, type, name) : Value::Null(static_cast<CMPIType>(CMPI_ARRAY | type));
    }
    const pugi::xml_node value = property.child("VALUE");
    return value ? ReadText(value, type, "property", name) : Value::Null(type);
}

} // namespace

std::string TextIn(const pugi::xml_node &element) {
    std::string text;
    for (const pugi::xml_node child : element.children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) text += child.value();
    }
    return text;
}

pugi::xml_node FirstElement(const pugi::xml_node &element) {
    return element.find_child([](const pugi::xml_node &child) { return child.type() == pugi::node_element; });
}

std::string ReadNameSpace(const pugi::xml_node &element) {
    std::string path;
    for (const pugi::xml_node part : element.children("NAMESPACE")) {
        if (!path.empty()) path += '/';
        path += part.attribute("NAME").value();
    }
    return path;
}

ObjectPath ReadInstanceName(const pugi::xml_node &element, const std::string &nameSpace, const ClassTree &classes) {
    ObjectPath path;
    path.nameSpace = nameSpace;
    path.className = element.attribute("CLASSNAME").value();
    const ClassDeclaration *known = classes.Find(path.className);
    for (const pugi::xml_node child : element.children()) {
        if (child.type() != pugi::node_element) continue;
        const bool named = std::string_view(child.name()) == "KEYBINDING";
        const PropertyDeclaration *declared = nullptr;
        std::string name;
        if (named) {
            name = child.attribute("NAME").value();
            declared = known != nullptr ? known->Property(name) : nullptr;
        } else { // the short form for classes with one key
            declared = OnlyKey(known);
            if (declared == nullptr) throw InvalidParameter(path.className + " has not one key; a key needs its name");
            name = declared->name;
        }
        if (path.keys.size() == kMostKeys) throw InvalidParameter(path.className + ": more keys than a class has");
        if (path.Key(name) != nullptr) throw InvalidParameter("key " + name + " is there twice");
        path.keys.push_back({name, ReadKey(named ? FirstElement(child) : child, name, declared, nameSpace, classes)});
    }
    return path;
}

ObjectPath ReadPath(const pugi::xml_node &element, const std::string &nameSpace, const ClassTree &classes) {
    const pugi::xml_node global = element.child("NAMESPACEPATH");
    const pugi::xml_node local = (global ? global : element).child("LOCALNAMESPACEPATH");
    const std::string there = local ? ReadNameSpace(local) : nameSpace;
    const auto named = [&element](const char *tag) {
        return std::string_view(element.name()) == tag ? element : element.child(tag);
    };
    ObjectPath path;
    if (const pugi::xml_node name = named("INSTANCENAME")) {
        path = ReadInstanceName(name, there, classes);
    } else {
        path.nameSpace = there;
        path.className = named("CLASSNAME").attribute("NAME").value();
    }
    path.host = TextIn(global.child("HOST"));
    return path;
}

Instance ReadInstance(const pugi::xml_node &element, const std::string &nameSpace, const ClassTree &classes) {
    Instance instance{ObjectPath{{}, nameSpace, element.attribute("CLASSNAME").value(), {}}, {}};
    for (const pugi::xml_node child : element.children()) {
        if (child.type() != pugi::node_element || std::string_view(child.name()) == "QUALIFIER") continue;
        instance.properties.push_back({child.attribute("NAME").value(), ReadProperty(child, nameSpace, classes)});
    }
    return instance;
}

} // namespace cim::wbem
