// Threads of providers: whose the objects are that they obtain, under each of the memory rules.
#include "cim/include/cmpiflush.h"
#include "tests/broker/Scripted.h"

#include <future>

namespace cim::test {
namespace {

using std::chrono::milliseconds;

class Attached : public Scripted {
protected:
    std::uint64_t Lent() { return broker->Live().lent; }
};

TEST_F(Attached, AThreadsObjectsAreFreedWhenItDetachesAndItMayRenewItsContext) {
    StartWith(kFreedAtDetach);
    EXPECT_EQ(front.broker->mft, nullptr);
    CMPIEnumeration *clone = nullptr;
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *&context) {
        for (int i = 0; i < 3; ++i) {
            CMPIEnumeration *found = Enumerate(cmpi, context);
            if (clone == nullptr) clone = found->ft->clone(found, nullptr);
            EXPECT_EQ(Lent(), 2u);
            EXPECT_EQ(broker->Live().attachedThreads, 1u);
            const CMPIContext *next = cmpi->bft->prepareAttachThread(cmpi, context);
            EXPECT_EQ(cmpi->bft->detachThread(cmpi, context).rc, CMPI_RC_OK);
            EXPECT_EQ(Lent(), 0u);
            EXPECT_EQ(broker->Live().attachedThreads, 0u);
            EXPECT_EQ(cmpi->bft->attachThread(cmpi, next).rc, CMPI_RC_OK);
            context = next;
        }
        EXPECT_EQ(IdsOf(clone), (Ids{"1", "2"})); // survives
        EXPECT_EQ(TextOf(context->ft->getEntry(context, CMPIInitNameSpace, nullptr)), "root/front");
        // Contexts that are never used are freed either way.
        EXPECT_EQ(cmpi->bft->detachThread(cmpi, cmpi->bft->prepareAttachThread(cmpi, context)).rc, CMPI_RC_OK);
        CMPIContext *unused = cmpi->bft->prepareAttachThread(cmpi, context);
        EXPECT_EQ(broker->Live().contexts, 2u);
        EXPECT_EQ(unused->ft->release(unused).rc, CMPI_RC_OK);
        EXPECT_EQ(broker->Live().contexts, 1u);
    });
    clone->ft->release(clone);
}

