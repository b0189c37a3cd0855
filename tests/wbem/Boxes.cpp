#include "tests/wbem/Boxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace cim::wbem {

namespace {

const char kClasses[] = R"(
class Test_Element { string Caption; };
[Version("1.0"), Description("A box.")] class Test_Box : Test_Element {
    [Key] string Name;
    [Key] uint16 Slot;
    [Key] boolean Spare;
    uint64 Size;
    [ValueMap{"2", "5"}, Values{"full", "<empty>"}] uint16 States[];
    string Note;
};
class Test_FineBox : Test_Box { real64 Weight; };
[Association] class Test_Pair { [Key] Test_Box REF Left; [Key] Test_Box REF Right; };
class Test_Unserved { [Key] string Name; };
class CIM_ManagedElement { string ElementName; string Description; };
class CIM_ObjectManager : CIM_ManagedElement { [Key] string SystemCreationClassName; [Key] string SystemName;
    [Key] string CreationClassName; [Key] string Name; boolean Started; };
class CIM_Namespace : CIM_ManagedElement { [Key] string SystemCreationClassName; [Key] string SystemName;
    [Key] string ObjectManagerCreationClassName; [Key] string ObjectManagerName; [Key] string CreationClassName;
    [Key] string Name; };
)";

const char kRegistration[] = R"(
[Test_Box]
   provider: Boxes
   location: Boxes
   type: instance association
   namespace: root/test
[Test_FineBox]
   provider: Boxes
   location: Boxes
   type: instance association
   namespace: root/test
[Test_Pair]
   provider: Boxes
   location: Boxes
   type: instance association
   namespace: root/test
)";

struct Box {
    const char *className, *name, *caption;
    CMPIUint16 slot;
    bool spare;
};
const Box kBoxes[] = {
    {"Test_Box", "left", "<left> & \"first\"", 1, true},
    {"Test_FineBox", "right", "bell \a, bad byte \xFF, \xC3\xA9", 2, false},
};

const CMPIBroker *broker;
constexpr CMPIStatus kDone{CMPI_RC_OK, nullptr};

CMPIStatus Refuse(CMPIrc code, const char *why) {
    return {code, why != nullptr ? broker->eft->newString(broker, why, nullptr) : nullptr};
}

const char *CharsOf(const CMPIString *text) { return text->ft->getCharPtr(text, nullptr); }

const CMPIValue *Chars(const char *text) { return reinterpret_cast<const CMPIValue *>(text); }

std::string NameSpaceOf(const CMPIObjectPath *path) { return CharsOf(path->ft->getNameSpace(path, nullptr)); }

CMPIObjectPath *PathOf(const Box &box, const std::string &nameSpace) {
    CMPIObjectPath *path = broker->eft->newObjectPath(broker, nameSpace.c_str(), box.className, nullptr);
    CMPIValue slot = {}, spare = {};
    slot.uint16 = box.slot;
    spare.boolean = box.spare;
    path->ft->addKey(path, "Name", Chars(box.name), CMPI_chars);
    path->ft->addKey(path, "Slot", &slot, CMPI_uint16);
    path->ft->addKey(path, "Spare", &spare, CMPI_boolean);
    return path;
}

CMPIInstance *InstanceOf(const Box &box, const std::string &nameSpace, const char **properties) {
    const CMPIObjectPath *path = PathOf(box, nameSpace);
    CMPIInstance *instance = broker->eft->newInstance(broker, path, nullptr);
    instance->ft->setPropertyFilter(instance, properties, nullptr);
    CMPIValue slot = {}, spare = {}, size = {}, states = {}, weight = {};
    slot.uint16 = box.slot;
    spare.boolean = box.spare;
    size.uint16 = 512; // less wide than the class has it
    states.array = broker->eft->newArray(broker, 2, CMPI_uint16, nullptr);
    for (CMPICount i = 0; i < 2; ++i) {
        CMPIValue state = {};
        state.uint16 = static_cast<CMPIUint16>(2 + 3 * i);
        states.array->ft->setElementAt(states.array, i, &state, CMPI_uint16);
    }
    weight.real64 = 1.5;
    instance->ft->setProperty(instance, "Caption", Chars(box.caption), CMPI_chars);
    instance->ft->setProperty(instance, "Name", Chars(box.name), CMPI_chars);
    instance->ft->setProperty(instance, "Slot", &slot, CMPI_uint16);
    instance->ft->setProperty(instance, "Spare", &spare, CMPI_boolean);
    instance->ft->setProperty(instance, "Size", &size, CMPI_uint16);
    instance->ft->setProperty(instance, "States", &states, CMPI_uint16A);
    if (std::strcmp(box.className, "Test_FineBox") == 0) {
        instance->ft->setProperty(instance, "Weight", &weight, CMPI_real64);
    }
    return instance;
}

