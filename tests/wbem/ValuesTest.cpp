// Values as text and back, texts as XML, and what the numbers mean that are served.
#include "cim/values/Types.h"
#include "cim/wbem/Encode.h"
#include "cim/wbem/ValueText.h"
#include "cim/wbem/XmlWriter.h"
#include "tests/support/BuildTree.h"
#include "tests/support/Golden.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cim::wbem {

namespace {

TEST(Types, ValuesComeBackFromTheirTexts) {
    const struct {
        CMPIType type;
        const char *text;
    } kCases[] = {
        {CMPI_boolean, "TRUE"},
        {CMPI_boolean, "FALSE"},
        {CMPI_string, "  as it is "},
        {CMPI_string, ""},
        {CMPI_dateTime, "20260105100211.000000+060"},
        {CMPI_char16, "x"},
        {CMPI_char16, "\xC3\xA9"},
        {CMPI_char16, "\xE2\x82\xAC"},
        {CMPI_uint8, "255"},
        {CMPI_uint64, "18446744073709551615"},
        {CMPI_sint8, "-128"},
        {CMPI_sint64, "-9223372036854775808"},
        {CMPI_sint64, "9223372036854775807"},
        {CMPI_real32, "1.1e+00"},
        {CMPI_real64, "-2.2250738585072014e-308"},
        {CMPI_real64, "INF"},
        {CMPI_real64, "NaN"},
    };
    for (const auto &each : kCases) {
        const auto value = ValueOf(each.type, each.text);
        ASSERT_TRUE(value) << each.text;
        EXPECT_EQ(value->type, each.type);
        EXPECT_EQ(TextOf(*value), each.text);
        EXPECT_EQ(TypeNamed(TypeName(each.type)), each.type);
    }
}

TEST(Types, TextsThatAreNoValueOfTheTypeAreFound) {
    const struct {
        CMPIType type;
        const char *text;
    } kCases[] = {
        {CMPI_boolean, "1"},
        {CMPI_boolean, ""},
        {CMPI_char16, "xy"},
        {CMPI_char16, ""},
        {CMPI_uint8, "256"},
        {CMPI_uint8, "-1"},
        {CMPI_uint8, ""},
        {CMPI_uint8, "1.0"},
        {CMPI_uint8, "1x"},
        {CMPI_uint8, "+-1"},
        {CMPI_uint8, "0x"},
        {CMPI_sint8, "128"},
        {CMPI_sint8, "-129"},
        {CMPI_real32, "1e39"},
        {CMPI_real64, "1e999"},
        {CMPI_real64, "one"},
        {CMPI_real64, ""},
        {CMPI_ref, "x"},
        {CMPI_uint64, "18446744073709551616"},
        {CMPI_char16, "\xF0\x9F\x98\x80"},
    };
    for (const auto &each : kCases) EXPECT_FALSE(ValueOf(each.type, each.text)) << each.type << " " << each.text;
    EXPECT_EQ(*ValueOf(CMPI_uint16, " 0xFF\n"), Value::Unsigned(CMPI_uint16, 255));
    EXPECT_EQ(*ValueOf(CMPI_boolean, " true "), Value::Boolean(true));
}

TEST(XmlWriter, WhateverATextHoldsTheDocumentIsWellFormed) {
    XmlWriter xml;
    using namespace std::string_literals;
    const std::string wild = "\0\x1F<&>\"'\r\n\t\xED\xA0\x80\xEF\xBF\xBF\xC3\xA9\xF0\x9F\x98\x80\xC3"s;
    const std::string bad = "\xEF\xBF\xBD";
    xml.Leaf("A", wild, {{"B", wild}});
    EXPECT_EQ(xml.Take(), "<A B=\"" + bad + bad + "&lt;&amp;&gt;&quot;'&#13;&#10;&#9;" + bad + bad +
                              "\xC3\xA9\xF0\x9F\x98\x80" + bad + "\">" + bad + bad + "&lt;&amp;&gt;\"'&#13;\n\t" + bad +
                              bad + "\xC3\xA9\xF0\x9F\x98\x80" + bad + "</A>");
}

ObjectPath OfClass(const char *name) { return {{}, {}, name, {}}; }

std::string Written(const ClassTree &classes, const Instance &instance) {
    XmlWriter xml;
    InstanceWriter(xml, classes, {}).Write(instance);
    const std::string text = xml.Take(), open = "<INSTANCE CLASSNAME=\"A\">";
    return text.substr(open.size(), text.size() - open.size() - 11);
}

TEST(InstanceWriter, EveryKindOfValueHasItsElement) {
    ClassTree classes;
    std::string error;
    ASSERT_TRUE(classes.ReadText("class A { uint64 Wide; uint8 Narrow; string Words[]; string Text; };", "a", &error))
        << error;
    ObjectPath there;
    there.className = "B";
    there.keys = {{"K", Value::Real(CMPI_real64, 0.5)}};
    ObjectPath far = there;
    far.host = "far";
    far.nameSpace = "root/b";
    auto inner = std::make_shared<Instance>(Instance{OfClass("B"), {{"P", Value::Boolean(true)}}});

    const NamedValue kProperties[] = {
        {"Wide", Value::Unsigned(CMPI_uint16, 7)},
        {"Narrow", Value::Unsigned(CMPI_uint16, 700)}, // does not fit the class's type
        {"narrow", Value::Signed(CMPI_sint16, -1)},
        {"Text", Value::Null(CMPI_null)},
        {"Other", Value::DateTime("x")},
        {"Words", Value::Null(CMPI_stringA)},
        {"Words", Value::ArrayOf(CMPI_string, {Value::Text(""), Value::Null(CMPI_string)})},
        {"Ref", Value::Null(CMPI_ref)},
        {"Ref", Value::Reference(there)},
        {"Ref", Value::Reference(far)},
        {"Inner", Value{CMPI_instance, std::shared_ptr<const Instance>(inner)}},
    };
    std::string written;
    for (const NamedValue &property : kProperties) written += Written(classes, {OfClass("A"), {property}}) + "\n";
    support::ExpectGolden(QUARNEL_TEST_DATA "/values.xml", written);
}

TEST(InstanceWriter, PropertiesStandInTheOrderOfTheClass) {
    ClassTree classes;
    std::string error;
    ASSERT_TRUE(classes.ReadText("class A { uint8 N; string Text; boolean Flag; };", "a", &error)) << error;
    Instance instance{
        OfClass("A"),
        {{"Own", Value::Text("o")}, {"Flag", Value::Boolean(false)}, {"N", Value::Unsigned(CMPI_uint8, 1)}}};
    const std::string number = "<PROPERTY NAME=\"N\" TYPE=\"uint8\"><VALUE>1</VALUE></PROPERTY>",
                      text = "<PROPERTY NAME=\"Text\" TYPE=\"string\"></PROPERTY>",
                      flag = "<PROPERTY NAME=\"Flag\" TYPE=\"boolean\"><VALUE>FALSE</VALUE></PROPERTY>",
                      own = "<PROPERTY NAME=\"Own\" TYPE=\"string\"><VALUE>o</VALUE></PROPERTY>";
    EXPECT_EQ(Written(classes, instance), number + flag + own);
    instance.othersAreNull = true;
    EXPECT_EQ(Written(classes, instance), number + text + flag + own);
}

// What is worked out for an instance is kept for those that follow.
TEST(InstanceWriter, InstancesThatFollowAreWrittenAsTheFirst) {
    ClassTree classes;
    std::string error;
    ASSERT_TRUE(classes.ReadText("class A { uint8 N; string Text; };", "a", &error)) << error;
    const Instance empty{OfClass("A"), {{"N", Value::Null(CMPI_uint8)}, {"Own", Value::Null(CMPI_string)}}};
    const Instance full{OfClass("A"), {{"N", Value::Unsigned(CMPI_uint8, 1)}, {"Own", Value::Null(CMPI_boolean)}}};
    const Instance wide{OfClass("A"), {{"N", Value::Unsigned(CMPI_uint16, 256)}}}, none{OfClass("A"), {}, true};
    const Instance turned{OfClass("A"), {{"Text", Value::Text("t")}, {"N", Value::Unsigned(CMPI_uint8, 2)}}, true};
    XmlWriter xml, expected;
    InstanceWriter writer(xml, classes, {});
    for (const Instance *instance : {&empty, &full, &turned, &empty, &wide, &none, &turned, &empty, &full}) {
        writer.Write(*instance);
        InstanceWriter(expected, classes, {}).Write(*instance);
    }
    const std::string text = xml.Take();
    EXPECT_EQ(text, expected.Take());
    EXPECT_NE(text.find("<PROPERTY NAME=\"Own\" TYPE=\"boolean\"></PROPERTY>"), std::string::npos);
}

// By the qualifiers that clients get with a class.
TEST(Schema, NumbersThatAreServedHaveAMeaning) {
    std::string error;
    const auto broker = Broker::Create(support::ServerConfig(), &error);
    ASSERT_NE(broker, nullptr) << error;
    const struct {
        const char *className, *property, *number, *meaning;
    } kCases[] = {
        {"CIM_RegisteredProfile", "RegisteredOrganization", "11", "SNIA"},
        {"CIM_RegisteredProfile", "AdvertiseTypes", "2", "Not Advertised"},
        {"Zembra_QuarnelController", "Dedicated", "3", "Storage"},
        {"Zembra_QuarnelStorageVolume", "OperationalStatus", "3", "Degraded"},
        {"Zembra_QuarnelStorageVolume", "ExtentStatus", "11", "Rebuild"},
        {"Zembra_QuarnelStorageVolume", "NameFormat", "9", "NAA"},
        {"Zembra_QuarnelStorageExtent", "HealthState", "30", "Non-recoverable error"},
        {"Zembra_QuarnelSASSATAPort", "OperationalStatus", "12", "No Contact"},
        {"Zembra_QuarnelSASSATAPort", "UsageRestriction", "3", "Back-end only"},
        {"Zembra_QuarnelBattery", "BatteryStatus", "3", "Fully Charged"},
        {"Sim_SoftwareIdentity", "Classifications", "10", "Firmware"},
    };
    for (const auto &each : kCases) {
        const auto &qualifiers = broker->Classes().Find(each.className)->Property(each.property)->qualifiers;
        const auto &numbers = *ValueOfQualifier(qualifiers, "ValueMap")->As<Value::Elements>();
        const auto &meanings = *ValueOfQualifier(qualifiers, "Values")->As<Value::Elements>();
        const auto found = std::find(numbers.begin(), numbers.end(), Value::Text(each.number)) - numbers.begin();
        EXPECT_EQ(meanings.at(static_cast<std::size_t>(found)), Value::Text(each.meaning)) << each.property;
    }
}

} // namespace

} // namespace cim::wbem
