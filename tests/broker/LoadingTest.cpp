// How providers are loaded, asked to go and unloaded.
#include "tests/broker/Scripted.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <future>
#include <thread>

namespace cim::test {
namespace {

using Ids = std::vector<std::string>;

class Loading : public Scripted {
protected:
    Loading() {
        registrations += R"(
[T_Fan]
  provider: SmallProvider
  location: Small
  type: instance
  namespace: root/small
)";
        config.libraryFolders = {testing::TempDir(), SMALL_PROVIDER_FOLDER};
        unsetenv("SMALL_PROVIDER_CLEANUP");
    }
    Answer<std::vector<Instance>> AskSmall() { return broker->EnumerateInstances("root/small", "T_Fan"); }
    static std::uint64_t FactoryCalls(const Answer<std::vector<Instance>> &answer) {
        return *answer.value.at(0).Property("Speed")->As<std::uint64_t>();
    }
};

TEST_F(Loading, ALibraryIsLoadedByTheFirstRequestAndUnloadedWhenItAgrees) {
    Start();
    EXPECT_FALSE(broker->IsLoaded("SmallProvider"));
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_OK);
    auto answer = AskSmall();
    ASSERT_TRUE(answer.Ok()) << answer.status.message;
    EXPECT_EQ(IdsOf(answer.value), (Ids{"small"}));
    EXPECT_TRUE(broker->IsLoaded("SmallProvider"));
    EXPECT_TRUE(broker->Load("SmallProvider").Ok());
    EXPECT_TRUE(broker->CallFactoryAgain("SmallProvider").Ok());
    EXPECT_EQ(FactoryCalls(AskSmall()), 2u);
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_OK);
    EXPECT_FALSE(broker->IsLoaded("SmallProvider"));
    EXPECT_EQ(FactoryCalls(AskSmall()), 1u); // the library is a new one
}

TEST_F(Loading, RefusalsToUnloadAreRemembered) {
    Start();
    AskSmall();
    setenv("SMALL_PROVIDER_CLEANUP", "50", 1);
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_DO_NOT_UNLOAD);
    EXPECT_TRUE(broker->IsLoaded("SmallProvider"));
    setenv("SMALL_PROVIDER_CLEANUP", "51", 1);
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_NEVER_UNLOAD);
    setenv("SMALL_PROVIDER_CLEANUP", "0", 1);
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_NEVER_UNLOAD); // it is not asked again
    EXPECT_EQ(FactoryCalls(AskSmall()), 1u);
    broker->Shutdown(); // whatever was answered before
    EXPECT_FALSE(broker->IsLoaded("SmallProvider"));
    EXPECT_EQ(AskSmall().status.message, "SmallProvider has been shut down");
}

TEST_F(Loading, AProviderRegisteredToStayIsNotAsked) {
    registrations += "unload: never\n";
    Start();
    AskSmall();
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_NEVER_UNLOAD);
    EXPECT_TRUE(broker->IsLoaded("SmallProvider"));
}

TEST_F(Loading, EachMiIsAskedAndTheFirstRefusalCounts) {
    Start();
    back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    broker->EnumerateInstances("root/back", "T_Fan");
    back.cleanup = [&](const CMPIContext *, bool terminating) {
        EXPECT_FALSE(terminating);
        return back.cleanups == 2 ? CMPI_RC_DO_NOT_UNLOAD : CMPI_RC_OK; // the association MI
    };
    EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_DO_NOT_UNLOAD);
    EXPECT_EQ(back.cleanups, 2);
    EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_OK);
    EXPECT_EQ(back.cleanups, 4);
    broker->EnumerateInstances("root/back", "T_Fan");
    EXPECT_EQ(back.factoryCalls, 4); // two each life
    back.cleanup = [&](const CMPIContext *, bool terminating) {
        EXPECT_TRUE(terminating);
        return CMPI_RC_DO_NOT_UNLOAD;
    };
    broker->Shutdown();
    EXPECT_EQ(back.cleanups, 6);
    EXPECT_FALSE(broker->IsLoaded("Back"));
}

