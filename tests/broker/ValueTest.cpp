#include "tests/support/Values.h"

#include <gtest/gtest.h>

namespace cim {
namespace {

using support::S64;
using support::Text;
using support::U16;
using support::U8;

TEST(ObjectPaths, ReadAsWbemPaths) {
    const ObjectPath inner{{}, "root/x", "T_A", {{"ID", Text("1")}}};
    EXPECT_EQ((ObjectPath{{}, "root/cimv2", "T_Disk", {}}.ToString()), "root/cimv2:T_Disk");
    const ObjectPath path{"server",
                          "root/x",
                          "T_Disk",
                          {{"ID", Text("a\"b\\c")},
                           {"Index", U16(7)},
                           {"Delta", S64(-3)},
                           {"Share", Value::Real(CMPI_real64, 0.5)},
                           {"Spare", support::Flag(true)},
                           {"Source", Value::Reference(inner)},
                           {"None", Value::Null(CMPI_string)}}};
    EXPECT_EQ(path.ToString(), "//server/root/x:T_Disk.ID=\"a\\\"b\\\\c\",Index=7,Delta=-3,Share=0.5,Spare=true,"
                               "Source=\"root/x:T_A.ID=\\\"1\\\"\",None=NULL");
}

TEST(ObjectPaths, AreEqualByClassNamespaceAndKeysInAnyOrder) {
    const ObjectPath path{{}, "root/cimv2", "T_Disk", {{"ID", Text("a")}, {"N", U16(7)}}};
    ObjectPath other{"server", "Root/CIMV2", "t_disk", {{"n", S64(7)}, {"id", Text("a")}}};
    EXPECT_EQ(path, other);
    EXPECT_EQ(other, path);
    for (const Value &number : {S64(-7), Text("7"), U16(8)}) {
        other.keys[0].value = number;
        EXPECT_NE(path, other);
        EXPECT_NE(other, path);
    }
    other.keys.pop_back();
    EXPECT_NE(path, other);
    EXPECT_NE(path, (ObjectPath{{}, "root/cimv2", "T_Disk", {{"ID", Text("A")}, {"N", U16(7)}}}));
}

TEST(Values, AreEqualByTypeAndContent) {
    EXPECT_NE(U8(1), U16(1));
    EXPECT_NE(Value::Null(CMPI_string), Text(""));
    EXPECT_EQ(Value::ArrayOf(CMPI_string, {Text("a")}), Value::ArrayOf(CMPI_string, {Text("a")}));
    EXPECT_NE(Value::ArrayOf(CMPI_string, {Text("a")}), Value::ArrayOf(CMPI_string, {}));
    EXPECT_EQ(Value::Reference({{}, "x", "A", {}}), Value::Reference({{}, "X", "a", {}}));
    const auto embedded = [](const char *id) {
        return Value{CMPI_instance,
                     std::make_shared<const Instance>(Instance{ObjectPath{{}, "x", "A", {}}, {{"ID", Text(id)}}})};
    };
    EXPECT_EQ(embedded("1"), embedded("1"));
    EXPECT_NE(embedded("1"), embedded("2"));
}

TEST(Values, DatesHaveAFixedForm) {
    EXPECT_TRUE(IsDateTimeText("20010909034640.000005+120"));
    EXPECT_TRUE(IsDateTimeText("0000000101****.******:000"));
    for (const char *wrong : {"", "20010909034640.000005+12", "20010909034640.000005/120", "20010909034640:000005+120",
                              "2001090903464x.000005+120"})
        EXPECT_FALSE(IsDateTimeText(wrong)) << wrong;
}

} // namespace
} // namespace cim
