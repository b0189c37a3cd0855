// What the provider must serve for a description that RandomHardware has made, said from the description and the
// documentation of the classes alone.
#pragma once

#include "tests/support/Bench.h"

#include <map>
#include <string>
#include <vector>

namespace support {

struct Fact {
    const char *property;
    std::string value;
    bool followed; // a refresh takes it over; else it is read when the device appears
};

// The class's instances by identifier.
std::map<std::string, std::vector<Fact>> Expected(const Hardware &hardware, const std::string &className);

enum class Depth { Everything, WhatRefreshesFollow };

// How what is served differs from the description, a line for each difference. What hangs on controllers that are not
// both known to the provider and in the description is left out: those come and go when the provider is loaded. So is
// what has an identifier like `except`.
std::vector<std::string> Differences(Bench &bench, Depth depth, const std::string &except = {});

} // namespace support
