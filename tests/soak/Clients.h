// Clients on threads of their own, who ask for everything at random and look at every answer.
#pragma once

#include "tests/soak/WellFormed.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace support {

// What went wrong, from any thread.
class Findings {
public:
    void Wrong(const std::string &what); // told at once; of very many only the first ones
    std::uint64_t Count() const { return count; }

private:
    std::atomic<std::uint64_t> count{0};
};

class Clients {
public:
    // They wait until they are let in.
    Clients(cim::Broker &broker, int count, std::uint64_t seed, Findings &findings);
    ~Clients();
    Clients(const Clients &) = delete;
    Clients &operator=(const Clients &) = delete;

    void LetIn(Weather weather);
    void KeepOut(); // returns when no request is running
    std::uint64_t Requests() const;
    // Returns when that many requests in all have been answered: not while everybody is kept out.
    void WaitForRequests(std::uint64_t total);

private:
    void Run(std::uint64_t seed);
    bool Enter();
    void Leave();

    cim::Broker &broker;
    Findings &findings;
    mutable std::mutex mutex;
    std::condition_variable changed;
    bool open = false; // guarded by mutex, as the next four
    bool over = false;
    int inside = 0;
    std::uint64_t requests = 0;
    Weather weather = Weather::Fair;
    std::vector<std::thread> threads;
};

} // namespace support
