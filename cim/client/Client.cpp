#include "cim/client/Client.h"

#include "cim/client/Http.h"
#include "cim/client/Message.h"
#include "cim/values/Types.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/Objects.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace cim {

namespace {

using namespace client;

// Keys have the types that the server writes.
const ClassTree kNoClasses;

std::string PercentEncoded(const std::string &text) {
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        encoded += std::isalnum(byte) != 0 || c == '_' || c == '-' || c == '.' ? std::string(1, c)
                                                                               : fmt::format("%{:02X}", byte);
    }
    return encoded;
}

std::string OnOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }, ' ');
    return text;
}

std::string TextOf(const CimError &error) {
    const char *meaning = wbem::MeaningOf(error.code);
    std::string text = fmt::format("CIM error {} ({})", error.code, meaning != nullptr ? meaning : "unknown");
    if (!error.description.empty() && error.description != (meaning != nullptr ? meaning : "")) {
        text += ": " + error.description;
    }
    return text;
}

ObjectPath PathIn(const pugi::xml_node &parent, const std::string &nameSpace) {
    return wbem::ReadPath(wbem::FirstElement(parent), nameSpace, kNoClasses);
}

Instance InstanceIn(const pugi::xml_node &parent, ObjectPath path) {
    Instance instance = wbem::ReadInstance(parent.child("INSTANCE"), path.nameSpace, kNoClasses);
    instance.path = std::move(path);
    return instance;
}

// Reads elements of that name, each with a path and an instance.
auto InstancesIn(const char *element, const std::string &nameSpace) {
    return [element, &nameSpace](const pugi::xml_node &returned) {
        std::vector<Instance> instances;
        for (const pugi::xml_node each : returned.children(element)) {
            instances.push_back(InstanceIn(each, PathIn(each, nameSpace)));
        }
        return instances;
    };
}

ClassDeclaration ReadClass(const pugi::xml_node &element) {
    ClassDeclaration declaration;
    declaration.name = element.attribute("NAME").value();
    declaration.superclass = element.attribute("SUPERCLASS").value();
    for (const pugi::xml_node property : element.children()) {
        const std::string_view tag = property.name();
        if (tag != "PROPERTY" && tag != "PROPERTY.ARRAY") continue;
        const CMPIType type = TypeNamed(property.attribute("TYPE").value());
        PropertyDeclaration declared;
        declared.name = property.attribute("NAME").value();
        declared.type = static_cast<CMPIType>(type | (tag == "PROPERTY.ARRAY" ? CMPI_ARRAY : 0));
        declaration.properties.Add(std::move(declared));
    }
    return declaration;
}

class Client : public Connection {
public:
    Client(Post way, std::string name) : post(std::move(way)), server(std::move(name)) {}

    Answer<std::vector<Instance>> EnumerateInstances(const std::string &nameSpace,
                                                     const std::string &className) override {
        const OutgoingCall call{
            "EnumerateInstances",
            nameSpace,
            {{"ClassName", className}, {"LocalOnly", false}, {"DeepInheritance", true}, {"IncludeQualifiers", false}}};
        return Ask(call, className, InstancesIn("VALUE.NAMEDINSTANCE", nameSpace));
    }

    Answer<Instance> GetInstance(const ObjectPath &path) override {
        const OutgoingCall call{"GetInstance",
                                path.nameSpace,
                                {{"InstanceName", path}, {"LocalOnly", false}, {"IncludeQualifiers", false}}};
        return Ask(call, path.className, [&](const pugi::xml_node &returned) {
            if (!returned.child("INSTANCE")) throw Failure("answered no instance");
            return InstanceIn(returned, path);
        });
    }

    Answer<std::vector<Instance>> Associators(const ObjectPath &source, const std::string &associationClass,
                                              const std::string &resultClass) override {
        return Ask(AssociationCall("Associators", source, associationClass, resultClass), associationClass,
                   InstancesIn("VALUE.OBJECTWITHPATH", source.nameSpace));
    }

    Answer<std::vector<ObjectPath>> AssociatorNames(const ObjectPath &source, const std::string &associationClass,
                                                    const std::string &resultClass) override {
        return Ask(AssociationCall("AssociatorNames", source, associationClass, resultClass), associationClass,
                   [&](const pugi::xml_node &returned) {
                       std::vector<ObjectPath> paths;
                       for (const pugi::xml_node each : returned.children("OBJECTPATH")) {
                           paths.push_back(PathIn(each, source.nameSpace));
                       }
                       return paths;
                   });
    }

    Answer<ClassDeclaration> GetClass(const std::string &nameSpace, const std::string &className) override {
        const OutgoingCall call{
            "GetClass", nameSpace, {{"ClassName", className}, {"LocalOnly", true}, {"IncludeQualifiers", false}}};
        return Ask(call, className, [&](const pugi::xml_node &returned) {
            if (!returned.child("CLASS")) throw Failure("answered no class");
            return ReadClass(returned.child("CLASS"));
        });
    }

private:
    static OutgoingCall AssociationCall(const char *method, const ObjectPath &source,
                                        const std::string &associationClass, const std::string &resultClass) {
        return {method,
                source.nameSpace,
                {{"ObjectName", source}, {"AssocClass", associationClass}, {"ResultClass", resultClass}}};
    }

    // `about` names the class concerned in what goes wrong.
    template <class Read>
    auto Ask(const OutgoingCall &call, const std::string &about, const Read &read)
        -> Answer<decltype(read(pugi::xml_node()))> {
        const auto fail = [&](CMPIrc rc, const std::string &what) {
            return Status{rc, OnOneLine(server + ": " + what)};
        };
        Answer<decltype(read(pugi::xml_node()))> answer;
        try {
            const std::string body = post({{"Content-Type", "application/xml; charset=\"utf-8\""},
                                           {"Accept", "application/xml, text/xml"},
                                           {"CIMOperation", "MethodCall"},
                                           {"CIMMethod", call.method},
                                           {"CIMObject", PercentEncoded(call.nameSpace)}},
                                          client::TextOf(call));
            client::Reply reply;
            ReadReply(body, &reply);
            if (reply.error) {
                const int code = wbem::MeaningOf(reply.error->code) != nullptr ? reply.error->code : CMPI_RC_ERR_FAILED;
                answer.status = fail(static_cast<CMPIrc>(code), fmt::format("{} of {} in {}: {}", call.method, about,
                                                                            call.nameSpace, TextOf(*reply.error)));
                return answer;
            }
            answer.value = read(reply.returned);
        } catch (const Failure &failure) {
            answer.status = fail(kNoAnswer, failure.what());
        } catch (const std::runtime_error &mistake) { // the decoder's: a value that is not of its type
            answer.status = fail(kNoAnswer, std::string("answered XML that is not a CIM answer: ") + mistake.what());
        }
        return answer;
    }

    const Post post;
    const std::string server;
};

} // namespace

std::unique_ptr<Connection> Connect(const ClientOptions &options, std::string *error) {
    try {
        return ConnectThrough(OverHttp(options), options.url);
    } catch (const Failure &failure) {
        *error = failure.what();
        return nullptr;
    }
}

std::unique_ptr<Connection> ConnectThrough(Post post, const std::string &name) {
    return std::make_unique<Client>(std::move(post), name);
}

} // namespace cim
