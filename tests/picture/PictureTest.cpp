#include "cim/picture/Picture.h"

#include "cim/picture/InventoryDocument.h"
#include "cim/wbem/Headers.h"
#include "tests/picture/ScriptedHardware.h"
#include "tests/support/Golden.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace cim::picture {
namespace {

using wbem::HttpAnswer;
using wbem::HttpRequest;

const std::string kSources = QUARNEL_TEST_SOURCES;

class PictureTest : public testing::Test {
protected:
    static HttpAnswer Get(Picture &from, const std::string &path, const wbem::HeaderList &headers) {
        HttpRequest request;
        request.method = "GET";
        request.path = path;
        request.headers = headers;
        return from.Answer(request).value();
    }
    HttpAnswer Get(const std::string &path, const wbem::HeaderList &headers = {{"Host", "localhost:5988"}}) {
        return Get(picture, path, headers);
    }

    ScriptedHardware hardware;
    Picture picture{hardware.Reader(), false, kLookEachTime};
};

std::string HeaderIn(const HttpAnswer &answer, const char *name) {
    const std::string *value = wbem::FindHeader(answer.headers, name);
    return value != nullptr ? *value : "(none)";
}

TEST_F(PictureTest, ThePageAndAllThatItRefersToAreThere) {
    std::set<std::string> asked;
    std::vector<std::string> paths{"/"};
    const std::regex reference(R"re((?:href|src|from) ?=? ?["'](\.?/[^"']+)["'])re");
    while (!paths.empty()) {
        const std::string path = paths.back();
        paths.pop_back();
        if (!asked.insert(path).second) continue;
        const HttpAnswer answer = Get(path);
        EXPECT_EQ(answer.status, 200u) << path;
        EXPECT_FALSE(answer.body.empty()) << path;
        for (std::sregex_iterator found(answer.body.begin(), answer.body.end(), reference), end; found != end;
             ++found) {
            const std::string target = (*found)[1];
            paths.push_back(target[0] == '.' ? "/picture" + target.substr(1) : target);
        }
    }
    for (const auto &[path, type] :
         {std::pair("/", "text/html"), std::pair("/picture/main.js", "text/javascript"),
          std::pair("/picture/layout.css", "text/css"), std::pair("/picture/icon.svg", "image/svg+xml")}) {
        EXPECT_EQ(asked.count(path), 1u) << path;
        EXPECT_EQ(HeaderIn(Get(path), "Content-Type"), std::string(type) + "; charset=utf-8");
    }
    EXPECT_GE(asked.size(), 10u);
}

TEST_F(PictureTest, EveryAnswerIsLockedDown) {
    hardware.Fails("gone");
    for (const char *path : {"/", "/picture/main.js", "/api/inventory", "/nowhere"}) {
        const HttpAnswer answer = Get(path);
        const std::string policy = HeaderIn(answer, "Content-Security-Policy");
        EXPECT_EQ(policy.rfind("default-src 'none'; script-src 'self'; style-src 'self';", 0), 0u) << policy;
        EXPECT_EQ(policy.find("unsafe"), std::string::npos) << policy;
        EXPECT_EQ(HeaderIn(answer, "X-Content-Type-Options"), "nosniff") << path;
    }
}

TEST_F(PictureTest, OtherPathsAndMethods) {
    EXPECT_EQ(Get("/nowhere").status, 404u);
    EXPECT_EQ(Get("/picture/../Picture.cpp").status, 404u);
    HttpRequest request;
    EXPECT_FALSE(picture.Answer(request).has_value()); // POST is CIM-XML's
    request.method = "HEAD";
    ASSERT_TRUE(picture.Answer(request).has_value());
    EXPECT_EQ(picture.Answer(request)->status, 200u);
}

TEST_F(PictureTest, AnswersOnlyToNamesThatAlwaysMeanThisMachine) {
    const std::pair<const char *, unsigned> cases[] = {
        {"localhost", 200}, {"LocalHost:5988", 200},    {"127.0.0.1:80", 200},           {"127.1.2.3", 200},
        {"[::1]", 200},     {"[::1]:5988", 200},        {"evil.example", 421},           {"evil.example:5988", 421},
        {"10.0.0.1", 421},  {"127.0.0.1.example", 421}, {"localhost.evil.example", 421}, {"[::2]:5988", 421},
    };
    for (const auto &[host, status] : cases) {
        EXPECT_EQ(Get("/api/inventory", {{"Host", host}}).status, status) << host;
    }
    EXPECT_EQ(Get("/", {}).status, 200u); // HTTP/1.0
}

