// How providers are loaded, asked to go and unloaded.
#include "tests/broker/Scripted.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <future>

namespace cim::test {
namespace {

class Loading : public Scripted {
protected:
    Loading() { unsetenv("SMALL_PROVIDER_CLEANUP"); }
    Answer<std::vector<Instance>> AskSmall() { return broker->EnumerateInstances("root/small", "T_Fan"); }
    std::uint64_t FactoryCalls() { return *AskSmall().value.at(0).Property("Speed")->As<std::uint64_t>(); }
};

TEST_F(Loading, ALibraryIsLoadedByTheFirstRequestAndUnloadedWhenItAgrees) {
    Start();
    EXPECT_FALSE(broker->IsLoaded("SmallProvider"));
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_OK);
    EXPECT_EQ(broker->CallFactoryAgain("SmallProvider").message, "SmallProvider is not loaded");
    EXPECT_EQ(FactoryCalls(), 1u);
    EXPECT_TRUE(broker->IsLoaded("SmallProvider"));
    EXPECT_TRUE(broker->Load("SmallProvider").Ok());
    EXPECT_TRUE(broker->CallFactoryAgain("SmallProvider").Ok());
    EXPECT_EQ(FactoryCalls(), 2u);
    for (const CMPIrc refusal : {CMPI_RC_DO_NOT_UNLOAD, CMPI_RC_OK}) {
        setenv("SMALL_PROVIDER_CLEANUP", std::to_string(refusal).c_str(), 1);
        EXPECT_EQ(broker->AskToUnload("SmallProvider"), refusal);
        EXPECT_EQ(broker->IsLoaded("SmallProvider"), refusal != CMPI_RC_OK);
    }
    EXPECT_EQ(FactoryCalls(), 1u);                                   // the library is a new one
    for (const CMPIrc answer : {CMPI_RC_NEVER_UNLOAD, CMPI_RC_OK}) { // it is not asked again
        setenv("SMALL_PROVIDER_CLEANUP", std::to_string(answer).c_str(), 1);
        EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_NEVER_UNLOAD);
    }
    broker->Shutdown(); // whatever was answered before
    EXPECT_FALSE(broker->IsLoaded("SmallProvider"));
    EXPECT_EQ(broker->AskToUnload("SmallProvider"), CMPI_RC_OK);
    EXPECT_EQ(AskSmall().status.message, "SmallProvider has been shut down");
}

TEST_F(Loading, EachMiIsAskedOnceAndTheFirstRefusalCounts) {
    registrations = "[T_SmallFan]\nprovider: Back\nlocation: Back\ntype: instance\nnamespace: root/never\n";
    for (const bool perClass : {false, true}) {
        config.factoryPerClass = perClass;
        back.factoryCalls = back.cleanups = 0;
        Start();
        broker->EnumerateInstances("root/back", "T_Disk");
        EXPECT_EQ(back.factoryCalls, 2);                     // its two MIs
        broker->EnumerateInstances("root/back", "T_Device"); // reaches T_Device, which is new, and T_Disk
        EXPECT_EQ(back.factoryCalls, perClass ? 4 : 2);
        back.cleanup = [&](const CMPIContext *, bool terminating) {
            EXPECT_FALSE(terminating);
            return back.cleanups == 2 ? CMPI_RC_DO_NOT_UNLOAD : CMPI_RC_OK; // the association MI
        };
        EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_DO_NOT_UNLOAD);
        EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_OK);
        EXPECT_EQ(back.cleanups, 4);
        Fans();
        back.cleanup = [&](const CMPIContext *, bool terminating) {
            EXPECT_TRUE(terminating);
            return CMPI_RC_DO_NOT_UNLOAD;
        };
        broker->Shutdown();
        EXPECT_EQ(back.cleanups, 6);
        EXPECT_FALSE(broker->IsLoaded("Back"));
        back.cleanup = nullptr;
    }
    registrations += "unload: never\n";
    Start();
    Fans();
    EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_NEVER_UNLOAD);
}

TEST_F(Loading, WhatCannotBeLoadedIsToldWithTheReason) {
    const support::TemporaryFolder folder;
    folder.Write("libBroken.so", "this is not a library");
    config.libraryFolders = {folder.Path(), TEST_PROVIDER_FOLDER};
    config.builtins["HalfI"] = {nullptr, config.builtins["Front"].createAssociationMI};
    config.builtins["HalfA"] = {config.builtins["Front"].createInstanceMI, nullptr};
    const struct {
        const char *provider, *location, *reason;
    } cases[] = {
        {"Elsewhere", "NoSuch", "libNoSuch.so is not in " TEST_PROVIDER_FOLDER},
        {"NoFactory", "Small", "libSmall.so has no NoFactory_Create_InstanceMI"},
        {"Broken", "Broken", "libBroken.so: "},
        {"HalfI", "HalfI", "provider HalfI has no factory for its instance MI"},
        {"HalfA", "HalfA", "provider HalfA has no factory for its association MI"},
    };
    for (const auto &one : cases)
        registrations += std::string("[T_Disk]\nprovider: ") + one.provider + "\nlocation: " + one.location +
                         "\ntype: instance " + (one.location == std::string("HalfA") ? "association" : "") +
                         "\nnamespace: root/" + one.provider + "\n";
    Start();
    const auto reason = [&](const std::string &provider) {
        const Status status = broker->EnumerateInstances("root/" + provider, "T_Disk").status;
        EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
        EXPECT_FALSE(broker->IsLoaded(provider));
        const std::size_t at = status.message.find(folder.Path() + ", ");
        return at != std::string::npos ? std::string(status.message).erase(at, folder.Path().size() + 2)
                                       : status.message;
    };
    for (const auto &one : cases) EXPECT_NE(reason(one.provider).find(one.reason), std::string::npos) << one.reason;
    EXPECT_EQ(broker->Load("Unheard").message, "unknown provider Unheard");
    std::string error;
    registrations = "[T_Disk]\nprovider: X\n";
    config.registrationTexts = {{"more", registrations}};
    EXPECT_EQ(cim::Broker::Create(config, &error), nullptr);
    EXPECT_EQ(error, "more:1: [T_Disk] has no 'location'");
    for (auto *files : {&config.registrationFiles, &config.mofFiles}) {
        *files = {"/nonexistent/file"};
        EXPECT_EQ(cim::Broker::Create(config, &error), nullptr);
        EXPECT_EQ(error, "/nonexistent/file: No such file or directory");
    }
}

