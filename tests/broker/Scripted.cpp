#include "tests/broker/Scripted.h"

namespace cim::test {

Scripted::Scripted() {
    ScriptedProvider<0>::script = &front;
    ScriptedProvider<1>::script = &back;
    config.builtins = {{"Front", ScriptedProvider<0>::builtin}, {"Back", ScriptedProvider<1>::builtin}};
    config.mofFiles = {BROKER_TEST_DATA "/classes.mof"};
    config.registrationFiles = {BROKER_TEST_DATA "/providers.reg"};
    config.libraryFolders = {TEST_PROVIDER_FOLDER};
    back.on[Operation::EnumerateInstances] = Returning({"1", "2"});
    front.on[Operation::GetInstance] = [this](const Asked &call) {
        prepared = call.broker->bft->prepareAttachThread(call.broker, call.context);
        return kOk;
    };
}

void Scripted::Start() {
    config.registrationTexts = {{"more", registrations}};
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

const CMPIContext *Scripted::Prepare() {
    broker->GetInstance({{}, "root/front", "T_Front", {}});
    return prepared;
}

void Scripted::StartWith(const MemoryRules &rules) {
    config.memory = rules;
    Start();
    Prepare();
}

Ids Scripted::Fans() { return IdsOf(broker->EnumerateInstances("root/back", "T_Fan").value); }

Invoked::Invoked() {
    Start();
    context = broker->BeginInvocation("root/back");
    cmpi = broker->Handle();
}

void Invoked::TearDown() {
    broker->EndInvocation(context);
    Scripted::TearDown();
}

CMPIObjectPath *NewPath(const CMPIBroker *broker, const std::string &nameSpace, const std::string &className,
                        const std::string &id) {
    CMPIObjectPath *path = broker->eft->newObjectPath(broker, nameSpace.c_str(), className.c_str(), nullptr);
    if (!id.empty()) path->ft->addKey(path, "ID", Chars(id.c_str()), CMPI_chars);
    return path;
}

CMPIEnumeration *Enumerate(const CMPIBroker *broker, const CMPIContext *context, CMPIStatus *status,
                           const std::string &nameSpace, const std::string &className) {
    return broker->bft->enumerateInstances(broker, context, NewPath(broker, nameSpace, className), nullptr, status);
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
    return asked.result->ft->returnInstance(asked.result, instance);
}

CMPIStatus ReturnPath(const Asked &asked, const std::string &id, const std::string &className) {
    return asked.result->ft->returnObjectPath(asked.result, PathFor(asked, id, className));
}

Script::Function Returning(const Ids &ids, const std::string &className) {
    return [=](const Asked &call) {
        CMPIStatus status = kOk;
        for (const std::string &id : ids) status = ReturnInstance(call, id, className);
        return status;
    };
}

std::string TextOf(const CMPIString *string) {
    const char *text = string != nullptr ? string->ft->getCharPtr(string, nullptr) : nullptr;
    return text != nullptr ? text : "(null)";
}

std::string TextOf(const CMPIData &data) {
    return data.type == CMPI_string && data.value.string != nullptr ? TextOf(data.value.string) : "(no text)";
}

std::string TextOf(const CMPIInstance *instance, const char *property) {
    return TextOf(instance->ft->getProperty(instance, property, nullptr));
}

Ids IdsOf(const CMPIEnumeration *enumeration) {
    Ids ids;
    if (enumeration == nullptr) return {"(no enumeration)"};
    while (enumeration->ft->hasNext(enumeration, nullptr) != 0) {
        const CMPIData data = enumeration->ft->getNext(enumeration, nullptr);
        const CMPIObjectPath *path =
            data.type == CMPI_instance ? data.value.inst->ft->getObjectPath(data.value.inst, nullptr) : data.value.ref;
        ids.push_back(TextOf(path->ft->getKey(path, "ID", nullptr)));
    }
    return ids;
}

Ids IdsOf(const std::vector<Instance> &instances) {
    Ids ids;
    for (const Instance &instance : instances) ids.push_back(support::Shown(instance.path->Key("ID")));
    return ids;
}

Ids IdsOf(const std::vector<ObjectPath> &paths) {
    Ids ids;
    for (const ObjectPath &path : paths) ids.push_back(support::Shown(path.Key("ID")));
    return ids;
}

} // namespace cim::test
