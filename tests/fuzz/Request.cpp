// CIM-XML requests without a socket: header lines, an empty line and a body; or, from its first < on, a body for which
// the headers are made as a client would.
#include "cim/wbem/Document.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/Handle.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/wbem/Boxes.h"

#include <exception>

namespace {

using cim::wbem::TakeUntil;

std::string_view Behind(std::string_view text, std::string_view mark) {
    TakeUntil(text, mark);
    return text;
}

// The values of all NAMEs that begin like `open`.
std::string Named(std::string_view text, std::string_view open) {
    std::string names;
    while (!(text = Behind(text, open)).empty()) {
        if (!names.empty()) names += '/';
        names += TakeUntil(text, "\"");
    }
    return names;
}

cim::wbem::HttpRequest OfBody(std::string_view body) {
    std::string_view call = Behind(body, "<LOCALNAMESPACEPATH>");
    return cim::wbem::RequestOf(
        "POST HTTP/1.1\nHost: server\nCIMOperation: MethodCall\nCIMMethod: " + Named(body, "METHODCALL NAME=\"") +
        "\nCIMObject: " + Named(TakeUntil(call, "</LOCALNAMESPACEPATH>"), "<NAMESPACE NAME=\"") + "\n\n" +
        std::string(body));
}

} // namespace

void fuzz::Read(std::string_view input) {
    static cim::Broker *const broker = cim::wbem::BrokerWithBoxes().release(); // for good: see Fuzz.h
    const bool bodyOnly = input.substr(0, 1) == "<" || input.substr(0, 3) == "\xEF\xBB\xBF";
    const auto answer = cim::wbem::Handle(*broker, bodyOnly ? OfBody(input) : cim::wbem::RequestOf(input));
    Require(answer.status != cim::wbem::kInternalError, "the server knows what it refuses: " + answer.body);
    Require(broker->Live().lent == 0, "a request leaves nothing behind");
    if (answer.status != cim::wbem::kOk) return;
    try {
        const cim::wbem::Document document(answer.body);
    } catch (const std::exception &error) {
        Require(false, std::string("the answer is XML: ") + error.what() + "\n" + answer.body);
    }
}
