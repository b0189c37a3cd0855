// What a test can make the broker do to a provider, and what the call log tells afterwards.
#include "tests/broker/Scripted.h"

#include <chrono>
#include <cstring>
#include <future>

namespace cim::test {
namespace {

using Ids = std::vector<std::string>;
using Effect = FaultRule::Effect;

// Front answers a request with what it hears from Back.
class FaultControl : public Scripted {
protected:
    FaultControl() {
        Start();
        back.associators = [](const Asked &call) {
            ReturnInstance(call, "1", "T_Disk");
            return ReturnInstance(call, "2", "T_Disk");
        };
        back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "e"); };
        front.enumerateInstances = [this](const Asked &call) {
            status = {CMPI_RC_ERROR, nullptr};
            const CMPIEnumeration *found = call.broker->bft->associators(
                call.broker, call.context, NewPath(call.broker, "root/back", "T_Fan", "s"), "T_DeviceLink", "T_Disk",
                nullptr, nullptr, nullptr, &status);
            message = status.msg != nullptr ? TextOf(status.msg) : "(none)";
            heard = IdsOf(found);
            return kOk;
        };
    }
    const Ids &Hear() {
        EXPECT_TRUE(broker->EnumerateInstances("root/front", "T_Front").Ok());
        return heard;
    }
    Faults::Id Add(Effect effect, std::vector<Operation> operations = {Operation::Associators}) {
        FaultRule rule;
        rule.operations = std::move(operations);
        rule.effect = effect;
        return broker->Faults().Add(rule);
    }

    CMPIStatus status{CMPI_RC_ERROR, nullptr}; // of Front's last up-call; its text is in `message`
    std::string message;
    Ids heard;
};

