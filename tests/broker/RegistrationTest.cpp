#include "cim/broker/classes/Registration.h"

#include <gtest/gtest.h>

namespace cim {
namespace {

class Registrations : public testing::Test {
protected:
    Registrations() {
        EXPECT_TRUE(classes.ReadText("class A { [Key] string N; }; class B : A { };", "m", &error)) << error;
    }
    bool Read(std::string_view text) { return ReadRegistrations(text, "r", classes, &all, &error); }

    ClassTree classes;
    std::vector<Registration> all;
    std::string error;
};

TEST_F(Registrations, ReadStanzas) {
    ASSERT_TRUE(Read("# comment\r\n[a]\r\n  provider: P # who\n  location: L\n  type: instance association\n"
                     "  namespace: root/one\troot/two\n  unload: never\n\n  group: g\n"
                     "[B]\nprovider:P\nlocation:L\ntype:Instance\nnamespace:root/one"))
        << error;
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].className, "A"); // as the class tree writes it
    EXPECT_EQ(all[0].provider, "P");
    EXPECT_EQ(all[0].location, "L");
    EXPECT_TRUE(all[0].Has(MiKind::Instance));
    EXPECT_TRUE(all[0].Has(MiKind::Association));
    EXPECT_TRUE(all[0].In("ROOT/two"));
    EXPECT_FALSE(all[0].In("root/three"));
    EXPECT_TRUE(all[0].neverUnload);
    EXPECT_FALSE(all[1].neverUnload);
    EXPECT_FALSE(all[1].Has(MiKind::Association));
}

TEST_F(Registrations, SayWhereAndWhyATextIsWrongAndAddNothing) {
    const std::string whole = "[A]\nprovider: P\nlocation: L\ntype: instance\nnamespace: root/one\n";
    const struct {
        std::string text, error;
    } cases[] = {
        {"provider: P\n", "r:1: '[CLASS]' expected before the first key"},
        {"[A\n", "r:1: ']' expected at the end of the line"},
        {"[Unheard]\n", "r:1: unknown class 'Unheard'"},
        {"[A]\ncolour: red\n", "r:2: unknown key 'colour'"},
        {"[A]\nprovider P\n", "r:2: 'KEY: VALUE' or '[CLASS]' expected"},
        {"[A]\nprovider:\n", "r:2: 'provider' has no value"},
        {"[A]\nprovider: P Q\n", "r:2: provider: one word expected"},
        {"[A]\nprovider: P\nprovider: P\n", "r:3: 'provider' is given a second time"},
        {"[A]\ntype: instances\n", "r:2: type: unknown type 'instances'"},
        {"[A]\nunload: soon\n", "r:2: unload: 'never' expected, found 'soon'"},
        {"\n[A]\nprovider: P\nlocation: L\ntype: instance\n", "r:2: [A] has no 'namespace'"},
        {"[A]\nlocation: L\ntype: instance\nnamespace: n\n[B]\n", "r:1: [A] has no 'provider'"},
        {whole + whole, "r:6: [A] is registered a second time"},
        {whole + "[B]\nprovider: P\nlocation: M\ntype: instance\nnamespace: n\n",
         "r:6: provider 'P' is at 'M' here and at 'L' elsewhere"},
    };
    for (const auto &wrong : cases) {
        EXPECT_FALSE(Read(wrong.text)) << wrong.text;
        EXPECT_EQ(error, wrong.error);
        EXPECT_TRUE(all.empty()) << wrong.text;
    }
    EXPECT_TRUE(Read(whole));
    EXPECT_TRUE(Read("[A]\nprovider: Q\nlocation: M\ntype: association\nnamespace: root/one\n")) << error;
    EXPECT_FALSE(Read(whole));
}

} // namespace
} // namespace cim
