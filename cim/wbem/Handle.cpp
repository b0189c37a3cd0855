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

// Versions first: another version's document has another grammar.
void RequireVersions(const pugi::xml_node &cim) {
    if (std::string_view(cim.name()) != "CIM") throw NotValid(std::string(cim.name()) + " where CIM belongs");
    const auto require = [](const pugi::xml_node &element, const char *attribute, const char *error,
                            bool (*isKnown)(const std::string &)) {
        const pugi::xml_attribute version = element.attribute(attribute);
        if (!version || isKnown(version.value())) return;
        throw Refusal(kNotImplemented, error, std::string(attribute) + " " + version.value() + " is not supported");
    };
    const auto isTwo = [](const std::string &version) { return version.rfind("2.", 0) == 0; };
    require(cim, "CIMVERSION", "unsupported-cim-version", isTwo);
    require(cim, "DTDVERSION", "unsupported-dtd-version", isTwo);
    require(cim.child("MESSAGE"), "PROTOCOLVERSION", "unsupported-protocol-version", IsProtocolVersion);
    if (cim.child("MESSAGE").child("MULTIREQ")) {
        throw Refusal(kNotImplemented, "multiple-requests-unsupported", "multiple requests are not supported");
    }
}

MethodCall ReadCall(const Document &document, const std::string &host) {
    RequireVersions(document.Root());
    document.RequireValid();
    const pugi::xml_node message = document.Root().child("MESSAGE");
    const pugi::xml_node intrinsic = message.child("SIMPLEREQ").child("IMETHODCALL");
    MethodCall call;
    call.message = message.attribute("ID").value();
    call.host = host;
    call.element = intrinsic ? intrinsic : message.child("SIMPLEREQ").child("METHODCALL");
    call.method = call.element.attribute("NAME").value();
    const pugi::xml_node target = intrinsic ? intrinsic : FirstElement(call.element);
    call.nameSpace = ReadNameSpace(target.child("LOCALNAMESPACEPATH"));
    if (!intrinsic) {
        const pugi::xml_attribute ofClass = target.child("CLASSNAME").attribute("NAME");
        call.className = (ofClass ? ofClass : target.child("INSTANCENAME").attribute("CLASSNAME")).value();
    }
    return call;
}

void RequireMatch(const CimHeaders &headers, const MethodCall &call) {
    if (!SameName(headers.method, call.method)) {
        throw HeaderMismatch("CIMMethod is " + headers.method + ", the body calls " + call.method);
    }
    const std::string named = call.nameSpace + (call.IsIntrinsic() ? "" : ":" + call.className);
    std::string object = headers.object;
    if (!call.IsIntrinsic()) object.resize(std::min(object.find('.', object.find(':')), object.size())); // without keys
    if (!SameName(object, named)) {
        throw HeaderMismatch("CIMObject is " + headers.object + ", the body names " + named);
    }
}

std::string AnswerText(Broker &broker, const MethodCall &call) {
    const auto write = [&call](const auto &content) {
        XmlWriter xml;
        xml.Ready("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
        {
            const XmlElement cim(xml, "CIM", {{"CIMVERSION", "2.0"}, {"DTDVERSION", "2.0"}});
            const XmlElement outer(xml, "MESSAGE", {{"ID", call.message}, {"PROTOCOLVERSION", "1.0"}});
            const XmlElement response(xml, "SIMPLERSP");
            const XmlElement method(xml, call.IsIntrinsic() ? "IMETHODRESPONSE" : "METHODRESPONSE",
                                    {{"NAME", call.method}});
            content(xml);
        }
        return xml.Take();
    };
    try {
        if (!call.IsIntrinsic()) {
            throw Fault(CMPI_RC_ERR_NOT_SUPPORTED, "methods of classes are not supported by this server");
        }
        return write([&](XmlWriter &xml) { Run(broker, call, xml); });
    } catch (const Fault &fault) {
        return write([&](XmlWriter &xml) {
            xml.Leaf("ERROR", {}, {{"CODE", std::to_string(fault.code)}, {"DESCRIPTION", fault.what()}});
        });
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
        const MethodCall call = ReadCall(document, headers.host);
        RequireMatch(headers, call);
        return Success(headers, AnswerText(broker, call));
    } catch (const Refusal &refusal) {
        return Refused(refusal);
    } catch (const std::exception &error) {
        return Refused({kInternalError, nullptr, error.what()});
    }
}

} // namespace cim::wbem