TEST_F(Attached, MisuseOfContextsIsRefused) {
    StartWith(kFreedAtDetach);
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
        const auto *bft = cmpi->bft;
        EXPECT_EQ(bft->attachThread(cmpi, context).rc, CMPI_RC_ERR_FAILED); // is attached
        EXPECT_EQ(context->ft->release(const_cast<CMPIContext *>(context)).rc, CMPI_RC_ERR_FAILED);
        EXPECT_EQ(bft->attachThread(cmpi, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(bft->detachThread(cmpi, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(bft->prepareAttachThread(cmpi, nullptr), nullptr);
        std::thread([&] { EXPECT_EQ(bft->detachThread(cmpi, context).rc, CMPI_RC_ERR_FAILED); }).join();
    });
    const CMPIContext *requests = broker->BeginInvocation("root/back");
    EXPECT_EQ(broker->Handle()->bft->attachThread(broker->Handle(), requests).rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(broker->Handle()->bft->detachThread(broker->Handle(), requests).rc, CMPI_RC_ERR_INVALID_PARAMETER);
    broker->EndInvocation(requests);
}

// A provider that attaches on the thread of a request: what it obtained goes at detach, or with the request.
TEST_F(Attached, ARequestsThreadMayAttach) {
    for (const MemoryRules &rules : {kFreedAtDetach, kFreedByRelease}) {
        config.memory = rules;
        Start();
        front.on[Operation::DeleteInstance] = [&](const Asked &call) {
            const CMPIContext *own = call.broker->bft->prepareAttachThread(call.broker, call.context);
            call.broker->bft->attachThread(call.broker, own);
            const std::uint64_t before = Lent();
            Enumerate(call.broker, own);
            EXPECT_EQ(Lent(), before + 2);
            call.broker->bft->detachThread(call.broker, own);
            EXPECT_EQ(Lent(), rules.freedAtDetach ? before : before + 2);
            return kOk;
        };
        broker->LogCalls(true);
        EXPECT_TRUE(broker->DeleteInstance({{}, "root/front", "T_Front", {}}).Ok());
        EXPECT_EQ(Lent(), 0u);
        for (const Call &call : broker->TakeCalls()) EXPECT_FALSE(call.background) << NameOf(call.operation);
        Stop();
    }
}

TEST_F(Attached, MarksFreeWhatWasMadeInBetweenAndNest) {
    for (const MemoryRules &rules : {kFreedByRelease, kFreedByBoth}) {
        StartWith(rules);
        EXPECT_EQ(front.broker->bft->brokerVersion, 0u); // as seen: the pointer is what counts
        OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
            const auto *mft = cmpi->mft;
            CMPIStatus status{CMPI_RC_ERROR, nullptr};
            CMPIGcStat *outer = mft->mark(cmpi, &status);
            EXPECT_EQ(status.rc, CMPI_RC_OK);
            Enumerate(cmpi, context);
            CMPIGcStat *inner = mft->mark(cmpi, nullptr);
            Enumerate(cmpi, context);
            EXPECT_EQ(Lent(), 4u);
            EXPECT_EQ(mft->release(cmpi, inner).rc, CMPI_RC_OK);
            EXPECT_EQ(Lent(), 2u);
            CMPIGcStat *forgotten = mft->mark(cmpi, nullptr);
            Enumerate(cmpi, context);
            EXPECT_EQ(mft->release(cmpi, outer).rc, CMPI_RC_OK);
            EXPECT_EQ(Lent(), 0u);
            EXPECT_EQ(mft->release(cmpi, forgotten).rc, CMPI_RC_ERR_INVALID_PARAMETER);
            EXPECT_EQ(mft->cmpiMalloc(cmpi, 8), nullptr); // not supported, as the rest
        });
        Stop();
    }
}

TEST_F(Attached, WhereOnlyMarksCountDetachFreesTheContextAlone) {
    StartWith(kFreedByRelease);
    std::thread([&] {
        const CMPIBroker *cmpi = front.broker;
        CMPIGcStat *mark = cmpi->mft->mark(cmpi, nullptr);
        cmpi->bft->attachThread(cmpi, prepared);
        Enumerate(cmpi, prepared);
        cmpi->bft->detachThread(cmpi, prepared);
        EXPECT_EQ(broker->Live().contexts, 0u);
        EXPECT_EQ(Lent(), 2u);
        cmpi->mft->release(cmpi, mark);
        EXPECT_EQ(Lent(), 0u);
    }).join();
    Stop();
    StartWith(kFreedByBoth); // frees what an open mark holds as well
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
        cmpi->mft->mark(cmpi, nullptr);
        Enumerate(cmpi, context);
    });
    EXPECT_EQ(Lent(), 0u);
    Stop();
    StartWith({true, false, false}); // an undrained thread ends nothing here, and is counted
    OnThread([](const CMPIBroker *cmpi, const CMPIContext *context) { Enumerate(cmpi, context); });
    EXPECT_EQ(Lent(), 2u);
    broker->Shutdown();
    broker.reset(); // frees them
}

using AttachedDeathTest = Attached;

TEST_F(AttachedDeathTest, AThreadThatEndsUndrainedEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            StartWith(kFreedByRelease);
            OnThread([](const CMPIBroker *cmpi, const CMPIContext *context) { Enumerate(cmpi, context); });
        },
        "a thread of Front ended with 1 objects of its up-calls left on it");
}

TEST_F(Attached, TheBrokersEndFreesWhatThreadsHaveLeft) {
    StartWith(kFreedAtDetach);
    Prepare(); // a second context; neither is ever attached or freed
    std::promise<void> ready, ended;
    std::thread straggler([&, cmpi = front.broker] {
        cmpi->bft->attachThread(cmpi, prepared);
        Enumerate(cmpi, prepared);
        ready.set_value();
        ended.get_future().wait();
    });
    ready.get_future().wait();
    EXPECT_EQ(broker->Live().attachedThreads, 1u);
    broker->Shutdown();
    broker.reset();
    ended.set_value();
    straggler.join();
}

