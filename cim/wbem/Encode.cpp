#include "cim/wbem/Encode.h"

#include "cim/values/Types.h"
#include "cim/wbem/ValueText.h"

#include <algorithm>

namespace cim::wbem {

namespace {

constexpr const char *kInstance = "INSTANCE";
constexpr const char *kInstanceName = "INSTANCENAME";
constexpr std::size_t kUsualKey = 200; // bytes of its element

// What a property is called in CIM-XML depends on its type alone.
const char *TagOf(CMPIType type) {
    if ((type & CMPI_ARRAY) != 0) return "PROPERTY.ARRAY";
    return type == CMPI_ref ? "PROPERTY.REFERENCE" : "PROPERTY";
}

std::string OpenTag(const char *tag, std::initializer_list<XmlWriter::Attribute> attributes) {
    XmlWriter xml;
    xml.Open(tag, attributes);
    return xml.Take();
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

bool IsScalar(CMPIType type) { return (type & CMPI_ARRAY) == 0 && type != CMPI_ref; }

void WriteText(XmlWriter &xml, const Value &scalar, const ClassTree &classes) {
    if (const auto *text = scalar.As<std::string>()) return xml.Text(*text);
    const auto *embedded = scalar.As<std::shared_ptr<const Instance>>();
    xml.Text(embedded != nullptr ? TextOfEmbedded(**embedded, classes) : TextOf(scalar));
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

void WriteKey(XmlWriter &xml, const NamedValue &key) {
    const XmlElement binding(xml, "KEYBINDING", {{"NAME", key.name}});
    if (const auto *path = key.value.As<std::shared_ptr<const ObjectPath>>()) return WriteReference(xml, **path);
    const CMPIType type = key.value.type;
    const bool number = IsInteger(type) || type == CMPI_real32 || type == CMPI_real64;
    const char *kind = number ? "numeric" : type == CMPI_boolean ? "boolean" : "string";
    xml.Leaf("KEYVALUE", TextOf(key.value), {{"VALUETYPE", kind}});
}

void WriteArray(XmlWriter &xml, const Value::Elements &elements, const ClassTree &classes) {
    const XmlElement array(xml, "VALUE.ARRAY");
    for (const Value &each : elements) {
        const XmlElement element(xml, each.IsNull() ? "VALUE.NULL" : "VALUE");
        if (!each.IsNull()) WriteText(xml, each, classes);
    }
}

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
    for (const NamedValue &key : path.keys) {
        if (!key.value.IsNull()) WriteKey(xml, key);
    }
}

void InstanceNameWriter::Write(const ObjectPath &path) {
    if (open.empty() || className != path.className) {
        className = path.className;
        open = OpenTag(kInstanceName, {{"CLASSNAME", className}});
    }
    xml.Ready(open);
    if (last.size() < path.keys.size()) last.resize(path.keys.size());
    auto place = last.begin();
    for (const NamedValue &key : path.keys) {
        LastKey &here = *place++;
        if (here.key.name != key.name || here.key.value != key.value) {
            XmlWriter element;
            element.Reserve(kUsualKey);
            if (!key.value.IsNull()) WriteKey(element, key);
            here = {key, element.Take()};
        }
        xml.Ready(here.element);
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
    Place(table, instance.properties);
    xml.Ready(table.open);
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        Column &column = table.columns[i];
        const Value *value = table.values[i];
        const bool null = value == nullptr && instance.othersAreNull && column.declared != nullptr;
        if (!column.shown || (value == nullptr && !null)) continue;
        const CMPIType type = null ? column.declared->type : TypeShown(*value, column.declared);
        if (column.type != type) MakeTags(column, type);
        null ? xml.Ready(column.null) : WriteProperty(column, *value);
    }
    xml.Close(kInstance);
}

void InstanceWriter::WriteProperty(const Column &column, const Value &value) {
    const bool within = IsScalar(column.type) && !value.IsNull();
    xml.Ready(within ? column.openValue : column.open);
    if (within) WriteText(xml, value, classes);
    if (const auto *path = value.As<std::shared_ptr<const ObjectPath>>()) WriteReference(xml, **path);
    if (const auto *elements = value.As<Value::Elements>()) WriteArray(xml, *elements, classes);
    xml.Ready(within ? column.closeValue : column.close);
}

InstanceWriter::Table &InstanceWriter::TableOf(const std::string &className) {
    const auto [known, isNew] = byClass.try_emplace(className);
    Table &table = known->second;
    if (!isNew) return table;
    table.open = OpenTag(kInstance, {{"CLASSNAME", className}});
    if (const ClassDeclaration *declaration = classes.Find(className))
        for (const PropertyDeclaration &property : declaration->properties)
            AddColumn(table, property.name, &property, property.type);
    return table;
}

void InstanceWriter::AddColumn(Table &table, const Name &name, const PropertyDeclaration *declared,
                               CMPIType type) const {
    Column &column = table.columns.emplace_back();
    column.name = name;
    column.declared = declared;
    column.shown = IsShown(detail, name);
    MakeTags(column, type);
}

std::size_t InstanceWriter::ColumnOf(Table &table, const NamedValue &property) const {
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        if (SameName(table.columns[i].name, property.name)) return i;
    AddColumn(table, property.name, nullptr, property.value.type);
    return table.columns.size() - 1;
}

// Of two properties with one name the last counts.
void InstanceWriter::Place(Table &table, const std::vector<NamedValue> &properties) const {
    table.places.resize(properties.size(), table.columns.size());
    table.values.assign(table.columns.size(), nullptr);
    for (std::size_t i = 0; i < properties.size(); ++i) {
        std::size_t &place = table.places[i];
        if (place >= table.columns.size() || !(table.columns[place].name == properties[i].name)) {
            place = ColumnOf(table, properties[i]);
            table.values.resize(table.columns.size(), nullptr);
        }
        table.values[place] = &properties[i].value;
    }
}

void InstanceWriter::MakeTags(Column &column, CMPIType type) const {
    const char *tag = TagOf(type);
    XmlWriter open, close;
    open.Open(tag, {{"NAME", column.name}});
    if (type != CMPI_ref) {
        open.Add({"TYPE", TypeName(type)});
    } else if (column.declared != nullptr && !column.declared->referenceClass.empty()) {
        open.Add({"REFERENCECLASS", column.declared->referenceClass});
    }
    if (IsEmbedded(type)) open.Add({"EmbeddedObject", "instance"});
    if (detail.classOrigin && column.declared != nullptr) open.Add({"CLASSORIGIN", column.declared->originClass});
    close.Close(tag);
    column.type = type;
    column.open = open.Take();
    column.close = close.Take();
    column.null = column.open + column.close;
    column.openValue = column.open + "<VALUE>";
    column.closeValue = "</VALUE>" + column.close;
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
