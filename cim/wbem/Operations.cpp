#include "cim/wbem/Operations.h"

#include "cim/wbem/Arguments.h"
#include "cim/wbem/Encode.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/Interop.h"
#include "cim/wbem/Qualifiers.h"
#include "cim/wbem/Types.h"

#include <algorithm>

namespace cim::wbem {

namespace {

struct Request {
    Broker &broker;
    const std::string &nameSpace;
    const std::string &host;
    const Arguments &arguments;

    const ClassTree &Classes() const { return broker.Classes(); }
    const std::string &ClassName() const { return Text("ClassName"); }
    const ObjectPath &Object() const { return arguments.Path("ObjectName"); }
    const std::string &Text(const char *name) const { return arguments.Text(name); }
    bool Flag(const char *name, bool otherwise) const { return arguments.Boolean(name, otherwise); }
    PropertyList Properties() const { return arguments.Names("PropertyList"); }
};

void Require(const Status &status) {
    if (!status.Ok()) throw Fault(status.rc, status.message);
}

template <class T> T ValueOf(Answer<T> &&answer) {
    Require(answer.status);
    return std::move(answer.value);
}

void RequireClass(const Request &request) {
    if (request.Classes().Find(request.ClassName()) == nullptr) {
        throw Fault(CMPI_RC_ERR_INVALID_CLASS, "there is no class " + request.ClassName());
    }
}

// Of a class that is there, in a namespace that is there: where no provider serves it, it has no instances.
template <class T> std::vector<T> Listed(Answer<std::vector<T>> &&answer) {
    const CMPIrc rc = answer.status.rc;
    if (rc == CMPI_RC_ERR_NOT_SUPPORTED || rc == CMPI_RC_ERR_INVALID_NAMESPACE) return {};
    return ValueOf(std::move(answer));
}

Detail DetailOfInstances(const Request &request) {
    Detail detail;
    detail.properties = request.Properties();
    detail.classOrigin = request.Flag("IncludeClassOrigin", false);
    return detail;
}

// --- Instances ---

void EnumerateInstances(const Request &request, XmlWriter &xml) {
    RequireClass(request);
    std::vector<Instance> instances =
        Listed(request.broker.EnumerateInstances(request.nameSpace, request.ClassName(), request.Properties()));
    for (Instance &own : OwnInstances(request.broker, request.nameSpace, request.ClassName())) {
        instances.push_back(std::move(own));
    }
    Detail detail = DetailOfInstances(request);
    if (!request.Flag("DeepInheritance", true)) {
        detail.upToClass = request.Classes().Find(request.ClassName());
    }
    InstanceNameWriter names(xml);
    InstanceWriter writer(xml, request.Classes(), detail);
    const Element answer(xml, "IRETURNVALUE");
    const std::size_t begin = xml.Size();
    for (const Instance &instance : instances) {
        const Element named(xml, "VALUE.NAMEDINSTANCE");
        names.Write(instance.path);
        writer.Write(instance);
        // The others will be about as long.
        if (&instance == &instances.front()) xml.Reserve(begin + (xml.Size() - begin) * (instances.size() + 1));
    }
}

void EnumerateInstanceNames(const Request &request, XmlWriter &xml) {
    RequireClass(request);
    std::vector<ObjectPath> paths =
        Listed(request.broker.EnumerateInstanceNames(request.nameSpace, request.ClassName()));
    for (const Instance &own : OwnInstances(request.broker, request.nameSpace, request.ClassName())) {
        paths.push_back(own.path);
    }
    InstanceNameWriter names(xml);
    const Element answer(xml, "IRETURNVALUE");
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

Answer<Instance> OwnInstance(const Request &request, const ObjectPath &path) {
    for (Instance &own : OwnInstances(request.broker, path.nameSpace, path.className)) {
        if (SameKeys(path, own.path)) return {{}, std::move(own)};
    }
    return {{CMPI_RC_ERR_NOT_FOUND, {}}, {}};
}

// An instance whose own name lacks keys of its class, as some vendors' do, is found by that name.
Instance InstanceAt(const Request &request, const ObjectPath &path) {
    auto answer = IsOwnClass(path.nameSpace, path.className) ? OwnInstance(request, path)
                                                             : request.broker.GetInstance(path, request.Properties());
    if (answer.Ok() && SameKeys(path, answer.value.path)) return std::move(answer.value);
    RequireKeysOfClass(path, request.Classes());
    Require(answer.status);
    throw Fault(CMPI_RC_ERR_NOT_FOUND, {});
}

void GetInstance(const Request &request, XmlWriter &xml) {
    const ObjectPath &path = request.arguments.Path("InstanceName");
    const Instance instance = InstanceAt(request, path);
    const Element answer(xml, "IRETURNVALUE");
    InstanceWriter(xml, request.Classes(), DetailOfInstances(request)).Write(instance);
}

// --- Objects with their whole paths ---

void WriteObjects(const Request &request, const std::vector<Instance> &instances, XmlWriter &xml) {
    InstanceWriter writer(xml, request.Classes(), DetailOfInstances(request));
    const Element answer(xml, "IRETURNVALUE");
    for (const Instance &instance : instances) {
        const Element withPath(xml, "VALUE.OBJECTWITHPATH");
        WriteInstancePath(xml, instance.path, request.host);
        writer.Write(instance);
    }
}

void WritePaths(const Request &request, const std::vector<ObjectPath> &paths, XmlWriter &xml) {
    const Element answer(xml, "IRETURNVALUE");
    for (const ObjectPath &path : paths) {
        const Element object(xml, "OBJECTPATH");
        WriteInstancePath(xml, path, request.host);
    }
}

void Associators(const Request &request, XmlWriter &xml) {
    auto found = request.broker.Associators(request.Object(), request.Text("AssocClass"), request.Text("ResultClass"),
                                            request.Text("Role"), request.Text("ResultRole"), request.Properties());
    WriteObjects(request, ValueOf(std::move(found)), xml);
}

void AssociatorNames(const Request &request, XmlWriter &xml) {
    auto found =
        request.broker.AssociatorNames(request.Object(), request.Text("AssocClass"), request.Text("ResultClass"),
                                       request.Text("Role"), request.Text("ResultRole"));
    WritePaths(request, ValueOf(std::move(found)), xml);
}

void References(const Request &request, XmlWriter &xml) {
    auto found = request.broker.References(request.Object(), request.Text("ResultClass"), request.Text("Role"),
                                           request.Properties());
    WriteObjects(request, ValueOf(std::move(found)), xml);
}

void ReferenceNames(const Request &request, XmlWriter &xml) {
    auto found = request.broker.ReferenceNames(request.Object(), request.Text("ResultClass"), request.Text("Role"));
    WritePaths(request, ValueOf(std::move(found)), xml);
}

// --- Classes ---

Detail DetailOfClasses(const Request &request) {
    Detail detail = DetailOfInstances(request);
    detail.localOnly = request.Flag("LocalOnly", true);
    detail.qualifiers = request.Flag("IncludeQualifiers", true);
    return detail;
}

void GetClass(const Request &request, XmlWriter &xml) {
    const ClassDeclaration *found = request.Classes().Find(request.ClassName());
    if (found == nullptr) throw Fault(CMPI_RC_ERR_NOT_FOUND, "there is no class " + request.ClassName());
    const Element answer(xml, "IRETURNVALUE");
    WriteClass(xml, *found, DetailOfClasses(request));
}

std::vector<std::string> Subclasses(const Request &request) {
    const std::string &base = request.ClassName();
    if (!base.empty()) RequireClass(request);
    return request.Classes().SubclassesOf(base, request.Flag("DeepInheritance", false));
}

void EnumerateClassNames(const Request &request, XmlWriter &xml) {
    const std::vector<std::string> names = Subclasses(request);
    const Element answer(xml, "IRETURNVALUE");
    for (const std::string &name : names) xml.Leaf("CLASSNAME", {}, {{"NAME", name}});
}

void EnumerateClasses(const Request &request, XmlWriter &xml) {
    const std::vector<std::string> names = Subclasses(request);
    const Detail detail = DetailOfClasses(request);
    const Element answer(xml, "IRETURNVALUE");
    for (const std::string &name : names) WriteClass(xml, *request.Classes().Find(name), detail);
}

// --- Qualifiers ---

void EnumerateQualifiers(const Request &, XmlWriter &xml) {
    const Element answer(xml, "IRETURNVALUE");
    for (const QualifierDeclaration &each : kQualifiers) WriteQualifierDeclaration(xml, each);
}

void GetQualifier(const Request &request, XmlWriter &xml) {
    const std::string &name = request.Text("QualifierName");
    const QualifierDeclaration *found = FindQualifier(name);
    if (found == nullptr) throw Fault(CMPI_RC_ERR_NOT_FOUND, "there is no qualifier " + name);
    const Element answer(xml, "IRETURNVALUE");
    WriteQualifierDeclaration(xml, *found);
}

// --- Which there are ---

constexpr bool kRequired = true;

// Which parameters the operations share; those that are accepted and have no effect here are marked.
const Parameter kClassName{"ClassName", Kind::ClassName, kRequired};
const Parameter kAnyClassName{"ClassName", Kind::ClassName};
const Parameter kInstanceName{"InstanceName", Kind::InstanceName, kRequired};
const Parameter kObjectName{"ObjectName", Kind::ObjectName, kRequired};
const Parameter kAssocClass{"AssocClass", Kind::ClassName};
const Parameter kResultClass{"ResultClass", Kind::ClassName};
const Parameter kRole{"Role", Kind::Text};
const Parameter kResultRole{"ResultRole", Kind::Text};
const Parameter kLocalOnly{"LocalOnly", Kind::Boolean}; // of instances: all is sent, as DSP0200 advises
const Parameter kDeep{"DeepInheritance", Kind::Boolean};
const Parameter kQualifiers{"IncludeQualifiers", Kind::Boolean}; // of instances: there are none to send
const Parameter kOrigin{"IncludeClassOrigin", Kind::Boolean};
const Parameter kProperties{"PropertyList", Kind::Names};

struct Method {
    const char *name;
    void (*run)(const Request &, XmlWriter &);
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
    {"GetQualifier", GetQualifier, {{"QualifierName", Kind::Text, kRequired}}},
};

} // namespace

void Run(Broker &broker, const IntrinsicCall &call, XmlWriter &xml) {
    const auto method = std::find_if(std::begin(kMethods), std::end(kMethods),
                                     [&](const Method &each) { return SameName(each.name, call.method); });
    if (method == std::end(kMethods)) {
        throw Fault(CMPI_RC_ERR_NOT_SUPPORTED, call.method + " is not supported by this server");
    }
    if (!HasNameSpace(broker, call.nameSpace)) {
        throw Fault(CMPI_RC_ERR_INVALID_NAMESPACE, "there is no namespace " + call.nameSpace);
    }
    const Arguments arguments(call.element, method->parameters, call.nameSpace, broker.Classes());
    method->run({broker, call.nameSpace, call.host, arguments}, xml);
}

} // namespace cim::wbem