TEST_F(Attached, WhoWaitsForTheBackgroundOrTheEndWaitsForItsCalls) {
    StartWith(kFreedAtDetach);
    broker->LogCalls(true);
    EXPECT_TRUE(broker->WaitForBackground(milliseconds(0), milliseconds(0)));
    std::promise<void> running, go;
    back.on[Operation::EnumerateInstances] = [&](const Asked &) {
        running.set_value();
        go.get_future().wait();
        return kOk;
    };
    std::thread worker(
        [&] { OnThread([](const CMPIBroker *cmpi, const CMPIContext *context) { Enumerate(cmpi, context); }); });
    running.get_future().wait();
    EXPECT_FALSE(broker->WaitForBackground(milliseconds(0), milliseconds(10)));
    auto waiting =
        std::async(std::launch::async, [&] { return broker->WaitForBackground(milliseconds(5), milliseconds(60000)); });
    // Nor is a provider cleaned up while such a call is inside of it.
    auto ending = std::async(std::launch::async, [&] { broker->Shutdown(); });
    EXPECT_EQ(ending.wait_for(milliseconds(20)), std::future_status::timeout);
    EXPECT_EQ(back.cleanups, 0);
    go.set_value();
    EXPECT_TRUE(waiting.get());
    worker.join();
    ending.get();
    const std::vector<Call> calls = broker->TakeCalls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].operation, Operation::AttachThread);
    EXPECT_TRUE(calls[1].background);
    EXPECT_EQ(calls[1].provider, "Front");
    EXPECT_EQ(calls[2].operation, Operation::DetachThread);
}

#ifdef QUARNEL_CONTEXT_FLUSH
TEST_F(Attached, AFlushFreesWhatTheThreadWasLentSoFar) {
    for (const MemoryRules &rules : {kFreedAtDetach, kFreedByRelease, kFreedByBoth}) {
        StartWith(rules);
        OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
            const auto *table = reinterpret_cast<const CMPIContextFlushFT *>(context->ft);
            CMPIEnumeration *found = Enumerate(cmpi, context);
            CMPIEnumeration *clone = found->ft->clone(found, nullptr);
            CMPIGcStat *mark = cmpi->mft != nullptr ? cmpi->mft->mark(cmpi, nullptr) : nullptr;
            Enumerate(cmpi, context);
            EXPECT_EQ(table->flush(context).rc, CMPI_RC_OK);
            EXPECT_EQ(Lent(), 0u);
            EXPECT_EQ(broker->Live().clones, 1u);
            clone->ft->release(clone);
            if (mark != nullptr) {
                EXPECT_EQ(cmpi->mft->release(cmpi, mark).rc, CMPI_RC_OK);
            }
        });
        Stop();
    }
}
#endif

// A provider that caches what it answers: requests on several threads return one clone, and change what they hear.
TEST_F(Attached, OneCloneMayBeReturnedByManyThreads) {
    CMPIInstance *cached = nullptr;
    back.factory = [&](const CMPIBroker *cmpi, const CMPIContext *, CMPIStatus *) {
        if (cached != nullptr) return true;
        CMPIInstance *made = cmpi->eft->newInstance(cmpi, NewPath(cmpi, "root/back", "T_Fan", "cached"), nullptr);
        cached = made->ft->clone(made, nullptr);
        cached->ft->setProperty(cached, "Caption", Chars("as made"), CMPI_chars);
        return true;
    };
    back.on[Operation::EnumerateInstances] = [&](const Asked &call) {
        return call.result->ft->returnInstance(call.result, cached);
    };
    front.on[Operation::EnumerateInstances] = [](const Asked &call) {
        const CMPIEnumeration *all = Enumerate(call.broker, call.context);
        const CMPIInstance *heard = all->ft->getNext(all, nullptr).value.inst;
        EXPECT_EQ(TextOf(heard, "Caption"), "as made");
        heard->ft->setProperty(heard, "Caption", Chars("changed"), CMPI_chars);
        return call.result->ft->returnInstance(call.result, heard);
    };
    Start();
    std::vector<std::thread> clients;
    for (int client = 0; client < 4; ++client)
        clients.emplace_back([&] {
            for (int i = 0; i < 50; ++i)
                EXPECT_EQ(*broker->EnumerateInstances("root/front", "T_Front").value.at(0).Property("Caption"),
                          Value::Text("changed"));
        });
    for (std::thread &client : clients) client.join();
    EXPECT_EQ(broker->UpcallCount(), 200u);
    cached->ft->release(cached);
}

} // namespace
} // namespace cim::test
