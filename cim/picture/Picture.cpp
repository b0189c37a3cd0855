#include "cim/picture/Picture.h"

#include "cim/picture/Assets.h"
#include "cim/picture/InventoryDocument.h"
#include "cim/wbem/Headers.h"

#include <fmt/format.h>

#include <ctime>

namespace cim::picture {

using wbem::HeaderList;
using wbem::HttpAnswer;
using wbem::HttpRequest;

namespace {

// Nothing but the page's own files and its own server; and no way to write markup from a script.
constexpr const char *kContentPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types 'none'";

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
    const std::string *value = wbem::FindHeader(request.headers, name);
    return value != nullptr ? *value : none;
}

// A page of another site can point its own name at this machine and would then be let in as the same origin: only what
// always means this machine is answered to.
bool MeansThisMachine(std::string host) {
    const auto port = host.rfind(':');
    if (port != std::string::npos && host.find(']', port) == std::string::npos) host.resize(port);
    const auto digitsAndDots = host.find_first_not_of("0123456789.") == std::string::npos;
    return host.empty() || SameName(host, "localhost") || host == "[::1]" ||
           (digitsAndDots && host.rfind("127.", 0) == 0);
}

std::string NewLife() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return fmt::format("{:x}{:x}", now.tv_sec, now.tv_nsec);
}

} // namespace

Picture::Picture(Observer::Read read, bool isSample, const Pace &pace)
    : life(NewLife()), sample(isSample), observer(std::move(read), pace) {}

std::optional<HttpAnswer> Picture::Answer(const HttpRequest &request) {
    if (request.method != "GET" && request.method != "HEAD") return {};
    if (!MeansThisMachine(HeaderOf(request, "Host"))) {
        return Sentence(421, "this server answers to localhost, 127.0.0.1 and [::1] only");
    }
    if (request.path == "/api/inventory") return AnswerInventory(request);
    if (const Asset *asset = FindAsset(request.path)) return Reply(200, asset->type, std::string(asset->content));
    return Sentence(404, "there is nothing at " + request.path);
}

HttpAnswer Picture::AnswerInventory(const HttpRequest &request) {
    HttpAnswer answer;
    observer.Observe([&](const Observation &observation) {
        if (!observation.failure.empty()) {
            answer = Sentence(503, observation.failure);
            return;
        }
        const std::string tag = fmt::format("\"{}-{}\"", life, observation.version);
        if (HeaderOf(request, "If-None-Match") == tag) {
            answer = Reply(304, "application/json", "");
        } else {
            answer = Reply(200, "application/json", Dump(InventoryDocument(observation, sample), -1) + "\n");
        }
        answer.headers.emplace_back("ETag", tag);
        answer.headers.emplace_back("Inventory-Age", fmt::format("{:.3f}", observation.age.count()));
    });
    return answer;
}

} // namespace cim::picture
