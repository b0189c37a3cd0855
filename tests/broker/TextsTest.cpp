// Class declarations and registrations as they are read from texts.
#include "cim/broker/classes/Registration.h"
#include "cim/values/Types.h"
#include "tests/support/Golden.h"
#include "tests/support/Values.h"

#include <fstream>
#include <sstream>

namespace cim {
namespace {

std::string FileText(const std::string &name) {
    std::ifstream file(std::string(BROKER_TEST_DATA "/") + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ClassTree Read(const std::string &text) {
    ClassTree tree;
    std::string error;
    EXPECT_TRUE(tree.ReadText(text, "text", &error)) << error;
    return tree;
}

// Each with an asterisk when a superclass gave it.
std::string Shown(const Qualifiers &qualifiers) {
    std::string text;
    if (qualifiers == nullptr) return text;
    for (const Qualifier &each : *qualifiers)
        text += " " + std::string(each.declaration->name) + "=" + support::Shown(&each.value) +
                (each.propagated ? "*" : "");
    return " [" + text.substr(1) + "]";
}

std::string Shown(const ClassTree &tree) {
    std::ostringstream text;
    for (const std::string &name : tree.Names()) {
        const ClassDeclaration &each = *tree.Find(name);
        text << each.name << " : " << each.superclass << (each.association ? " association" : "")
             << Shown(each.qualifiers) << "\n";
        for (const PropertyDeclaration &property : each.properties)
            text << "    " << DeclaredTypeName(property.type) << (property.type == CMPI_ref ? " " : "")
                 << property.referenceClass << (property.key ? " key " : " ") << property.name << " of "
                 << property.originClass << Shown(property.qualifiers) << "\n";
    }
    return text.str();
}

TEST(Mof, DeclaresClassesWithTypesKeysQualifiersAndWhatTheyInherit) {
    ClassTree tree = Read("\xEF\xBB\xBF" + FileText("schema.mof"));
    std::string error;
    EXPECT_TRUE(tree.ReadText("class Second : LAST { };", "second.mof", &error)) << error;
    support::ExpectGolden(BROKER_TEST_DATA "/schema.txt", Shown(tree));
    EXPECT_TRUE(tree.IsA("second", "First"));
    EXPECT_TRUE(tree.IsA("Unheard", "unheard"));
    EXPECT_FALSE(tree.IsA("First", "Last"));
    EXPECT_EQ(tree.SubclassesOf("first", false), (std::vector<std::string>{"Middle", "Other"}));
    EXPECT_EQ(tree.SubclassesOf("Middle", true), (std::vector<std::string>{"Last", "Second"}));
    EXPECT_EQ(tree.SubclassesOf("", false), (std::vector<std::string>{"First", "Link", "Types"}));
    EXPECT_EQ(tree.Find("Last")->Property("Plain")->qualifiers, nullptr);
    EXPECT_FALSE(tree.ReadFile("/nonexistent/x.mof", &error));
    EXPECT_EQ(error, "/nonexistent/x.mof: No such file or directory");
    EXPECT_FALSE(tree.ReadFile("/", &error));
    EXPECT_EQ(error, "/: Is a directory");
}

TEST(Registrations, SayWhoServesWhichClassWhere) {
    const ClassTree tree = Read(FileText("schema.mof"));
    std::vector<Registration> all;
    std::string error;
    ASSERT_TRUE(ReadRegistrations(FileText("stanzas.reg"), "r", tree, &all, &error)) << error;
    std::ostringstream text;
    for (const Registration &each : all) {
        text << each.className << " by " << each.provider << " at " << each.location
             << (each.Has(MiKind::Instance) ? " instance" : "") << (each.Has(MiKind::Association) ? " association" : "")
             << (each.neverUnload ? " stays" : "");
        for (const std::string &nameSpace : each.nameSpaces) text << " " << nameSpace;
        text << "\n";
    }
    support::ExpectGolden(BROKER_TEST_DATA "/stanzas.txt", text.str());
    EXPECT_TRUE(all.at(0).In("ROOT/two"));
    EXPECT_FALSE(all.at(0).In("root/three"));
}

// Calls `read` for each case of a file: "=== ERROR", and the text that it is the error of.
template <class Reader> void ExpectErrors(const std::string &file, const Reader &read) {
    std::istringstream lines(FileText(file));
    std::string line, expected, text;
    int cases = 0;
    while (true) {
        const bool more = static_cast<bool>(std::getline(lines, line));
        if (more && line.rfind("=== ", 0) != 0) {
            text += line + "\n";
            continue;
        }
        if (!expected.empty()) {
            EXPECT_EQ(read(text.substr(0, text.size() - 1)), expected) << text;
        }
        cases += expected.empty() ? 0 : 1;
        if (!more) break;
        expected = line.substr(4);
        text.clear();
    }
    EXPECT_GT(cases, 10);
}

TEST(Mof, SaysWhereAndWhyATextIsWrongAndKeepsTheTreeAsItWas) {
    ExpectErrors("wrong-mof.txt", [](const std::string &text) {
        ClassTree tree = Read("class Base { string Kept; };");
        std::string error;
        EXPECT_FALSE(tree.ReadText(text, "m", &error)) << text;
        EXPECT_EQ(tree.Names(), (std::vector<std::string>{"Base"})) << text;
        return error;
    });
}

TEST(Registrations, SayWhereAndWhyATextIsWrongAndAddNothing) {
    const ClassTree tree = Read("class A { [Key] string N; }; class B : A { };");
    ExpectErrors("wrong-registrations.txt", [&](const std::string &text) {
        std::vector<Registration> all;
        std::string error;
        EXPECT_FALSE(ReadRegistrations(text, "r", tree, &all, &error)) << text;
        EXPECT_TRUE(all.empty()) << text;
        return error;
    });
}

} // namespace
} // namespace cim
