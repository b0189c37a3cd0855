#include "tests/broker/Scripted.h"

#include <cstdio>
#include <unistd.h>

namespace cim::test {

const char *const kClasses = R"(
[Abstract] class T_Element { [Key] string ID; string Caption; };
class T_Front : T_Element { uint16 Number; };
class T_Device : T_Element {
    boolean Flag; uint16 Small; uint64 Big; sint32 Signed; real32 Real; datetime Date; string Texts[];
    uint16 Numbers[]; T_Element ref Other; string Embedded;
};
class T_Disk : T_Device { uint32 Speed; };
class T_Fan : T_Device { };
class T_SmallFan : T_Fan { };
class T_Lonely : T_Element { };
[Association] class T_Link { [Key] T_Element ref Antecedent; [Key] T_Element ref Dependent; };
[Association] class T_DeviceLink : T_Link { };
[Association] class T_FanLink : T_DeviceLink { };
[Association] class T_UnservedLink { [Key] T_Element ref A; [Key] T_Element ref B; };
)";

TextFile::TextFile(const std::string &text) : name(testing::TempDir() + "broker-test-XXXXXX") {
    const int file = mkstemp(name.data());
    EXPECT_GE(file, 0);
    EXPECT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(file);
}

TextFile::~TextFile() { std::remove(name.c_str()); }

Scripted::Scripted() {
    Provider<0>::script = &front;
    Provider<1>::script = &back;
    config.builtins = {{"Front", Provider<0>::Builtin()}, {"Back", Provider<1>::Builtin()}};
    registrations = R"(
[T_Front]
  provider: Front
  location: Front
  type: instance
  namespace: root/front
[T_Device]
  provider: Back
  location: Back
  type: instance
  namespace: root/back
[T_Disk]
  provider: Back
  location: Back
  type: instance
  namespace: root/back
[T_DeviceLink]
  provider: Back
  location: Back
  type: association
  namespace: root/back
[T_FanLink]
  provider: Back
  location: Back
  type: association
  namespace: root/back
)";
}

void Scripted::Start() {
    files.push_back(std::make_unique<TextFile>(kClasses));
    files.push_back(std::make_unique<TextFile>(registrations));
    config.mofFiles = {files[0]->Name()};
    config.registrationFiles = {files[1]->Name()};
    std::string error;
    broker = cim::Broker::Create(config, &error);
    ASSERT_NE(broker, nullptr) << error;
}

void Scripted::Stop() {
    broker->Shutdown();
    const LiveObjects live = broker->Live();
    EXPECT_EQ(live.lent, 0u);
    EXPECT_EQ(live.clones, 0u);
    EXPECT_EQ(live.contexts, 0u);
    EXPECT_EQ(live.attachedThreads, 0u);
    broker.reset();
}

void Scripted::TearDown() {
    if (broker != nullptr) Stop();
}

CMPIObjectPath *NewPath(const CMPIBroker *broker, const std::string &nameSpace, const std::string &className,
                        const std::string &id) {
    CMPIObjectPath *path = broker->eft->newObjectPath(broker, nameSpace.c_str(), className.c_str(), nullptr);
    if (!id.empty()) path->ft->addKey(path, "ID", reinterpret_cast<const CMPIValue *>(id.c_str()), CMPI_chars);
    return path;
}

namespace {

CMPIObjectPath *PathFor(const Asked &asked, const std::string &id, const std::string &className) {
    const std::string nameSpace = TextOf(asked.path->ft->getNameSpace(asked.path, nullptr));
    return NewPath(asked.broker, nameSpace,
                   className.empty() ? TextOf(asked.path->ft->getClassName(asked.path, nullptr)) : className, id);
}

} // namespace

CMPIStatus ReturnInstance(const Asked &asked, const std::string &id, const std::string &className) {
    CMPIInstance *instance = asked.broker->eft->newInstance(asked.broker, PathFor(asked, id, className), nullptr);
    instance->ft->setProperty(instance, "ID", reinterpret_cast<const CMPIValue *>(id.c_str()), CMPI_chars);
    return asked.result->ft->returnInstance(asked.result, instance);
}

CMPIStatus ReturnPath(const Asked &asked, const std::string &id, const std::string &className) {
    return asked.result->ft->returnObjectPath(asked.result, PathFor(asked, id, className));
}

std::string TextOf(const CMPIString *string) {
    const char *text = string != nullptr ? string->ft->getCharPtr(string, nullptr) : nullptr;
    return text != nullptr ? text : "(null)";
}

std::string TextOf(const CMPIData &data) {
    return data.type == CMPI_string && data.value.string != nullptr ? TextOf(data.value.string) : "(no text)";
}

std::vector<std::string> IdsOf(const CMPIEnumeration *enumeration) {
    std::vector<std::string> ids;
    if (enumeration == nullptr) return {"(no enumeration)"};
    while (enumeration->ft->hasNext(enumeration, nullptr) != 0) {
        const CMPIData data = enumeration->ft->getNext(enumeration, nullptr);
        const CMPIObjectPath *path =
            data.type == CMPI_instance ? data.value.inst->ft->getObjectPath(data.value.inst, nullptr) : data.value.ref;
        ids.push_back(TextOf(path->ft->getKey(path, "ID", nullptr)));
    }
    return ids;
}

namespace {

std::string IdOf(const ObjectPath &path) {
    const Value *id = path.Key("ID");
    return id != nullptr && id->As<std::string>() != nullptr ? *id->As<std::string>() : "(no ID)";
}

} // namespace

std::vector<std::string> IdsOf(const std::vector<Instance> &instances) {
    std::vector<std::string> ids;
    for (const Instance &instance : instances) ids.push_back(IdOf(instance.path));
    return ids;
}

std::vector<std::string> IdsOf(const std::vector<ObjectPath> &paths) {
    std::vector<std::string> ids;
    for (const ObjectPath &path : paths) ids.push_back(IdOf(path));
    return ids;
}

} // namespace cim::test