TEST_F(Loading, WhatCannotBeLoadedIsToldWithTheReason) {
    registrations += R"(
[T_Front]
  provider: Elsewhere
  location: NoSuch
  type: instance
  namespace: root/a
[T_Disk]
  provider: NoFactory
  location: Small
  type: instance
  namespace: root/b
[T_SmallFan]
  provider: Broken
  location: Broken
  type: instance
  namespace: root/c
)";
    const std::string broken = testing::TempDir() + "libBroken.so";
    std::ofstream(broken) << "this is no library";
    config.builtins["Half"] = {nullptr, Provider<0>::Builtin().createAssociationMI};
    registrations += "[T_Lonely]\nprovider: Half\nlocation: Half\ntype: instance\nnamespace: root/d\n";
    Start();
    const auto reason = [&](const char *nameSpace, const char *className) {
        const Status status = broker->EnumerateInstances(nameSpace, className).status;
        EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
        return status.message;
    };
    EXPECT_EQ(reason("root/a", "T_Front"),
              "provider Elsewhere: libNoSuch.so is not in " + testing::TempDir() + ", " + SMALL_PROVIDER_FOLDER);
    EXPECT_EQ(reason("root/b", "T_Disk"), std::string("provider NoFactory: ") + SMALL_PROVIDER_FOLDER +
                                              "/libSmall.so has no NoFactory_Create_InstanceMI");
    EXPECT_NE(reason("root/c", "T_SmallFan").find("libBroken.so: "), std::string::npos);
    EXPECT_EQ(reason("root/d", "T_Lonely"), "provider Half has no factory for its instance MI");
    EXPECT_FALSE(broker->IsLoaded("NoFactory"));
    EXPECT_EQ(broker->Load("Unheard").message, "unknown provider Unheard");
    EXPECT_EQ(broker->CallFactoryAgain("SmallProvider").message, "SmallProvider is not loaded");
    std::remove(broken.c_str());
}

TEST_F(Loading, AFactoryThatMakesNothingFailsTheRequestAndIsTriedAgain) {
    Start();
    back.factory = [&](const CMPIBroker *broker_, const CMPIContext *, CMPIStatus *rc) {
        rc->msg = broker_->eft->newString(broker_, "no hardware", nullptr);
        return back.factoryCalls != 2; // its association MI
    };
    back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    const Status status = broker->EnumerateInstances("root/back", "T_Fan").status;
    EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(status.message, "provider Back: its factory made no association MI: no hardware");
    EXPECT_EQ(back.cleanups, 1); // the instance MI that was made
    EXPECT_FALSE(broker->IsLoaded("Back"));
    EXPECT_TRUE(broker->EnumerateInstances("root/back", "T_Fan").Ok());
}

TEST_F(Loading, SomeCimomsCallTheFactoryForEachRegisteredClass) {
    config.factoryPerClass = true;
    Start();
    back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    broker->EnumerateInstances("root/back", "T_Disk");
    EXPECT_EQ(back.factoryCalls, 2);
    broker->EnumerateInstances("root/back", "T_Device"); // reaches T_Device, which is new, and T_Disk
    EXPECT_EQ(back.factoryCalls, 4);
    broker->EnumerateInstances("root/back", "T_Device");
    EXPECT_EQ(back.factoryCalls, 4);
    EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_OK);
    EXPECT_EQ(back.cleanups, 2); // the same two MIs came back each time
}

