// What real CIM servers were seen to do to providers, switch by switch; lost up-calls, and clean-up at any time.
#include "tests/broker/Scripted.h"

#include <future>

namespace cim::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class Unkind : public Scripted {
protected:
    void StartUnkind(const Unkindness &how) {
        config.unkind = how;
        Start();
        Prepare();
    }
    // An up-call of Front's on a thread of its own, with its context attached.
    std::future<Ids> UpcallOnThread() {
        return std::async(std::launch::async, [cmpi = front.broker, context = prepared] {
            cmpi->bft->attachThread(cmpi, context);
            const Ids ids = IdsOf(Enumerate(cmpi, context));
            cmpi->bft->detachThread(cmpi, context);
            return ids;
        });
    }
    void FreePrepared() { prepared->ft->release(const_cast<CMPIContext *>(prepared)); }
    Faults::Id Lose() { return broker->Faults().Add(Rule(Operation::EnumerateInstances).Does(Effect::Lost).Times(1)); }
};

TEST_F(Unkind, ElementsHaveANullStateArraysRefuseCharactersAndKeysAreInPathsAlone) {
    for (const bool unkind : {false, true}) {
        config.unkind.nullStateOfElements = config.unkind.strictArrays = config.unkind.keysOnlyInPaths = unkind;
        Start();
        const CMPIContext *context = broker->BeginInvocation("root/back");
        const CMPIBroker *cmpi = broker->Handle();
        const CMPIEnumeration *all = Enumerate(cmpi, context);
        const CMPIData element = all->ft->getNext(all, nullptr);
        EXPECT_EQ(element.type, CMPI_instance);
        EXPECT_EQ(element.state, unkind ? CMPI_nullValue : CMPI_goodValue);
        EXPECT_NE(element.value.inst, nullptr);

        CMPIArray *array = cmpi->eft->newArray(cmpi, 2, CMPI_string, nullptr);
        EXPECT_EQ(array->ft->setElementAt(array, 0, Chars("text"), CMPI_chars).rc,
                  unkind ? CMPI_RC_ERR_TYPE_MISMATCH : CMPI_RC_OK);
        const CMPIValue string = ValueWith(&CMPIValue::string, cmpi->eft->newString(cmpi, "text", nullptr));
        EXPECT_EQ(array->ft->setElementAt(array, 1, &string, CMPI_string).rc, CMPI_RC_OK);
        CMPIArray *ofChars = cmpi->eft->newArray(cmpi, 1, CMPI_chars, nullptr);
        CMPIArray *clone = ofChars->ft->clone(ofChars, nullptr);
        for (CMPIArray *each : {ofChars, clone})
            EXPECT_EQ(each->ft->setElementAt(each, 0, Chars("text"), CMPI_chars).rc, CMPI_RC_OK);
        clone->ft->release(clone);

        // Of the path's keys those that the class declares as keys, of a type that fits.
        CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Fan", "key");
        path->ft->addKey(path, "Caption", Chars("no key"), CMPI_chars);
        const CMPIInstance *made = cmpi->eft->newInstance(cmpi, path, nullptr);
        EXPECT_EQ(TextOf(made, "id"), unkind ? "(null)" : "key");
        EXPECT_EQ(TextOf(made, "Caption"), "(null)");
        CMPIObjectPath *other = NewPath(cmpi, "root/back", "T_Fan");
        other->ft->addKey(other, "ID", &string, CMPI_boolean);
        made = cmpi->eft->newInstance(cmpi, other, nullptr);
        EXPECT_EQ(made->ft->getProperty(made, "ID", nullptr).state, CMPI_nullValue);
        broker->EndInvocation(context);
        Stop();
    }
}

TEST_F(Unkind, APreparedContextLeavesTextsOnTheThread) {
    config.memory = kFreedByRelease;
    Unkindness how;
    how.contextOnThread = true;
    StartUnkind(how);
    EXPECT_EQ(broker->Live().lent, 0u); // a request's go with the request
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *&context) {
        const auto renew = [&] {
            const CMPIContext *next = cmpi->bft->prepareAttachThread(cmpi, context);
            cmpi->bft->detachThread(cmpi, std::exchange(context, next));
            cmpi->bft->attachThread(cmpi, next);
        };
        CMPIGcStat *mark = cmpi->mft->mark(cmpi, nullptr);
        renew();
        EXPECT_GT(broker->Live().lent, 0u);
        cmpi->mft->release(cmpi, mark);
        EXPECT_EQ(broker->Live().lent, 0u);
        renew();
    });
    EXPECT_GT(broker->Live().lent, 0u); // as it was left
    broker->Shutdown();
    broker.reset();
}

using UnkindDeathTest = Unkind;

TEST_F(UnkindDeathTest, ReadingALongPathAsTextEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    config.unkind.shortPathText = true;
    Start();
    const CMPIContext *context = broker->BeginInvocation("root/back");
    const CMPIBroker *cmpi = broker->Handle();
    const auto textOfPath = [&](std::size_t size) {
        const std::size_t rest = std::string("root/back:T_Fan.ID=\"\"").size();
        const CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Fan", std::string(size - rest, 'x'));
        return TextOf(path->ft->toString(path, nullptr));
    };
    EXPECT_EQ(textOfPath(4095).size(), 4095u);
    EXPECT_DEATH(textOfPath(4096), "toString of a path of 4096 bytes");
    broker->EndInvocation(context);
}

