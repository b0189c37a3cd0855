#include "cim/broker/objects/Value.h"

#include <gtest/gtest.h>

namespace cim {
namespace {

TEST(ObjectPaths, ReadAsWbemPaths) {
    ObjectPath path{{}, "root/cimv2", "T_Disk", {}};
    EXPECT_EQ(path.ToString(), "root/cimv2:T_Disk");
    path.host = "server";
    path.keys = {{"ID", Value::Text("a\"b\\c")},
                 {"Index", Value::Unsigned(CMPI_uint16, 7)},
                 {"Delta", Value::Signed(CMPI_sint64, -3)},
                 {"Spare", Value::Boolean(true)}};
    EXPECT_EQ(path.ToString(), "//server/root/cimv2:T_Disk.ID=\"a\\\"b\\\\c\",Index=7,Delta=-3,Spare=true");
    const ObjectPath link{
        {}, "root/x", "T_Link", {{"Source", Value::Reference({{}, "root/x", "T_A", {{"ID", Value::Text("1")}}})}}};
    EXPECT_EQ(link.ToString(), "root/x:T_Link.Source=\"root/x:T_A.ID=\\\"1\\\"\"");
}

TEST(ObjectPaths, AreEqualByClassNamespaceAndKeysInAnyOrder) {
    const ObjectPath path{
        {}, "root/cimv2", "T_Disk", {{"ID", Value::Text("a")}, {"N", Value::Unsigned(CMPI_uint16, 7)}}};
    ObjectPath other{
        "server", "Root/CIMV2", "t_disk", {{"n", Value::Signed(CMPI_sint64, 7)}, {"id", Value::Text("a")}}};
    EXPECT_EQ(path, other);
    other.keys[0].value = Value::Signed(CMPI_sint64, -7);
    EXPECT_NE(path, other);
    other.keys[0].value = Value::Text("7");
    EXPECT_NE(path, other);
    other.keys.pop_back();
    EXPECT_NE(path, other);
    EXPECT_NE(
        path,
        (ObjectPath{{}, "root/cimv2", "T_Disk", {{"ID", Value::Text("A")}, {"N", Value::Unsigned(CMPI_uint16, 7)}}}));
}

TEST(Values, AreEqualByTypeAndContent) {
    EXPECT_EQ(Value::Text("a"), Value::Text("a"));
    EXPECT_NE(Value::Unsigned(CMPI_uint8, 1), Value::Unsigned(CMPI_uint16, 1));
    EXPECT_NE(Value::Null(CMPI_string), Value::Text(""));
    EXPECT_EQ(Value::ArrayOf(CMPI_string, {Value::Text("a")}), Value::ArrayOf(CMPI_string, {Value::Text("a")}));
    EXPECT_NE(Value::ArrayOf(CMPI_string, {Value::Text("a")}), Value::ArrayOf(CMPI_string, {}));
    EXPECT_EQ(Value::Reference({{}, "x", "A", {}}), Value::Reference({{}, "X", "a", {}}));
    const auto embedded = [](const char *id) {
        return Value{CMPI_instance, std::make_shared<const Instance>(
                                        Instance{ObjectPath{{}, "x", "A", {}}, {{"ID", Value::Text(id)}}})};
    };
    EXPECT_EQ(embedded("1"), embedded("1"));
    EXPECT_NE(embedded("1"), embedded("2"));
}

TEST(Names, CompareWithoutRegardToCase) {
    EXPECT_TRUE(SameName("CIM_Disk", "cim_DISK"));
    EXPECT_FALSE(SameName("CIM_Disk", "CIM_Disks"));
    EXPECT_FALSE(SameName("CIM@", "CIM`"));
}

} // namespace
} // namespace cim
