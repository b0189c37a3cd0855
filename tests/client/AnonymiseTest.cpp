// Recordings that tell nobody whose hardware it is, and still replay.
#include "tests/client/Hosting.h"

#include "cim/recording/Anonymise.h"
#include "cim/recording/DescriptionText.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <functional>
#include <set>

namespace cim {
namespace {

constexpr const char *kProfile = "Host Hardware RAID Controller";

VendorModel SampleModel(const std::string &sample) {
    const HostedServer server(SampleHardware(sample));
    return ModelOf(*ConnectTo(server.http.Url()));
}

std::string TextOf(const VendorModel &model) { return DescriptionOf(model, "root/interop", "test").text; }

// Served instances, by class.
std::vector<std::size_t> CountsOf(const std::string &hardware) {
    const HostedServer server(hardware);
    const auto instances = ReadInstances(*ConnectTo(server.http.Url()));
    EXPECT_TRUE(instances.Ok()) << instances.status.message;
    std::vector<std::size_t> counts;
    for (const auto &some : instances.value) counts.push_back(some.size());
    return counts;
}

// Changes every text of the model, keys and the elements of arrays included.
using Change = std::function<std::string(const std::string &text, bool key)>;
void ChangeTexts(VendorModel &model, const Change &change) {
    for (Instance &object : model.objects) {
        ObjectPath path = object.path;
        std::set<std::string> keys;
        const auto changeAll = [&](std::vector<NamedValue> &values, bool areKeys) {
            for (auto &[name, value] : values) {
                if (areKeys) keys.insert(name);
                const bool key = keys.count(name) != 0;
                if (auto *text = std::get_if<std::string>(&value.payload)) *text = change(*text, key);
                if (auto *elements = std::get_if<Value::Elements>(&value.payload)) {
                    for (Value &element : *elements) {
                        if (auto *text = std::get_if<std::string>(&element.payload)) *text = change(*text, key);
                    }
                }
            }
        };
        changeAll(path.keys, true);
        changeAll(object.properties, false);
        object.path = std::move(path);
    }
}

// Every kind of text that the schema has for a thing, with something in it.
void AddTexts(VendorModel &model) {
    for (Instance &object : model.objects) {
        for (const char *name :
             {"Description", "Caption", "IdentifyingNumber", "PermanentAddress", "PrimaryOwnerName"}) {
            object.properties.push_back({name, Value::Text("text")});
        }
        for (const char *name : {"StatusDescriptions", "OtherIdentifyingInfo"}) {
            object.properties.push_back({name, Value::ArrayOf(CMPI_string, {Value::Text("one"), Value::Text("two")})});
        }
    }
}

// What a server may tell of itself, and what of that may not be found again.
struct Secret {
    const char *told;
    std::vector<std::string> parts; // in lower case
};
const Secret kSecrets[] = {
    {"W7X00123", {"w7x00123"}},
    {"5000c500a1b2c3d4", {"5000c500a1b2c3d4", "a1b2c3"}},
    {"0x5000C500A1B2C3D4", {"5000c500a1b2c3d4", "a1b2c3"}},
    {"50:00:c5:00:a1:b2:c3:d4", {"c5:00:a1", "a1:b2:c3"}},
    {"iqn.2024-01.com.bigbank:db7-data", {"iqn.2024", "bigbank", "db7"}},
    {"10.20.30.40", {"10.20.30.40", "20.30"}},
    {"fe80::225:b5ff:fe00:1122", {"225:b5ff", "fe00", "1122"}},
    {"00:25:b5:00:11:22", {"25:b5", "00:11:22"}},
    {"db7.bigbank.example", {"db7", "bigbank"}},
    {"db7", {"db7"}},
    {"jane.doe@bigbank.example", {"jane", "doe", "bigbank"}},
    {"mkowalski", {"mkowalski"}},
};

void ExpectNone(const std::string &text, const Secret &secret) {
    const std::string lower = LowerCase(text);
    for (const std::string &part : secret.parts) {
        const auto at = lower.find(part);
        EXPECT_EQ(at, std::string::npos) << secret.told << " is left, in " << text.substr(at < 60 ? 0 : at - 60, 120);
    }
}

class AnonymousSample : public testing::TestWithParam<const char *> {};

TEST_P(AnonymousSample, NoSecretIsLeftInAnyText) {
    const VendorModel sample = SampleModel(GetParam());
    // One alone in a text, or in some words of it. Keys stay different.
    for (const Secret &secret : kSecrets) {
        for (const std::string before : {"", "SN:", "used by "}) {
            VendorModel model = sample;
            AddTexts(model);
            const std::string told = before + secret.told;
            ChangeTexts(model, [&](const std::string &text, bool key) { return key ? text + " " + told : told; });
            Anonymise(&model, {});
            ExpectNone(TextOf(model), secret);
        }
    }
}

TEST_P(AnonymousSample, WithAllSecretsInEveryTextTheReplayServesAsMuchAsBefore) {
    const support::TemporaryFolder folder;
    VendorModel model = SampleModel(GetParam());
    AddTexts(model);
    std::string all;
    for (const Secret &secret : kSecrets) all += std::string(", ") + secret.told;
    // Without its name nobody would find the profile, recorded or not.
    ChangeTexts(model, [&](const std::string &text, bool) { return text == kProfile ? text : text + all; });
    const std::vector<std::size_t> before = CountsOf(folder.Write("told.json", TextOf(model)));
    Anonymise(&model, {"db7.bigbank.example"});
    const std::string text = TextOf(model);
    for (const Secret &secret : kSecrets) ExpectNone(text, secret);
    EXPECT_EQ(CountsOf(folder.Write("anonymous.json", text)), before);
    for (const std::size_t count : before) EXPECT_GT(count, 0u);
}

INSTANTIATE_TEST_SUITE_P(Anonymise, AnonymousSample, testing::Values("rack-server.json", "storage-node.json"));

TEST(Anonymise, ReplaysTheSameHardware) {
    const support::TemporaryFolder folder;
    std::vector<std::string> served;
    VendorModel model;
    {
        const HostedServer server(SampleHardware("rack-server.json"));
        const auto connection = ConnectTo(server.http.Url());
        served = Served(*connection);
        model = ModelOf(*connection);
    }
    // Secrets stand in other texts, too: as they are, in another case, with separators, and within words.
    for (Instance &object : model.objects) {
        if (object.path->className != "Sim_ComputerSystem") continue;
        object.properties.push_back({"Caption", Value::Text("c0 in DB7.Example.Com, db7: sn AC41770092")});
        object.properties.push_back({"Description", Value::Text("60:0a:0c:84:d4:17:70:09:20:10:20:3a:5c:0d:1e:01 "
                                                                "LUN600A0C84D41770092010203A5C0D2F47")});
        object.properties.push_back({"InstallDate", Value::DateTime("20260105100211.000000+060")});
    }
    const LeftTexts left = Anonymise(&model, {"db7.example.com:5989", "localhost"});
    const std::string text = TextOf(model);
    for (const char *secret : {"AC41770092", "600A0C84D4177", "example.com", "db7"}) {
        EXPECT_EQ(text.find(secret), std::string::npos) << secret;
    }
    EXPECT_NE(text.find("c0 in host1.example, host1: sn SN00000001"), std::string::npos) << text;
    EXPECT_NE(text.find("60:00:00:00:00:00:00:00:00:00:00:00:00:00:00:01 LUN60000000000000000000000000000002"),
              std::string::npos)
        << text;
    EXPECT_EQ(left.at("VersionString"), 12u) << "four of the controller's and one of each disk";
    EXPECT_EQ(left.at("InstallDate"), 1u);
    EXPECT_EQ(left.count("SerialNumber"), 0u);

    const HostedServer replay(folder.Write("anonymous.json", text));
    const std::vector<std::string> anonymous = Served(*ConnectTo(replay.http.Url()));
    ASSERT_EQ(anonymous.size(), served.size());
    for (std::size_t i = 0; i < served.size(); ++i) {
        // Volumes have WWNs as names; all else of this server is the same.
        if (served[i].find("StorageVolume") != std::string::npos) continue;
        EXPECT_EQ(anonymous[i], served[i]);
    }
}

// One object with that in a property, and that of it in the anonymous model.
std::string Anonymous(const char *property, const std::string &text) {
    VendorModel model;
    model.objects = {{ObjectPath{{}, "root/sim", "Sim_DiskDrive", {}}, {{property, Value::Text(text)}}}};
    Anonymise(&model, {"db7", "[fe80::7]:5989"});
    return *model.objects[0].Property(property)->As<std::string>();
}

TEST(Anonymise, WhatTellsNothingKeepsItsForm) {
    const struct {
        const char *property, *text, *anonymous;
    } kCases[] = {
        {"DeviceID", "Sim:c0:252:13", "Sim:c0:252:13"},
        {"CreationClassName", "Sim_DiskDrive", "Sim_DiskDrive"},
        {"ElementName", "RAID10", "RAID10"},
        {"ElementName", "payroll, disk 4 in enclosure 252", "x000001, disk 4 in enclosure 252"},
        {"Model", "Borlund BL900S10K", "Borlund BL900S10K"},
        {"Model", "Borlund", "x000001"},
        {"Model", "R840 of db7", "R840 of host1"},
        {"VersionString", "24.7.0-0118 (N0A4)", "24.7.0-0118 (N0A4)"},
        {"VersionString", "5.14.0.3", "5.14.0.3"},
        {"VersionString", "5.14 by mkowalski", "5.14 by x00000001"},
        {"Description", "5.14.0.3, 127.0.0.1 and fe80::7", "198.18.0.2, 198.18.0.1 and 2001:db8::1"},
        {"Description", "M\xc3\xbcller, +49 555 1234567", "x000001, +49 555 x000002"},
        {"Tag", "555-123-456", "x01-x02-x03"},
        {"Tag", "x01-smith", "x01-x0001"},
        {"SerialNumber", "not available", "not available"},
        {"SerialNumber", "12-34", "SN001"},
        {"Name", "pool.free", "pool.free"},
    };
    for (const auto &some : kCases) EXPECT_EQ(Anonymous(some.property, some.text), some.anonymous) << some.text;
}

} // namespace
} // namespace cim
