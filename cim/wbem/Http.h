// HTTP requests and answers as plain values, so that what is behind them needs no socket.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace cim::wbem {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
    std::string method = "POST";
    std::string version = "HTTP/1.1";
    HeaderList headers;
    std::string body;
    std::string path = "/"; // percent-decoded, without the query
};

struct HttpAnswer {
    unsigned status = 200;
    HeaderList headers; // without Content-Length
    std::string body;
};

} // namespace cim::wbem
