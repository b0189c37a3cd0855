#include "tests/wbem/Boxes.h"

#include "tests/support/BuildTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace cim::wbem {

std::unique_ptr<Broker> BrokerWithBoxes() {
    const std::string boxes = QUARNEL_TEST_DATA "/boxes";
    setenv("SIM_HHRC_HARDWARE", (boxes + ".json").c_str(), 1);
    BrokerConfig config;
    config.mofFiles = {boxes + ".mof"};
    config.registrationFiles = {boxes + ".reg"};
    config.libraryFolders = {support::BuildFolder() + "/lib"};
    std::string error;
    auto broker = Broker::Create(config, &error);
    EXPECT_NE(broker, nullptr) << error;
    return broker;
}

std::string_view TakeUntil(std::string_view &text, std::string_view mark) {
    const std::size_t end = std::min(text.find(mark), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + mark.size(), text.size()));
    return taken;
}

HttpRequest RequestOf(std::string_view text) {
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

} // namespace cim::wbem
