// CIM-XML requests without a socket: header lines, an empty line and a body; or, from its first < on, a body for which
// the headers are made as a client would.
#include "cim/wbem/Document.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/Handle.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/wbem/Boxes.h"

#include <exception>
#include <iterator>

namespace {

using cim::wbem::HttpRequest;

std::string_view TakeUntil(std::string_view &text, std::string_view mark) {
    const std::size_t end = std::min(text.find(mark), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + mark.size(), text.size()));
    return taken;
}

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

HttpRequest OfBody(std::string_view body) {
    HttpRequest request = cim::wbem::RequestWith(std::string(body));
    const std::string_view call = Behind(body, "<LOCALNAMESPACEPATH>");
    for (auto &[name, value] : request.headers) {
        if (name == "CIMMethod") value = Named(body, "METHODCALL NAME=\"");
        if (name == "CIMObject")
            value = Named(call.substr(0, call.find("</LOCALNAMESPACEPATH>")), "<NAMESPACE NAME=\"");
    }
    return request;
}

// A first line as HTTP has it, without the path: "POST HTTP/1.1".
HttpRequest WithHeaders(std::string_view text) {
    HttpRequest request;
    std::string_view first = TakeUntil(text, "\n");
    request.method = TakeUntil(first, " ");
    request.version = first;
    while (!text.empty()) {
        std::string_view line = TakeUntil(text, "\n");
        if (line.empty()) break;
        const std::string name(TakeUntil(line, ": "));
        request.headers.emplace_back(name, line);
    }
    request.body = text;
    return request;
}

} // namespace

void fuzz::Read(std::string_view input) {
    static cim::Broker *const broker = cim::wbem::BrokerWithBoxes().release(); // for good: see Fuzz.h
    const bool bodyOnly = input.substr(0, 1) == "<" || input.substr(0, 3) == "\xEF\xBB\xBF";
    const auto answer = cim::wbem::Handle(*broker, bodyOnly ? OfBody(input) : WithHeaders(input));
    Require(answer.status != cim::wbem::kInternalError, "the server knows what it refuses: " + answer.body);
    Require(broker->Live().lent == 0, "a request leaves nothing behind");
    if (answer.status != cim::wbem::kOk) return;
    pugi::xml_document document;
    try {
        cim::wbem::ReadDocument(answer.body, document);
    } catch (const std::exception &error) {
        Require(false, std::string("the answer is XML: ") + error.what() + "\n" + answer.body);
    }
}
