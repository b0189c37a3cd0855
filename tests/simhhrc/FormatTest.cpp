// Each mistake that a description can have is refused with its line and its reason.
#include "cim/simhhrc/Description.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

using sim::Description;

std::string ErrorOf(const std::string &text) {
    std::string error;
    EXPECT_FALSE(sim::ReadDescription(text, "hw.json", nullptr, &error)) << text;
    return error;
}

// A controller with what is usually needed, and the given members on a line of their own: line 3.
std::string WithMembers(const std::string &members) {
    return R"({"controllers": [{"id": "c0", "enclosures": [{"id": "e", "slots": 4}],
"pools": [{"id": "free", "primordial": true}, {"id": "p"}],
)" + members +
           "}]}";
}

struct Case {
    const char *name;
    std::string text;
    std::string error; // with the line, without the file
};

void PrintTo(const Case &mistake, std::ostream *out) { *out << mistake.name; }

class Mistakes : public testing::TestWithParam<Case> {};

TEST_P(Mistakes, AreRefusedWithLineAndReason) { EXPECT_EQ(ErrorOf(GetParam().text), "hw.json:" + GetParam().error); }

const Case kJson[] = {
    {"Empty", "", "1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal"},
    {"Cut", "{\n\"controllers\": [\n",
     "3: syntax error while parsing value - unexpected end of input; expected '[', '{', "
     "or a literal"},
    {"MissingComma", "{\n\"controllers\": []\n\"profiles\": []}",
     "3: syntax error while parsing object - unexpected string literal; expected '}'"},
    {"MemberTwice", "{\"controllers\": [],\n\"controllers\": []}", "2: member \"controllers\" is there twice"},
    {"ZeroCharacter", "{\"description\":\n\"a\\u0000b\"}", "2: a text cannot hold a zero character"},
    {"NoUtf8", "{\"description\":\n\"\xc3(\"}",
     "2: syntax error while parsing value - invalid string: ill-formed UTF-8 byte"},
    {"TooDeep", std::string(100, '['), "1: nested too deeply"},
    {"NoObject", "\n[]", "2: the description must be an object"},
    {"UnknownMember", "{\n\"controler\": []}", "2: the description: \"controler\" is no member that it can have"},
    {"NoList", "{\n\"controllers\": {}}", "2: the description: controllers must be a list"},
    {"NoEntry", "{\"controllers\": [\n7]}", "2: controller must be an object"},
};