TEST_F(FaultControl, AnUpcallFailsComesBackNullOrEmpty) {
    EXPECT_EQ(Hear(), (Ids{"1", "2"}));
    FaultRule rule;
    rule.operations = {Operation::Associators};
    rule.effect = Effect::Fail;
    rule.rc = CMPI_RC_ERR_ACCESS_DENIED;
    rule.message = "denied by the test";
    broker->Faults().Add(rule);
    EXPECT_EQ(Hear(), (Ids{"(no enumeration)"}));
    EXPECT_EQ(status.rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(message, "denied by the test");
    broker->Faults().Clear();

    Faults::Id id = Add(Effect::Fail);
    EXPECT_EQ(Hear(), (Ids{"(no enumeration)"}));
    EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(message, "(none)");
    broker->Faults().Remove(id);

    id = Add(Effect::NullWithOk);
    EXPECT_EQ(Hear(), (Ids{"(no enumeration)"}));
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    broker->Faults().Remove(id);

    id = Add(Effect::Empty);
    EXPECT_EQ(Hear(), Ids{});
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    broker->Faults().Remove(id);
    EXPECT_EQ(Hear(), (Ids{"1", "2"}));
}

TEST_F(FaultControl, OnlyTheNthCallIsHitAndTheFirstRuleThatHitsDecides) {
    FaultRule second;
    second.operations = {Operation::Associators};
    second.effect = Effect::Fail;
    second.skip = 1;
    second.count = 1;
    const Faults::Id first = broker->Faults().Add(second);
    const Faults::Id other = Add(Effect::Empty);
    EXPECT_EQ(Hear(), Ids{});
    EXPECT_EQ(Hear(), (Ids{"(no enumeration)"}));
    EXPECT_EQ(Hear(), Ids{});
    EXPECT_EQ(broker->Faults().Matched(first), 3u);
    EXPECT_EQ(broker->Faults().Hit(first), 1u);
    EXPECT_EQ(broker->Faults().Matched(other), 2u);
    EXPECT_EQ(broker->Faults().Hit(other), 2u);
    EXPECT_EQ(broker->Faults().Matched(other + 1), 0u);
}

TEST_F(FaultControl, RulesMatchCallerAndNames) {
    const struct {
        void (*set)(FaultRule &);
        bool hits;
    } cases[] = {
        {[](FaultRule &rule) { rule.provider = "Front"; }, true},
        {[](FaultRule &rule) { rule.provider = "Back"; }, false}, // called, but does not call
        {[](FaultRule &rule) { rule.className = "t_fan"; }, true},
        {[](FaultRule &rule) { rule.className = "T_Disk"; }, false},
        {[](FaultRule &rule) { rule.associationClass = "t_devicelink"; }, true},
        {[](FaultRule &rule) { rule.associationClass = "T_FanLink"; }, false},
        {[](FaultRule &rule) { rule.resultClass = "T_DISK"; }, true},
        {[](FaultRule &rule) { rule.resultClass = "T_Fan"; }, false},
        {[](FaultRule &rule) {
             rule.operations = {Operation::References, Operation::Associators};
         },
         true},
        {[](FaultRule &rule) { rule.operations = {Operation::AssociatorNames}; }, false},
    };
    for (const auto &one : cases) {
        FaultRule rule;
        rule.operations = {Operation::Associators};
        rule.effect = Effect::Empty;
        one.set(rule);
        const Faults::Id id = broker->Faults().Add(rule);
        EXPECT_EQ(Hear().empty(), one.hits) << "case " << &one - cases;
        broker->Faults().Remove(id);
    }
}

TEST_F(FaultControl, ObjectsMadeByTheCalledProviderAreNotTheCallers) {
    FaultRule rule;
    rule.provider = "Front";
    rule.operations = {Operation::NewObjectPath, Operation::NewInstance};
    const Faults::Id fronts = broker->Faults().Add(rule);
    rule.provider = "Back";
    const Faults::Id backs = broker->Faults().Add(rule);
    EXPECT_EQ(Hear(), (Ids{"1", "2"}));
    EXPECT_EQ(broker->Faults().Matched(fronts), 1u); // the path of its up-call
    EXPECT_EQ(broker->Faults().Matched(backs), 4u);  // a path and an instance each
}

TEST_F(FaultControl, AHookRunsOnTheCallsThreadBeforeItAndMayBlock) {
    std::promise<void> reached, go;
    Call seen;
    FaultRule rule;
    rule.operations = {Operation::Associators};
    rule.hook = [&](const Call &call) {
        seen = call;
        // What the hook does itself is hit by no rule.
        EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_Fan").value), (Ids{"e"}));
        reached.set_value();
        go.get_future().wait();
    };
    broker->Faults().Add(rule);
    std::thread::id client;
    auto done = std::async(std::launch::async, [&] {
        client = std::this_thread::get_id();
        return Hear();
    });
    reached.get_future().wait();
    // Others go on meanwhile.
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_Fan").value), (Ids{"e"}));
    go.set_value();
    EXPECT_EQ(done.get(), (Ids{"1", "2"}));
    EXPECT_EQ(seen.operation, Operation::Associators);
    EXPECT_EQ(seen.provider, "Front");
    EXPECT_EQ(seen.thread, client);
    EXPECT_FALSE(seen.background);
}

TEST_F(FaultControl, ADelayHoldsTheCallUp) {
    FaultRule rule;
    rule.operations = {Operation::Associators};
    rule.delay = std::chrono::milliseconds(30);
    broker->Faults().Add(rule);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Hear(), (Ids{"1", "2"}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, rule.delay);
}

TEST_F(FaultControl, TheLogTellsWhoCalledWhatAndHowItEnded) {
    Hear();
    EXPECT_TRUE(broker->TakeCalls().empty()); // off at first
    const std::uint64_t upcalls = broker->UpcallCount();
    broker->LogCalls(true);
    Hear();
    EXPECT_EQ(broker->UpcallCount(), upcalls + 1);
    Add(Effect::Fail);
    Hear();
    broker->LogCalls(false);
    Hear();
    const std::vector<Call> calls = broker->TakeCalls();
    ASSERT_EQ(calls.size(), 2u);
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
    EXPECT_EQ(call.results, 2u);
    EXPECT_LE(call.start, call.end);
    EXPECT_EQ(calls[1].rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(calls[1].results, 0u);
    EXPECT_TRUE(broker->TakeCalls().empty());
}

TEST_F(FaultControl, NestedUpcallsAreLoggedByStartWithTheirOwnCallers) {
    back.associators = [&](const Asked &call) {
        const CMPIEnumeration *own = call.broker->bft->enumerateInstances(
            call.broker, call.context, NewPath(call.broker, "root/back", "T_Disk"), nullptr, nullptr);
        EXPECT_EQ(IdsOf(own), (Ids{"e"}));
        return ReturnInstance(call, "1", "T_Disk");
    };
    broker->LogCalls(true);
    EXPECT_EQ(Hear(), (Ids{"1"}));
    const std::vector<Call> calls = broker->TakeCalls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].provider, "Front");
    EXPECT_EQ(calls[1].provider, "Back");
    EXPECT_STREQ(NameOf(calls[1].operation), "enumerateInstances");
}