TEST_F(PictureTest, TheInventoryIsSentAgainOnlyWhenItChanged) {
    const HttpAnswer first = Get("/api/inventory");
    ASSERT_EQ(first.status, 200u);
    EXPECT_EQ(HeaderIn(first, "Content-Type"), "application/json");
    EXPECT_EQ(Json::parse(first.body)["Zembra_QuarnelStorageExtent"][0]["facts"]["state"], "ONLINE");
    const std::string tag = HeaderIn(first, "ETag");
    const wbem::HeaderList known{{"Host", "localhost"}, {"If-None-Match", tag}};

    const HttpAnswer same = Get("/api/inventory", known);
    EXPECT_EQ(same.status, 304u);
    EXPECT_EQ(same.body, "");
    EXPECT_EQ(HeaderIn(same, "ETag"), tag);
    EXPECT_TRUE(std::regex_match(HeaderIn(same, "Inventory-Age"), std::regex(R"(\d+\.\d{3})")));

    hardware.Disk("FAILED", 6, 30);
    const HttpAnswer other = Get("/api/inventory", known);
    EXPECT_EQ(other.status, 200u);
    EXPECT_NE(HeaderIn(other, "ETag"), tag);
    EXPECT_EQ(Json::parse(other.body)["changes"].size(), 1u);

    // Another server's version 1 is another one.
    Picture restarted(hardware.Reader(), false, kLookEachTime);
    EXPECT_EQ(Get(restarted, "/api/inventory", known).status, 200u);
}

TEST_F(PictureTest, ARejectedHardwareFileIsToldUntilItIsReadAgain) {
    wbem::HeaderList known{{"Host", "localhost"}, {"If-None-Match", HeaderIn(Get("/api/inventory"), "ETag")}};
    picture.Reject("hw.json", "hw.json:3: no such state");
    const Json first = Json::parse(Get("/api/inventory", known).body)["rejected"];
    EXPECT_EQ(first["file"], "hw.json");
    EXPECT_EQ(first["reason"], "hw.json:3: no such state");
    picture.Reject("hw.json", "hw.json:4: no such slot"); // edited, and still no better
    const Json second = Json::parse(Get("/api/inventory").body)["rejected"];
    EXPECT_EQ(second["reason"], "hw.json:4: no such slot");
    EXPECT_EQ(second["since"], first["since"]);
    picture.Reject("hw.json", "");
    EXPECT_EQ(Json::parse(Get("/api/inventory").body).count("rejected"), 0u);
}

TEST_F(PictureTest, OnlySampleHardwareIsCalledThat) {
    EXPECT_EQ(Json::parse(Get("/api/inventory").body).count("source"), 0u);
    Picture sample(hardware.Reader(), true, kLookEachTime);
    EXPECT_EQ(Json::parse(Get(sample, "/api/inventory", {}).body)["source"], "sample hardware");
}

TEST(InventoryDocument, IsWhatListHasWithFactsAndMembers) {
    std::ifstream file(kSources + "/server.json");
    Instances server = support::InstancesOf(Json::parse(file));
    ObjectPath path = server[kVolume][0].path;
    path.keys.push_back({"SystemName", Value::Text("host.example")});
    server[kVolume][0].path = path;
    Observation observation;
    observation.inventory = Describe(server);
    observation.age = std::chrono::milliseconds(1500);
    Json document = InventoryDocument(observation, false);
    for (const char *time : {"time", "watchedSince"}) EXPECT_EQ(document.erase(time), 1u) << time;
    for (const auto &served : kServedClasses) {
        for (auto &item : document[served.name]) item["path"] = item["path"].get<std::string>().substr(11);
    }
    support::ExpectGolden(kSources + "/document.json", Dump(document, 1) + "\n");
}

TEST_F(PictureTest, WhatCannotBeReadIsSaid) {
    hardware.Fails("Zembra_QuarnelController: libX.so: no such file");
    const HttpAnswer answer = Get("/api/inventory");
    EXPECT_EQ(answer.status, 503u);
    EXPECT_EQ(answer.body, "Zembra_QuarnelController: libX.so: no such file\n");
}

} // namespace
} // namespace cim::picture