const Case kEntries[] = {
    {"NoId", "{\"controllers\": [\n{}]}", "2: controller: \"id\" is missing"},
    {"IdNoText", "{\"controllers\": [{\n\"id\": 7}]}", "2: controller: id must be a text"},
    {"ControllerTwice", "{\"controllers\": [{\"id\": \"c0\"},\n{\"id\": \"c0\"}]}",
     "2: controller \"c0\": is there twice"},
    {"UnknownControllerMember", WithMembers("\"modle\": \"x\""),
     "3: controller \"c0\": \"modle\" is no member that it can have"},
    {"UnknownDiskMember", WithMembers("\"disks\": [{\"id\": \"d\", \"satus\": \"ok\"}]"),
     "3: controller \"c0\": disk \"d\": \"satus\" is no member that it can have"},
    {"UnknownPartMember", WithMembers("\"parts\": {\"packge\": null}"),
     "3: controller \"c0\": parts: \"packge\" is no member that it can have"},
    {"MemberOfPart", WithMembers("\"parts\": {\"package\": {\"model\": \"x\"}}"),
     "3: controller \"c0\": parts: package: \"model\" is no member that it can have"},
    {"DiskTwice", WithMembers("\"disks\": [{\"id\": \"d\"}, {\"id\": \"d\"}]"),
     "3: controller \"c0\": disk \"d\": is there twice"},
    {"PoolTwice", "{\"controllers\": [{\"id\": \"c0\", \"pools\": [{\"id\": \"p\"},\n{\"id\": \"p\"}]}]}",
     "2: controller \"c0\": pool \"p\": is there twice"},
    {"SlotTwice",
     WithMembers(
         "\"disks\": [{\"id\": \"a\", \"enclosure\": \"e\", \"slot\": 1}, {\"id\": \"b\", \"enclosure\": \"e\", "
         "\"slot\": 1}]"),
     "3: controller \"c0\": disk \"b\": another disk is in slot 1"},
    {"NoSuchSlot", WithMembers("\"disks\": [{\"enclosure\": \"e\", \"slot\": 4}]"),
     "3: controller \"c0\": disk \"e:4\": enclosure \"e\" has no slot 4"},
    {"NoSuchEnclosure", WithMembers("\"disks\": [{\"enclosure\": \"f\", \"slot\": 0}]"),
     "3: controller \"c0\": disk \"f:0\": no enclosure \"f\""},
    {"NoSuchPool", WithMembers("\"disks\": [{\"id\": \"d\", \"pool\": \"q\"}]"),
     "3: controller \"c0\": disk \"d\": no pool \"q\""},
    {"NoPrimordialPool", "{\"controllers\": [{\"id\": \"c0\", \"disks\": [\n{\"id\": \"d\"}]}]}",
     "2: controller \"c0\": disk \"d\": \"pool\" is missing, and there is no primordial pool"},
    {"VolumeWithoutPool", WithMembers("\"volumes\": [{\"id\": \"v\"}]"),
     "3: controller \"c0\": volume \"v\": \"pool\" is missing"},
    {"DiskWithoutId", WithMembers("\"disks\": [{\"enclosure\": \"e\"}]"),
     "3: controller \"c0\": disk: \"id\" is missing"},
    {"DeviceWithoutClass", WithMembers("\"devices\": [{\"id\": \"x\"}]"),
     "3: controller \"c0\": device \"x\": \"class\" is missing"},
    {"NoSuchProfile", WithMembers("\"profile\": \"x\""), "3: controller \"c0\": no profile \"x\""},
    {"NoSuchClassPrefix", WithMembers("\"classPrefix\": \"Sim_Nobody\""),
     "3: controller \"c0\": there is no class \"Sim_NobodyPortController\""},
    {"NoSuchClass", WithMembers("\"disks\": [{\"id\": \"d\", \"class\": \"Sim_Dsk\"}]"),
     "3: controller \"c0\": disk \"d\": class \"Sim_Dsk\" is not known"},
    {"OtherKindsClass", WithMembers("\"disks\": [{\"id\": \"d\", \"class\": \"Sim_Battery\"}]"),
     "3: controller \"c0\": disk \"d\": class \"Sim_Battery\" is no CIM_DiskDrive"},
    {"SoftwareWithoutKind", WithMembers("\"software\": [{\"version\": \"1\"}]"),
     "3: controller \"c0\": software 0: \"kind\" is missing"},
};

std::string WithDisk(const std::string &members) {
    return WithMembers("\"disks\": [{\"id\": \"d\", " + members + "}]");
}

