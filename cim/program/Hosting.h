// Hosts the project's providers in the embedded broker: finds the schema, the registrations and the provider libraries
// relative to the running program, and points the simulated vendor at a hardware description.
#pragma once

#include "cim/broker/Broker.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace cim {

struct HostingOptions {
    std::string hardwareFile; // empty: the sample rack-server.json
    bool sampleNamed = false; // the sample is what was asked for
    MemoryRules memory = kFreedAtDetach;
    int logLevel = -1; // the providers' lines up to this syslog priority also go to standard error; -1: none do
    std::chrono::milliseconds buildLimit{30000}; // how long WaitForFirstBuild waits at most

    bool IsSample() const { return hardwareFile.empty(); }
};

// The sample description of that name ("rack-server.json").
std::string SampleHardware(const std::string &name);

// The description that is to be served.
std::string HardwareOf(const HostingOptions &options);

// Checks the hardware description, sets SIM_HHRC_HARDWARE and syslog's mask and identity, which belong to the process,
// and makes a broker with every class and registration of the project. Providers are loaded at the first request. Null,
// with one line that names the place and the reason in `error`, when a file is missing or broken.
std::unique_ptr<Broker> StartHosting(const HostingOptions &options, std::string *error);

// Loads the provider and waits until it has read every device for the first time, that is, until its threads make no
// more up-calls. `error` is set unless that is Done: Running, when it has not come to pass within the limit; Failed,
// when the provider cannot be loaded.
enum class FirstBuild { Done, Running, Failed };
FirstBuild WaitForFirstBuild(Broker &broker, const HostingOptions &options, std::string *error);

} // namespace cim
