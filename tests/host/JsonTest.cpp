#include "cim/inventory/Json.h"

#include "tests/host/Samples.h"

#include <gtest/gtest.h>

#include <limits>

namespace cim {
namespace {

TEST(Json, ValuesHaveTheirNaturalTypes) {
    ObjectPath path;
    path.nameSpace = "root/cimv2";
    path.className = "CIM_X";
    path.keys = {{"Name", Value::Text("a\"b")}};

    struct Case {
        Value value;
        const char *json;
    };
    const Case cases[] = {
        {Value::Boolean(true), "true"},
        {Value::Unsigned(CMPI_uint64, std::numeric_limits<std::uint64_t>::max()), "18446744073709551615"},
        {Value::Signed(CMPI_sint64, std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
        {Value::Unsigned(CMPI_uint8, 7), "7"},
        {Value::Unsigned(CMPI_char16, 0xE4), "\"\u00e4\""},
        {Value::Unsigned(CMPI_char16, 0x20AC), "\"\u20ac\""},
        {Value::Unsigned(CMPI_char16, 0xD800), "\"\ufffd\""},
        {Value::Real(CMPI_real64, 0.5), "0.5"},
        {Value::Text("line\n"), "\"line\\n\""},
        {Value::Text("\xc3("), "\"\ufffd(\""}, // no UTF-8
        {Value::DateTime("20260105100211.000000+060"), "\"20260105100211.000000+060\""},
        {Value::Null(CMPI_string), "null"},
        {ListOf(3), "[3]"},
        {Value::ArrayOf(CMPI_string, {}), "[]"},
        {Value::Reference(path), R"("root/cimv2:CIM_X.Name=\"a\\\"b\"")"},
    };
    for (const auto &[value, json] : cases) EXPECT_EQ(Dump(ToJson(value), -1), json);
}

TEST(Json, AnObjectWithAnArrayForEachServedClass) {
    Instances server;
    server[kController] = {SampleController("c1", "R8i")};
    const Json all = ToJson(server, nullptr);
    std::vector<std::string> classes;
    for (const auto &[name, array] : all.items()) classes.push_back(name);
    EXPECT_EQ(classes, (std::vector<std::string>{"Zembra_QuarnelController", "Zembra_QuarnelSoftwareIdentity",
                                                 "Zembra_QuarnelStorageVolume", "Zembra_QuarnelStorageExtent",
                                                 "Zembra_QuarnelSASSATAPort", "Zembra_QuarnelBattery"}));
    EXPECT_EQ(all["Zembra_QuarnelBattery"], Json::array());
    ASSERT_EQ(all["Zembra_QuarnelController"].size(), 1u);
    EXPECT_EQ(all["Zembra_QuarnelController"][0], Json::parse(R"json({
        "path": "root/cimv2:Zembra_QuarnelController.Name=\"zbrControllerc1\"",
        "properties": {"Caption": "Controller c1 (R8i)", "HealthState": 5, "Name": "zbrControllerc1",
                       "OperationalStatus": [2]}})json"));

    EXPECT_EQ(Dump(ToJson(server, &kServedClasses[kPort]), -1), R"({"Zembra_QuarnelSASSATAPort":[]})");
}

TEST(Json, WhateverOrderTheProviderHasTheTextIsTheSame) {
    const auto text = [](const std::vector<const char *> &disks, const char *drives) {
        Instances server;
        for (const char *disk : disks) server[kDisk].push_back(SampleDisk(disk, "", 2, 5));
        server[kController] = {SampleController("c1_0", "R8i"), SampleController("c1", "R8i")};
        const std::string caption =
            std::string("Logical Volume 7 on controller c1_0, Drives(") + drives + ") - OPTIMAL";
        server[kVolume] = {SampleVolume("c1_0_7", caption, 2, 5)};
        PutInOrder(server);
        return Dump(ToJson(server, nullptr), -1);
    };
    const std::string one = text({"c1_2", "c1_10", "c1_02"}, "1e8,2e8,10e8");
    EXPECT_EQ(text({"c1_10", "c1_02", "c1_2"}, "10e8,1e8,2e8"), one);
    EXPECT_LT(one.find("Extc1_2"), one.find("Extc1_10"));
    EXPECT_NE(one.find("Drives(1e8,2e8,10e8)"), std::string::npos) << one;
}

} // namespace
} // namespace cim
