#include "cim/wbem/Handle.h"

#include "cim/values/Text.h"
#include "cim/wbem/Document.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/Headers.h"
#include "cim/wbem/Objects.h"
#include "cim/wbem/Operations.h"

#include <algorithm>

namespace cim::wbem {

namespace {

struct Message {
    std::string id;
    bool intrinsic = true;
    std::string target; // what CIMObject must name: the namespace, of a method call also the class
    IntrinsicCall call;
};

// Versions first: another version's document has another grammar.
void RequireVersions(const pugi::xml_node &cim) {
    if (std::string_view(cim.name()) != "CIM") throw NotValid(std::string(cim.name()) + " where CIM belongs");
    const auto refuse = [](const char *error, const char *what, const std::string &version) {
        return Refusal(kNotImplemented, error, std::string(what) + " " + version + " is not supported");
    };
    const std::string cimVersion = cim.attribute("CIMVERSION").as_string("2.0");
    if (cimVersion.rfind("2.", 0) != 0) throw refuse("unsupported-cim-version", "CIMVERSION", cimVersion);
    const std::string dtdVersion = cim.attribute("DTDVERSION").as_string("2.0");
    if (dtdVersion.rfind("2.", 0) != 0) throw refuse("unsupported-dtd-version", "DTDVERSION", dtdVersion);
    const std::string protocol = cim.child("MESSAGE").attribute("PROTOCOLVERSION").as_string("1.0");
    if (!IsProtocolVersion(protocol)) throw refuse("unsupported-protocol-version", "PROTOCOLVERSION", protocol);
    if (cim.child("MESSAGE").child("MULTIREQ")) {
        throw Refusal(kNotImplemented, "multiple-requests-unsupported", "multiple requests are not supported");
    }
}

// The target of an extrinsic method as CIMObject has it, without keys: "root/cimv2:CIM_Class".
std::string MethodTarget(const pugi::xml_node &call) {
    const pugi::xml_node ofClass = call.child("LOCALCLASSPATH");
    const pugi::xml_node path = ofClass ? ofClass : call.child("LOCALINSTANCEPATH");
    const char *className = ofClass ? path.child("CLASSNAME").attribute("NAME").value()
                                    : path.child("INSTANCENAME").attribute("CLASSNAME").value();
    return ReadNameSpace(path.child("LOCALNAMESPACEPATH")) + ":" + className;
}

Message ReadMessage(const Document &document, const std::string &host) {
    RequireVersions(document.Root());
    document.RequireValid();
    const pugi::xml_node outer = document.Root().child("MESSAGE");
    const pugi::xml_node request = outer.child("SIMPLEREQ");
    const pugi::xml_node intrinsic = request.child("IMETHODCALL");
    const pugi::xml_node element = intrinsic ? intrinsic : request.child("METHODCALL");

    Message message;
    message.id = outer.attribute("ID").value();
    message.intrinsic = !intrinsic.empty();
    message.call.method = element.attribute("NAME").value();
    message.call.host = host;
    message.call.element = element;
    if (!message.intrinsic) {
        message.target = MethodTarget(element);
        return message;
    }
    message.target = message.call.nameSpace = ReadNameSpace(element.child("LOCALNAMESPACEPATH"));
    return message;
}

void RequireMatch(const CimHeaders &headers, const Message &message) {
    if (!SameName(headers.method, message.call.method)) {
        throw HeaderMismatch("CIMMethod is " + headers.method + ", the body calls " + message.call.method);
    }
    std::string object = headers.object;
    if (!message.intrinsic) object.resize(std::min(object.find('.', object.find(':')), object.size())); // without keys
    if (!SameName(object, message.target)) {
        throw HeaderMismatch("CIMObject is " + headers.object + ", the body names " + message.target);
    }
}

void WriteError(XmlWriter &xml, const Fault &fault) {
    xml.Leaf("ERROR", {}, {{"CODE", std::to_string(fault.code)}, {"DESCRIPTION", fault.what()}});
}

std::string AnswerText(Broker &broker, const Message &message) {
    const auto write = [&message](const auto &content) {
        XmlWriter xml;
        xml.Ready("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
        {
            const Element cim(xml, "CIM", {{"CIMVERSION", "2.0"}, {"DTDVERSION", "2.0"}});
            const Element outer(xml, "MESSAGE", {{"ID", message.id}, {"PROTOCOLVERSION", "1.0"}});
            const Element response(xml, "SIMPLERSP");
            const Element method(xml, message.intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE",
                                 {{"NAME", message.call.method}});
            content(xml);
        }
        return xml.Take();
    };
    try {
        if (!message.intrinsic) {
            throw Fault(CMPI_RC_ERR_NOT_SUPPORTED, "methods of classes are not supported by this server");
        }
        return write([&](XmlWriter &xml) { Run(broker, message.call, xml); });
    } catch (const Fault &fault) {
        return write([&](XmlWriter &xml) { WriteError(xml, fault); });
    }
}

HttpAnswer Success(const CimHeaders &headers, std::string body) {
    HttpAnswer answer;
    answer.headers = {{"Content-Type", "application/xml; charset=\"utf-8\""}, {"Cache-Control", "no-cache"}};
    if (!headers.extension.empty()) {
        answer.headers.emplace_back("Ext", "");
        answer.headers.emplace_back("Man", headers.extension);
    }
    answer.headers.emplace_back(headers.prefix + "CIMOperation", "MethodResponse");
    answer.body = std::move(body);
    return answer;
}

HttpAnswer Refused(const Refusal &refusal) {
    HttpAnswer answer;
    answer.status = refusal.status;
    answer.headers = {{"Content-Type", "text/plain; charset=\"utf-8\""}};
    if (refusal.status == kMethodNotAllowed) answer.headers.emplace_back("Allow", "POST, M-POST");
    if (refusal.cimError != nullptr) answer.headers.emplace_back("CIMError", refusal.cimError);
    answer.body = CleanText(refusal.what()) + "\n"; // it may repeat what the client sent
    return answer;
}

} // namespace

HttpAnswer Handle(Broker &broker, const HttpRequest &request) noexcept {
    try {
        const CimHeaders headers = ReadHeaders(request);
        const Document document(request.body);
        const Message message = ReadMessage(document, headers.host);
        RequireMatch(headers, message);
        return Success(headers, AnswerText(broker, message));
    } catch (const Refusal &refusal) {
        return Refused(refusal);
    } catch (const std::exception &error) {
        return Refused({kInternalError, nullptr, error.what()});
    }
}

} // namespace cim::wbem
