#include "tests/soak/Clients.h"

#include "tests/soak/Dice.h"
#include "tests/support/Values.h"

#include <cstdio>

namespace support {
namespace {

// One client: a request at a time, and what it remembers of the answers.
class Client {
public:
    Client(cim::Broker &asked, std::uint64_t seed, Findings &told) : broker(asked), findings(told), dice(seed) {}

    void Ask(Weather now) {
        weather = now;
        className = kServedClasses[dice.Below(6)];
        switch (dice.Below(10)) {
        case 0:
        case 1:
        case 2:
            return EnumerateInstances();
        case 3:
        case 4:
            return EnumerateNames();
        case 5:
            return GetUnknown();
        default:
            return GetKnown();
        }
    }

private:
    void EnumerateInstances() {
        const auto answer = broker.EnumerateInstances(kNameSpace, className);
        if (!answer.Ok()) findings.Wrong("enumerating " + className + " answers " + std::to_string(answer.status.rc));
        for (const cim::Instance &instance : answer.value) Check(instance.path, Flaw(instance, className, weather));
        if (!answer.value.empty()) known = dice.OneOf(answer.value).path;
    }

    void EnumerateNames() {
        const auto answer = broker.EnumerateInstanceNames(kNameSpace, className);
        if (!answer.Ok()) findings.Wrong("the names of " + className + " answer " + std::to_string(answer.status.rc));
        for (const cim::ObjectPath &path : answer.value) Check(path, Flaw(path, className, weather));
        if (!answer.value.empty()) known = dice.OneOf(answer.value);
    }

    void GetKnown() {
        if (known.className.empty()) return EnumerateNames();
        static const std::vector<std::string> some = {"Caption", "HealthState"};
        const cim::PropertyList list = dice.OneIn(4) ? &some : nullptr;
        const auto answer = broker.GetInstance(known, list);
        if (!answer.Ok()) return CheckRefusal(known, answer.status.rc);
        Check(known, Flaw(answer.value, known.className, weather, list));
        if (Identifier(answer.value.path) != Identifier(known)) Check(known, "is answered with another instance");
    }

    void GetUnknown() {
        static const std::vector<std::string> identifiers = {
            "",
            "_",
            "c0",
            "zbrStorageExt",
            "zbrStorageExtc0",
            "zbrStorageExtc0_",
            "zbrStorageExt_d1",
            "zbrStorageExtc9_d1",
            "zbrStorageExtc0_d99",
            "zbrStorageVolumec0_v0 ",
            "zbrPortc0_p0_p0",
            "zbrControllerc9",
            "zbrController",
            "zembra:ControllerSoftware",
            "zbrControllerBattery%s%n",
            std::string(5000, 'x'),
            "\xc3\x28",
        };
        const std::string name = dice.OneIn(5) ? "Unheard" : IdentifyingKey(className);
        const cim::ObjectPath path = {{}, kNameSpace, className, {{name, Text(dice.OneOf(identifiers))}}};
        const auto answer = broker.GetInstance(path);
        if (answer.Ok())
            Check(path, "is answered");
        else
            CheckRefusal(path, answer.status.rc);
    }

    // When the broker cannot say which class is asked for, it is none that is served.
    void CheckRefusal(const cim::ObjectPath &path, CMPIrc rc) {
        if (rc == CMPI_RC_ERR_NOT_FOUND || (weather == Weather::Foul && rc == CMPI_RC_ERR_INVALID_CLASS)) return;
        Check(path, "is refused with " + std::to_string(rc));
    }

    void Check(const cim::ObjectPath &path, const std::string &flaw) {
        if (!flaw.empty()) findings.Wrong(path.ToString() + " " + flaw);
    }

    static std::string Identifier(const cim::ObjectPath &path) {
        return Shown(path.Key(IdentifyingKey(path.className)));
    }

    cim::Broker &broker;
    Findings &findings;
    Dice dice;
    Weather weather = Weather::Fair;
    std::string className;
    cim::ObjectPath known; // what an answer has named; none at first
};

} // namespace

void Findings::Wrong(const std::string &what) {
    constexpr std::uint64_t kTold = 30;
    if (count.fetch_add(1) < kTold) std::fprintf(stderr, "wrong: %s\n", what.c_str());
}

Clients::Clients(cim::Broker &asked, int count, std::uint64_t seed, Findings &told) : broker(asked), findings(told) {
    for (int i = 0; i < count; ++i) threads.emplace_back([this, seed, i] { Run(seed + static_cast<unsigned>(i)); });
}

Clients::~Clients() {
    {
        const std::lock_guard lock(mutex);
        over = true;
        changed.notify_all();
    }
    for (std::thread &thread : threads) thread.join();
}

void Clients::Run(std::uint64_t seed) {
    Client client(broker, seed, findings);
    while (Enter()) {
        client.Ask(weather); // changes only while nobody is inside
        Leave();
    }
}

bool Clients::Enter() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return open || over; });
    if (over) return false;
    inside += 1;
    return true;
}

void Clients::Leave() {
    const std::lock_guard lock(mutex);
    inside -= 1;
    requests += 1;
    changed.notify_all();
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

std::uint64_t Clients::Requests() const {
    const std::lock_guard lock(mutex);
    return requests;
}

void Clients::WaitForRequests(std::uint64_t total) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return requests >= total; });
}

} // namespace support