// Every operation that a rule can hit, once with each effect: the call answers as the effect says.
TEST_F(FaultControl, EveryOperationCanBeHit) {
    const auto text = [](const char *chars) { return reinterpret_cast<const CMPIValue *>(chars); };
    back.enumerateInstanceNames = back.associatorNames =
        back.referenceNames = [](const Asked &call) { return ReturnPath(call, "p", "T_Disk"); };
    back.references = [](const Asked &call) { return ReturnInstance(call, "r", "T_DeviceLink"); };
    back.getInstance = [](const Asked &call) { return ReturnInstance(call, "g"); };
    config.filterResults = false;
    Stop();
    Start();
    CMPIStatus answer = kOk;
    const CMPIBroker *cmpi = broker->Handle();
    const CMPIContext *context = broker->BeginInvocation("root/back");
    const CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Disk", "1");
    const CMPIInstance *instance = cmpi->eft->newInstance(cmpi, path, nullptr);
    instance->ft->setProperty(instance, "Caption", text("c"), CMPI_chars);
    const CMPIString *string = cmpi->eft->newString(cmpi, "s", nullptr);
    const CMPIArray *array = cmpi->eft->newArray(cmpi, 1, CMPI_string, nullptr);
    const CMPIEnumeration *some = cmpi->bft->enumerateInstances(cmpi, context, path, nullptr, nullptr);
    const auto *bft = cmpi->bft;
    const auto *eft = cmpi->eft;
    const auto data = [](const CMPIData &got) { return got.type != CMPI_null ? "value" : nullptr; };
    const auto size = [](const CMPIEnumeration *got) -> const void * {
        return got == nullptr ? nullptr : got->ft->hasNext(got, nullptr) != 0 ? "elements" : "";
    };
    // Each answers null for nothing, an empty text for an empty object, else anything.
    const std::vector<std::pair<Operation, std::function<const void *()>>> operations = {
        {Operation::EnumerateInstances,
         [&] { return size(bft->enumerateInstances(cmpi, context, path, nullptr, &answer)); }},
        {Operation::EnumerateInstanceNames,
         [&] { return size(bft->enumerateInstanceNames(cmpi, context, path, &answer)); }},
        {Operation::GetInstance, [&] { return bft->getInstance(cmpi, context, path, nullptr, &answer); }},
        {Operation::Associators,
         [&] {
             return size(bft->associators(cmpi, context, path, nullptr, nullptr, nullptr, nullptr, nullptr, &answer));
         }},
        {Operation::AssociatorNames,
         [&] { return size(bft->associatorNames(cmpi, context, path, nullptr, nullptr, nullptr, nullptr, &answer)); }},
        {Operation::References,
         [&] { return size(bft->references(cmpi, context, path, nullptr, nullptr, nullptr, &answer)); }},
        {Operation::ReferenceNames,
         [&] { return size(bft->referenceNames(cmpi, context, path, nullptr, nullptr, &answer)); }},
        {Operation::NewObjectPath, [&] { return eft->newObjectPath(cmpi, "n", "c", &answer); }},
        {Operation::NewInstance, [&] { return eft->newInstance(cmpi, path, &answer); }},
        {Operation::NewArray,
         [&]() -> const void * {
             const CMPIArray *got = eft->newArray(cmpi, 3, CMPI_uint8, &answer);
             return got == nullptr ? nullptr : got->ft->getSize(got, nullptr) != 0 ? "elements" : "";
         }},
        {Operation::NewString,
         [&]() -> const void * {
             const CMPIString *got = eft->newString(cmpi, "x", &answer);
             return got == nullptr ? nullptr : got->ft->getCharPtr(got, nullptr);
         }},
        {Operation::ClassPathIsA,
         [&] { return eft->classPathIsA(cmpi, path, "T_Disk", &answer) != 0 ? "yes" : nullptr; }},
        {Operation::Clone,
         [&]() -> const void * {
             CMPIObjectPath *got = path->ft->clone(path, &answer);
             if (got != nullptr) got->ft->release(got);
             return got != nullptr ? "clone" : nullptr;
         }},
        {Operation::GetObjectPath, [&] { return instance->ft->getObjectPath(instance, &answer); }},
        {Operation::GetClassName,
         [&]() -> const void * {
             const CMPIString *got = path->ft->getClassName(path, &answer);
             return got == nullptr ? nullptr : got->ft->getCharPtr(got, nullptr);
         }},
        {Operation::GetNameSpace,
         [&]() -> const void * {
             const CMPIString *got = path->ft->getNameSpace(path, &answer);
             return got == nullptr ? nullptr : got->ft->getCharPtr(got, nullptr);
         }},
        {Operation::ToString,
         [&]() -> const void * {
             const CMPIString *got = path->ft->toString(path, &answer);
             return got == nullptr ? nullptr : got->ft->getCharPtr(got, nullptr);
         }},
        {Operation::GetCharPtr, [&] { return string->ft->getCharPtr(string, &answer); }},
        {Operation::ToArray,
         [&]() -> const void * {
             const CMPIArray *got = some->ft->toArray(some, &answer);
             return got == nullptr ? nullptr : got->ft->getSize(got, nullptr) != 0 ? "elements" : "";
         }},
        {Operation::GetProperty, [&] { return data(instance->ft->getProperty(instance, "Caption", &answer)); }},
        {Operation::GetKey, [&] { return data(path->ft->getKey(path, "ID", &answer)); }},
        {Operation::SetProperty,
         [&]() -> const void * {
             answer = instance->ft->setProperty(instance, "Embedded", text("set"), CMPI_chars);
             return instance->ft->getProperty(instance, "Embedded", nullptr).state == CMPI_goodValue ? "set" : nullptr;
         }},
        {Operation::AddKey,
         [&]() -> const void * {
             answer = path->ft->addKey(path, "Further", text("set"), CMPI_chars);
             return path->ft->getKeyCount(path, nullptr) == 2 ? "set" : nullptr;
         }},
        {Operation::SetElementAt,
         [&]() -> const void * {
             answer = array->ft->setElementAt(array, 0, text("set"), CMPI_chars);
             return array->ft->getElementAt(array, 0, nullptr).state == CMPI_goodValue ? "set" : nullptr;
         }},
        {Operation::PrepareAttachThread,
         [&]() -> const void * {
             const CMPIContext *got = bft->prepareAttachThread(cmpi, context);
             if (got != nullptr) bft->detachThread(cmpi, got);
             return got != nullptr ? "context" : nullptr;
         }},
    };
    const std::vector<Operation> withEmpty = {Operation::EnumerateInstances,
                                              Operation::EnumerateInstanceNames,
                                              Operation::Associators,
                                              Operation::AssociatorNames,
                                              Operation::References,
                                              Operation::ReferenceNames,
                                              Operation::NewArray,
                                              Operation::NewString,
                                              Operation::GetClassName,
                                              Operation::GetNameSpace,
                                              Operation::ToString,
                                              Operation::GetCharPtr,
                                              Operation::ToArray};
    for (const auto &[operation, call] : operations) {
        SCOPED_TRACE(NameOf(operation));
        const Faults::Id failing = Add(Effect::Fail, {operation});
        answer = kOk;
        EXPECT_EQ(call(), nullptr);
        EXPECT_EQ(answer.rc, operation != Operation::PrepareAttachThread ? CMPI_RC_ERR_FAILED : CMPI_RC_OK);
        EXPECT_EQ(broker->Faults().Hit(failing), 1u);
        broker->Faults().Clear();

        Add(Effect::NullWithOk, {operation});
        answer = {CMPI_RC_OK, nullptr};
        EXPECT_EQ(call(), nullptr);
        EXPECT_EQ(answer.rc, CMPI_RC_OK);
        broker->Faults().Clear();

        const bool hasEmpty = std::find(withEmpty.begin(), withEmpty.end(), operation) != withEmpty.end();
        Add(Effect::Empty, {operation});
        const void *empty = call();
        if (hasEmpty)
            EXPECT_STREQ(static_cast<const char *>(empty), "");
        else
            EXPECT_EQ(empty, nullptr);
        EXPECT_EQ(answer.rc, CMPI_RC_OK);
        broker->Faults().Clear();

        EXPECT_NE(call(), nullptr);
        EXPECT_EQ(answer.rc, CMPI_RC_OK);
    }
    broker->EndInvocation(context);
}