// The box that a path names by keys of the right types, null when there is none. Spare is not compared: providers know
// their instances by fewer keys than the class has.
const Box *FindBox(const CMPIObjectPath *path) {
    const CMPIData name = path->ft->getKey(path, "Name", nullptr);
    const CMPIData slot = path->ft->getKey(path, "Slot", nullptr);
    const CMPIData spare = path->ft->getKey(path, "Spare", nullptr);
    if (name.type != CMPI_string || slot.type != CMPI_uint16 || spare.type != CMPI_boolean) return nullptr;
    for (const Box &box : kBoxes) {
        if (std::strcmp(CharsOf(name.value.string), box.name) == 0 && slot.value.uint16 == box.slot) {
            return &box;
        }
    }
    return nullptr;
}

template <class Give> CMPIStatus ForEach(const CMPIResult *result, const CMPIObjectPath *path, Give give) {
    const std::string wanted = CharsOf(path->ft->getClassName(path, nullptr));
    for (const Box &box : kBoxes) {
        if (SameName(wanted, box.className)) give(box);
    }
    result->ft->returnDone(result);
    return kDone;
}

CMPIStatus EnumNames(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *path) {
    return ForEach(result, path,
                   [&](const Box &box) { result->ft->returnObjectPath(result, PathOf(box, NameSpaceOf(path))); });
}

CMPIStatus Enum(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *path,
                const char **properties) {
    return ForEach(result, path, [&](const Box &box) {
        result->ft->returnInstance(result, InstanceOf(box, NameSpaceOf(path), properties));
    });
}

CMPIStatus Get(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *path,
               const char **properties) {
    const Box *box = FindBox(path);
    if (box == nullptr) return Refuse(CMPI_RC_ERR_NOT_FOUND, nullptr);
    result->ft->returnInstance(result, InstanceOf(*box, NameSpaceOf(path), properties));
    result->ft->returnDone(result);
    return kDone;
}

CMPIStatus Create(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                  const CMPIInstance *) {
    return Refuse(CMPI_RC_ERR_ALREADY_EXISTS, "the shelf is full");
}
CMPIStatus Modify(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                  const CMPIInstance *, const char **) {
    return Refuse(CMPI_RC_ERR_ACCESS_DENIED, "boxes stay as they are");
}
CMPIStatus Delete(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *) {
    return Refuse(CMPI_RC_ERROR_SYSTEM, "boxes stay"); // no CIM code
}
CMPIStatus Query(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char *,
                 const char *) {
    return Refuse(CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, nullptr);
}

// --- The one pair ---

CMPIInstance *Pair(const std::string &nameSpace) {
    CMPIObjectPath *path = broker->eft->newObjectPath(broker, nameSpace.c_str(), "Test_Pair", nullptr);
    CMPIValue ends[2] = {};
    ends[0].ref = PathOf(kBoxes[0], nameSpace);
    ends[1].ref = PathOf(kBoxes[1], nameSpace);
    path->ft->addKey(path, "Left", &ends[0], CMPI_ref);
    path->ft->addKey(path, "Right", &ends[1], CMPI_ref);
    CMPIInstance *pair = broker->eft->newInstance(broker, path, nullptr);
    pair->ft->setProperty(pair, "Left", &ends[0], CMPI_ref);
    pair->ft->setProperty(pair, "Right", &ends[1], CMPI_ref);
    return pair;
}

const Box *OtherEnd(const CMPIObjectPath *path) {
    const Box *box = FindBox(path);
    return box == nullptr ? nullptr : box == &kBoxes[0] ? &kBoxes[1] : &kBoxes[0];
}

CMPIStatus Associators(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *path,
                       const char *, const char *, const char *, const char *, const char **properties) {
    const Box *other = OtherEnd(path);
    if (other != nullptr) result->ft->returnInstance(result, InstanceOf(*other, NameSpaceOf(path), properties));
    return kDone;
}
CMPIStatus AssociatorNames(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *result,
                           const CMPIObjectPath *path, const char *, const char *, const char *, const char *) {
    const Box *other = OtherEnd(path);
    if (other != nullptr) result->ft->returnObjectPath(result, PathOf(*other, NameSpaceOf(path)));
    return kDone;
}
CMPIStatus References(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *path,
                      const char *, const char *, const char **) {
    if (OtherEnd(path) != nullptr) result->ft->returnInstance(result, Pair(NameSpaceOf(path)));
    return kDone;
}
CMPIStatus ReferenceNames(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *result,
                          const CMPIObjectPath *path, const char *, const char *) {
    if (OtherEnd(path) == nullptr) return kDone;
    const CMPIInstance *pair = Pair(NameSpaceOf(path));
    result->ft->returnObjectPath(result, pair->ft->getObjectPath(pair, nullptr));
    return kDone;
}

