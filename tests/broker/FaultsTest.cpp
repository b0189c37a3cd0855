// What a test can make the broker do to a provider, and what the call log tells afterwards.
#include "tests/broker/Scripted.h"

#include <future>

namespace cim::test {
namespace {

// Front answers a request with what it hears from Back.
class FaultControl : public Invoked {
protected:
    FaultControl() {
        back.on[Operation::Associators] = Returning({"1", "2"}, "T_Disk");
        front.on[Operation::EnumerateInstances] = [this](const Asked &call) {
            status = {CMPI_RC_ERROR, nullptr};
            const CMPIEnumeration *found = call.broker->bft->associators(
                call.broker, call.context, NewPath(call.broker, "root/back", "T_Fan", "s"), "T_DeviceLink", "T_Disk",
                nullptr, nullptr, nullptr, &status);
            message = TextOf(status.msg);
            heard = IdsOf(found);
            return kOk;
        };
    }
    const Ids &Hear() {
        EXPECT_TRUE(broker->EnumerateInstances("root/front", "T_Front").Ok());
        return heard;
    }
    Faults &Control() { return broker->Faults(); }

    std::string message; // of Front's last up-call, whose status is in `status`
    Ids heard;
};

TEST_F(FaultControl, OnlyTheNthCallIsHitAndTheFirstRuleThatHitsDecides) {
    const Faults::Id first = Control().Add(Rule(Operation::Associators).Fails().After(1).Times(1));
    const Faults::Id other = Control().Add(Rule(Operation::Associators).Does(Effect::Empty));
    EXPECT_EQ(Hear(), Ids{});
    EXPECT_EQ(Hear(), (Ids{"(no enumeration)"}));
    EXPECT_EQ(Hear(), Ids{});
    EXPECT_EQ(Control().Matched(first), 3u);
    EXPECT_EQ(Control().Hit(first), 1u);
    EXPECT_EQ(Control().Matched(other), 2u);
    EXPECT_EQ(Control().Hit(other), 2u);
    EXPECT_EQ(Control().Matched(other + 1) + Control().Hit(other + 1), 0u);
}

TEST_F(FaultControl, ARuleOfAProviderHitsWhatItCallsItself) {
    // What the called provider makes is not the caller's.
    Rule makes({Operation::NewObjectPath, Operation::NewInstance});
    makes.provider = "Front";
    const Faults::Id fronts = Control().Add(makes);
    makes.provider = "Back";
    const Faults::Id backs = Control().Add(makes);
    EXPECT_EQ(Hear(), (Ids{"1", "2"}));
    EXPECT_EQ(Control().Matched(fronts), 1u); // the path of its up-call
    EXPECT_EQ(Control().Matched(backs), 4u);  // a path and an instance each
}

TEST_F(FaultControl, AHookRunsOnTheCallsThreadBeforeItAndMayBlock) {
    std::promise<void> reached, go;
    Call seen;
    Rule rule(Operation::Associators);
    rule.hook = [&](const Call &call) {
        seen = call;
        EXPECT_EQ(TextOf(cmpi->eft->newString(cmpi, "x", nullptr)), "x"); // what a hook does itself is hit by no rule
        reached.set_value();
        go.get_future().wait();
    };
    Control().Add(rule);
    Control().Add(Rule(Operation::NewString).Fails());
    std::thread::id client;
    auto done = std::async(std::launch::async, [&] {
        client = std::this_thread::get_id();
        return Hear();
    });
    reached.get_future().wait();
    EXPECT_EQ(Fans(), (Ids{"1", "2"})); // others go on meanwhile
    go.set_value();
    EXPECT_EQ(done.get(), (Ids{"1", "2"}));
    EXPECT_EQ(seen.provider, "Front");
    EXPECT_EQ(seen.thread, client);
}

TEST_F(FaultControl, TheLogTellsWhoCalledWhatAndHowItEnded) {
    back.on[Operation::Associators] = [&](const Asked &call) {
        EXPECT_EQ(IdsOf(Enumerate(call.broker, call.context)), (Ids{"1", "2"}));
        return Returning({"1"}, "T_Disk")(call);
    };
    Hear();
    EXPECT_TRUE(broker->TakeCalls().empty()); // off at first
    const std::uint64_t upcalls = broker->UpcallCount();
    broker->LogCalls(true);
    Hear();
    EXPECT_EQ(broker->UpcallCount(), upcalls + 2);
    Control().Add(Rule(Operation::Associators).Fails());
    Hear();
    broker->LogCalls(false);
    Hear();
    const std::vector<Call> calls = broker->TakeCalls(); // by their starts
    ASSERT_EQ(calls.size(), 3u);
    const Call &call = calls[0];
    EXPECT_EQ(call.operation, Operation::Associators);
    EXPECT_EQ(call.provider, "Front");
    EXPECT_EQ(call.nameSpace, "root/back");
    EXPECT_EQ(call.className, "T_Fan");
    EXPECT_EQ(call.associationClass, "T_DeviceLink");
    EXPECT_EQ(call.resultClass, "T_Disk");
    EXPECT_EQ(call.path, "root/back:T_Fan.ID=\"s\"");
    EXPECT_EQ(call.thread, std::this_thread::get_id());
    EXPECT_FALSE(call.background);
    EXPECT_EQ(call.rc, CMPI_RC_OK);
    EXPECT_EQ(call.results, 1u);
    EXPECT_LE(call.start, call.end);
    EXPECT_EQ(calls[1].provider, "Back");
    EXPECT_STREQ(NameOf(calls[1].operation), "enumerateInstances");
    EXPECT_EQ(calls[1].results, 2u);
    EXPECT_EQ(calls[2].rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(calls[2].results, 0u);
    EXPECT_TRUE(broker->TakeCalls().empty());
    EXPECT_STREQ(NameOf(Operation::PrepareAttachThread), "prepareAttachThread");
    EXPECT_STREQ(NameOf(Operation::ReturnObjectPath), "returnObjectPath");
    EXPECT_STREQ(NameOf(Operation::ExecQuery), "execQuery");
    EXPECT_STREQ(NameOf(static_cast<Operation>(1000)), "unknown");
}

// What a call answered: null for nothing, an empty text for an empty object, else anything.
const char *Said(const CMPIString *got) { return got == nullptr ? nullptr : got->ft->getCharPtr(got, nullptr); }
const char *Said(const CMPIArray *got) {
    return got == nullptr ? nullptr : got->ft->getSize(got, nullptr) != 0 ? "elements" : "";
}
const char *Said(const CMPIEnumeration *got) {
    return got == nullptr ? nullptr : got->ft->hasNext(got, nullptr) != 0 ? "elements" : "";
}
const char *Said(const CMPIData &got) { return got.type != CMPI_null ? "value" : nullptr; }
template <class Handle> const char *SaidClone(Handle *got) {
    if (got != nullptr) got->ft->release(got);
    return got != nullptr ? "clone" : nullptr;
}

TEST_F(FaultControl, EveryOperationCanBeHitWithEveryEffect) {
    const auto names = [](const Asked &call) { return ReturnPath(call, "p", "T_DeviceLink"); };
    back.on[Operation::EnumerateInstanceNames] = back.on[Operation::AssociatorNames] =
        back.on[Operation::ReferenceNames] = names;
    back.on[Operation::References] = Returning({"r"}, "T_DeviceLink");
    back.on[Operation::GetInstance] = Returning({"g"});
    const CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Disk", "1");
    const CMPIInstance *instance = cmpi->eft->newInstance(cmpi, path, nullptr);
    const CMPIString *string = cmpi->eft->newString(cmpi, "s", nullptr);
    const CMPIArray *array = cmpi->eft->newArray(cmpi, 1, CMPI_string, nullptr);
    const CMPIEnumeration *some = Enumerate(cmpi, context);
    const auto *bft = cmpi->bft;
    const auto *eft = cmpi->eft;
    CMPIStatus rc;
    const struct {
        Operation operation;
        bool hasEmpty;
        std::function<const char *()> call;
    } operations[] = {
        {Operation::EnumerateInstances, true,
         [&] { return Said(bft->enumerateInstances(cmpi, context, path, nullptr, &rc)); }},
        {Operation::EnumerateInstanceNames, true,
         [&] { return Said(bft->enumerateInstanceNames(cmpi, context, path, &rc)); }},
        {Operation::GetInstance, false,
         [&] { return bft->getInstance(cmpi, context, path, nullptr, &rc) != nullptr ? "instance" : nullptr; }},
        {Operation::Associators, true,
         [&] { return Said(bft->associators(cmpi, context, path, nullptr, nullptr, nullptr, nullptr, nullptr, &rc)); }},
        {Operation::AssociatorNames, true,
         [&] { return Said(bft->associatorNames(cmpi, context, path, nullptr, nullptr, nullptr, nullptr, &rc)); }},
        {Operation::References, true,
         [&] { return Said(bft->references(cmpi, context, path, nullptr, nullptr, nullptr, &rc)); }},
        {Operation::ReferenceNames, true,
         [&] { return Said(bft->referenceNames(cmpi, context, path, nullptr, nullptr, &rc)); }},
        {Operation::NewObjectPath, false,
         [&] { return eft->newObjectPath(cmpi, "n", "c", &rc) != nullptr ? "path" : nullptr; }},
        {Operation::NewInstance, false,
         [&] { return eft->newInstance(cmpi, path, &rc) != nullptr ? "instance" : nullptr; }},
        {Operation::NewArray, true, [&] { return Said(eft->newArray(cmpi, 3, CMPI_uint8, &rc)); }},
        {Operation::NewString, true, [&] { return Said(eft->newString(cmpi, "x", &rc)); }},
        {Operation::ClassPathIsA, false,
         [&] { return eft->classPathIsA(cmpi, path, "T_Disk", &rc) != 0 ? "yes" : nullptr; }},
        {Operation::Clone, false, [&] { return SaidClone(path->ft->clone(path, &rc)); }},
        {Operation::Clone, false, [&] { return SaidClone(instance->ft->clone(instance, &rc)); }},
        {Operation::Clone, false, [&] { return SaidClone(some->ft->clone(some, &rc)); }},
        {Operation::GetObjectPath, false,
         [&] { return instance->ft->getObjectPath(instance, &rc) != nullptr ? "path" : nullptr; }},
        {Operation::GetClassName, true, [&] { return Said(path->ft->getClassName(path, &rc)); }},
        {Operation::GetNameSpace, true, [&] { return Said(path->ft->getNameSpace(path, &rc)); }},
        {Operation::ToString, true, [&] { return Said(path->ft->toString(path, &rc)); }},
        {Operation::GetCharPtr, true, [&] { return string->ft->getCharPtr(string, &rc); }},
        {Operation::ToArray, true, [&] { return Said(some->ft->toArray(some, &rc)); }},
        {Operation::GetProperty, false, [&] { return Said(instance->ft->getProperty(instance, "ID", &rc)); }},
        {Operation::GetKey, false, [&] { return Said(path->ft->getKey(path, "ID", &rc)); }},
        {Operation::SetProperty, false,
         [&] {
             rc = instance->ft->setProperty(instance, "Caption", Chars("set"), CMPI_chars);
             return TextOf(instance, "Caption") == "set" ? "set" : nullptr;
         }},
        {Operation::AddKey, false,
         [&] {
             rc = path->ft->addKey(path, "Further", Chars("set"), CMPI_chars);
             return path->ft->getKeyCount(path, nullptr) == 2 ? "set" : nullptr;
         }},
        {Operation::SetElementAt, false,
         [&] {
             rc = array->ft->setElementAt(array, 0, Chars("set"), CMPI_chars);
             return TextOf(array->ft->getElementAt(array, 0, nullptr)) == "set" ? "set" : nullptr;
         }},
    };
    for (const auto &[operation, hasEmpty, call] : operations) {
        SCOPED_TRACE(NameOf(operation));
        for (const Effect effect : {Effect::Fail, Effect::NullWithOk, Effect::Empty, Effect::None}) {
            rc = {CMPI_RC_ERROR, nullptr};
            const Faults::Id id = Control().Add(Rule(operation).Does(effect));
            const char *said = call();
            if (effect == Effect::Empty && hasEmpty)
                EXPECT_STREQ(said, "");
            else
                EXPECT_EQ(said != nullptr && *said != '\0', effect == Effect::None);
            EXPECT_EQ(rc.rc, effect == Effect::Fail ? CMPI_RC_ERR_FAILED : CMPI_RC_OK);
            EXPECT_EQ(Control().Hit(id), 1u);
            Control().Remove(id);
        }
    }
    Control().Add(Rule(Operation::PrepareAttachThread).Fails());
    EXPECT_EQ(bft->prepareAttachThread(cmpi, context), nullptr);
    Control().Clear();
    // A result that is not taken is not delivered.
    Control().Add(Rule({Operation::ReturnInstance, Operation::ReturnObjectPath}).Fails().Times(2));
    EXPECT_EQ(broker->EnumerateInstances("root/back", "T_Fan").status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(Fans(), (Ids{"1", "2"}));
    Control().Clear();
    Control().Add(Rule(Operation::ReturnObjectPath).Fails().Times(1));
    EXPECT_EQ(broker->EnumerateInstanceNames("root/back", "T_Fan").status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(broker->EnumerateInstanceNames("root/back", "T_Fan").value.size(), 1u);
}

} // namespace
} // namespace cim::test