TEST_F(Loading, RequestsWaitForTheFactoryWhichRunsOnce) {
    std::promise<void> inFactory, go;
    back.factory = [&](const CMPIBroker *, const CMPIContext *, CMPIStatus *) {
        if (back.factoryCalls == 1) {
            inFactory.set_value();
            go.get_future().wait();
        }
        return true;
    };
    back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    Start();
    std::vector<std::future<Status>> clients;
    for (int i = 0; i < 4; ++i)
        clients.push_back(
            std::async(std::launch::async, [&] { return broker->EnumerateInstances("root/back", "T_Fan").status; }));
    inFactory.get_future().wait();
    go.set_value();
    for (auto &client : clients) EXPECT_TRUE(client.get().Ok());
    EXPECT_EQ(back.factoryCalls, 2);
}

// Front's factory waits for a thread of its own that comes back to Front through an up-call.
TEST_F(Loading, AProvidersOwnThreadsDoNotWaitForItsFactory) {
    front.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    front.factory = [](const CMPIBroker *cmpi, const CMPIContext *context, CMPIStatus *) {
        const CMPIContext *own = cmpi->bft->prepareAttachThread(cmpi, context);
        CMPIStatus status = kOk;
        std::thread([&] {
            cmpi->bft->attachThread(cmpi, own);
            cmpi->bft->enumerateInstances(cmpi, own, NewPath(cmpi, "root/front", "T_Front"), nullptr, &status);
            cmpi->bft->detachThread(cmpi, own);
        }).join();
        EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
        return true;
    };
    Start();
    EXPECT_TRUE(broker->EnumerateInstances("root/front", "T_Front").Ok());
}

// Each factory asks the other provider: one of the two gives way.
TEST_F(Loading, FactoriesThatNeedEachOtherDoNotWaitForEver) {
    const auto ask = [](const CMPIBroker *cmpi, const CMPIContext *context, const char *nameSpace, const char *name) {
        CMPIStatus status = kOk;
        cmpi->bft->enumerateInstances(cmpi, context, NewPath(cmpi, nameSpace, name), nullptr, &status);
        return status.rc;
    };
    std::promise<void> frontIn, backIn;
    std::shared_future<void> frontThere = frontIn.get_future().share(), backThere = backIn.get_future().share();
    std::atomic<int> refused{0};
    front.factory = [&](const CMPIBroker *cmpi, const CMPIContext *context, CMPIStatus *) {
        frontIn.set_value();
        backThere.wait();
        refused += ask(cmpi, context, "root/back", "T_Fan") == CMPI_RC_ERR_FAILED ? 1 : 0;
        return true;
    };
    back.factory = [&](const CMPIBroker *cmpi, const CMPIContext *context, CMPIStatus *) {
        if (back.factoryCalls > 1) return true;
        backIn.set_value();
        frontThere.wait();
        refused += ask(cmpi, context, "root/front", "T_Front") == CMPI_RC_ERR_FAILED ? 1 : 0;
        return true;
    };
    front.enumerateInstances = back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    Start();
    auto other = std::async(std::launch::async, [&] { return broker->Load("Front"); });
    EXPECT_TRUE(broker->Load("Back").Ok());
    EXPECT_TRUE(other.get().Ok());
    EXPECT_EQ(refused, 1);
}

TEST_F(Loading, ABusyProviderIsNotAskedToUnload) {
    Start();
    back.enumerateInstances = [&](const Asked &) {
        EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_DO_NOT_UNLOAD);
        return kOk;
    };
    EXPECT_TRUE(broker->EnumerateInstances("root/back", "T_Fan").Ok());
    EXPECT_EQ(back.cleanups, 0);
}

TEST_F(Loading, RequestsWaitForACleanUpAndThenLoadAfresh) {
    Start();
    back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    broker->EnumerateInstances("root/back", "T_Fan");
    std::future<Status> client;
    back.cleanup = [&](const CMPIContext *, bool terminating) {
        if (!terminating && back.cleanups == 1)
            client =
                std::async(std::launch::async, [&] { return broker->EnumerateInstances("root/back", "T_Fan").status; });
        return CMPI_RC_OK;
    };
    EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_OK);
    EXPECT_TRUE(client.get().Ok());
    EXPECT_EQ(back.factoryCalls, 4);
}

