// The HTTP headers of a CIM operation (DSP0200): whether they are acceptable, and what they say.
#pragma once

#include "cim/wbem/Http.h"

#include <string>
#include <string_view>

namespace cim::wbem {

// The first header of that name, in any case; null when there is none.
const std::string *FindHeader(const HeaderList &headers, std::string_view name);

struct CimHeaders {
    std::string method;    // CIMMethod
    std::string object;    // CIMObject, percent-decoded
    std::string host;      // what the client calls the server; "localhost" when it does not say
    std::string extension; // of M-POST: the URI and prefix that its Man header declares; else empty
    std::string prefix;    // of M-POST: "73-", before the names of the headers; else empty
};

// Throws a Refusal for a request that is not one CIM operation over POST or M-POST.
CimHeaders ReadHeaders(const HttpRequest &request);

// None when an escape is not % and two hexadecimal digits.
bool PercentDecode(const std::string &text, std::string *decoded);

// True for the versions of DSP0200 that the server speaks: 1.0 to 1.4.
bool IsProtocolVersion(const std::string &version);

} // namespace cim::wbem
