// Threads of providers: whose the objects are that they obtain, under each of the memory rules.
#include "cim/include/cmpiflush.h"
#include "tests/broker/Scripted.h"

#include <future>
#include <thread>

namespace cim::test {
namespace {

using Ids = std::vector<std::string>;
using std::chrono::milliseconds;

class Attached : public Scripted {
protected:
    Attached() {
        back.enumerateInstances = [](const Asked &call) {
            ReturnInstance(call, "1");
            return ReturnInstance(call, "2");
        };
        // Front hands out a context for a thread of its own.
        front.getInstance = [this](const Asked &call) {
            prepared = call.broker->bft->prepareAttachThread(call.broker, call.context);
            return kOk;
        };
    }
    void StartWith(const MemoryRules &rules) {
        config.memory = rules;
        Start();
        Prepare();
    }
    const CMPIContext *Prepare() {
        broker->GetInstance({{}, "root/front", "T_Front", {}});
        return prepared;
    }
    // As a thread of Front's, with its context attached.
    template <class Code> void OnThread(const Code &code) {
        std::thread([&] {
            const CMPIBroker *cmpi = front.broker;
            EXPECT_EQ(cmpi->bft->attachThread(cmpi, prepared).rc, CMPI_RC_OK);
            code(cmpi, prepared);
            EXPECT_EQ(cmpi->bft->detachThread(cmpi, prepared).rc, CMPI_RC_OK);
        }).join();
    }
    static CMPIEnumeration *Upcall(const CMPIBroker *cmpi, const CMPIContext *context) {
        return cmpi->bft->enumerateInstances(cmpi, context, NewPath(cmpi, "root/back", "T_Fan"), nullptr, nullptr);
    }

    const CMPIContext *prepared = nullptr;
};

TEST_F(Attached, AThreadsObjectsAreFreedWhenItDetaches) {
    StartWith(kFreedAtDetach);
    EXPECT_EQ(front.broker->mft, nullptr);
    EXPECT_EQ(broker->Live().contexts, 1u);
    CMPIEnumeration *clone = nullptr;
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
        EXPECT_EQ(broker->Live().attachedThreads, 1u);
        CMPIEnumeration *found = Upcall(cmpi, context);
        clone = found->ft->clone(found, nullptr);
        EXPECT_EQ(IdsOf(found), (Ids{"1", "2"}));
        EXPECT_GT(broker->Live().lent, 2u);
        EXPECT_EQ(TextOf(context->ft->getEntry(context, CMPIInitNameSpace, nullptr)), "root/front");
    });
    EXPECT_EQ(broker->Live().lent, 0u);
    EXPECT_EQ(broker->Live().contexts, 0u);
    EXPECT_EQ(broker->Live().attachedThreads, 0u);
    // The clone survives.
    Invoke([&](const CMPIBroker *, const CMPIContext *) {
        EXPECT_EQ(IdsOf(clone), (Ids{"1", "2"}));
        return 0;
    });
    clone->ft->release(clone);
}

TEST_F(Attached, ThreadsRenewTheirContextsAndFreeThoseNeverUsed) {
    StartWith(kFreedAtDetach);
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *&context) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_NE(Upcall(cmpi, context), nullptr);
            const CMPIContext *next = cmpi->bft->prepareAttachThread(cmpi, context);
            EXPECT_EQ(cmpi->bft->detachThread(cmpi, context).rc, CMPI_RC_OK);
            EXPECT_EQ(broker->Live().lent, 0u);
            EXPECT_EQ(cmpi->bft->attachThread(cmpi, next).rc, CMPI_RC_OK);
            context = next;
        }
        CMPIContext *unused = cmpi->bft->prepareAttachThread(cmpi, context);
        EXPECT_EQ(broker->Live().contexts, 2u);
        EXPECT_EQ(cmpi->bft->detachThread(cmpi, unused).rc, CMPI_RC_OK);
        unused = cmpi->bft->prepareAttachThread(cmpi, context);
        EXPECT_EQ(unused->ft->release(unused).rc, CMPI_RC_OK);
        EXPECT_EQ(broker->Live().contexts, 1u);
    });
}

