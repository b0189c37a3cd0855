#include "tests/support/Bench.h"

#include "tests/support/LogCapture.h"
#include "tests/support/TestClock.h"
#include "tests/support/Values.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace support {

bool UnkindWanted() {
    const char *wanted = std::getenv("QUARNEL_TEST_BROKER");
    return wanted != nullptr && std::string(wanted) == "unkind";
}

bool Eventually(const std::function<bool()> &condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

std::string IdentifyingKey(const std::string &className) {
    if (className == kController) return "Name";
    return className == kSoftware ? "InstanceID" : "DeviceID";
}

Bench::Bench(Hardware description, const BenchOptions &options) : hardware(std::move(description)) {
    LogCapture::Clear();
    Save();
    setenv("SIM_HHRC_HARDWARE", (folder / "hardware.json").c_str(), 1);

    cim::BrokerConfig config = ServerConfig();
    if (options.provider.createInstanceMI != nullptr) config.builtins[kProvider] = options.provider;
    config.mofTexts = {{"the test's classes", options.classes}};
    config.registrationTexts = {{"the test's registrations", options.registrations}};
    config.memory = options.memory;
    config.unkind = options.unkind;
    config.filterResults = options.filterResults;
    config.factoryPerClass = options.factoryPerClass;
    std::string error;
    broker = cim::Broker::Create(config, &error);
    if (broker == nullptr) throw std::runtime_error(error);
}

Bench::~Bench() {
    End();
    TestClock::Release();
}

void Bench::End() {
    broker->Faults().Clear();
    broker->Shutdown();
    ExpectNothingAlive();
}

void Bench::ExpectNothingAlive() {
    const auto left = [this] { return broker->Live().attachedThreads == 0 && broker->Live().clones == 0; };
    Eventually(left, std::chrono::seconds(10)); // and then says what is there
    const cim::LiveObjects live = broker->Live();
    EXPECT_EQ(live.lent, 0u);
    EXPECT_EQ(live.clones, 0u);
    EXPECT_EQ(live.contexts, 0u);
    EXPECT_EQ(live.attachedThreads, 0u);
}

void Bench::Save() { folder.Write("hardware.json", hardware.document.dump(1)); }

void Bench::Load() {
    const cim::Status status = broker->Load(kProvider);
    EXPECT_TRUE(status.Ok()) << status.message;
}

void Bench::Change(const std::function<void(Hardware &)> &change) {
    change(hardware);
    Save();
}

std::vector<cim::Instance> Bench::Enumerate(const std::string &className) {
    auto answer = broker->EnumerateInstances(kNameSpace, className);
    EXPECT_TRUE(answer.Ok()) << className << ": " << answer.status.rc << " " << answer.status.message;
    return std::move(answer.value);
}

std::vector<std::string> Bench::Column(const std::string &className, const std::string &property) {
    std::vector<std::string> column;
    for (const cim::Instance &instance : Enumerate(className)) column.push_back(Shown(instance, property));
    return column;
}

std::vector<std::string> Bench::Identifiers(const std::string &className) {
    auto answer = broker->EnumerateInstanceNames(kNameSpace, className);
    EXPECT_TRUE(answer.Ok()) << className << ": " << answer.status.rc << " " << answer.status.message;
    std::vector<std::string> identifiers;
    for (const cim::ObjectPath &path : answer.value) identifiers.push_back(Shown(path.Key(IdentifyingKey(className))));
    return identifiers;
}

cim::Answer<cim::Instance> Bench::Get(const std::string &className, const std::string &identifier,
                                      cim::PropertyList properties) {
    return broker->GetInstance({{}, kNameSpace, className, {{IdentifyingKey(className), Text(identifier)}}},
                               properties);
}

cim::Faults::Id Bench::Inject(cim::FaultRule rule) {
    rule.provider = kProvider;
    return broker->Faults().Add(std::move(rule));
}

std::vector<std::string> Bench::Upcalls() {
    std::vector<std::string> upcalls;
    for (const cim::Call &call : broker->TakeCalls()) {
        if (!call.provider.empty() && call.provider != kProvider) continue; // nobody: the test itself, directly
        std::string upcall = cim::NameOf(call.operation);
        for (const std::string &part : {call.associationClass, call.resultClass})
            if (!part.empty()) upcall += " " + part;
        if (call.associationClass.empty() && !call.className.empty()) upcall += " " + call.className;
        upcalls.push_back(upcall);
    }
    return upcalls;
}

} // namespace support
