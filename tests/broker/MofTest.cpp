#include "cim/broker/classes/ClassTree.h"

#include <gtest/gtest.h>

namespace cim {
namespace {

ClassTree Read(std::string_view text) {
    ClassTree tree;
    std::string error;
    EXPECT_TRUE(tree.ReadText(text, "test.mof", &error)) << error;
    return tree;
}

TEST(Mof, DeclaresTypesArraysReferencesAndKeys) {
    const ClassTree tree = Read(R"(
class A {
    [Key, Description("a ] and a \" in " "two parts"), ValueMap{"0", "}"}] string Name;
    [Key(false)] uint8 U8 = 3; uint16 U16[]; uint32 U32[4]; uint64 U64; sint8 S8; sint16 S16; sint32 S32; sint64 S64;
    real32 R32; real64 R64 = -1.5e3; boolean B = true; char16 C = 'x'; datetime D;
    uint16 Many[] = {1, 2, 3};
};
[Association : ToInstance DisableOverride] class L { [Key] A REF Left; [KEY] A ref Right; };
)");
    const ClassDeclaration *a = tree.Find("a");
    ASSERT_NE(a, nullptr);
    const std::vector<std::pair<std::string, CMPIType>> expected = {
        {"Name", CMPI_string}, {"U8", CMPI_uint8},   {"U16", CMPI_uint16A}, {"U32", CMPI_uint32A},
        {"U64", CMPI_uint64},  {"S8", CMPI_sint8},   {"S16", CMPI_sint16},  {"S32", CMPI_sint32},
        {"S64", CMPI_sint64},  {"R32", CMPI_real32}, {"R64", CMPI_real64},  {"B", CMPI_boolean},
        {"C", CMPI_char16},    {"D", CMPI_dateTime}, {"Many", CMPI_uint16A}};
    ASSERT_EQ(a->properties.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(a->properties[i].name, expected[i].first);
        EXPECT_EQ(a->properties[i].type, expected[i].second) << expected[i].first;
        EXPECT_EQ(a->properties[i].key, i == 0) << expected[i].first;
    }
    EXPECT_FALSE(a->association);
    const ClassDeclaration *l = tree.Find("L");
    ASSERT_NE(l, nullptr);
    EXPECT_TRUE(l->association);
    EXPECT_EQ(l->properties[0].type, CMPI_ref);
    EXPECT_EQ(l->properties[0].referenceClass, "A");
    EXPECT_TRUE(l->properties[1].key);
}

TEST(Mof, SkipsWhatIsNotAClass) {
    const ClassTree tree = Read(R"(
// A comment with class X : Y {
#pragma include ("other.mof")
#pragma locale("en_US")
Qualifier Counter : boolean = false, Scope(property, method), Flavor(EnableOverride);
Qualifier List : string[] = {"a;", "}"}, Scope(any);
/* class Z {
   }; */
[Version("2.0"), Values{"a", "b;"}] class A as $A1 { [Key] string Name;
    [Description("it returns")] uint32 Reset([IN, Values{"]"}] uint32 How, [OUT] A REF Which);
    boolean Stop();
};
instance of A as $a { Name = "x;} y"; Values = {1, 2}; Other = instance of A { Name = "nested"; }; };
)");
    EXPECT_EQ(tree.Names(), (std::vector<std::string>{"A"}));
    EXPECT_EQ(tree.Find("A")->properties.size(), 1u);
}

TEST(Mof, InheritsAlsoFromClassesDeclaredLaterAndInEarlierFiles) {
    ClassTree tree = Read("class C : B { string Own; [Override(\"Name\")] string name; };"
                          "class B : A { uint16 Middle; }; [Association] class A { [Key] string Name; };");
    std::string error;
    ASSERT_TRUE(tree.ReadText("class D : c { };", "second.mof", &error)) << error;
    const ClassDeclaration *d = tree.Find("D");
    ASSERT_EQ(d->properties.size(), 3u);
    EXPECT_EQ(d->properties[0].originClass, "C"); // declared again there: still a key, still in front
    EXPECT_TRUE(d->properties[0].key);
    EXPECT_EQ(d->properties[1].name, "Middle");
    EXPECT_EQ(d->properties[2].name, "Own");
    EXPECT_TRUE(d->association);
    EXPECT_TRUE(tree.IsA("d", "A"));
    EXPECT_TRUE(tree.IsA("Unheard", "unheard"));
    EXPECT_FALSE(tree.IsA("A", "D"));
    EXPECT_EQ(tree.SubclassesOf("b", false), (std::vector<std::string>{"C"}));
    EXPECT_EQ(tree.SubclassesOf("B", true), (std::vector<std::string>{"C", "D"}));
    EXPECT_EQ(tree.SubclassesOf("", false), (std::vector<std::string>{"A"}));
    EXPECT_EQ(tree.SubclassesOf("", true).size(), 4u);
}

// "Name=value" of each, with an asterisk behind those of a superclass.
std::string Text(const Qualifiers &qualifiers) {
    std::string text;
    if (qualifiers == nullptr) return text;
    for (const Qualifier &each : *qualifiers) {
        text += (text.empty() ? "" : " ") + std::string(each.declaration->name) + "=";
        if (const auto *truth = each.value.As<bool>()) text += *truth ? "true" : "false";
        if (const auto *one = each.value.As<std::string>()) text += *one;
        if (const auto *list = each.value.As<Value::Elements>())
            for (const Value &value : *list) text += "<" + *value.As<std::string>() + ">";
        text += each.propagated ? "*" : "";
    }
    return text;
}

TEST(Mof, KeepsTheQualifiersThatClientsAskForAndHandsThemDown) {
    const ClassTree tree = Read(R"(
[Abstract, VERSION("1.0"), Experimental, Description("a \"quoted\"\x20\xE9 " "text\n") : Translatable] class A {
    [Key, MaxLen(64), Units{"x"}] string Name;
    [ValueMap{"0", ".."}, Values{"none", "so" "me"}, Description("how many")] uint16 Count;
    string Plain;
};
[Version("2.0")] class B : A {
    [Override("Name")] string Name; [Values{"all"}, ValueMap{"9"}, Key(false)] uint16 Count; };
)");
    const ClassDeclaration &a = *tree.Find("A"), &b = *tree.Find("B");
    EXPECT_EQ(Text(a.qualifiers), "Abstract=true Version=1.0 Description=a \"quoted\" \xC3\xA9 text\n");
    EXPECT_EQ(Text(b.qualifiers), "Version=2.0 Description=a \"quoted\" \xC3\xA9 text\n*");
    EXPECT_EQ(Text(a.Property("Name")->qualifiers), "Key=true");
    EXPECT_EQ(Text(b.Property("Name")->qualifiers), "Override=Name Key=true*");
    EXPECT_EQ(Text(a.Property("Count")->qualifiers), "ValueMap=<0><..> Values=<none><some> Description=how many");
    EXPECT_EQ(Text(b.Property("Count")->qualifiers), "Values=<all> ValueMap=<9> Key=false Description=how many*");
    EXPECT_EQ(a.Property("Plain")->qualifiers, nullptr);
    EXPECT_EQ(a.Property("Plain")->qualifiers, b.Property("Plain")->qualifiers);
}

TEST(Mof, ReadsAnInheritanceChainOfAnyLengthAndOrder) {
    std::string text;
    for (int i = 300; i > 0; --i) text += "class C" + std::to_string(i) + " : C" + std::to_string(i - 1) + " { };\n";
    const ClassTree tree = Read(text + "class C0 { [Key] string ID; };");
    EXPECT_TRUE(tree.IsA("C300", "C0"));
}

TEST(Mof, SaysWhereAndWhyATextIsWrongAndKeepsTheTreeAsItWas) {
    const struct {
        const char *text, *error;
    } cases[] = {
        {"class A { string Name };", "m:1: ';' or '=' expected, found '}'"},
        {"class A {\n string Name;\n", "m:1: class 'A' is never closed"},
        {"class A { };\nclass B : Nowhere { };", "m:2: class 'B' has the unknown superclass 'Nowhere'"},
        {"class A : B { };\nclass B : A { };", "m:1: class 'A' has the unknown superclass 'B'"},
        {"class A {\n text Name; };", "m:2: unknown type 'text'"},
        {"class A {\n ref Name; };", "m:2: unknown type 'ref'"},
        {"class A { string N;\n string n; };", "m:2: property 'n' is declared a second time"},
        {"class A { string N; };\nclass A { uint8 N; };", "m:2: class 'A' is declared a second time in another form"},
        {"class A { uint32 N; };\nclass B : A { };\nclass C : B {\n uint32 N[]; };",
         "m:4: property 'N' is uint32[] here and uint32 in 'A'"},
        {"class A { string N = \"open\n; };", "m:1: text without a closing quote"},
        {"class A { string N = \"open\\", "m:1: text without a closing quote"},
        {"\n/* open", "m:2: comment without an end"},
        {"[Description(\"x\") class A { };", "m:1: ',' or ']' expected, found 'class'"},
        {"[Units(\n(\"x\")", "m:1: '(' is never closed"},
        {"[Units{\"a\"", "m:1: '{' is never closed"},
        {"[Units(\"a\")", "m:1: '[' is never closed"},
        {"[Values{\"a\"", "m:1: '}' expected, found 'end of file'"},
        {"[\nValues(\"a\")] class A { };", "m:2: '{' expected, found '('"},
        {"[Values{\"a\",\n 2}] class A { };", "m:2: text expected, found '2'"},
        {"[Values{}] class A { };", "m:1: text expected, found '}'"},
        {"[Description] class A { };", "m:1: '(' expected, found ']'"},
        {"[Version(1)] class A { };", "m:1: text expected, found '1'"},
        {"[Version(\"1\"] class A { };", "m:1: ')' expected, found ']'"},
        {"class A { [Key(yes)] string N; };", "m:1: 'true' or 'false' expected, found 'yes'"},
        {"class A { [Key,\n KEY] string N; };", "m:2: qualifier 'KEY' is given a second time"},
        {"class A {\n[Values{\"a\", \"b\"}, ValueMap{\"1\"}] uint8 N; };", "m:2: Values has 2 texts and ValueMap 1"},
        {"[Description(\"x\"\n\"\\q\")] class A { };", "m:2: '\\q' is no escape of a text"},
        {"[Description(\"\\xyz\")] class A { };", "m:1: '\\x' is no escape of a text"},
        {"class A { uint32 F(\n[IN} uint32 x); };", "m:2: ']' expected, found '}'"},
        {"instance of A {\n x = 1; }", "m:2: ';' expected, found 'end of file'"},
        {"klass A { };", "m:1: 'class', 'instance' or 'qualifier' expected, found 'klass'"},
        {"class A { string N = @; };", "m:1: unexpected character '@'"},
        {"#include (\"x\")", "m:1: 'pragma' expected, found 'include'"},
        {"class { };", "m:1: name of a class expected, found '{'"},
        {"class A { [Key string N; };", "m:1: ',' or ']' expected, found 'string'"},
    };
    for (const auto &wrong : cases) {
        ClassTree tree = Read("class Base { string Kept; };");
        std::string error;
        EXPECT_FALSE(tree.ReadText(wrong.text, "m", &error)) << wrong.text;
        EXPECT_EQ(error, wrong.error);
        EXPECT_EQ(tree.Names(), (std::vector<std::string>{"Base"})) << wrong.text;
    }
}

TEST(Mof, ADeclarationRepeatedInTheSameFormIsFine) {
    ClassTree tree = Read("class A { [Key] string N; };");
    std::string error;
    EXPECT_TRUE(tree.ReadText("class a { [Key, Description(\"again\")] string n; };", "m", &error)) << error;
    EXPECT_FALSE(tree.ReadFile("/nonexistent/x.mof", &error));
    EXPECT_EQ(error, "/nonexistent/x.mof: No such file or directory");
    EXPECT_FALSE(tree.ReadFile("/", &error));
    EXPECT_EQ(error, "/: Is a directory");
}

} // namespace
} // namespace cim
