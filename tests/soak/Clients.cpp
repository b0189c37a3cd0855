#include "tests/soak/Clients.h"

#include "tests/soak/RandomHardware.h"
#include "tests/support/Values.h"

#include <gtest/gtest.h>

namespace support {

// A request at a time, and what it remembers of the answers.
class Clients::Client {
public:
    Client(cim::Broker &asked, const WellFormed &judge, std::uint64_t seed)
        : broker(asked), wellFormed(judge), dice(seed) {}

    void Ask(Weather now) {
        weather = now;
        className = kServedClasses[dice.Below(6)];
        const int choice = dice.Below(10);
        if (choice < 3) return Enumerate(broker.EnumerateInstances(kNameSpace, className));
        if (choice < 5 || known.className.empty())
            return Enumerate(broker.EnumerateInstanceNames(kNameSpace, className));
        return choice == 5 ? GetUnknown() : GetKnown();
    }

private:
    static const cim::ObjectPath &PathOf(const cim::Instance &instance) { return instance.path; }
    static const cim::ObjectPath &PathOf(const cim::ObjectPath &path) { return path; }

    template <class Answered> void Enumerate(const Answered &answer) {
        EXPECT_TRUE(answer.Ok()) << "enumerating " << className << " answers " << answer.status.rc;
        for (const auto &each : answer.value) Check(PathOf(each), wellFormed.Flaw(each, className, weather));
        if (!answer.value.empty()) known = PathOf(dice.OneOf(answer.value));
    }

    void GetKnown() {
        static const std::vector<std::string> some = {"Caption", "HealthState"};
        const cim::PropertyList list = dice.OneIn(4) ? &some : nullptr;
        const auto answer = broker.GetInstance(known, list);
        if (!answer.Ok()) return CheckRefusal(known, answer.status.rc);
        Check(known, wellFormed.Flaw(answer.value, known.className, weather, list));
        const std::string key = IdentifyingKey(known.className);
        if (Shown(answer.value.path->Key(key)) != Shown(known.Key(key)))
            Check(known, "is answered with another instance");
    }

    void GetUnknown() {
        static const std::vector<std::string> identifiers = {"",
                                                             "_",
                                                             "zbrStorageExtc0",
                                                             "zbrStorageExtc0_d99",
                                                             "zbrStorageVolumec0_v0 ",
                                                             "zbrPortc0_p0_p0",
                                                             "zbrControllerc9",
                                                             "zbrControllerBattery%s%n",
                                                             std::string(5000, 'x'),
                                                             "\xc3\x28"};
        const std::string name = dice.OneIn(5) ? "Unheard" : IdentifyingKey(className);
        const cim::ObjectPath path = {{}, kNameSpace, className, {{name, Text(dice.OneOf(identifiers))}}};
        const auto answer = broker.GetInstance(path);
        answer.Ok() ? Check(path, "is answered") : CheckRefusal(path, answer.status.rc);
    }

    // When the broker cannot say which class is asked for, it is none that is served.
    void CheckRefusal(const cim::ObjectPath &path, CMPIrc rc) {
        if (rc == CMPI_RC_ERR_NOT_FOUND || (weather == Weather::Foul && rc == CMPI_RC_ERR_INVALID_CLASS)) return;
        Check(path, "is refused with " + std::to_string(rc));
    }

    void Check(const cim::ObjectPath &path, const std::string &flaw) { EXPECT_EQ(flaw, "") << path.ToString(); }

    cim::Broker &broker;
    const WellFormed &wellFormed;
    Dice dice;
    Weather weather = Weather::Fair;
    std::string className;
    cim::ObjectPath known; // what an answer has named; none at first
};

Clients::Clients(cim::Broker &broker, const WellFormed &wellFormed, int count, std::uint64_t seed) {
    for (int i = 0; i < count; ++i)
        threads.emplace_back(&Clients::Run, this, Client(broker, wellFormed, seed + static_cast<unsigned>(i)));
}

Clients::~Clients() {
    {
        const std::lock_guard lock(mutex);
        over = true;
        changed.notify_all();
    }
    for (std::thread &thread : threads) thread.join();
}

void Clients::Run(Client client) {
    std::unique_lock lock(mutex);
    while (changed.wait(lock, [this] { return open || over; }), !over) {
        inside += 1;
        const Weather now = weather; // changes only while nobody is inside
        lock.unlock();
        client.Ask(now);
        lock.lock();
        inside -= 1;
        requests += 1;
        changed.notify_all();
    }
}

void Clients::LetIn(Weather now) {
    const std::lock_guard lock(mutex);
    weather = now;
    open = true;
    changed.notify_all();
}

void Clients::KeepOut() {
    std::unique_lock lock(mutex);
    open = false;
    changed.wait(lock, [this] { return inside == 0; });
}

std::uint64_t Clients::WaitForMore(int some) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&, wanted = requests + static_cast<std::uint64_t>(some)] { return requests >= wanted; });
    return requests;
}

} // namespace support
