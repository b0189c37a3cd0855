// Values as text and back, texts as XML, and what the numbers mean that are served.
#include "cim/values/Types.h"
#include "cim/wbem/Encode.h"
#include "cim/wbem/ValueText.h"
#include "cim/wbem/XmlWriter.h"
#include "tests/support/BuildTree.h"
#include "tests/support/Golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace cim::wbem {

namespace {

// The fields of a data file's lines, which tabs separate.
std::vector<std::vector<std::string>> RowsOf(const std::string &file) {
    std::ifstream in(QUARNEL_TEST_DATA "/" + file);
    EXPECT_TRUE(in) << file;
    std::vector<std::vector<std::string>> rows;
    for (std::string line, field; std::getline(in, line);) {
        rows.emplace_back();
        for (std::istringstream fields(line); std::getline(fields, field, '\t');) rows.back().push_back(field);
    }
    return rows;
}

// A type, a text, and what it reads as, if anything.
TEST(Types, ValuesComeBackFromTheirTextsAndOtherTextsAreFound) {
    for (const auto &row : RowsOf("texts.txt")) {
        SCOPED_TRACE(row.at(0) + " " + row.at(1));
        const CMPIType type = TypeNamed(row[0]);
        ASSERT_EQ(TypeName(type), row[0]);
        const auto value = ValueOf(type, row[1]);
        EXPECT_EQ(value ? TextOf(*value) : "(none)", row.size() > 2 ? row[2] : "");
        if (value) {
            EXPECT_EQ(value->type, type);
        }
    }
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

// What reads as in the instance before is copied from there.
TEST(InstanceWriter, InstancesThatFollowAreWrittenAsTheFirst) {
    ClassTree classes;
    std::string error;
    ASSERT_TRUE(classes.ReadText("class A { uint8 N; string Text; };", "a", &error)) << error;
    ObjectPath small = OfClass("b"), far = OfClass("B");
    far.host = "far";
    const Instance empty{OfClass("A"), {{"N", Value::Null(CMPI_uint8)}, {"Own", Value::Null(CMPI_string)}}};
    const Instance full{OfClass("A"), {{"N", Value::Unsigned(CMPI_uint8, 1)}, {"Own", Value::Null(CMPI_boolean)}}};
    const Instance wide{OfClass("A"), {{"N", Value::Unsigned(CMPI_uint16, 256)}}}, none{OfClass("A"), {}, true};
    const Instance turned{OfClass("A"), {{"Text", Value::Text("t")}, {"N", Value::Unsigned(CMPI_uint8, 2)}}, true};
    const Instance longer{OfClass("A"), {{"Text", Value::Text("t")}, {"N", Value::Unsigned(CMPI_uint8, 200)}}, true};
    const Instance equal{OfClass("A"), {{"Own", Value::Reference(small)}, {"R", Value::Real(CMPI_real32, 0)}}};
    const Instance other{OfClass("A"), {{"Own", Value::Reference(far)}, {"R", Value::Real(CMPI_real32, -0.0)}}};
    XmlWriter xml, expected;
    InstanceWriter writer(xml, classes, {});
    for (const Instance *instance : {&empty, &full, &turned, &longer, &turned, &empty, &wide, &none, &turned, &empty,
                                     &full, &equal, &other, &equal, &longer}) {
        writer.Write(*instance);
        InstanceWriter(expected, classes, {}).Write(*instance);
    }
    const std::string text = xml.Take();
    EXPECT_EQ(text, expected.Take());
    EXPECT_NE(text.find("<PROPERTY NAME=\"Own\" TYPE=\"boolean\"></PROPERTY>"), std::string::npos);
}

TEST(InstanceNameWriter, NamesThatFollowAreWrittenAsTheFirst) {
    const NamedValue a = {"K", Value::Text("a")}, b = {"K", Value::Text("b")}, null = {"K", Value::Null(CMPI_string)};
    const NamedValue n = {"N", Value::Unsigned(CMPI_uint8, 1)}, flag = {"N", Value::Boolean(true)};
    XmlWriter xml, expected;
    InstanceNameWriter writer(xml);
    std::vector<ObjectPath> paths;
    for (const char *name : {"A", "B"})
        for (const auto &keys : {std::vector{a, n}, {a, flag}, {a}, {}, {b, n}, {b, n}, {null, n}, {n, a}})
            paths.push_back({{}, {}, name, keys});
    for (const ObjectPath &path : paths) {
        writer.Write(path);
        WriteInstanceName(expected, path);
    }
    EXPECT_EQ(xml.Take(), expected.Take());
}

// By the qualifiers that clients get with a class: class, property, number, meaning.
TEST(Schema, NumbersThatAreServedHaveAMeaning) {
    std::string error;
    const auto broker = Broker::Create(support::ServerConfig(), &error);
    ASSERT_NE(broker, nullptr) << error;
    for (const auto &row : RowsOf("meanings.txt")) {
        const auto &qualifiers = broker->Classes().Find(row.at(0))->Property(row.at(1))->qualifiers;
        const auto &numbers = *ValueOfQualifier(qualifiers, "ValueMap")->As<Value::Elements>();
        const auto &meanings = *ValueOfQualifier(qualifiers, "Values")->As<Value::Elements>();
        const auto found = std::find(numbers.begin(), numbers.end(), Value::Text(row.at(2))) - numbers.begin();
        EXPECT_EQ(meanings.at(static_cast<std::size_t>(found)), Value::Text(row.at(3))) << row[1];
    }
}

} // namespace

} // namespace cim::wbem
