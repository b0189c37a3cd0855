#include "cim/wbem/Headers.h"

#include "cim/values/Text.h"
#include "cim/wbem/Errors.h"

#include <algorithm>
#include <cctype>

namespace cim::wbem {

namespace {

constexpr char kExtension[] = "http://www.dmtf.org/cim/mapping/http/v1.";

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        parts.emplace_back(Trimmed(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return parts;
}

void RequireHost(const HttpRequest &request) {
    const auto hosts = std::count_if(request.headers.begin(), request.headers.end(),
                                     [](const auto &header) { return SameName(header.first, "Host"); });
    if (hosts > 1) throw Refusal(kBadRequest, nullptr, "Host is there more than once");
    if (hosts == 0 && request.version == "HTTP/1.1") throw Refusal(kBadRequest, nullptr, "Host is missing");
}

bool IsXml(const std::string &mediaType) { return mediaType == "application/xml" || mediaType == "text/xml"; }

void RequireXml(const HttpRequest &request) {
    const std::string *type = FindHeader(request.headers, "Content-Type");
    if (type == nullptr) return;
    const std::vector<std::string> parts = Split(LowerCase(*type), ';');
    if (!IsXml(parts[0])) throw Refusal(kUnsupportedMediaType, nullptr, "the content is not application/xml");
    for (std::size_t i = 1; i < parts.size(); ++i) {
        if (parts[i].rfind("charset=", 0) != 0) continue;
        std::string charset = parts[i].substr(8);
        charset.erase(std::remove(charset.begin(), charset.end(), '"'), charset.end());
        if (charset != "utf-8" && charset != "us-ascii") {
            throw Refusal(kUnsupportedMediaType, nullptr, "the content's charset is not utf-8");
        }
    }
}

void RequireAnswerWanted(const HttpRequest &request) {
    const std::string *accept = FindHeader(request.headers, "Accept");
    if (accept == nullptr || Trimmed(*accept).empty()) return;
    for (const std::string &range : Split(LowerCase(*accept), ',')) {
        const std::string type = Split(range, ';')[0];
        if (type == "*/*" || type == "application/*" || type == "text/*" || IsXml(type)) return;
    }
    throw Refusal(kNotAcceptable, nullptr, "the answer would be application/xml, which Accept leaves out");
}

// Man: http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73
void ReadExtension(const HttpRequest &request, CimHeaders &headers) {
    const std::string *man = FindHeader(request.headers, "Man");
    const std::vector<std::string> parts = Split(man != nullptr ? *man : "", ';');
    std::string uri = parts[0];
    uri.erase(std::remove(uri.begin(), uri.end(), '"'), uri.end());
    for (const std::string &part : parts) {
        if (part.rfind("ns=", 0) == 0) headers.prefix = part.substr(3) + "-";
    }
    const bool digits = headers.prefix.size() == 3 && std::isdigit(static_cast<unsigned char>(headers.prefix[0])) &&
                        std::isdigit(static_cast<unsigned char>(headers.prefix[1]));
    if (uri.rfind(kExtension, 0) != 0 || !digits) {
        throw Refusal(kNotExtended, nullptr, "M-POST needs a Man header with CIM's extension and a ns of two digits");
    }
    headers.extension = uri + " ; " + "ns=" + headers.prefix.substr(0, 2);
}

} // namespace

const std::string *FindHeader(const HeaderList &headers, std::string_view name) {
    for (const auto &header : headers) {
        if (SameName(header.first, name)) return &header.second;
    }
    return nullptr;
}

bool PercentDecode(const std::string &text, std::string *decoded) {
    decoded->clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            *decoded += text[i];
            continue;
        }
        const std::string digits = text.substr(i + 1, 2);
        if (digits.size() != 2 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
        *decoded += static_cast<char>(std::stoi(digits, nullptr, 16));
        i += 2;
    }
    return true;
}

bool IsProtocolVersion(const std::string &version) {
    return version.size() == 3 && version.rfind("1.", 0) == 0 && version[2] >= '0' && version[2] <= '4';
}

CimHeaders ReadHeaders(const HttpRequest &request) {
    if (request.method != "POST" && request.method != "M-POST") {
        throw Refusal(kMethodNotAllowed, nullptr, request.method + " is not supported; use POST or M-POST");
    }
    RequireHost(request);
    RequireXml(request);
    RequireAnswerWanted(request);

    CimHeaders headers;
    if (request.method == "M-POST") ReadExtension(request, headers);
    const auto find = [&](const char *name) { return FindHeader(request.headers, headers.prefix + name); };

    const std::string *operation = find("CIMOperation");
    if (operation == nullptr)
        throw Refusal(kBadRequest, nullptr, "CIMOperation is missing: this is not a CIM operation");
    if (!SameName(*operation, "MethodCall")) {
        throw Refusal(kBadRequest, "unsupported-operation", "CIMOperation " + *operation + " is not supported");
    }
    const std::string *version = find("CIMProtocolVersion");
    if (version != nullptr && !IsProtocolVersion(*version)) {
        throw Refusal(kNotImplemented, "unsupported-protocol-version",
                      "CIMProtocolVersion " + *version + " is not supported");
    }
    if (find("CIMBatch") != nullptr) {
        throw Refusal(kNotImplemented, "multiple-requests-unsupported", "multiple requests are not supported");
    }
    const std::string *method = find("CIMMethod");
    const std::string *object = find("CIMObject");
    if (method == nullptr) throw HeaderMismatch("CIMMethod is missing");
    if (object == nullptr) throw HeaderMismatch("CIMObject is missing");
    if (!PercentDecode(*method, &headers.method) || !PercentDecode(*object, &headers.object)) {
        throw HeaderMismatch("CIMMethod or CIMObject has a % without two hexadecimal digits");
    }
    const std::string *host = FindHeader(request.headers, "Host");
    headers.host = host != nullptr && !host->empty() ? *host : "localhost";
    return headers;
}

} // namespace cim::wbem
