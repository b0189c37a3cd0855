#include "cim/wbem/Browsers.h"

#include "cim/values/Text.h"
#include "cim/wbem/Headers.h"

namespace cim::wbem {

namespace {

// Nothing but the page's own files and its own server; and no way to write markup from a script.
constexpr const char *kContentPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types 'none'";

bool MeansThisMachine(std::string host) {
    const auto port = host.rfind(':');
    if (port != std::string::npos && host.find(']', port) == std::string::npos) host.resize(port);
    const auto digitsAndDots = host.find_first_not_of("0123456789.") == std::string::npos;
    return host.empty() || SameName(host, "localhost") || host == "[::1]" ||
           (digitsAndDots && host.rfind("127.", 0) == 0);
}

} // namespace

HttpAnswer Reply(unsigned status, std::string_view type, std::string body) {
    HttpAnswer answer;
    answer.status = status;
    answer.headers = {{"Content-Type", std::string(type)},
                      {"Content-Security-Policy", kContentPolicy},
                      {"X-Content-Type-Options", "nosniff"},
                      {"Referrer-Policy", "no-referrer"},
                      {"Cross-Origin-Resource-Policy", "same-origin"},
                      {"Cache-Control", "no-cache"}};
    answer.body = std::move(body);
    return answer;
}

HttpAnswer Sentence(unsigned status, const std::string &text) {
    return Reply(status, "text/plain; charset=utf-8", text + "\n");
}

const std::string &HeaderOf(const HttpRequest &request, std::string_view name) {
    static const std::string none;
    const std::string *value = FindHeader(request.headers, name);
    return value != nullptr ? *value : none;
}

std::optional<HttpAnswer> RefuseOtherHosts(const HttpRequest &request) {
    if (MeansThisMachine(HeaderOf(request, "Host"))) return {};
    return Sentence(421, "this server answers to localhost, 127.0.0.1 and [::1] only");
}

} // namespace cim::wbem
