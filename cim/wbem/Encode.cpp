#include "cim/wbem/Encode.h"

#include "cim/values/Types.h"
#include "cim/wbem/ValueText.h"

#include <algorithm>
#include <utility>

namespace cim::wbem {

namespace {

constexpr const char *kInstance = "INSTANCE";
constexpr const char *kInstanceName = "INSTANCENAME";

// What a property is called in CIM-XML depends on its type alone.
const char *TagOf(CMPIType type) {
    if ((type & CMPI_ARRAY) != 0) return "PROPERTY.ARRAY";
    return type == CMPI_ref ? "PROPERTY.REFERENCE" : "PROPERTY";
}

bool IsListed(PropertyList list, const std::string &name) {
    return list == nullptr ||
           std::any_of(list->begin(), list->end(), [&](const auto &each) { return SameName(each, name); });
}

bool IsShown(const Detail &detail, const std::string &name) {
    if (detail.upToClass != nullptr && detail.upToClass->Property(name) == nullptr) return false;
    return IsListed(detail.properties, name);
}

// An instance inside a value is a text that holds XML.
std::string TextOfEmbedded(const Instance &instance, const ClassTree &classes) {
    XmlWriter inner;
    InstanceWriter(inner, classes, {}).Write(instance);
    return inner.Take();
}

void WriteText(XmlWriter &xml, const Value &scalar) {
    const auto *text = scalar.As<std::string>();
    text != nullptr ? xml.Text(*text) : xml.Text(TextOf(scalar));
}

void WriteScalar(XmlWriter &xml, const Value &scalar, const ClassTree &classes) {
    const auto *embedded = scalar.As<std::shared_ptr<const Instance>>();
    xml.Ready("<VALUE>");
    embedded != nullptr ? xml.Text(TextOfEmbedded(**embedded, classes)) : WriteText(xml, scalar);
    xml.Ready("</VALUE>");
}

// The path as far as it goes: INSTANCEPATH with a host, LOCALINSTANCEPATH with a namespace, else INSTANCENAME.
void WriteReference(XmlWriter &xml, const ObjectPath &path) {
    const XmlElement reference(xml, "VALUE.REFERENCE");
    if (!path.host.empty()) return WriteInstancePath(xml, path, path.host);
    if (path.nameSpace.empty()) return WriteInstanceName(xml, path);
    const XmlElement local(xml, "LOCALINSTANCEPATH");
    WriteNameSpace(xml, path.nameSpace);
    WriteInstanceName(xml, path);
}

const char *OpenKeyValue(CMPIType type) {
    if (IsInteger(type) || IsReal(type)) return "<KEYVALUE VALUETYPE=\"numeric\">";
    return type == CMPI_boolean ? "<KEYVALUE VALUETYPE=\"boolean\">" : "<KEYVALUE VALUETYPE=\"string\">";
}

void WriteKey(XmlWriter &xml, const NamedValue &key) {
    if (key.value.IsNull()) return;
    const XmlElement binding(xml, "KEYBINDING", {{"NAME", key.name}});
    if (const auto *path = key.value.As<std::shared_ptr<const ObjectPath>>()) return WriteReference(xml, **path);
    xml.Ready(OpenKeyValue(key.value.type));
    WriteText(xml, key.value);
    xml.Ready("</KEYVALUE>");
}

void WriteArray(XmlWriter &xml, const Value::Elements &elements, const ClassTree &classes) {
    const XmlElement array(xml, "VALUE.ARRAY");
    for (const Value &each : elements) each.IsNull() ? xml.Leaf("VALUE.NULL", {}) : WriteScalar(xml, each, classes);
}

// What is in a property's element. Returns its length.
std::size_t WriteContent(XmlWriter &xml, const Value &value, const ClassTree &classes) {
    const std::size_t begin = xml.Size();
    if (const auto *path = value.As<std::shared_ptr<const ObjectPath>>())
        WriteReference(xml, **path);
    else if (const auto *elements = value.As<Value::Elements>())
        WriteArray(xml, *elements, classes);
    else if (!value.IsNull())
        WriteScalar(xml, value, classes);
    return xml.Size() - begin;
}

// Whether the values are written with the same text. Equal ones need not be: zero has two signs, and a path may name
// its class in other letters and its host or not.
bool ReadAlike(const Value &a, const Value &b) {
    const CMPIType element = ElementType(a.type);
    return !IsReal(element) && element != CMPI_ref && element != CMPI_instance && a == b;
}

bool ReadAlike(const NamedValue &a, const NamedValue &b) { return a.name == b.name && ReadAlike(a.value, b.value); }

// Of values that may be missing.
bool ReadAlike(const Value *a, const Value *b) { return a == b || (a != nullptr && b != nullptr && ReadAlike(*a, *b)); }

bool IsEmbedded(CMPIType type) { return (type & ~CMPI_ARRAY) == CMPI_instance; }

// A provider may give an integer in another width than the class has. A client reads the class, so the answer says the
// class's type wherever the value fits it.
CMPIType TypeShown(const Value &value, const PropertyDeclaration *declared) {
    if (declared == nullptr || declared->type == value.type) return value.type;
    if (value.type == CMPI_null) return declared->type;
    const bool integers = IsInteger(declared->type) && IsInteger(value.type);
    if (!integers) return value.type;
    return value.IsNull() || ValueOf(declared->type, TextOf(value)) ? declared->type : value.type;
}

// As far as they are not what DSP0201 takes for granted.
void AddFlavors(XmlWriter &xml, const QualifierDeclaration &declaration) {
    if (!declaration.overridable) xml.Add({"OVERRIDABLE", "false"});
    if (!declaration.toSubclass) xml.Add({"TOSUBCLASS", "false"});
    if (declaration.translatable) xml.Add({"TRANSLATABLE", "true"});
}

void WriteValue(XmlWriter &xml, const Value &value) {
    const auto *elements = value.As<Value::Elements>();
    if (elements == nullptr) return xml.Leaf("VALUE", TextOf(value));
    const XmlElement array(xml, "VALUE.ARRAY");
    for (const Value &each : *elements) WriteValue(xml, each);
}

void WriteScopes(XmlWriter &xml, std::string_view scopes) {
    const XmlElement scope(xml, "SCOPE");
    while (!scopes.empty()) {
        const std::string name(scopes.substr(0, scopes.find(' ')));
        xml.Add({name.c_str(), "true"});
        scopes.remove_prefix(std::min(name.size() + 1, scopes.size()));
    }
}

// `inherited`: they stand at an element that is a superclass's itself.
void WriteQualifiers(XmlWriter &xml, const Qualifiers &qualifiers, bool inherited, const Detail &detail) {
    if (!detail.qualifiers || qualifiers == nullptr) return;
    for (const Qualifier &each : *qualifiers) {
        const bool propagated = inherited || each.propagated;
        if (propagated && detail.localOnly) continue;
        const QualifierDeclaration &declaration = *each.declaration;
        const XmlElement element(xml, "QUALIFIER", {{"NAME", declaration.name}, {"TYPE", TypeName(declaration.type)}});
        if (propagated) xml.Add({"PROPAGATED", "true"});
        AddFlavors(xml, declaration);
        WriteValue(xml, each.value);
    }
}

} // namespace

void WriteNameSpace(XmlWriter &xml, const std::string &nameSpace) {
    const XmlElement path(xml, "LOCALNAMESPACEPATH");
    for (std::size_t begin = 0; begin <= nameSpace.size();) {
        const std::size_t end = std::min(nameSpace.find('/', begin), nameSpace.size());
        xml.Leaf("NAMESPACE", {}, {{"NAME", std::string_view(nameSpace).substr(begin, end - begin)}});
        begin = end + 1;
    }
}

void WriteInstanceName(XmlWriter &xml, const ObjectPath &path) {
    const XmlElement name(xml, kInstanceName, {{"CLASSNAME", path.className}});
    for (const NamedValue &key : path.keys) WriteKey(xml, key);
}

void InstanceNameWriter::Write(const ObjectPath &path) {
    const std::size_t before = std::exchange(begin, xml.Size());
    const ObjectPath *last = std::exchange(current, &path);
    ends.resize(path.keys.size() + 1);
    std::size_t same = 0; // keys
    if (last != nullptr && last->className == path.className) {
        const std::size_t most = std::min(last->keys.size(), path.keys.size());
        while (same < most && ReadAlike(last->keys[same], path.keys[same])) ++same;
        xml.Repeat(before, ends[same]);
    } else {
        xml.Open(kInstanceName, {{"CLASSNAME", path.className}});
        ends[0] = xml.Size() - begin;
    }
    for (std::size_t i = same; i < path.keys.size(); ++i) {
        WriteKey(xml, path.keys[i]);
        ends[i + 1] = xml.Size() - begin;
    }
    xml.Close(kInstanceName);
}

void WriteInstancePath(XmlWriter &xml, const ObjectPath &path, const std::string &host) {
    const XmlElement instancePath(xml, "INSTANCEPATH");
    {
        const XmlElement nameSpacePath(xml, "NAMESPACEPATH");
        xml.Leaf("HOST", path.host.empty() ? host : path.host);
        WriteNameSpace(xml, path.nameSpace);
    }
    WriteInstanceName(xml, path);
}

void InstanceWriter::Write(const Instance &instance) {
    Table &table = TableOf(instance.path->className);
    Place(table, instance);
    const std::size_t before = std::exchange(table.begin, xml.Size());
    if (table.open == 0) {
        xml.Open(kInstance, {{"CLASSNAME", instance.path->className}});
        table.open = xml.Size() - table.begin;
    } else {
        xml.Repeat(before, table.open);
    }
    std::size_t at = table.open, done = at; // in the last instance
    const auto repeatUpTo = [&](std::size_t end) {
        xml.Repeat(before + done, end - done);
        done = end;
    };
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        Column &column = table.columns[i];
        const std::size_t content = at + column.open, close = content + column.content, end = close + column.close;
        const Value *value = table.values[i];
        const Value *last = std::exchange(column.value, value);
        if (column.shown && !ReadAlike(value, last)) {
            if (value != nullptr && last != nullptr && TypeShown(*value, column.declared) == column.type) {
                repeatUpTo(content);
                column.content = WriteContent(xml, *value, classes);
                done = close;
            } else {
                repeatUpTo(at);
                WriteProperty(column);
                done = end;
            }
        }
        at = end;
    }
    repeatUpTo(at);
    xml.Close(kInstance);
}

