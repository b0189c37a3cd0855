#include "cim/wbem/Operations.h"

#include "cim/wbem/Arguments.h"
#include "cim/wbem/Encode.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/Interop.h"
#include "cim/wbem/ValueText.h"

#include <algorithm>

namespace cim::wbem {

namespace {

struct MethodRequest : Arguments {
    Broker &broker;
    const std::string &nameSpace;
    const std::string &host;

    const ClassTree &Classes() const { return broker.Classes(); }
    PropertyList Properties() const { return properties ? &*properties : nullptr; }
};

void Require(const Status &status) {
    if (!status.Ok()) throw Fault(status.rc, status.message);
}

template <class T> T ValueOf(Answer<T> &&answer) {
    Require(answer.status);
    return std::move(answer.value);
}

void RequireClass(const MethodRequest &request) {
    if (request.Classes().Find(request.className) == nullptr) {
        throw Fault(CMPI_RC_ERR_INVALID_CLASS, "there is no class " + request.className);
    }
}

// Of a class that is there, in a namespace that is there: where no provider serves it, it has no instances.
template <class T> std::vector<T> Listed(Answer<std::vector<T>> &&answer) {
    const CMPIrc rc = answer.status.rc;
    if (rc == CMPI_RC_ERR_NOT_SUPPORTED || rc == CMPI_RC_ERR_INVALID_NAMESPACE) return {};
    return ValueOf(std::move(answer));
}

Detail DetailOfInstances(const MethodRequest &request) {
    Detail detail;
    detail.properties = request.Properties();
    detail.classOrigin = request.classOrigin.value_or(false);
    return detail;
}

// --- Instances ---

void EnumerateInstances(const MethodRequest &request, XmlWriter &xml) {
    RequireClass(request);
    std::vector<Instance> instances =
        Listed(request.broker.EnumerateInstances(request.nameSpace, request.className, request.Properties()));
    for (Instance &own : OwnInstances(request.broker, request.nameSpace, request.className)) {
        instances.push_back(std::move(own));
    }
    Detail detail = DetailOfInstances(request);
    if (!request.deepInheritance.value_or(true)) {
        detail.upToClass = request.Classes().Find(request.className);
    }
    InstanceNameWriter names(xml);
    InstanceWriter writer(xml, request.Classes(), detail);
    const std::size_t begin = xml.Size();
    for (const Instance &instance : instances) {
        const XmlElement named(xml, "VALUE.NAMEDINSTANCE");
        names.Write(instance.path);
        writer.Write(instance);
        // The others will be about as long. With room to spare, so that no answer is copied because of its last one.
        if (&instance == &instances.front())
            xml.Reserve(begin + (xml.Size() - begin) * (instances.size() + instances.size() / 8 + 1));
    }
}

void EnumerateInstanceNames(const MethodRequest &request, XmlWriter &xml) {
    RequireClass(request);
    std::vector<ObjectPath> paths = Listed(request.broker.EnumerateInstanceNames(request.nameSpace, request.className));
    for (const Instance &own : OwnInstances(request.broker, request.nameSpace, request.className)) {
        paths.push_back(own.path);
    }
    InstanceNameWriter names(xml);
    for (const ObjectPath &path : paths) names.Write(path);
}

// A provider may give an integer in another width than the class has, which the client's key has.
bool Agree(const Value &asked, const Value &found) {
    if (asked.type == CMPI_ref || found.type == CMPI_ref) return asked == found;
    return TextOf(asked) == TextOf(found);
}

// Whether the keys that a client asked for are those of the instance that was found, no fewer and no others. Providers
// need not look at all of them.
bool SameKeys(const ObjectPath &asked, const ObjectPath &found) {
    // A key that is null is not in the names that clients get.
    const auto given =
        std::count_if(found.keys.begin(), found.keys.end(), [](const NamedValue &key) { return !key.value.IsNull(); });
    if (static_cast<std::size_t>(given) != asked.keys.size()) return false;
    return std::all_of(asked.keys.begin(), asked.keys.end(), [&found](const NamedValue &key) {
        const Value *value = found.Key(key.name);
        return value != nullptr && Agree(key.value, *value);
    });
}

// A class that the tree does not know may have any keys.
void RequireKeysOfClass(const ObjectPath &path, const ClassTree &classes) {
    const ClassDeclaration *known = classes.Find(path.className);
    if (known == nullptr) return;
    for (const PropertyDeclaration &property : known->properties) {
        if (property.key && path.Key(property.name) == nullptr) {
            throw InvalidParameter("key " + property.name.Text() + " of " + path.className + " is missing");
        }
    }
    for (const NamedValue &key : path.keys) {
        const PropertyDeclaration *declared = known->Property(key.name);
        if (declared == nullptr || !declared->key) {
            throw InvalidParameter(key.name.Text() + " is not a key of " + path.className);
        }
    }
}

Answer<Instance> OwnInstance(const MethodRequest &request, const ObjectPath &path) {
    for (Instance &own : OwnInstances(request.broker, path.nameSpace, path.className)) {
        if (SameKeys(path, own.path)) return {{}, std::move(own)};
    }
    return {{CMPI_RC_ERR_NOT_FOUND, {}}, {}};
}

// An instance whose own name lacks keys of its class, as some vendors' do, is found by that name.
Instance InstanceAt(const MethodRequest &request, const ObjectPath &path) {
    auto answer = IsOwnClass(path.nameSpace, path.className) ? OwnInstance(request, path)
                                                             : request.broker.GetInstance(path, request.Properties());
    if (answer.Ok() && SameKeys(path, answer.value.path)) return std::move(answer.value);
    RequireKeysOfClass(path, request.Classes());
    Require(answer.status);
    throw Fault(CMPI_RC_ERR_NOT_FOUND, {});
}

void GetInstance(const MethodRequest &request, XmlWriter &xml) {
    const ObjectPath &path = *request.path;
    const Instance instance = InstanceAt(request, path);
    InstanceWriter(xml, request.Classes(), DetailOfInstances(request)).Write(instance);
}

// --- Objects with their whole paths ---

void WriteObjects(const MethodRequest &request, Answer<std::vector<Instance>> &&found, XmlWriter &xml) {
    InstanceWriter writer(xml, request.Classes(), DetailOfInstances(request));
    for (const Instance &instance : ValueOf(std::move(found))) {
        const XmlElement withPath(xml, "VALUE.OBJECTWITHPATH");
        WriteInstancePath(xml, instance.path, request.host);
        writer.Write(instance);
    }
}

void WritePaths(const MethodRequest &request, Answer<std::vector<ObjectPath>> &&found, XmlWriter &xml) {
    for (const ObjectPath &path : ValueOf(std::move(found))) {
        const XmlElement object(xml, "OBJECTPATH");
        WriteInstancePath(xml, path, request.host);
    }
}

void Associators(const MethodRequest &request, XmlWriter &xml) {
    auto found = request.broker.Associators(*request.path, request.associationClass, request.resultClass, request.role,
                                            request.resultRole, request.Properties());
    WriteObjects(request, std::move(found), xml);
}

void AssociatorNames(const MethodRequest &request, XmlWriter &xml) {
    auto found = request.broker.AssociatorNames(*request.path, request.associationClass, request.resultClass,
                                                request.role, request.resultRole);
    WritePaths(request, std::move(found), xml);
}

void References(const MethodRequest &request, XmlWriter &xml) {
    auto found = request.broker.References(*request.path, request.resultClass, request.role, request.Properties());
    WriteObjects(request, std::move(found), xml);
}

void ReferenceNames(const MethodRequest &request, XmlWriter &xml) {
    WritePaths(request, request.broker.ReferenceNames(*request.path, request.resultClass, request.role), xml);
}

// --- Classes ---

Detail DetailOfClasses(const MethodRequest &request) {
    Detail detail = DetailOfInstances(request);
    detail.localOnly = request.localOnly.value_or(true);
    detail.qualifiers = request.qualifiers.value_or(true);
    return detail;
}

void GetClass(const MethodRequest &request, XmlWriter &xml) {
    const ClassDeclaration *found = request.Classes().Find(request.className);
    if (found == nullptr) throw Fault(CMPI_RC_ERR_NOT_FOUND, "there is no class " + request.className);
    WriteClass(xml, *found, DetailOfClasses(request));
}

std::vector<std::string> Subclasses(const MethodRequest &request) {
    const std::string &base = request.className;
    if (!base.empty()) RequireClass(request);
    return request.Classes().SubclassesOf(base, request.deepInheritance.value_or(false));
}

void EnumerateClassNames(const MethodRequest &request, XmlWriter &xml) {
    const std::vector<std::string> names = Subclasses(request);
    for (const std::string &name : names) xml.Leaf("CLASSNAME", {}, {{"NAME", name}});
}

void EnumerateClasses(const MethodRequest &request, XmlWriter &xml) {
    const std::vector<std::string> names = Subclasses(request);
    const Detail detail = DetailOfClasses(request);
    for (const std::string &name : names) WriteClass(xml, *request.Classes().Find(name), detail);
}

// --- Qualifiers ---

void EnumerateQualifiers(const MethodRequest &, XmlWriter &xml) {
    for (const QualifierDeclaration &each : kQualifiers) WriteQualifierDeclaration(xml, each);
}

void GetQualifier(const MethodRequest &request, XmlWriter &xml) {
    const std::string &name = request.qualifierName;
    const QualifierDeclaration *found = FindQualifier(name);
    if (found == nullptr) throw Fault(CMPI_RC_ERR_NOT_FOUND, "there is no qualifier " + name);
    WriteQualifierDeclaration(xml, *found);
}

// --- Which there are ---

// Which parameters the operations share; those that are accepted and have no effect here are marked.
const Parameter kAnyClassName{"ClassName", "CLASSNAME", &Arguments::className};
const Parameter kClassName{"ClassName", "CLASSNAME", &Arguments::className, true};
const Parameter kInstanceName{"InstanceName", "INSTANCENAME", &Arguments::path, true};
const Parameter kObjectName{"ObjectName", "INSTANCENAME", &Arguments::path, true};
const Parameter kAssocClass{"AssocClass", "CLASSNAME", &Arguments::associationClass};
const Parameter kResultClass{"ResultClass", "CLASSNAME", &Arguments::resultClass};
const Parameter kRole{"Role", "VALUE", &Arguments::role};
const Parameter kResultRole{"ResultRole", "VALUE", &Arguments::resultRole};
const Parameter kLocalOnly{"LocalOnly", "VALUE",
                           &Arguments::localOnly}; // of instances: all is sent, as DSP0200 advises
const Parameter kDeep{"DeepInheritance", "VALUE", &Arguments::deepInheritance};
const Parameter kQualifiers{"IncludeQualifiers", "VALUE", &Arguments::qualifiers}; // of instances: there are none
const Parameter kOrigin{"IncludeClassOrigin", "VALUE", &Arguments::classOrigin};
const Parameter kProperties{"PropertyList", "VALUE.ARRAY", &Arguments::properties};
const Parameter kQualifierName{"QualifierName", "VALUE", &Arguments::qualifierName, true};

struct Method {
    const char *name;
    void (*run)(const MethodRequest &, XmlWriter &);
    std::vector<Parameter> parameters;
};

const Method kMethods[] = {
    {"EnumerateInstances", EnumerateInstances, {kClassName, kLocalOnly, kDeep, kQualifiers, kOrigin, kProperties}},
    {"EnumerateInstanceNames", EnumerateInstanceNames, {kClassName}},
    {"GetInstance", GetInstance, {kInstanceName, kLocalOnly, kQualifiers, kOrigin, kProperties}},
    {"Associators",
     Associators,
     {kObjectName, kAssocClass, kResultClass, kRole, kResultRole, kQualifiers, kOrigin, kProperties}},
    {"AssociatorNames", AssociatorNames, {kObjectName, kAssocClass, kResultClass, kRole, kResultRole}},
    {"References", References, {kObjectName, kResultClass, kRole, kQualifiers, kOrigin, kProperties}},
    {"ReferenceNames", ReferenceNames, {kObjectName, kResultClass, kRole}},
    {"GetClass", GetClass, {kClassName, kLocalOnly, kQualifiers, kOrigin, kProperties}},
    {"EnumerateClassNames", EnumerateClassNames, {kAnyClassName, kDeep}},
    {"EnumerateClasses", EnumerateClasses, {kAnyClassName, kDeep, kLocalOnly, kQualifiers, kOrigin}},
    {"EnumerateQualifiers", EnumerateQualifiers, {}},
    {"GetQualifier", GetQualifier, {kQualifierName}},
};

} // namespace

void Run(Broker &broker, const MethodCall &call, XmlWriter &xml) {
    const auto method = std::find_if(std::begin(kMethods), std::end(kMethods),
                                     [&](const Method &each) { return SameName(each.name, call.method); });
    if (method == std::end(kMethods)) {
        throw Fault(CMPI_RC_ERR_NOT_SUPPORTED, call.method + " is not supported by this server");
    }
    if (!HasNameSpace(broker, call.nameSpace)) {
        throw Fault(CMPI_RC_ERR_INVALID_NAMESPACE, "there is no namespace " + call.nameSpace);
    }
    const XmlElement answer(xml, "IRETURNVALUE"); // dropped with the whole text when the operation fails
    method->run({ReadArguments(call.element, method->parameters, call.nameSpace, broker.Classes()), broker,
                 call.nameSpace, call.host},
                xml);
}

} // namespace cim::wbem