TEST_F(Attached, MisuseOfContextsIsRefused) {
    StartWith(kFreedAtDetach);
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
        EXPECT_NE(cmpi->bft->attachThread(cmpi, context).rc, CMPI_RC_OK); // is attached
        EXPECT_NE(context->ft->release(const_cast<CMPIContext *>(context)).rc, CMPI_RC_OK);
        EXPECT_NE(cmpi->bft->attachThread(cmpi, nullptr).rc, CMPI_RC_OK);
        EXPECT_NE(cmpi->bft->detachThread(cmpi, nullptr).rc, CMPI_RC_OK);
        EXPECT_EQ(cmpi->bft->prepareAttachThread(cmpi, nullptr), nullptr);
        std::thread([&] { EXPECT_NE(cmpi->bft->detachThread(cmpi, context).rc, CMPI_RC_OK); }).join();
        CMPIStatus status = kOk;
        EXPECT_EQ(cmpi->bft->enumerateInstances(cmpi, nullptr, NewPath(cmpi, "root/back", "T_Fan"), nullptr, &status),
                  nullptr);
        EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(cmpi->bft->getInstance(cmpi, context, nullptr, nullptr, &status), nullptr);
        EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    });
    const CMPIContext *requests = broker->BeginInvocation("root/back");
    EXPECT_NE(broker->Handle()->bft->attachThread(broker->Handle(), requests).rc, CMPI_RC_OK);
    broker->EndInvocation(requests);
}

// A provider that attaches on the thread of a request: what it obtained goes at detach, or with the request.
TEST_F(Attached, ARequestsThreadMayAttach) {
    for (const MemoryRules &rules : {kFreedAtDetach, kFreedByRelease}) {
        config.memory = rules;
        Start();
        front.getInstance = [&](const Asked &call) {
            const CMPIContext *own = call.broker->bft->prepareAttachThread(call.broker, call.context);
            call.broker->bft->attachThread(call.broker, own);
            const std::uint64_t before = broker->Live().lent;
            EXPECT_NE(Upcall(call.broker, own), nullptr);
            EXPECT_EQ(broker->Live().lent, before + 2);
            call.broker->bft->detachThread(call.broker, own);
            EXPECT_EQ(broker->Live().lent, rules.freedAtDetach ? before : before + 2);
            return kOk;
        };
        broker->LogCalls(true);
        broker->GetInstance({{}, "root/front", "T_Front", {}});
        EXPECT_EQ(broker->Live().lent, 0u);
        for (const Call &call : broker->TakeCalls()) EXPECT_FALSE(call.background) << NameOf(call.operation);
        Stop();
    }
}

TEST_F(Attached, MarksFreeWhatWasMadeInBetweenAndNest) {
    for (const MemoryRules &rules : {kFreedByRelease, kFreedByBoth}) {
        StartWith(rules);
        ASSERT_NE(front.broker->mft, nullptr);
        EXPECT_EQ(front.broker->bft->brokerVersion, 0u); // as seen: the pointer is what counts
        OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
            const auto *mft = cmpi->mft;
            CMPIGcStat *outer = mft->mark(cmpi, nullptr);
            Upcall(cmpi, context);
            EXPECT_EQ(broker->Live().lent, 2u);
            CMPIGcStat *inner = mft->mark(cmpi, nullptr);
            Upcall(cmpi, context);
            EXPECT_EQ(broker->Live().lent, 4u);
            EXPECT_EQ(mft->release(cmpi, inner).rc, CMPI_RC_OK);
            EXPECT_EQ(broker->Live().lent, 2u);
            CMPIGcStat *forgotten = mft->mark(cmpi, nullptr);
            Upcall(cmpi, context);
            EXPECT_EQ(mft->release(cmpi, outer).rc, CMPI_RC_OK);
            EXPECT_EQ(broker->Live().lent, 0u);
            EXPECT_EQ(mft->release(cmpi, forgotten).rc, CMPI_RC_ERR_INVALID_PARAMETER);
            EXPECT_EQ(mft->release(cmpi, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
        });
        Stop();
    }
}

TEST_F(Attached, DetachFreesTheContextAloneWhereOnlyMarksCount) {
    StartWith(kFreedByRelease);
    std::thread([&] {
        const CMPIBroker *cmpi = front.broker;
        CMPIGcStat *mark = cmpi->mft->mark(cmpi, nullptr);
        cmpi->bft->attachThread(cmpi, prepared);
        Upcall(cmpi, prepared);
        cmpi->bft->detachThread(cmpi, prepared);
        EXPECT_EQ(broker->Live().contexts, 0u);
        EXPECT_EQ(broker->Live().lent, 2u);
        cmpi->mft->release(cmpi, mark);
        EXPECT_EQ(broker->Live().lent, 0u);
    }).join();
    Prepare();
    // Released one by one is drained, too.
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
        CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Fan");
        CMPIEnumeration *found = cmpi->bft->enumerateInstances(cmpi, context, path, nullptr, nullptr);
        path->ft->release(path);
        found->ft->release(found);
    });
}

