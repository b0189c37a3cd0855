// Whom a client's request and a provider's up-call reach, and what comes back.
#include "tests/broker/Scripted.h"

namespace cim::test {
namespace {

class Routing : public Invoked {
protected:
    CMPIObjectPath *Source() { return NewPath(cmpi, "root/back", "T_Front", "s"); }
    const ObjectPath source{{}, "root/back", "T_Front", {{"ID", support::Text("s")}}};
};

TEST_F(Routing, ARequestReachesTheClassItsSubclassesAndInheritedRegistrations) {
    back.on[Operation::EnumerateInstances] = back.on[Operation::ExecQuery] = [](const Asked &call) {
        return ReturnInstance(call, TextOf(call.path->ft->getClassName(call.path, nullptr)));
    };
    const struct {
        const char *nameSpace, *className;
        CMPIrc rc;
        Ids asked;
    } cases[] = {
        {"root/back", "t_device", CMPI_RC_OK, {"t_device", "T_Disk"}},  // and the registered subclass
        {"ROOT/back", "T_Element", CMPI_RC_OK, {"T_Device", "T_Disk"}}, // has no registration of its own
        {"root/back", "T_SmallFan", CMPI_RC_OK, {"T_SmallFan"}},        // nor has this, but its superclass
        {"root/nowhere", "T_Device", CMPI_RC_ERR_INVALID_NAMESPACE, {}},
        {"root/back", "T_Unheard", CMPI_RC_ERR_INVALID_CLASS, {}},
        {"root/back", "T_Lonely", CMPI_RC_ERR_NOT_SUPPORTED, {}},
        {"root/front", "T_Device", CMPI_RC_ERR_NOT_SUPPORTED, {}},
        {"root/front", "T_Front", CMPI_RC_ERR_NOT_SUPPORTED, {}}, // the provider's own answer
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.className);
        const auto answer = broker->EnumerateInstances(one.nameSpace, one.className);
        EXPECT_EQ(answer.status.rc, one.rc);
        EXPECT_EQ(IdsOf(answer.value), one.asked);
        EXPECT_EQ(IdsOf(broker->ExecQuery(one.nameSpace, one.className, "q", "WQL").value), one.asked);
        const CMPIEnumeration *heard = Enumerate(cmpi, context, &status, one.nameSpace, one.className);
        EXPECT_EQ(status.rc, one.rc);
        EXPECT_EQ(IdsOf(heard), one.rc == CMPI_RC_OK ? one.asked : Ids{"(no enumeration)"});
    }
    EXPECT_EQ(broker->NameSpaces(), (Ids{"root/back", "root/front", "root/small"}));
}

TEST_F(Routing, InstancesReturnedForAClassAndForItsSubclassComeOnce) {
    back.on[Operation::EnumerateInstances] = Returning({"both"}, "T_Disk");
    back.on[Operation::EnumerateInstanceNames] = [](const Asked &call) { return ReturnPath(call, "both", "T_Disk"); };
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_Device").value), (Ids{"both"}));
    EXPECT_EQ(IdsOf(broker->EnumerateInstanceNames("root/back", "T_Device").value), (Ids{"both"}));
    EXPECT_EQ(IdsOf(cmpi->bft->enumerateInstanceNames(cmpi, context, NewPath(cmpi, "root/back", "T_Device"), &status)),
              (Ids{"both"}));
    EXPECT_EQ(status.rc, CMPI_RC_OK);
}

TEST_F(Routing, InstancesAreAnsweredAsTheyWereWhenTheyWereReturned) {
    CMPIInstance *kept = nullptr;
    const auto set = [](const CMPIInstance *instance, const char *text) {
        instance->ft->setProperty(instance, "Caption", Chars(text), CMPI_chars);
    };
    back.on[Operation::EnumerateInstances] = [&](const Asked &call) {
        CMPIInstance *instance = call.broker->eft->newInstance(call.broker, call.path, nullptr);
        for (const char *text : {"first", "second", "third"}) {
            set(instance, text);
            call.result->ft->returnInstance(call.result, instance);
        }
        kept = instance->ft->clone(instance, nullptr);
        set(instance, "too late");
        EXPECT_EQ(TextOf(kept, "Caption"), "third");
        return kOk;
    };
    const auto answer = broker->EnumerateInstances("root/back", "T_Fan");
    ASSERT_EQ(answer.value.size(), 3u);
    EXPECT_EQ(*answer.value[0].Property("Caption"), Value::Text("first"));
    EXPECT_EQ(*answer.value[2].Property("Caption"), Value::Text("third"));
    kept->ft->release(kept);
}

TEST_F(Routing, GetReachesTheOneProviderAndAnswersOneInstance) {
    back.on[Operation::GetInstance] = [](const Asked &call) {
        const std::string id = TextOf(call.path->ft->getKey(call.path, "id", nullptr));
        if (id == "refused")
            return CMPIStatus{CMPI_RC_ERR_ACCESS_DENIED, call.broker->eft->newString(call.broker, "no", nullptr)};
        if (id == "here") ReturnInstance(call, id);
        return id == "here" ? ReturnInstance(call, "second") : kOk;
    };
    const struct {
        const char *id;
        CMPIrc rc;
        const char *message;
    } cases[] = {
        {"here", CMPI_RC_OK, ""}, {"gone", CMPI_RC_ERR_NOT_FOUND, ""}, {"refused", CMPI_RC_ERR_ACCESS_DENIED, "no"}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.id);
        const auto answer = broker->GetInstance({{}, "root/back", "T_Disk", {{"ID", Value::Text(one.id)}}});
        EXPECT_EQ(answer.status.rc, one.rc);
        EXPECT_EQ(answer.status.message, one.message);
        const CMPIInstance *heard =
            cmpi->bft->getInstance(cmpi, context, NewPath(cmpi, "root/back", "T_Disk", one.id), nullptr, &status);
        EXPECT_EQ(status.rc, one.rc);
        EXPECT_EQ(TextOf(status.msg), one.message[0] != '\0' ? one.message : "(null)");
        EXPECT_EQ(heard != nullptr, answer.Ok());
        if (heard != nullptr) {
            EXPECT_EQ(TextOf(heard, "ID"), "here");
        }
    }
    EXPECT_EQ(cmpi->bft->getInstance(cmpi, context, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(cmpi->bft->getInstance(cmpi, context, nullptr, nullptr, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Enumerate(cmpi, nullptr, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

TEST_F(Routing, RequestsReachAProviderWithAllTheirArguments) {
    Ids heard;
    const auto listen = [&](const Asked &call) {
        heard = call.names;
        for (const char **name = call.properties; name != nullptr && *name != nullptr; ++name)
            heard.emplace_back(*name);
        if (call.instance != nullptr) heard.push_back(TextOf(call.instance, "Caption"));
        return CMPIStatus{CMPI_RC_ERR_ACCESS_DENIED, nullptr};
    };
    for (const Operation each :
         {Operation::EnumerateInstances, Operation::GetInstance, Operation::CreateInstance, Operation::ModifyInstance,
          Operation::DeleteInstance, Operation::ExecQuery, Operation::Associators, Operation::AssociatorNames,
          Operation::References, Operation::ReferenceNames})
        back.on[each] = listen;
    const ObjectPath path{{}, "root/back", "T_Disk", {{"ID", Value::Text("7")}}};
    const Instance instance{path, {{"Caption", Value::Text("c")}}};
    const Ids list{"P"};
    const char *names[] = {"P", nullptr};
    const auto *bft = cmpi->bft;
    const CMPIObjectPath *from = Source();
    const std::pair<std::function<void()>, Ids> cases[] = {
        {[&] { broker->EnumerateInstances("root/back", "T_Fan", &list); }, {"P"}},
        {[&] { broker->GetInstance(path, &list); }, {"P"}},
        {[&] { broker->CreateInstance("root/back", instance); }, {"c"}},
        {[&] { broker->ModifyInstance(instance, &list); }, {"P", "c"}},
        {[&] { broker->DeleteInstance(path); }, {}},
        {[&] { broker->ExecQuery("root/back", "T_Disk", "q", "WQL"); }, {"q", "WQL"}},
        {[&] { broker->Associators(source, "T_Link", "R", "a", "b", &list); }, {"T_Link", "R", "a", "b", "P"}},
        {[&] { broker->Associators(source); }, {"-", "-", "-", "-"}},
        {[&] { broker->AssociatorNames(source, "T_Link", "R", "a", "b"); }, {"T_Link", "R", "a", "b"}},
        {[&] { broker->References(source, "T_Link", "a", &list); }, {"T_Link", "a", "P"}},
        {[&] { broker->ReferenceNames(source, "T_Link", "a"); }, {"T_Link", "a"}},
        {[&] { bft->enumerateInstances(cmpi, context, NewPath(cmpi, "root/back", "T_Fan"), names, nullptr); }, {"P"}},
        {[&] { bft->associators(cmpi, context, from, "T_Link", "R", "a", "b", names, nullptr); },
         {"T_Link", "R", "a", "b", "P"}},
        {[&] { bft->associatorNames(cmpi, context, from, "T_Link", "R", "a", "b", nullptr); },
         {"T_Link", "R", "a", "b"}},
        {[&] { bft->references(cmpi, context, from, "T_Link", "a", names, nullptr); }, {"T_Link", "a", "P"}},
        {[&] { bft->referenceNames(cmpi, context, from, "T_Link", "a", nullptr); }, {"T_Link", "a"}},
    };
    for (const auto &[ask, expected] : cases) {
        heard = {"nothing was asked"};
        ask();
        EXPECT_EQ(heard, expected) << "case " << &expected - &cases[0].second;
    }
    EXPECT_EQ(broker->DeleteInstance(path).rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(bft->deleteInstance(cmpi, context, from).rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST_F(Routing, WhatIsReturnedWithoutANamespaceIsInTheOneAskedIn) {
    back.on[Operation::EnumerateInstances] = [](const Asked &call) {
        const CMPIObjectPath *path = NewPath(call.broker, "", "T_Fan", "1");
        call.result->ft->returnObjectPath(call.result, path);
        call.result->ft->returnInstance(call.result, call.broker->eft->newInstance(call.broker, path, nullptr));
        return call.result->ft->returnDone(call.result);
    };
    back.on[Operation::EnumerateInstanceNames] = back.on[Operation::EnumerateInstances];
    const ObjectPath expected{{}, "root/back", "T_Fan", {{"ID", Value::Text("1")}}};
    EXPECT_EQ(broker->EnumerateInstances("root/back", "T_Fan").value.at(0).path, expected);
    EXPECT_EQ(broker->EnumerateInstanceNames("root/back", "T_Fan").value.at(0), expected);
}

TEST_F(Routing, AnAssociationClassOrNoneReachesEachProviderOfItsSubclassesOnce) {
    back.on[Operation::Associators] = Returning({"d"}, "T_Disk");
    ObjectPath elsewhere = source;
    elsewhere.nameSpace = "root/front";
    for (const char *name : {"T_Link", "T_DeviceLink", ""})
        EXPECT_EQ(IdsOf(broker->Associators(source, name).value), (Ids{"d"})) << name;
    // Known without a provider: nothing is there. The source's namespace alone counts.
    for (const auto &answer :
         {broker->Associators(source, "T_UnservedLink"), broker->Associators(elsewhere, "T_Link")}) {
        EXPECT_TRUE(answer.Ok());
        EXPECT_TRUE(answer.value.empty());
    }
    EXPECT_EQ(broker->Associators(source, "T_Unheard").status.rc, CMPI_RC_ERR_INVALID_CLASS);
    const auto ask = [&](const char *name) {
        return cmpi->bft->associators(cmpi, context, Source(), name, nullptr, nullptr, nullptr, nullptr, &status);
    };
    EXPECT_EQ(IdsOf(ask("T_UnservedLink")), Ids{});
    EXPECT_EQ(ask("T_Unheard"), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(TextOf(status.msg), "unknown class T_Unheard");
}

TEST_F(Routing, SeveralProvidersAnswerAsOneAndTheFirstFailureCounts) {
    registrations = "[T_Link]\nprovider: Front\nlocation: Front\ntype: association\nnamespace: root/back\n"
                    "[T_UnservedLink]\nprovider: Front\nlocation: Front\ntype: association\nnamespace: root/back\n";
    broker->EndInvocation(context);
    Start();
    const auto names = [](const char *id) { return [=](const Asked &call) { return ReturnPath(call, id, "T_Disk"); }; };
    const auto fail = [](CMPIrc rc) { return [=](const Asked &) { return CMPIStatus{rc, nullptr}; }; };
    back.on[Operation::AssociatorNames] = names("b");
    front.on[Operation::AssociatorNames] = names("f");
    const auto ask = [&] { return broker->AssociatorNames(source, "T_Link"); };
    EXPECT_EQ(IdsOf(ask().value), (Ids{"b", "f"}));
    EXPECT_EQ(IdsOf(broker->AssociatorNames(source).value), (Ids{"b", "f"})); // Front once
    front.on[Operation::AssociatorNames] = fail(CMPI_RC_ERR_NOT_SUPPORTED);   // stands back
    EXPECT_EQ(IdsOf(ask().value), (Ids{"b"}));
    front.on[Operation::AssociatorNames] = fail(CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(ask().status.rc, CMPI_RC_ERR_NOT_FOUND);
    back.on[Operation::AssociatorNames] = fail(CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(ask().status.rc, CMPI_RC_ERR_ACCESS_DENIED);
    context = broker->BeginInvocation("root/back");
}

TEST_F(Routing, ResultsOfAssociationsAreFilteredUnlessToldOtherwise) {
    const auto association = [&](const Asked &call, const char *className, const char *role) {
        const CMPIValue end = ValueWith(&CMPIValue::ref, const_cast<CMPIObjectPath *>(call.path));
        const CMPIValue other = ValueWith(&CMPIValue::ref, NewPath(call.broker, "root/back", "T_Disk", "other"));
        CMPIObjectPath *path = NewPath(call.broker, "root/back", className, className);
        path->ft->addKey(path, "Antecedent", std::string(role) == "Antecedent" ? &end : &other, CMPI_ref);
        path->ft->addKey(path, "Dependent", std::string(role) == "Dependent" ? &end : &other, CMPI_ref);
        call.result->ft->returnObjectPath(call.result, path);
        return call.result->ft->returnInstance(call.result, call.broker->eft->newInstance(call.broker, path, nullptr));
    };
    back.on[Operation::References] = back.on[Operation::ReferenceNames] = [&](const Asked &call) {
        association(call, "T_FanLink", "Antecedent");
        return association(call, "T_DeviceLink", "Dependent");
    };
    back.on[Operation::Associators] = [](const Asked &call) {
        ReturnInstance(call, "disk", "T_Disk");
        return ReturnInstance(call, "front", "T_Front");
    };
    const struct {
        const char *association, *role;
        Ids expected;
    } cases[] = {
        {"", "", {"T_FanLink", "T_DeviceLink"}},
        {"T_FanLink", "", {"T_FanLink"}},
        {"T_Link", "Dependent", {"T_DeviceLink"}},
        {"T_Link", "Antecedent", {"T_FanLink"}},
        {"T_FanLink", "Dependent", {}},
        {"T_Link", "Caption", {}},
    };
    for (const auto &one : cases) {
        EXPECT_EQ(IdsOf(broker->References(source, one.association, one.role).value), one.expected) << one.role;
        EXPECT_EQ(IdsOf(broker->ReferenceNames(source, one.association, one.role).value), one.expected) << one.role;
    }
    EXPECT_EQ(IdsOf(broker->Associators(source, "T_DeviceLink", "T_Device").value), (Ids{"disk"}));
    broker->EndInvocation(context);
    config.filterResults = false;
    Start();
    EXPECT_EQ(IdsOf(broker->Associators(source, "T_DeviceLink", "T_Device").value), (Ids{"disk", "front"}));
    context = broker->BeginInvocation("root/back");
}

// A thread that never attached is served as well; what it was lent lives as long as it may be in use.
TEST_F(Routing, AThreadWithoutAContextOfItsOwnIsServed) {
    const std::uint64_t before = broker->Live().lent;
    std::thread([&] {
        CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Fan");
        CMPIEnumeration *found = cmpi->bft->enumerateInstances(cmpi, context, path, nullptr, nullptr);
        EXPECT_EQ(broker->Live().lent, before + 2);
        found->ft->release(found);
        path->ft->release(path);
    }).join();
    EXPECT_EQ(broker->Live().lent, before);
}

} // namespace
} // namespace cim::test
