// Instances as the provider renders them, written down as JSON for tests of what is made of them.
#pragma once

#include "cim/inventory/Inventory.h"

#include <nlohmann/json.hpp>

#include <string>

namespace support {

inline cim::Value ValueOf(const nlohmann::ordered_json &json) {
    if (json.is_string()) return cim::Value::Text(json);
    if (json.is_boolean()) return cim::Value::Boolean(json);
    if (json.is_number()) return cim::Value::Unsigned(CMPI_uint64, json);
    if (!json.is_array()) return cim::Value::Null(CMPI_uint64);
    cim::Value::Elements elements;
    for (const auto &element : json) elements.push_back(ValueOf(element));
    return cim::Value::ArrayOf(CMPI_uint64, std::move(elements));
}

// {"disk": [{"id": "c0_d1", "Caption": "Drive ...", ...}], ...}: a list for each kind, of objects with the key behind
// the class's prefix as "id", and properties. The key is a property, too, unless "id" is all that there is.
inline cim::Instances InstancesOf(const nlohmann::ordered_json &server) {
    cim::Instances instances;
    for (const auto &[kind, list] : server.items()) {
        const cim::ServedClass &served = *cim::FindServedClass(kind);
        for (const auto &given : list) {
            const cim::NamedValue key{served.key, cim::Value::Text(served.prefix + given["id"].get<std::string>())};
            cim::Instance instance{cim::ObjectPath{{}, cim::kServedNameSpace, served.name, {key}}, {}};
            if (given.size() > 1) instance.properties.push_back(key);
            for (const auto &[name, value] : given.items()) {
                if (name != "id") instance.properties.push_back({name, ValueOf(value)});
            }
            instances[served.index].push_back(std::move(instance));
        }
    }
    return instances;
}

} // namespace support