void InstanceWriter::WriteProperty(Column &column) {
    column.open = column.content = column.close = 0;
    if (column.value == nullptr) return;
    column.type = TypeShown(*column.value, column.declared);
    const char *tag = TagOf(column.type);
    const PropertyDeclaration *declared = column.declared;
    const std::size_t begin = xml.Size();
    xml.Open(tag, {{"NAME", column.name}});
    if (column.type != CMPI_ref) {
        xml.Add({"TYPE", TypeName(column.type)});
    } else if (declared != nullptr && !declared->referenceClass.empty()) {
        xml.Add({"REFERENCECLASS", declared->referenceClass});
    }
    if (IsEmbedded(column.type)) xml.Add({"EmbeddedObject", "instance"});
    if (detail.classOrigin && declared != nullptr) xml.Add({"CLASSORIGIN", declared->originClass});
    column.open = xml.Size() - begin;
    column.content = WriteContent(xml, *column.value, classes);
    xml.Close(tag);
    column.close = xml.Size() - begin - column.open - column.content;
}

InstanceWriter::Table &InstanceWriter::TableOf(const std::string &className) {
    const auto [known, isNew] = byClass.try_emplace(className);
    Table &table = known->second;
    if (!isNew) return table;
    if (const ClassDeclaration *declaration = classes.Find(className))
        for (const PropertyDeclaration &property : declaration->properties)
            table.columns.push_back({property.name, &property, IsShown(detail, property.name)});
    table.declared = table.columns.size();
    return table;
}

