#include "tests/broker/Scripted.h"

namespace cim::test {
namespace {

using Ids = std::vector<std::string>;

class Routing : public Scripted {};

TEST_F(Routing, ARequestReachesTheClassItsSubclassesAndInheritedRegistrations) {
    Start();
    std::vector<std::string> asked;
    back.enumerateInstances = [&](const Asked &call) {
        asked.push_back(TextOf(call.path->ft->getClassName(call.path, nullptr)));
        return ReturnInstance(call, asked.back());
    };
    // The class and its registered subclass are asked for by their own names.
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "t_device").value), (Ids{"t_device", "T_Disk"}));
    // A superclass without a registration reaches what is below it.
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("ROOT/back", "T_Element").value), (Ids{"T_Device", "T_Disk"}));
    // A class without a registration belongs to the nearest superclass's provider.
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_SmallFan").value), (Ids{"T_SmallFan"}));
}

TEST_F(Routing, InstancesReturnedForAClassAndForItsSubclassComeOnce) {
    Start();
    back.enumerateInstances = [&](const Asked &call) {
        ReturnInstance(call, "both", "T_Disk");
        return kOk;
    };
    back.enumerateInstanceNames = [&](const Asked &call) { return ReturnPath(call, "both", "T_Disk"); };
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_Device").value), (Ids{"both"}));
    EXPECT_EQ(IdsOf(broker->EnumerateInstanceNames("root/back", "T_Device").value), (Ids{"both"}));
}