const Case kValues[] = {
    {"UnknownStatus", WithMembers("\"batteries\": [{\"id\": \"b\", \"status\": \"faild\"}]"),
     "3: controller \"c0\": battery \"b\": status \"faild\" is none of \"failed\", \"unknown\", \"other\", \"ok\", "
     "\"degraded\", \"stressed\", \"predictive failure\", \"error\", \"non-recoverable error\", \"starting\", "
     "\"stopping\", \"stopped\", \"in service\", \"no contact\", \"lost communication\", \"aborted\", \"dormant\", "
     "\"supporting entity in error\", \"completed\", \"power mode\""},
    {"StatusOfAnotherPool", WithDisk("\"pool\": \"free\", \"status\": \"online\""),
     "3: controller \"c0\": disk \"d\": status \"online\" needs a pool that is not primordial"},
    {"StatusOfAPrimordialPool", WithDisk("\"pool\": \"p\", \"status\": \"unconfigured bad\""),
     "3: controller \"c0\": disk \"d\": status \"unconfigured bad\" needs a pool that is primordial"},
    {"StatusNull", WithDisk("\"status\": null"),
     "3: controller \"c0\": disk \"d\": \"status\" cannot be null; to leave the property out, \"omit\" it"},
    {"StatusTooBig", WithDisk("\"status\": 65536"), "3: controller \"c0\": disk \"d\": status must be at most 65535"},
    {"UnknownWord", WithMembers("\"ports\": [{\"id\": \"0\", \"type\": \"SCSI\"}]"),
     "3: controller \"c0\": port \"0\": type: \"SCSI\" is none of \"SATA\", \"SAS\""},
    {"NegativeSlot", WithDisk("\"slot\": -1"), "3: controller \"c0\": disk: slot must be a whole number, not negative"},
    {"BadSize", WithDisk("\"size\": \"900 Gigs\""),
     "3: controller \"c0\": disk \"d\": size must be a number of bytes or "
     "a text such as \"900GB\" or \"1.5TiB\""},
    {"SizeAndBlocks", WithDisk("\"size\": \"900GB\",\n\"blocks\": 1"),
     "3: controller \"c0\": disk \"d\": has both \"size\" and \"blocks\""},
    {"NoFlag", WithDisk("\n\"primordial\": 1"), "4: controller \"c0\": disk \"d\": primordial must be true or false"},
    {"NumberBeforeALineEnd", WithDisk("\"name\":\n5\n"), "4: controller \"c0\": disk \"d\": name is no string"},
    {"PropertyOfAnotherType", WithDisk("\"properties\": {\"EnabledState\":\n\"x\"}"),
     "4: controller \"c0\": disk \"d\": EnabledState is no uint16"},
    {"PropertyTooBig", WithDisk("\"properties\": {\"EnabledState\": 65536}"),
     "3: controller \"c0\": disk \"d\": EnabledState is no uint16"},
    {"SignedTooBig", WithDisk("\"properties\": {\"X\": {\"type\": \"sint8\", \"value\": -129}}"),
     "3: controller \"c0\": disk \"d\": X is no sint8"},
    {"PropertyNoArray", WithDisk("\"properties\": {\"OperationalStatus\": 2}"),
     "3: controller \"c0\": disk \"d\": OperationalStatus is no uint16[]"},
    {"UnknownType", WithDisk("\"properties\": {\"X\": {\"type\": \"int\", \"value\": 1}}"),
     "3: controller \"c0\": disk \"d\": X: \"int\" is no CIM type"},
    {"TypeWithoutValue", WithDisk("\"properties\": {\"X\": {\"type\": \"uint8\"}}"),
     "3: controller \"c0\": disk \"d\": X: \"value\" is missing"},
    {"NumberWithoutType", WithDisk("\"properties\": {\"Unheard\": 1}"),
     "3: controller \"c0\": disk \"d\": Unheard has no type in the class: write {\"type\": ..., \"value\": ...}"},
    {"BadHex", WithDisk("\"properties\": {\"X\": {\"type\": \"string\", \"hex\": \"c32\"}}"),
     "3: controller \"c0\": disk \"d\": X must be pairs of hexadecimal digits, none 00"},
    {"KeyArray", WithDisk("\"keys\": {\"X\": {\"type\": \"uint8[]\", \"value\": []}}"),
     "3: controller \"c0\": disk \"d\": X: a key cannot be an array"},
    {"OmitNoList", WithDisk("\"omit\": \"Name\""), "3: controller \"c0\": disk \"d\": omit must be a list"},
};

const Case kMany[] = {
    {"NoRange", WithMembers("\"ports\": [{\"ids\": \"0-\"}]"),
     "3: port: ids must be a range such as \"0-23\" or \"0-3,8-11\", each number once"},
    {"BackwardRange", WithMembers("\"ports\": [{\"ids\": \"3-1\"}]"),
     "3: port: ids must be a range such as \"0-23\" or \"0-3,8-11\", each number once"},
    {"OverlappingRange", WithMembers("\"ports\": [{\"ids\": \"0-3,3\"}]"),
     "3: port: ids must be a range such as \"0-23\" or \"0-3,8-11\", each number once"},
    {"ExceptNone", WithMembers("\"disks\": [{\"enclosure\": \"e\", \"slots\": \"0-1\",\n\"except\": {\"2\": {}}}]"),
     "4: disk: except: \"2\" is not among the slots"},
    {"ExceptWithoutRange", WithDisk("\"except\": {}"),
     "3: controller \"c0\": disk \"d\": \"except\" is no member that it can have"},
    {"SlotAndSlots", WithMembers("\"disks\": [{\"enclosure\": \"e\", \"slots\": \"0-1\", \"slot\": 3}]"),
     "3: disk: has both \"slot\" and \"slots\""},
    {"TooMany",
     WithMembers("\"devices\": [{\"ids\": \"0-60000\", \"id\": \"a{id}\", \"class\": \"Sim_Fan\"}, {\"ids\": "
                 "\"0-60000\", \"id\": \"b{id}\", \"class\": \"Sim_Fan\"}]"),
     "3: device: more than 100000 devices"},
};

