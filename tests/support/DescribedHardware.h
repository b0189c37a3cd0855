// Described hardware as its clients meet it: in a file that a test may edit, hosted in this process, or served by
// `quarnel serve`.
#pragma once

#include "cim/program/Hosting.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace support {

class DescribedHardware {
public:
    // A copy of that description.
    explicit DescribedHardware(const std::string &like) {
        std::ifstream file(like);
        description = nlohmann::ordered_json::parse(file);
        Save();
    }

    std::string File() const { return folder / "hardware.json"; }
    nlohmann::ordered_json &Controller() { return description["controllers"][0]; }
    void Save() const { Write(description.dump(2)); }
    void Write(const std::string &text) const { folder.Write("hardware.json", text); } // whole: read as before or after

    nlohmann::ordered_json description;

private:
    const TemporaryFolder folder;
};

// The providers over a description, read. One at a time in a process.
inline std::unique_ptr<cim::Broker> Host(const std::string &hardware) {
    cim::HostingOptions options;
    options.hardwareFile = hardware;
    std::string error;
    auto broker = cim::StartHosting(options, &error);
    if (broker == nullptr || cim::WaitForFirstBuild(*broker, options, &error) != cim::FirstBuild::Done)
        throw std::runtime_error(error);
    return broker;
}

// `quarnel serve`, or another program that takes its arguments, until the object goes.
class Serve : public cim::Process {
public:
    explicit Serve(const std::string &hardware, const std::string &program = "quarnel", const std::string &port = "0")
        : Process(cim::BinFolder() + "/" + program, {"serve", "--port", port, "--hardware", hardware}) {
        if (!WaitFor(",")) throw std::runtime_error(Err());
        const auto begin = Out().find("http://");
        url = Out().substr(begin, Out().find(',', begin) - begin);
    }
    const std::string &Url() const { return url; }

private:
    std::string url;
};

} // namespace support