CMPIInstanceMI *CreateInstanceMI(const CMPIBroker *host, const CMPIContext *, CMPIStatus *) {
    static const CMPIInstanceMIFT table = {100,
                                           100,
                                           "instanceBoxes",
                                           [](CMPIInstanceMI *, const CMPIContext *, CMPIBoolean) { return kDone; },
                                           EnumNames,
                                           Enum,
                                           Get,
                                           Create,
                                           Modify,
                                           Delete,
                                           Query};
    static CMPIInstanceMI mi = {nullptr, &table};
    broker = host;
    return &mi;
}

CMPIAssociationMI *CreateAssociationMI(const CMPIBroker *host, const CMPIContext *, CMPIStatus *) {
    static const CMPIAssociationMIFT table = {
        100,
        100,
        "associationBoxes",
        [](CMPIAssociationMI *, const CMPIContext *, CMPIBoolean) { return kDone; },
        Associators,
        AssociatorNames,
        References,
        ReferenceNames};
    static CMPIAssociationMI mi = {nullptr, &table};
    broker = host;
    return &mi;
}

std::string Between(const std::string &text, const std::string &open, const std::string &close) {
    const std::size_t begin = text.find(open), end = text.rfind(close);
    if (begin == std::string::npos || end == std::string::npos) return text;
    return text.substr(begin + open.size(), end - begin - open.size());
}

} // namespace

const char kLeftName[] = "<INSTANCENAME CLASSNAME=\"Test_Box\">"
                         "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">left</KEYVALUE></KEYBINDING>"
                         "<KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE></KEYBINDING>"
                         "<KEYBINDING NAME=\"Spare\"><KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING>"
                         "</INSTANCENAME>";
const char kRightName[] = "<INSTANCENAME CLASSNAME=\"Test_FineBox\">"
                          "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">right</KEYVALUE></KEYBINDING>"
                          "<KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">2</KEYVALUE></KEYBINDING>"
                          "<KEYBINDING NAME=\"Spare\"><KEYVALUE VALUETYPE=\"boolean\">FALSE</KEYVALUE></KEYBINDING>"
                          "</INSTANCENAME>";

std::unique_ptr<Broker> BrokerWithBoxes() {
    BrokerConfig config;
    config.mofTexts = {{"boxes.mof", kClasses}};
    config.registrationTexts = {{"boxes.reg", kRegistration}};
    config.builtins["Boxes"] = {CreateInstanceMI, CreateAssociationMI};
    std::string error;
    auto host = Broker::Create(config, &error);
    EXPECT_NE(host, nullptr) << error;
    return host;
}

std::string Parameter(const std::string &name, const std::string &value) {
    return "<IPARAMVALUE NAME=\"" + name + "\">" + value + "</IPARAMVALUE>";
}

std::string ClassParameter(const std::string &className) {
    return Parameter("ClassName", "<CLASSNAME NAME=\"" + className + "\"/>");
}

HttpRequest CallOf(const std::string &method, const std::string &parameters, const std::string &nameSpace) {
    std::string parts, escaped;
    for (std::size_t begin = 0; begin <= nameSpace.size();) {
        const std::size_t end = std::min(nameSpace.find('/', begin), nameSpace.size());
        parts += "<NAMESPACE NAME=\"" + nameSpace.substr(begin, end - begin) + "\"/>";
        escaped += (begin == 0 ? "" : "%2F") + nameSpace.substr(begin, end - begin);
        begin = end + 1;
    }
    HttpRequest request;
    request.headers = {{"Host", "server:5988"},
                       {"Content-Type", "application/xml; charset=\"utf-8\""},
                       {"CIMOperation", "MethodCall"},
                       {"CIMMethod", method},
                       {"CIMObject", escaped}};
    request.body = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
                   "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
                   "<SIMPLEREQ><IMETHODCALL NAME=\"" +
                   method + "\"><LOCALNAMESPACEPATH>" + parts + "</LOCALNAMESPACEPATH>\n" + parameters +
                   "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>\n";
    return request;
}

HttpRequest RequestWith(const std::string &body) {
    HttpRequest request = CallOf("EnumerateInstances", "");
    request.body = body;
    return request;
}

std::string ResponseIn(const HttpAnswer &answer) {
    const std::string inner = Between(answer.body, "<IMETHODRESPONSE", "</IMETHODRESPONSE>");
    return inner == answer.body ? inner : inner.substr(inner.find('>') + 1);
}

std::string ReturnedIn(const HttpAnswer &answer) { return Between(answer.body, "<IRETURNVALUE>", "</IRETURNVALUE>"); }

} // namespace cim::wbem