TEST_F(Attached, ADetachFreesWhatAnOpenMarkHolds) {
    StartWith(kFreedByBoth);
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
        cmpi->mft->mark(cmpi, nullptr);
        Upcall(cmpi, context);
    });
    EXPECT_EQ(broker->Live().lent, 0u);
}

TEST_F(Attached, TheMemoryTablesOtherEntriesAllocateAndFree) {
    StartWith(kFreedByBoth);
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
        const auto *mft = cmpi->mft;
        void *memory = mft->cmpiRealloc(cmpi, mft->cmpiCalloc(cmpi, 2, 8), 64);
        mft->cmpiFree(cmpi, memory);
        mft->cmpiFree(cmpi, mft->cmpiMalloc(cmpi, 8));
        char *text = mft->cmpiStrDup(cmpi, "text");
        EXPECT_STREQ(text, "text");
        mft->cmpiFree(cmpi, text);
        CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Fan");
        mft->freeInstance(cmpi, cmpi->eft->newInstance(cmpi, path, nullptr));
        mft->freeObjectPath(cmpi, path);
        mft->freeArray(cmpi, cmpi->eft->newArray(cmpi, 1, CMPI_uint8, nullptr));
        mft->freeString(cmpi, cmpi->eft->newString(cmpi, "s", nullptr));
        EXPECT_EQ(broker->Live().lent, 0u);
        (void)context;
    });
}

using AttachedDeathTest = Attached;

TEST_F(AttachedDeathTest, AThreadThatEndsUndrainedEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            StartWith(kFreedByRelease);
            OnThread([](const CMPIBroker *cmpi, const CMPIContext *context) { Upcall(cmpi, context); });
        },
        "a thread of Front ended with 1 objects of its up-calls left on it");
}

TEST_F(Attached, AnUndrainedThreadIsCountedWhereItEndsNothing) {
    StartWith({true, false, false});
    OnThread([](const CMPIBroker *cmpi, const CMPIContext *context) { Upcall(cmpi, context); });
    EXPECT_EQ(broker->Live().lent, 2u);
    broker->Shutdown();
    broker.reset(); // frees them
}

TEST_F(Attached, TheBrokersEndFreesWhatThreadsHaveLeft) {
    StartWith(kFreedAtDetach);
    Prepare(); // a second context; neither is ever attached or freed
    const CMPIBroker *cmpi = front.broker;
    std::promise<void> ready, ended;
    std::thread straggler([&] {
        cmpi->bft->attachThread(cmpi, prepared);
        Upcall(cmpi, prepared);
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

TEST_F(Attached, BackgroundCallsAreToldFromRequests) {
    StartWith(kFreedAtDetach);
    broker->LogCalls(true);
    OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) { Upcall(cmpi, context); });
    const std::vector<Call> calls = broker->TakeCalls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].operation, Operation::AttachThread);
    EXPECT_TRUE(calls[1].background);
    EXPECT_EQ(calls[1].provider, "Front");
    EXPECT_EQ(calls[1].results, 2u);
    EXPECT_EQ(calls[2].operation, Operation::DetachThread);
}

TEST_F(Attached, WaitingForTheBackgroundEndsWhenItIsQuiet) {
    StartWith(kFreedAtDetach);
    EXPECT_TRUE(broker->WaitForBackground(milliseconds(0), milliseconds(0)));
    std::promise<void> running, go;
    back.enumerateInstances = [&](const Asked &) {
        running.set_value();
        go.get_future().wait();
        return kOk;
    };
    std::thread worker(
        [&] { OnThread([](const CMPIBroker *cmpi, const CMPIContext *context) { Upcall(cmpi, context); }); });
    running.get_future().wait();
    EXPECT_FALSE(broker->WaitForBackground(milliseconds(0), milliseconds(10)));
    auto waiting =
        std::async(std::launch::async, [&] { return broker->WaitForBackground(milliseconds(5), milliseconds(60000)); });
    go.set_value();
    EXPECT_TRUE(waiting.get());
    worker.join();
}

