// A CIM server elsewhere, asked over CIM-XML (DSP0200).
#pragma once

#include "cim/client/Connection.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cim {

struct ClientOptions {
    std::string url;                                // http(s)://host[:port]
    std::string caFile;                             // whose certificates are trusted, in PEM; empty: the system's
    std::chrono::milliseconds timeout{10000};       // for each answer
    std::optional<std::chrono::milliseconds> total; // for all of them, counted from Connect
    std::function<bool()> givenUp = {}; // asked every second, at least, of a wait for an answer: true ends it
};

// Does not ask the server anything yet. The user and the password are the environment's QUARNEL_USER and
// QUARNEL_PASSWORD, else what ~/.netrc has for the host; a server that wants none gets none. Null, with a sentence in
// `error`, when the URL is not of that form. What is returned is for one thread at a time.
std::unique_ptr<Connection> Connect(const ClientOptions &options, std::string *error);

// The same over another way to the server: `post` takes a request's headers and body to it and brings its answer's
// body, or throws a client::Failure. `name` stands for the server in messages.
using HeaderFields = std::vector<std::pair<const char *, std::string>>;
using Post = std::function<std::string(const HeaderFields &headers, const std::string &body)>;
std::unique_ptr<Connection> ConnectThrough(Post post, const std::string &name);

} // namespace cim
