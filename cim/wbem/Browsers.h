// Answers for what runs in, or beside, the browsers of this machine: no page of another site gets at them or can make
// use of them.
#pragma once

#include "cim/wbem/Http.h"

#include <optional>
#include <string>
#include <string_view>

namespace cim::wbem {

// With the headers that keep a browser from doing anything else with it.
HttpAnswer Reply(unsigned status, std::string_view type, std::string body);

// A line of plain text.
HttpAnswer Sentence(unsigned status, const std::string &text);

// Empty when there is none.
const std::string &HeaderOf(const HttpRequest &request, std::string_view name);

// None for a request to a name that always means this machine. A page of another site can point its own name here and
// would then be let in as the same origin.
std::optional<HttpAnswer> RefuseOtherHosts(const HttpRequest &request);

} // namespace cim::wbem
