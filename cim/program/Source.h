// Where the instances come from: the providers that this program hosts, or a CIM server elsewhere.
#pragma once

#include "cim/client/Client.h"
#include "cim/inventory/Inventory.h"
#include "cim/program/Hosting.h"

#include <memory>
#include <string>

namespace cim {

struct SourceOptions {
    HostingOptions hosting;
    ClientOptions server; // without a URL the providers are hosted

    bool IsSample() const { return server.url.empty() && hosting.IsSample(); }
    // False: no option names the hardware to look at.
    bool IsNamed() const { return !IsSample() || hosting.sampleNamed; }
};

enum class Trouble { None, Usage, Provider, Server };

class Source {
public:
    // Hosted providers have been waited for. Null, with `trouble` and one line in `error`, when there is no source.
    static std::unique_ptr<Source> Open(const SourceOptions &options, Trouble *trouble, std::string *error);

    Answer<Instances> Read() { return ReadInstances(*connection); }
    Trouble TroubleInReading() const { return broker != nullptr ? Trouble::Provider : Trouble::Server; }

    // Why what is read may not be all; empty when there is no reason to think so.
    const std::string &Unread() const { return unread; }
    Broker *Hosts() const { return broker.get(); } // null: a server elsewhere

private:
    std::unique_ptr<Broker> broker;
    std::unique_ptr<Connection> connection;
    std::string unread;
};

} // namespace cim