TEST_F(Loading, TheCallerGoesBeforeThoseItCalls) {
    Start();
    std::vector<std::string> order;
    front.cleanup = [&](const CMPIContext *, bool) { return order.push_back("Front"), CMPI_RC_OK; };
    back.cleanup = [&](const CMPIContext *, bool) { return order.push_back("Back"), CMPI_RC_OK; };
    front.factory = [](const CMPIBroker *cmpi, const CMPIContext *context, CMPIStatus *) {
        cmpi->bft->enumerateInstances(cmpi, context, NewPath(cmpi, "root/back", "T_Fan"), nullptr, nullptr);
        return true;
    };
    broker->LogCalls(true);
    EXPECT_TRUE(broker->Load("Front").Ok());
    ASSERT_EQ(broker->TakeCalls().size(), 1u);
    broker->Shutdown();
    EXPECT_EQ(order, (std::vector<std::string>{"Front", "Back", "Back"}));
}

TEST_F(Loading, ALibraryComesAndGoesWhileClientsAsk) {
    Start();
    std::atomic<int> unloaded{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 3; ++i)
        clients.emplace_back([&] {
            for (int round = 0; round < 30; ++round) {
                const auto answer = AskSmall();
                EXPECT_TRUE(answer.Ok()) << answer.status.message;
                EXPECT_EQ(answer.value.size(), 1u);
                const bool wasLoaded = broker->IsLoaded("SmallProvider");
                if (broker->AskToUnload("SmallProvider") == CMPI_RC_OK && wasLoaded) ++unloaded;
            }
        });
    for (std::thread &client : clients) client.join();
    EXPECT_GT(unloaded, 0);
    EXPECT_FALSE(broker->IsLoaded("SmallProvider")); // the last to ask found nobody there
}

TEST_F(Loading, ConfigurationErrorsAreToldInOneLine) {
    std::string error;
    config.mofFiles = {"/nonexistent/a.mof"};
    EXPECT_EQ(cim::Broker::Create(config, &error), nullptr);
    EXPECT_EQ(error, "/nonexistent/a.mof: No such file or directory");
    const TextFile classes(kClasses), wrong("[T_Disk]\nprovider: X\n");
    config.mofFiles = {classes.Name()};
    config.registrationFiles = {wrong.Name()};
    EXPECT_EQ(cim::Broker::Create(config, &error), nullptr);
    EXPECT_EQ(error, wrong.Name() + ":1: [T_Disk] has no 'location'");
}

// Nothing grows with the square of the number of instances: ten times as many take about ten times as long, and
// certainly not a hundred times.
TEST_F(Loading, ThousandsOfInstancesPassInLinearTime) {
    Start();
    int count = 0;
    back.enumerateInstances = [&](const Asked &call) {
        for (int i = 0; i < count; ++i) ReturnInstance(call, std::to_string(i));
        return kOk;
    };
    front.enumerateInstances = [&](const Asked &call) {
        const CMPIEnumeration *all = call.broker->bft->enumerateInstances(
            call.broker, call.context, NewPath(call.broker, "root/back", "T_Device"), nullptr, nullptr);
        const CMPIArray *array = all->ft->toArray(all, nullptr);
        EXPECT_EQ(array->ft->getSize(array, nullptr), static_cast<CMPICount>(2 * count));
        EXPECT_EQ(IdsOf(all).size(), static_cast<std::size_t>(2 * count));
        return kOk;
    };
    // In the thread's own time: the machine may be busy.
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    };
    const auto measure = [&](int instances) {
        count = instances;
        const auto start = now();
        EXPECT_TRUE(broker->EnumerateInstances("root/front", "T_Front").Ok());
        return now() - start;
    };
    measure(500); // loads the providers
    const auto small = std::min(measure(500), measure(500));
    const auto large = std::min(measure(5000), measure(5000));
    EXPECT_LT(large, 40 * small);
}

} // namespace
} // namespace cim::test
