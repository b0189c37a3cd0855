#include "cim/picture/Picture.h"

#include "cim/picture/Assets.h"
#include "cim/picture/InventoryDocument.h"
#include "cim/wbem/Browsers.h"

#include <fmt/format.h>

#include <ctime>

namespace cim::picture {

using wbem::HeaderOf;
using wbem::HttpAnswer;
using wbem::HttpRequest;
using wbem::Reply;
using wbem::Sentence;

namespace {

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
    if (auto refusal = wbem::RefuseOtherHosts(request)) return refusal;
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
