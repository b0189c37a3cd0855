// What real CIM servers do to providers and a kind broker does not: each switch, lost up-calls, clean-up at any time.
#include "tests/broker/Scripted.h"

#include <future>
#include <thread>

namespace cim::test {
namespace {

using Ids = std::vector<std::string>;
using Effect = FaultRule::Effect;
using std::chrono::milliseconds;
using std::chrono::seconds;

const CMPIValue *Chars(const char *text) { return reinterpret_cast<const CMPIValue *>(text); }

class Unkind : public Scripted {
protected:
    Unkind() {
        back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
        // Front hands out a context for a thread of its own.
        front.getInstance = [this](const Asked &call) {
            prepared = call.broker->bft->prepareAttachThread(call.broker, call.context);
            return kOk;
        };
    }
    void StartWith(const Unkindness &unkind) {
        config.unkind = unkind;
        Start();
        Prepare();
    }
    const CMPIContext *Prepare() {
        broker->GetInstance({{}, "root/front", "T_Front", {}});
        return prepared;
    }
    struct Heard {
        CMPIStatus status = {CMPI_RC_ERROR, nullptr};
        std::string message;
        Ids ids;
    };
    // An up-call of Front's on the calling thread.
    Heard Upcall(const CMPIContext *context) {
        Heard heard;
        const CMPIBroker *cmpi = front.broker;
        const CMPIEnumeration *found =
            cmpi->bft->enumerateInstances(cmpi, context, NewPath(cmpi, "root/back", "T_Fan"), nullptr, &heard.status);
        if (heard.status.msg != nullptr) heard.message = TextOf(heard.status.msg);
        heard.ids = IdsOf(found);
        return heard;
    }
    // The same on a thread of Front's own, with its context attached.
    std::future<Heard> UpcallOnThread() {
        return std::async(std::launch::async, [this, context = prepared] {
            const CMPIBroker *cmpi = front.broker;
            cmpi->bft->attachThread(cmpi, context);
            const Heard heard = Upcall(context);
            cmpi->bft->detachThread(cmpi, context);
            return heard;
        });
    }
    Faults::Id Lose(std::uint64_t count = UINT64_MAX) {
        FaultRule rule;
        rule.operations = {Operation::EnumerateInstances};
        rule.count = count;
        rule.effect = Effect::Lost;
        return broker->Faults().Add(rule);
    }

    const CMPIContext *prepared = nullptr;
};

TEST_F(Unkind, ElementsOfEnumerationsHaveTypeAndValueButANullState) {
    for (const bool unkind : {false, true}) {
        config.unkind.nullStateOfElements = unkind;
        Start();
        front.enumerateInstances = [&](const Asked &call) {
            const CMPIEnumeration *all = call.broker->bft->enumerateInstances(
                call.broker, call.context, NewPath(call.broker, "root/back", "T_Fan"), nullptr, nullptr);
            const CMPIData element = all->ft->getNext(all, nullptr);
            EXPECT_EQ(element.type, CMPI_instance);
            EXPECT_EQ(element.state, unkind ? CMPI_nullValue : CMPI_goodValue);
            EXPECT_NE(element.value.inst, nullptr);
            EXPECT_EQ(all->ft->getNext(all, nullptr).state, CMPI_badValue); // past the end
            return kOk;
        };
        EXPECT_TRUE(broker->EnumerateInstances("root/front", "T_Front").Ok());
        Stop();
    }
}

TEST_F(Unkind, ArraysOfStringsRefuseCharacters) {
    for (const bool unkind : {false, true}) {
        config.unkind.strictArrays = unkind;
        Start();
        Invoke([&](const CMPIBroker *cmpi, const CMPIContext *) {
            CMPIArray *array = cmpi->eft->newArray(cmpi, 2, CMPI_string, nullptr);
            EXPECT_EQ(array->ft->setElementAt(array, 0, Chars("text"), CMPI_chars).rc,
                      unkind ? CMPI_RC_ERR_TYPE_MISMATCH : CMPI_RC_OK);
            EXPECT_EQ(array->ft->getElementAt(array, 0, nullptr).state, unkind ? CMPI_nullValue : CMPI_goodValue);
            CMPIValue string = CMPIValue();
            string.string = cmpi->eft->newString(cmpi, "text", nullptr);
            EXPECT_EQ(array->ft->setElementAt(array, 1, &string, CMPI_string).rc, CMPI_RC_OK);
            EXPECT_EQ(TextOf(array->ft->getElementAt(array, 1, nullptr)), "text");
            CMPIArray *ofChars = cmpi->eft->newArray(cmpi, 1, CMPI_chars, nullptr);
            EXPECT_EQ(ofChars->ft->setElementAt(ofChars, 0, Chars("text"), CMPI_chars).rc, CMPI_RC_OK);
            return 0;
        });
        Stop();
    }
}

// Back makes an instance of a path, and returns it with what `change` does to it.
class Keys : public Unkind {
protected:
    Keys() {
        back.getInstance = [this](const Asked &call) {
            CMPIInstance *made =
                call.broker->eft->newInstance(call.broker, NewPath(call.broker, "root/back", "T_Fan", "key"), nullptr);
            seen = TextOf(made->ft->getProperty(made, "id", nullptr));
            if (change) change(call, made);
            return call.result->ft->returnInstance(call.result, made);
        };
    }
    const Value *Id(PropertyList list = nullptr) {
        const ObjectPath path{{}, "root/back", "T_Fan", {{"ID", Value::Text("key")}}};
        answer = broker->GetInstance(path, list).value;
        return answer.Property("ID");
    }

