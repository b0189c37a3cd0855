// Clients on threads of their own, who ask for everything at random and fail the test on any
// wrong answer.
#pragma once

#include "tests/soak/WellFormed.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace support {

class Clients {
public:
    // They wait until they are let in.
    Clients(cim::Broker &broker, const WellFormed &wellFormed, int count, std::uint64_t seed);
    ~Clients();
    Clients(const Clients &) = delete;
    Clients &operator=(const Clients &) = delete;

    void LetIn(Weather weather);
    void KeepOut(); // returns when no request is running
    // How many requests have been answered, when some more have been: not while everybody is kept out.
    std::uint64_t WaitForMore(int some);

private:
    class Client;
    void Run(Client client);

    std::mutex mutex;
    std::condition_variable changed;
    bool open = false; // guarded by mutex, as the next four
    bool over = false;
    int inside = 0;
    std::uint64_t requests = 0;
    Weather weather = Weather::Fair;
    std::vector<std::thread> threads;
};

} // namespace support