const Case kRecorded[] = {
    {"KnownClass", "{\"classes\": {\n\"CIM_Fan\": null}}", "2: class \"CIM_Fan\" is known already"},
    {"UnknownSuperclass", "{\"classes\": {\n\"A_B\": \"C_D\"}}", "2: class \"A_B\": superclass \"C_D\" is not known"},
    {"ObjectOfNoClass", "{\"objects\": [{\"id\": \"1\",\n\"class\": \"A_B\"}]}",
     "2: object \"1\": class \"A_B\" is not known: \"classes\" can declare it"},
    {"ObjectTwice",
     "{\"objects\": [{\"id\": \"1\", \"class\": \"CIM_Fan\"},\n{\"id\": \"1\", \"class\": \"CIM_Fan\"}]}",
     "2: object \"1\": is there twice"},
    {"LinkWithThreeEnds", "{\"links\": [{\"class\": \"CIM_Realizes\",\n\"ends\": {\"A\": \"1\"}}]}",
     "2: link: \"ends\" must be two roles, each with an object"},
    {"LinkToNothing",
     "{\"links\": [{\"class\": \"CIM_Realizes\", \"ends\": {\n\"Antecedent\": \"profile/hhrc\",\n\"Dependent\": "
     "\"c1\"}}]}",
     "3: link: no object \"c1\""},
    {"RuleForNoClass", "{\"behaviour\": [{\n\"class\": \"CIM_Nothing\"}]}",
     "2: behaviour: class \"CIM_Nothing\" is not known: \"classes\" can declare it"},
    {"RuleForNoOperation", "{\"behaviour\": [{\"class\": \"CIM_Fan\",\n\"operation\": \"delete\"}]}",
     "2: behaviour: no operation \"delete\""},
    {"RuleTooSlow", "{\"behaviour\": [{\"class\": \"CIM_Fan\",\n\"latency\": 600001}]}",
     "2: behaviour: latency must be at most 600000"},
};

std::string NameOf(const testing::TestParamInfo<Case> &info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Json, Mistakes, testing::ValuesIn(kJson), NameOf);
INSTANTIATE_TEST_SUITE_P(Entries, Mistakes, testing::ValuesIn(kEntries), NameOf);
INSTANTIATE_TEST_SUITE_P(Values, Mistakes, testing::ValuesIn(kValues), NameOf);
INSTANTIATE_TEST_SUITE_P(Many, Mistakes, testing::ValuesIn(kMany), NameOf);
INSTANTIATE_TEST_SUITE_P(Recorded, Mistakes, testing::ValuesIn(kRecorded), NameOf);

TEST(Loading, AFileThatCannotBeReadIsNamed) {
    std::string error;
    EXPECT_FALSE(sim::LoadDescription("/nowhere/hw.json", nullptr, &error));
    EXPECT_EQ(error, "/nowhere/hw.json: cannot be read: No such file or directory");
    EXPECT_FALSE(sim::LoadDescription("/", nullptr, &error));
    EXPECT_EQ(error, "/: cannot be read: Is a directory");
}

TEST(Loading, AMistakeLeavesTheDescriptionAsItWas) {
    Description description;
    ASSERT_TRUE(sim::ReadDescription(WithMembers("\"model\": \"x\""), "hw.json", &description, nullptr));
    const std::size_t objects = description.graph.Objects().size();
    EXPECT_FALSE(sim::ReadDescription("{", "hw.json", &description, nullptr));
    EXPECT_EQ(description.graph.Objects().size(), objects);
}

} // namespace