TEST_F(Unkind, UpcallsOfThreadsWaitForALockThatIsHeldOverCleanUp) {
    Unkindness how;
    how.lockOverCleanUp = true;
    StartUnkind(how);
    std::future<Ids> onThread;
    front.cleanup = [&](const CMPIContext *context, bool) {
        if (front.cleanups > 1) return CMPI_RC_OK;
        EXPECT_EQ(IdsOf(Enumerate(front.broker, context)), (Ids{"1", "2"})); // not on a thread of its own
        onThread = UpcallOnThread();
        EXPECT_EQ(onThread.wait_for(milliseconds(50)), std::future_status::timeout);
        std::thread([&] { EXPECT_EQ(broker->CallCleanUp("Front", false), CMPI_RC_OK); }).join();
        return CMPI_RC_DO_NOT_UNLOAD;
    };
    EXPECT_EQ(broker->AskToUnload("Front"), CMPI_RC_DO_NOT_UNLOAD);
    EXPECT_EQ(onThread.get(), (Ids{"1", "2"}));
    EXPECT_EQ(front.cleanups, 2);
}

TEST_F(Unkind, ARequestUnloadsWhatIsIdleAndMayLoadItAnew) {
    Unkindness how;
    how.idleCheckAtRequest = true;
    StartUnkind(how);
    FreePrepared();
    Prepare();
    FreePrepared();
    EXPECT_EQ(front.factoryCalls, 2);
    EXPECT_EQ(front.cleanups, 1);
    // One that is at work stays.
    front.on[Operation::EnumerateInstances] = [&](const Asked &) {
        std::thread([&] { Fans(); }).join();
        EXPECT_TRUE(broker->IsLoaded("Front"));
        return kOk;
    };
    EXPECT_TRUE(broker->EnumerateInstances("root/front", "T_Front").Ok());
    EXPECT_EQ(front.cleanups, 2);
}

TEST_F(Unkind, ALostUpcallIsAnsweredWhenTheTestSaysSo) {
    StartUnkind(kUnkind);
    EXPECT_FALSE(broker->Faults().AwaitLost(1, milliseconds(0)));
    const std::function<void(Faults::Id)> answers[] = {
        [&](Faults::Id) { broker->Faults().AnswerLost(); },
        [&](Faults::Id id) { broker->Faults().Remove(id); },
        [&](Faults::Id) { broker->Faults().Clear(); },
    };
    for (const auto &answer : answers) {
        const Faults::Id id = broker->Faults().Add(Rule(Operation::EnumerateInstances).Does(Effect::Lost).Times(1));
        auto lost = UpcallOnThread();
        ASSERT_TRUE(broker->Faults().AwaitLost(1, seconds(60)));
        EXPECT_EQ(broker->Faults().LostNow(), 1u);
        // Nobody else is in its way, and the background counts as quiet.
        EXPECT_EQ(Fans(), (Ids{"1", "2"}));
        EXPECT_TRUE(broker->WaitForBackground(milliseconds(0), milliseconds(0)));
        EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_OK);
        answer(id);
        EXPECT_EQ(broker->Faults().LostNow(), 0u);
        EXPECT_EQ(lost.get(), (Ids{"1", "2"}));
        broker->Faults().Clear();
        Prepare();
    }
    FreePrepared();
}

TEST_F(Unkind, CleanUpIsCalledBesideAnotherARequestAndTheFactory) {
    config.unkind = kUnkind;
    Start();
    std::vector<bool> terminating;
    back.cleanup = [&](const CMPIContext *, bool ending) {
        terminating.push_back(ending);
        if (terminating.size() != 1) return CMPI_RC_DO_NOT_UNLOAD;
        // On other threads, while this one is inside.
        std::thread([&] { EXPECT_EQ(broker->CallCleanUp("Back", true), CMPI_RC_DO_NOT_UNLOAD); }).join();
        std::thread([&] { EXPECT_TRUE(broker->CallFactoryAgain("Back").Ok()); }).join();
        return CMPI_RC_OK;
    };
    back.on[Operation::EnumerateInstances] = [&](const Asked &) {
        EXPECT_EQ(broker->CallCleanUp("Back", false), CMPI_RC_DO_NOT_UNLOAD);
        return kOk;
    };
    EXPECT_TRUE(broker->EnumerateInstances("root/back", "T_Fan").Ok());
    // The instance MI agrees; the two MIs are told to end in between; the association MI does not agree.
    EXPECT_EQ(terminating, (std::vector<bool>{false, true, true, false}));
    EXPECT_EQ(back.factoryCalls, 4);
    EXPECT_TRUE(broker->IsLoaded("Back"));
    EXPECT_EQ(broker->CallCleanUp("Front", false), CMPI_RC_OK);
    EXPECT_EQ(front.cleanups, 0); // is not loaded
    Stop();
    EXPECT_EQ(terminating.size(), 6u);
}

} // namespace
} // namespace cim::test
