// What holds of an answer at every moment, learned from one life's answers over hardware in every state: the keys, the
// properties and their types, and which caption, status and health go together since they come of one look.
#pragma once

#include "tests/support/Bench.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace support {

// What a provider is forgiven whose up-calls and objects fail: what it could not read or make is left out.
enum class Weather { Fair, Foul };

// Every identifier is its class's prefix, the ID of the controller, and for devices "_" and their own ID.
struct Identity {
    std::string prefix, controller, device;
};
Identity IdentityOf(const std::string &identifier);

class WellFormed {
public:
    void Learn(const cim::Instance &sample);

    // Empty, or what is wrong.
    std::string Flaw(const cim::ObjectPath &path, const std::string &className, Weather weather) const;
    // With a list: of the other properties only those on it have values.
    std::string Flaw(const cim::Instance &instance, const std::string &className, Weather weather,
                     cim::PropertyList list = nullptr) const;

private:
    struct Form {
        cim::ObjectPath path;
        std::map<std::string, CMPIType> properties; // without the keys
        std::set<std::string> states;
    };
    std::map<std::string, Form> forms; // by class
};

} // namespace support