TEST_F(FaultControl, AResultThatIsNotTakenIsNotDelivered) {
    for (const Operation operation : {Operation::ReturnInstance, Operation::ReturnObjectPath}) {
        CMPIStatus told = kOk;
        back.enumerateInstances = [&](const Asked &call) {
            told = ReturnInstance(call, "1");
            return kOk;
        };
        back.enumerateInstanceNames = [&](const Asked &call) {
            told = ReturnPath(call, "1");
            return kOk;
        };
        const bool names = operation == Operation::ReturnObjectPath;
        const auto count = [&] {
            return names ? broker->EnumerateInstanceNames("root/back", "T_Fan").value.size()
                         : broker->EnumerateInstances("root/back", "T_Fan").value.size();
        };
        const Faults::Id id = Add(Effect::Fail, {operation});
        EXPECT_EQ(count(), 0u);
        EXPECT_EQ(told.rc, CMPI_RC_ERR_FAILED);
        broker->Faults().Remove(id);
        EXPECT_EQ(count(), 1u);
    }
}

TEST_F(FaultControl, ARewriteChangesWhatPropertiesAndKeysAnswer) {
    FaultRule rule;
    rule.operations = {Operation::GetProperty, Operation::GetKey};
    rule.rewrite = [](const std::string &name, CMPIData &answer, CMPIStatus &rc) {
        if (name == "Caption") {
            answer.type = CMPI_uint16;
            answer.state = CMPI_goodValue;
            answer.value.uint16 = 99;
        } else if (name == "ID") {
            answer = CMPIData();
            answer.state = CMPI_notFound;
            rc.rc = CMPI_RC_ERR_NOT_FOUND;
        }
    };
    broker->Faults().Add(rule);
    Invoke([](const CMPIBroker *cmpi, const CMPIContext *) {
        const CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Disk", "1");
        const CMPIInstance *instance = cmpi->eft->newInstance(cmpi, path, nullptr);
        const CMPIData caption = instance->ft->getProperty(instance, "Caption", nullptr);
        EXPECT_EQ(caption.type, CMPI_uint16);
        EXPECT_EQ(caption.value.uint16, 99);
        CMPIStatus told = kOk;
        EXPECT_EQ(path->ft->getKey(path, "ID", &told).state, CMPI_notFound);
        EXPECT_EQ(told.rc, CMPI_RC_ERR_NOT_FOUND);
        EXPECT_EQ(instance->ft->getProperty(instance, "Small", &told).type, CMPI_uint16);
        EXPECT_EQ(told.rc, CMPI_RC_OK);
        return 0;
    });
}

TEST(Operations, HaveNames) {
    for (int i = 0; i <= static_cast<int>(Operation::ReturnObjectPath); ++i)
        EXPECT_STRNE(NameOf(static_cast<Operation>(i)), "unknown");
    EXPECT_STREQ(NameOf(static_cast<Operation>(1000)), "unknown");
}

} // namespace
} // namespace cim::test