#ifdef QUARNEL_CONTEXT_FLUSH
TEST_F(Attached, AFlushFreesWhatTheThreadWasLentSoFar) {
    for (const MemoryRules &rules : {kFreedAtDetach, kFreedByRelease, kFreedByBoth}) {
        StartWith(rules);
        OnThread([&](const CMPIBroker *cmpi, const CMPIContext *context) {
            const auto *table = reinterpret_cast<const CMPIContextFlushFT *>(context->ft);
            Upcall(cmpi, context);
            CMPIEnumeration *found = Upcall(cmpi, context);
            CMPIEnumeration *clone = found->ft->clone(found, nullptr);
            CMPIGcStat *mark = cmpi->mft != nullptr ? cmpi->mft->mark(cmpi, nullptr) : nullptr;
            Upcall(cmpi, context);
            EXPECT_EQ(table->flush(context).rc, CMPI_RC_OK);
            EXPECT_EQ(broker->Live().lent, 0u);
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
    config.memory = kFreedAtDetach;
    CMPIInstance *cached = nullptr;
    back.factory = [&](const CMPIBroker *cmpi, const CMPIContext *, CMPIStatus *) {
        if (cached != nullptr) return true;
        CMPIInstance *made = cmpi->eft->newInstance(cmpi, NewPath(cmpi, "root/back", "T_Fan", "cached"), nullptr);
        cached = made->ft->clone(made, nullptr);
        cached->ft->setProperty(cached, "Caption", reinterpret_cast<const CMPIValue *>("as made"), CMPI_chars);
        return true;
    };
    back.enumerateInstances = [&](const Asked &call) { return call.result->ft->returnInstance(call.result, cached); };
    front.enumerateInstances = [](const Asked &call) {
        const CMPIEnumeration *all = Upcall(call.broker, call.context);
        const CMPIInstance *heard = all->ft->getNext(all, nullptr).value.inst;
        EXPECT_EQ(TextOf(heard->ft->getProperty(heard, "Caption", nullptr)), "as made");
        heard->ft->setProperty(heard, "Caption", reinterpret_cast<const CMPIValue *>("changed"), CMPI_chars);
        return call.result->ft->returnInstance(call.result, heard);
    };
    Start();
    std::vector<std::thread> clients;
    for (int client = 0; client < 4; ++client)
        clients.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                const auto answer = broker->EnumerateInstances("root/front", "T_Front");
                EXPECT_EQ(*answer.value.at(0).Property("Caption"), Value::Text("changed"));
            }
        });
    for (std::thread &client : clients) client.join();
    cached->ft->release(cached);
}

TEST_F(Attached, ManyThreadsAndClientsAtOnce) {
    front.enumerateInstances = [](const Asked &call) {
        IdsOf(Upcall(call.broker, call.context));
        return ReturnInstance(call, "f");
    };
    for (const MemoryRules &rules : {kFreedAtDetach, kFreedByRelease, kFreedByBoth}) {
        StartWith(rules);
        broker->LogCalls(true);
        std::vector<const CMPIContext *> contexts{prepared};
        while (contexts.size() < 3) contexts.push_back(Prepare());
        std::vector<std::thread> threads;
        for (const CMPIContext *context : contexts)
            threads.emplace_back([&, context] {
                const CMPIBroker *cmpi = front.broker;
                cmpi->bft->attachThread(cmpi, context);
                for (int i = 0; i < 50; ++i) {
                    CMPIGcStat *mark = cmpi->mft != nullptr ? cmpi->mft->mark(cmpi, nullptr) : nullptr;
                    EXPECT_EQ(IdsOf(Upcall(cmpi, context)), (Ids{"1", "2"}));
                    if (mark != nullptr) cmpi->mft->release(cmpi, mark);
                }
                cmpi->bft->detachThread(cmpi, context);
            });
        for (int client = 0; client < 3; ++client)
            threads.emplace_back([&] {
                for (int i = 0; i < 50; ++i)
                    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/front", "T_Front").value), (Ids{"f"}));
            });
        for (int i = 0; i < 50; ++i) {
            FaultRule rule;
            rule.operations = {Operation::NewArray};
            broker->Faults().Remove(broker->Faults().Add(rule));
            EXPECT_LE(broker->Live().contexts, 3u);
        }
        for (std::thread &thread : threads) thread.join();
        EXPECT_EQ(broker->UpcallCount(), 300u);
        EXPECT_EQ(broker->TakeCalls().size(), 300u + 2u + 6u); // with the contexts prepared, attached and detached
        Stop();
    }
}

} // namespace
} // namespace cim::test
