#include "cim/program/Scrape.h"
#include "cim/wbem/Headers.h"
#include "tests/picture/ScriptedHardware.h"

#include <gtest/gtest.h>

#include <thread>

namespace cim {
namespace {

using picture::ScriptedHardware;

wbem::HttpAnswer Get(picture::Picture &of, const wbem::HeaderList &headers = {{"Host", "localhost:5988"}}) {
    wbem::HttpRequest request;
    request.method = "GET";
    request.path = "/metrics";
    request.headers = headers;
    return AnswerScrape(of, false, request).value();
}

bool Says(const wbem::HttpAnswer &answer, const std::string &line) {
    return ("\n" + answer.body).find("\n" + line) != std::string::npos;
}

TEST(Scrape, IsAnsweredLikeThePage) {
    ScriptedHardware hardware;
    picture::Picture picture(hardware.Reader(), false, picture::kLookEachTime);
    const auto header = [](const wbem::HttpAnswer &answer, const char *name) {
        const std::string *value = wbem::FindHeader(answer.headers, name);
        return value != nullptr ? *value : "(none)";
    };
    const wbem::HttpAnswer text = Get(picture);
    EXPECT_EQ(header(text, "Content-Type"), "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_EQ(header(text, "X-Content-Type-Options"), "nosniff");
    EXPECT_NE(header(text, "Content-Security-Policy"), "(none)");
    const wbem::HttpAnswer open = Get(picture, {{"Host", "localhost"}, {"Accept", "application/openmetrics-text"}});
    EXPECT_EQ(header(open, "Content-Type"), "application/openmetrics-text; version=1.0.0; charset=utf-8");
    EXPECT_TRUE(Says(open, "# EOF\n"));
    const wbem::HttpAnswer refused = Get(picture, {{"Host", "evil.example"}});
    EXPECT_EQ(refused.status, 421u);
    EXPECT_EQ(refused.body.find("quarnel_"), std::string::npos);

    wbem::HttpRequest other; // POST is CIM-XML's, other paths are the page's
    other.path = "/metrics";
    EXPECT_FALSE(AnswerScrape(picture, false, other));
    other.method = "HEAD";
    EXPECT_TRUE(AnswerScrape(picture, false, other));
    other.path = "/metrics/";
    EXPECT_FALSE(AnswerScrape(picture, false, other));
}

TEST(Scrape, ALookThatFailsLeavesNothingStale) {
    ScriptedHardware hardware;
    picture::Picture picture(hardware.Reader(), false, picture::kLookEachTime);
    EXPECT_TRUE(Says(Get(picture), "quarnel_up 1\n"));
    hardware.Fails("gone");
    const wbem::HttpAnswer failed = Get(picture);
    EXPECT_EQ(failed.status, 200u);
    EXPECT_TRUE(Says(failed, "quarnel_up 0\n"));
    EXPECT_TRUE(Says(failed, "quarnel_looks_failed_total 1\n"));
    EXPECT_TRUE(Says(failed, "quarnel_last_read_timestamp_seconds{controller=\"c0\",hw_type=\"physical_disk\"} 1"));
    EXPECT_FALSE(Says(failed, "hw_") || Says(failed, "quarnel_disk") || Says(failed, "quarnel_gone")) << failed.body;
    hardware.Nothing();
    const wbem::HttpAnswer without = Get(picture);
    EXPECT_TRUE(Says(without, "quarnel_up 1\n"));
    EXPECT_TRUE(Says(without, "quarnel_gone{kind=\"disk\"} 1\n"));
    EXPECT_TRUE(Says(without, "quarnel_first_reading_finished 0\n")); // the controller has no devices now
}

TEST(Scrape, SharesThePagesLooks) {
    ScriptedHardware hardware;
    picture::Picture picture(hardware.Reader(), false, {std::chrono::hours(1), std::chrono::hours(1)});
    std::vector<std::thread> scrapers;
    for (int i = 0; i < 4; ++i) {
        scrapers.emplace_back([&picture] { EXPECT_TRUE(Says(Get(picture), "quarnel_looks_total 1\n")); });
    }
    for (auto &scraper : scrapers) scraper.join();
    picture.Observe([](const picture::Observation &seen) { EXPECT_EQ(seen.looks, 1u); });
    EXPECT_EQ(hardware.Looks(), 1);
}

} // namespace
} // namespace cim