    std::function<void(const Asked &, CMPIInstance *)> change;
    std::string seen; // by the provider right after it made the instance
    Instance answer;
};

TEST_F(Keys, AreCopiedIntoPropertiesAsListed) {
    Start();
    const Value key = Value::Text("key");
    ASSERT_NE(Id(), nullptr);
    EXPECT_EQ(*Id(), key);
    EXPECT_EQ(seen, "key");
    const std::vector<std::string> others{"Caption"}, listed{"caption", "id"};
    EXPECT_EQ(Id(&others), nullptr);
    ASSERT_NE(Id(&listed), nullptr);
    EXPECT_EQ(*Id(&listed), key);
    // What the provider sets comes first, null included.
    change = [](const Asked &, CMPIInstance *made) { made->ft->setProperty(made, "ID", Chars("own"), CMPI_chars); };
    EXPECT_EQ(*Id(), Value::Text("own"));
    EXPECT_EQ(answer.properties.size(), 1u);
    change = [](const Asked &, CMPIInstance *made) { made->ft->setProperty(made, "ID", nullptr, CMPI_string); };
    EXPECT_EQ(*Id(), Value::Null(CMPI_string));
    // They are as they were when the instance was made, also behind a filter, in a clone and inside of a value.
    change = [](const Asked &call, CMPIInstance *made) {
        made->ft->setObjectPath(made, NewPath(call.broker, "root/back", "T_Fan", "other"));
    };
    EXPECT_EQ(*Id(), key);
    change = [](const Asked &call, CMPIInstance *made) {
        CMPIValue embedded = CMPIValue();
        embedded.inst =
            call.broker->eft->newInstance(call.broker, NewPath(call.broker, "root/back", "T_Fan", "inner"), nullptr);
        made->ft->setProperty(made, "Embedded", &embedded, CMPI_instance);
        const char *filter[] = {"Embedded", nullptr};
        made->ft->setPropertyFilter(made, filter, nullptr);
        CMPIInstance *clone = made->ft->clone(made, nullptr);
        EXPECT_EQ(TextOf(clone->ft->getProperty(clone, "ID", nullptr)), "key");
        clone->ft->release(clone);
    };
    EXPECT_EQ(*Id(), key);
    const auto *embedded = answer.Property("Embedded")->As<std::shared_ptr<const Instance>>();
    ASSERT_NE(embedded, nullptr);
    ASSERT_NE((*embedded)->Property("ID"), nullptr);
    EXPECT_EQ(*(*embedded)->Property("ID"), Value::Text("inner"));
}

TEST_F(Keys, MayBeInThePathAlone) {
    config.unkind.keysOnlyInPaths = true;
    Start();
    EXPECT_EQ(Id(), nullptr);
    EXPECT_TRUE(answer.othersAreNull);
    EXPECT_EQ(seen, "(null)");
    EXPECT_EQ(*answer.path->Key("ID"), Value::Text("key"));
}

TEST_F(Unkind, APreparedContextLeavesTextsOnTheThread) {
    config.memory = kFreedByRelease;
    Unkindness how;
    how.contextOnThread = true;
    StartWith(how);
    EXPECT_EQ(broker->Live().lent, 0u); // a request's go with the request
    std::thread([&] {
        const CMPIBroker *cmpi = front.broker;
        cmpi->bft->attachThread(cmpi, prepared);
        const CMPIContext *next = nullptr;
        const auto renew = [&] {
            next = cmpi->bft->prepareAttachThread(cmpi, prepared);
            cmpi->bft->detachThread(cmpi, std::exchange(prepared, next));
            cmpi->bft->attachThread(cmpi, next);
        };
        CMPIGcStat *mark = cmpi->mft->mark(cmpi, nullptr);
        renew();
        EXPECT_GT(broker->Live().lent, 0u);
        cmpi->mft->release(cmpi, mark);
        EXPECT_EQ(broker->Live().lent, 0u);
        renew();
        const std::uint64_t once = broker->Live().lent;
        EXPECT_GT(once, 0u);
        renew();
        EXPECT_EQ(broker->Live().lent, 2 * once);
        cmpi->bft->detachThread(cmpi, next);
        EXPECT_EQ(broker->Live().lent, 2 * once);
    }).join();
    broker->Shutdown();
    EXPECT_GT(broker->Live().lent, 0u); // as it was left
    broker.reset();
}

using UnkindDeathTest = Unkind;

TEST_F(UnkindDeathTest, ReadingALongPathAsTextEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    config.unkind.shortPathText = true;
    Start();
    Invoke([&](const CMPIBroker *cmpi, const CMPIContext *) {
        const std::size_t rest =
            TextOf(cmpi->eft->toString(cmpi, NewPath(cmpi, "root/back", "T_Fan", "x"), nullptr)).size() - 1;
        const auto path = [&](std::size_t size) {
            return NewPath(cmpi, "root/back", "T_Fan", std::string(size - rest, 'x'));
        };
        EXPECT_EQ(TextOf(path(4095)->ft->toString(path(4095), nullptr)).size(), 4095u);
        EXPECT_DEATH(path(4096)->ft->toString(path(4096), nullptr), "toString of a path of 4096 bytes");
        EXPECT_DEATH(cmpi->eft->toString(cmpi, cmpi->eft->newInstance(cmpi, path(5000), nullptr), nullptr),
                     "toString of a path of 5000 bytes");
        return 0;
    });
}

TEST_F(Unkind, UpcallsOfThreadsWaitForALockThatIsHeldOverCleanUp) {
    Unkindness how;
    how.lockOverCleanUp = true;
    StartWith(how);
    std::future<Heard> onThread;
    front.cleanup = [&](const CMPIContext *context, bool) {
        if (front.cleanups > 1) return CMPI_RC_OK;
        EXPECT_EQ(Upcall(context).ids, (Ids{"1"})); // no thread of its own's
        onThread = UpcallOnThread();
        EXPECT_EQ(onThread.wait_for(milliseconds(50)), std::future_status::timeout);
        std::thread([&] { EXPECT_EQ(broker->CallCleanUp("Front", false), CMPI_RC_OK); }).join();
        return CMPI_RC_DO_NOT_UNLOAD;
    };
    EXPECT_EQ(broker->AskToUnload("Front"), CMPI_RC_DO_NOT_UNLOAD);
    EXPECT_EQ(onThread.get().ids, (Ids{"1"}));
    EXPECT_EQ(front.cleanups, 2);
}

TEST_F(Unkind, ARequestUnloadsWhatIsIdleAndMayLoadItAnew) {
    Unkindness how;
    how.idleCheckAtRequest = true;
    StartWith(how);
    EXPECT_EQ(front.factoryCalls, 1);
    prepared->ft->release(const_cast<CMPIContext *>(prepared));
    Prepare();
    EXPECT_EQ(front.factoryCalls, 2);
    EXPECT_EQ(front.cleanups, 1);
    prepared->ft->release(const_cast<CMPIContext *>(prepared));
    // One that is at work stays.
    front.enumerateInstances = [&](const Asked &call) {
        std::thread([&] { broker->EnumerateInstances("root/back", "T_Fan"); }).join();
        EXPECT_TRUE(broker->IsLoaded("Front"));
        return ReturnInstance(call, "f");
    };
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/front", "T_Front").value), (Ids{"f"}));
    EXPECT_EQ(front.cleanups, 2);
}

TEST_F(Unkind, ALostUpcallIsAnsweredWhenTheTestSaysSo) {
    StartWith(kUnkind);
    EXPECT_FALSE(broker->Faults().AwaitLost(1, milliseconds(0)));
    const auto release = {
        std::function<void(Faults::Id)>([&](Faults::Id) { broker->Faults().AnswerLost(); }),
        std::function<void(Faults::Id)>([&](Faults::Id id) { broker->Faults().Remove(id); }),
        std::function<void(Faults::Id)>([&](Faults::Id) { broker->Faults().Clear(); }),
    };
    for (const auto &answer : release) {
        const Faults::Id id = Lose(1);
        auto lost = UpcallOnThread();
        EXPECT_TRUE(broker->Faults().AwaitLost(1, seconds(60)));
        EXPECT_EQ(broker->Faults().LostNow(), 1u);
        // Nobody else is in its way, and the background counts as quiet.
        EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_Fan").value), (Ids{"1"}));
        EXPECT_TRUE(broker->WaitForBackground(milliseconds(0), milliseconds(0)));
        EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_OK);
        answer(id);
        EXPECT_EQ(broker->Faults().LostNow(), 0u);
        EXPECT_EQ(lost.get().ids, (Ids{"1"}));
        broker->Faults().Clear();
        Prepare();
    }
    prepared->ft->release(const_cast<CMPIContext *>(prepared));
}

TEST_F(Unkind, ALostUpcallMayOutliveTheShutdown) {
    StartWith(kUnkind);
    Lose();
    auto lost = UpcallOnThread();
    ASSERT_TRUE(broker->Faults().AwaitLost(1, seconds(60)));
    broker->Shutdown();
    EXPECT_FALSE(broker->IsLoaded("Front"));
    EXPECT_EQ(broker->Live().attachedThreads, 1u);
    broker->Faults().AnswerLost();
    const Heard heard = lost.get();
    EXPECT_EQ(heard.status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(heard.message, "Back has been shut down");
}

TEST_F(Unkind, ALibraryIsClosedWhileItsThreadIsInALostUpcall) {
    registrations += R"(
[T_Lonely]
  provider: LateProvider
  location: Late
  type: instance
  namespace: root/late
)";
    config.libraryFolders = {SMALL_PROVIDER_FOLDER};
    Start();
    Lose();
    ASSERT_TRUE(broker->Load("LateProvider").Ok());
    ASSERT_TRUE(broker->Faults().AwaitLost(1, seconds(60)));
    EXPECT_EQ(broker->AskToUnload("LateProvider"), CMPI_RC_OK);
    broker->Shutdown();
    broker->Faults().AnswerLost();
    while (broker->Live().attachedThreads != 0) std::this_thread::yield();
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
    back.enumerateInstances = [&](const Asked &call) {
        EXPECT_EQ(broker->CallCleanUp("Back", false), CMPI_RC_DO_NOT_UNLOAD);
        return ReturnInstance(call, "1");
    };
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_Fan").value), (Ids{"1"}));
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