TEST_F(Routing, InstancesAreAnsweredAsTheyWereWhenTheyWereReturned) {
    Start();
    CMPIInstance *kept = nullptr;
    back.enumerateInstances = [&](const Asked &call) {
        CMPIObjectPath *path = NewPath(call.broker, "root/back", "T_Fan", "one");
        CMPIInstance *instance = call.broker->eft->newInstance(call.broker, path, nullptr);
        for (const char *id : {"first", "second", "third"}) {
            instance->ft->setProperty(instance, "ID", reinterpret_cast<const CMPIValue *>(id), CMPI_chars);
            call.result->ft->returnInstance(call.result, instance);
        }
        kept = instance->ft->clone(instance, nullptr);
        instance->ft->setProperty(instance, "ID", reinterpret_cast<const CMPIValue *>("too late"), CMPI_chars);
        EXPECT_EQ(TextOf(kept->ft->getProperty(kept, "ID", nullptr)), "third");
        return kOk;
    };
    const auto answer = broker->EnumerateInstances("root/back", "T_Fan");
    ASSERT_EQ(answer.value.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(*answer.value[i].Property("ID"), Value::Text(Ids{"first", "second", "third"}[i]));
    kept->ft->release(kept);
}

TEST_F(Routing, WithoutAProviderTheAnswerSaysWhatIsUnknown) {
    Start();
    EXPECT_EQ(broker->EnumerateInstances("root/nowhere", "T_Device").status.rc, CMPI_RC_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(broker->EnumerateInstances("root/back", "T_Unheard").status.rc, CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(broker->EnumerateInstances("root/back", "T_Lonely").status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(broker->EnumerateInstances("root/front", "T_Device").status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(broker->EnumerateInstances("root/back", "T_Device").status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(broker->NameSpaces(), (Ids{"root/back", "root/front"}));
}

TEST_F(Routing, GetReachesTheOneProviderAndAnswersOneInstance) {
    Start();
    back.getInstance = [&](const Asked &call) {
        const std::string id = TextOf(call.path->ft->getKey(call.path, "id", nullptr));
        return id == "here" ? ReturnInstance(call, id) : kOk;
    };
    ObjectPath path{{}, "root/back", "T_Disk", {{"ID", Value::Text("here")}}};
    EXPECT_EQ(broker->GetInstance(path).value.path, path);
    path.keys[0].value = Value::Text("gone");
    EXPECT_EQ(broker->GetInstance(path).status.rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Routing, WritingRequestsComeThroughWithInstanceListAndRefusal) {
    Start();
    const ObjectPath path{{}, "root/back", "T_Disk", {{"ID", Value::Text("7")}}};
    const Instance instance{path, path.keys};
    back.createInstance = [&](const Asked &call) {
        EXPECT_EQ(TextOf(call.instance->ft->getProperty(call.instance, "ID", nullptr)), "7");
        return ReturnPath(call, "7");
    };
    back.modifyInstance = [&](const Asked &call) {
        EXPECT_STREQ(call.properties[0], "Caption");
        EXPECT_EQ(call.properties[1], nullptr);
        return kOk;
    };
    back.deleteInstance = [&](const Asked &call) {
        return CMPIStatus{CMPI_RC_ERR_ACCESS_DENIED,
                          call.broker->eft->newString(call.broker, "no disk is deleted here", nullptr)};
    };
    back.execQuery = [&](const Asked &call) { return ReturnInstance(call, call.query); };
    EXPECT_EQ(broker->CreateInstance("root/back", instance).value, instance.path);
    const std::vector<std::string> list{"Caption"};
    EXPECT_TRUE(broker->ModifyInstance(instance, &list).Ok());
    const Status refused = broker->DeleteInstance(instance.path);
    EXPECT_EQ(refused.rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(refused.message, "no disk is deleted here");
    back.createInstance = [](const Asked &) { return kOk; }; // and no path
    EXPECT_EQ(broker->CreateInstance("root/back", instance).status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(IdsOf(broker->ExecQuery("root/back", "T_Disk", "q", "WQL").value), (Ids{"q"}));
}

TEST_F(Routing, WhatIsReturnedWithoutANamespaceIsInTheOneAskedIn) {
    Start();
    back.enumerateInstances = [](const Asked &call) {
        const CMPIObjectPath *path = NewPath(call.broker, "", "T_Fan", "1");
        CMPIValue instance = CMPIValue();
        instance.inst = call.broker->eft->newInstance(call.broker, path, nullptr);
        call.result->ft->returnData(call.result, &instance, CMPI_instance);
        EXPECT_EQ(call.result->ft->returnData(call.result, &instance, CMPI_uint8).rc, CMPI_RC_ERR_NOT_SUPPORTED);
        EXPECT_EQ(call.result->ft->clone(call.result, nullptr), nullptr);
        return call.result->ft->returnDone(call.result);
    };
    back.enumerateInstanceNames = [](const Asked &call) {
        CMPIValue path = CMPIValue();
        path.ref = NewPath(call.broker, "", "T_Fan", "1");
        return call.result->ft->returnData(call.result, &path, CMPI_ref);
    };
    const ObjectPath expected{{}, "root/back", "T_Fan", {{"ID", Value::Text("1")}}};
    EXPECT_EQ(broker->EnumerateInstances("root/back", "T_Fan").value.at(0).path, expected);
    EXPECT_EQ(broker->EnumerateInstanceNames("root/back", "T_Fan").value.at(0), expected);
}

class Associations : public Scripted {
protected:
    const ObjectPath source{{}, "root/back", "T_Front", {{"ID", Value::Text("s")}}};
};

TEST_F(Associations, ABaseClassOrNoneReachesEachProviderOfItsSubclassesOnce) {
    Start();
    int asked = 0;
    std::string named;
    back.associators = [&](const Asked &call) {
        ++asked;
        named = call.associationClass != nullptr ? call.associationClass : "(none)";
        return ReturnInstance(call, "d", "T_Disk");
    };
    EXPECT_EQ(IdsOf(broker->Associators(source, "T_Link").value), (Ids{"d"}));
    EXPECT_EQ(named, "T_Link");
    EXPECT_EQ(IdsOf(broker->Associators(source).value), (Ids{"d"}));
    EXPECT_EQ(named, "(none)");
    EXPECT_EQ(asked, 2);
    // Known without a provider: nothing there; the source's namespace alone counts.
    EXPECT_TRUE(broker->Associators(source, "T_UnservedLink").Ok());
    EXPECT_TRUE(broker->Associators(source, "T_UnservedLink").value.empty());
    ObjectPath elsewhere = source;
    elsewhere.nameSpace = "root/front";
    EXPECT_TRUE(broker->Associators(elsewhere, "T_Link").value.empty());
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(broker->Associators(source, "T_Unheard").status.rc, CMPI_RC_ERR_INVALID_CLASS);
}

TEST_F(Associations, SeveralProvidersAnswerAsOneAndTheFirstFailureCounts) {
    registrations += "[T_Link]\nprovider: Front\nlocation: Front\ntype: association\nnamespace: root/back\n";
    Start();
    back.associatorNames = [&](const Asked &call) { return ReturnPath(call, "b", "T_Disk"); };
    front.associatorNames = [&](const Asked &call) { return ReturnPath(call, "f", "T_Disk"); };
    EXPECT_EQ(IdsOf(broker->AssociatorNames(source, "T_Link").value), (Ids{"b", "f"}));
    front.associatorNames = nullptr; // not supported: stands back
    EXPECT_EQ(IdsOf(broker->AssociatorNames(source, "T_Link").value), (Ids{"b"}));
    front.associatorNames = [&](const Asked &) { return CMPIStatus{CMPI_RC_ERR_ACCESS_DENIED, nullptr}; };
    EXPECT_EQ(broker->AssociatorNames(source, "T_Link").status.rc, CMPI_RC_ERR_ACCESS_DENIED);
}

TEST_F(Associations, ResultsAreFilteredByResultClassUnlessToldOtherwise) {
    for (const bool filter : {true, false}) {
        config.filterResults = filter;
        Start();
        back.associators = [&](const Asked &call) {
            EXPECT_STREQ(call.resultClass, "T_Device");
            ReturnInstance(call, "disk", "T_Disk");
            return ReturnInstance(call, "front", "T_Front");
        };
        EXPECT_EQ(IdsOf(broker->Associators(source, "T_DeviceLink", "T_Device").value),
                  filter ? (Ids{"disk"}) : (Ids{"disk", "front"}));
        Stop();
    }
}

TEST_F(Associations, ReferencesAreFilteredByAssociationClassAndRole) {
    Start();
    const auto association = [&](const Asked &call, const char *className, const char *sourceRole) {
        CMPIObjectPath *path = NewPath(call.broker, "root/back", className);
        CMPIValue own{};
        own.ref = const_cast<CMPIObjectPath *>(call.path);
        CMPIInstance *instance = call.broker->eft->newInstance(call.broker, path, nullptr);
        for (const auto &[role, value] :
             {std::pair(sourceRole, own),
              std::pair(std::string(sourceRole) == "Antecedent" ? "Dependent" : "Antecedent", own)}) {
            CMPIValue end = value;
            if (role != sourceRole) end.ref = NewPath(call.broker, "root/back", "T_Disk", "other");
            path->ft->addKey(path, role, &end, CMPI_ref);
            instance->ft->setProperty(instance, role, &end, CMPI_ref);
        }
        return std::pair(path, instance);
    };
    back.references = [&](const Asked &call) {
        call.result->ft->returnInstance(call.result, association(call, "T_FanLink", "Antecedent").second);
        return call.result->ft->returnInstance(call.result, association(call, "T_DeviceLink", "Dependent").second);
    };
    back.referenceNames = [&](const Asked &call) {
        call.result->ft->returnObjectPath(call.result, association(call, "T_FanLink", "Antecedent").first);
        return call.result->ft->returnObjectPath(call.result, association(call, "T_DeviceLink", "Dependent").first);
    };
    EXPECT_EQ(broker->References(source).value.size(), 2u);
    ASSERT_EQ(broker->References(source, "T_FanLink").value.size(), 1u);
    EXPECT_EQ(broker->References(source, "T_FanLink").value[0].path->className, "T_FanLink");
    ASSERT_EQ(broker->References(source, "T_Link", "Dependent").value.size(), 1u);
    EXPECT_EQ(broker->References(source, "T_Link", "Dependent").value[0].path->className, "T_DeviceLink");
    EXPECT_EQ(broker->ReferenceNames(source).value.size(), 2u);
    EXPECT_EQ(broker->ReferenceNames(source, "T_Link", "Antecedent").value.size(), 1u);
}

} // namespace
} // namespace cim::test