std::size_t InstanceWriter::ColumnOf(Table &table, const Name &property) const {
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        if (SameName(table.columns[i].name, property)) return i;
    table.columns.push_back({property, nullptr, IsShown(detail, property)});
    return table.columns.size() - 1;
}

// Of two properties with one name the last counts.
void InstanceWriter::Place(Table &table, const Instance &instance) const {
    static const Value kNull; // of the type that the class says
    table.values.assign(table.declared, instance.othersAreNull ? &kNull : nullptr);
    table.values.resize(table.columns.size(), nullptr);
    table.places.resize(instance.properties.size(), table.columns.size());
    auto place = table.places.begin();
    for (const NamedValue &property : instance.properties) {
        if (*place >= table.columns.size() || !(table.columns[*place].name == property.name)) {
            *place = ColumnOf(table, property.name);
            table.values.resize(table.columns.size(), nullptr);
        }
        table.values[*place++] = &property.value;
    }
}

void WriteClass(XmlWriter &xml, const ClassDeclaration &declaration, const Detail &detail) {
    const XmlElement element(xml, "CLASS", {{"NAME", declaration.name}});
    if (!declaration.superclass.empty()) xml.Add({"SUPERCLASS", declaration.superclass});
    WriteQualifiers(xml, declaration.qualifiers, false, detail);
    for (const PropertyDeclaration &property : declaration.properties) {
        const bool own = SameName(property.originClass, declaration.name);
        if ((detail.localOnly && !own) || !IsShown(detail, property.name)) continue;
        const XmlElement inner(xml, TagOf(property.type), {{"NAME", property.name}});
        if (property.type == CMPI_ref) {
            xml.Add({"REFERENCECLASS", property.referenceClass});
        } else {
            xml.Add({"TYPE", TypeName(property.type)});
        }
        if (detail.classOrigin) xml.Add({"CLASSORIGIN", property.originClass});
        if (!own) xml.Add({"PROPAGATED", "true"});
        WriteQualifiers(xml, property.qualifiers, !own, detail);
    }
}

void WriteQualifierDeclaration(XmlWriter &xml, const QualifierDeclaration &declaration) {
    const XmlElement element(xml, "QUALIFIER.DECLARATION",
                             {{"NAME", declaration.name}, {"TYPE", TypeName(declaration.type)}});
    if ((declaration.type & CMPI_ARRAY) != 0) xml.Add({"ISARRAY", "true"});
    AddFlavors(xml, declaration);
    WriteScopes(xml, declaration.scopes);
    if (declaration.type == CMPI_boolean) xml.Leaf("VALUE", "FALSE");
}

} // namespace cim::wbem