TEST_F(Loading, AFactoryThatMakesNothingFailsTheRequestAndIsTriedAgain) {
    Start();
    back.factory = [&](const CMPIBroker *cmpi, const CMPIContext *, CMPIStatus *rc) {
        rc->msg = cmpi->eft->newString(cmpi, "no hardware", nullptr);
        return back.factoryCalls != 2; // its association MI
    };
    EXPECT_EQ(broker->EnumerateInstances("root/back", "T_Fan").status.message,
              "provider Back: its factory made no association MI: no hardware");
    EXPECT_EQ(back.cleanups, 1); // the instance MI that was made
    EXPECT_FALSE(broker->IsLoaded("Back"));
    EXPECT_EQ(Fans(), (Ids{"1", "2"}));
}

TEST_F(Loading, RequestsWaitForTheFactoryAndForACleanUpAndThenLoadAfresh) {
    std::promise<void> inFactory, go;
    back.factory = [&](const CMPIBroker *, const CMPIContext *, CMPIStatus *) {
        if (back.factoryCalls == 1) {
            inFactory.set_value();
            go.get_future().wait();
        }
        return true;
    };
    Start();
    std::vector<std::future<Ids>> clients;
    const auto ask = [&] { clients.push_back(std::async(std::launch::async, [&] { return Fans(); })); };
    for (int i = 0; i < 4; ++i) ask();
    inFactory.get_future().wait();
    go.set_value();
    for (auto &client : clients) EXPECT_EQ(client.get(), (Ids{"1", "2"}));
    EXPECT_EQ(back.factoryCalls, 2);
    back.on[Operation::EnumerateInstanceNames] = [&](const Asked &) { // one that is at work is not asked
        EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_DO_NOT_UNLOAD);
        return kOk;
    };
    EXPECT_TRUE(broker->EnumerateInstanceNames("root/back", "T_Fan").Ok());
    EXPECT_EQ(back.cleanups, 0);
    clients.clear();
    back.cleanup = [&](const CMPIContext *, bool terminating) {
        if (!terminating && back.cleanups == 1) ask();
        return CMPI_RC_OK;
    };
    EXPECT_EQ(broker->AskToUnload("Back"), CMPI_RC_OK);
    EXPECT_EQ(clients.at(0).get(), (Ids{"1", "2"}));
    EXPECT_EQ(back.factoryCalls, 4);
}

// Front's factory waits for a thread of its own that comes back to Front through an up-call. At the end the caller goes
// before those it calls.
TEST_F(Loading, AProvidersOwnThreadsDoNotWaitForItsFactory) {
    front.factory = [](const CMPIBroker *cmpi, const CMPIContext *context, CMPIStatus *) {
        const CMPIContext *own = cmpi->bft->prepareAttachThread(cmpi, context);
        CMPIStatus status = kOk;
        std::thread([&] {
            cmpi->bft->attachThread(cmpi, own);
            Enumerate(cmpi, own, &status, "root/front", "T_Front");
            cmpi->bft->detachThread(cmpi, own);
        }).join();
        EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
        EXPECT_EQ(IdsOf(Enumerate(cmpi, context)), (Ids{"1", "2"}));
        return true;
    };
    Start();
    EXPECT_TRUE(broker->Load("Front").Ok());
    Ids order;
    front.cleanup = [&](const CMPIContext *, bool) { return order.emplace_back("Front"), CMPI_RC_OK; };
    back.cleanup = [&](const CMPIContext *, bool) { return order.emplace_back("Back"), CMPI_RC_OK; };
    broker->Shutdown();
    EXPECT_EQ(order, (Ids{"Front", "Back", "Back"}));
}

// Each factory asks the other provider: one of the two gives way.
TEST_F(Loading, FactoriesThatNeedEachOtherDoNotWaitForEver) {
    std::promise<void> in[2];
    std::shared_future<void> there[] = {in[0].get_future().share(), in[1].get_future().share()};
    std::atomic<int> refused{0};
    const auto factory = [&](int own, Script &script, const char *nameSpace, const char *className) {
        return [&, own, nameSpace, className](const CMPIBroker *cmpi, const CMPIContext *context, CMPIStatus *) {
            if (script.factoryCalls > 1) return true;
            in[own].set_value();
            there[1 - own].wait();
            CMPIStatus status = kOk;
            Enumerate(cmpi, context, &status, nameSpace, className);
            refused += status.rc == CMPI_RC_ERR_FAILED ? 1 : 0;
            return true;
        };
    };
    front.factory = factory(0, front, "root/back", "T_Fan");
    back.factory = factory(1, back, "root/front", "T_Front");
    Start();
    auto other = std::async(std::launch::async, [&] { return broker->Load("Front"); });
    EXPECT_TRUE(broker->Load("Back").Ok());
    EXPECT_TRUE(other.get().Ok());
    EXPECT_EQ(refused, 1);
}

} // namespace
} // namespace cim::test
