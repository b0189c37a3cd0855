#include "cim/inventory/Json.h"

#include "cim/inventory/Changes.h"
#include "cim/inventory/Verdict.h"
#include "cim/values/Text.h"

#include <map>

namespace cim {

namespace {

struct Convert {
    CMPIType type;

    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(bool value) const { return value; }
    Json operator()(std::uint64_t value) const {
        return type == CMPI_char16 ? Json(Utf8Of(static_cast<char32_t>(value))) : Json(value);
    }
    Json operator()(std::int64_t value) const { return value; }
    Json operator()(double value) const { return value; }
    Json operator()(const std::string &value) const { return value; }
    Json operator()(const Value::Elements &elements) const {
        Json array = Json::array();
        for (const auto &element : elements) array.push_back(ToJson(element));
        return array;
    }
    Json operator()(const std::shared_ptr<const ObjectPath> &path) const {
        return path != nullptr ? Json(path->ToString()) : Json(nullptr);
    }
    Json operator()(const std::shared_ptr<const Instance> &instance) const {
        return instance != nullptr ? ToJson(*instance) : Json(nullptr);
    }
};

} // namespace

Json ToJson(const Value &value) { return std::visit(Convert{value.type}, value.payload); }

Json ToJson(const Instance &instance) {
    std::map<std::string, Json> properties;
    for (const auto &property : instance.properties)
        if (!property.value.IsNull()) properties[property.name] = ToJson(property.value);
    return {{"path", instance.path->ToString()}, {"properties", std::move(properties)}};
}

Json FactsOf(const Item &item) {
    Json facts = Json::object();
    for (const Fact &fact : kFacts) {
        if (!(item.*fact.text).empty()) facts[fact.name] = item.*fact.text;
    }
    if (item.served->index == kVolume) {
        facts["members"] = item.members;
        facts["membersCut"] = item.membersCut;
    }
    return facts;
}

Json ToJson(const Inventory &inventory, const Looked &looked, const ServedClass *only) {
    const Inventory &whole = looked.whole != nullptr ? *looked.whole : inventory;
    Json document = {{"time", TimeWithOffset(looked.time)},
                     {"host", HostOf(whole)},
                     {"version", QUARNEL_VERSION},
                     {"verdict", NameOf(WorstOf(whole, looked.gone))}};
    if (looked.sample) document["source"] = kSampleHardware;
    for (const auto &served : kServedClasses) {
        if (only != nullptr && only != &served) continue;
        Json &items = document[served.name] = Json::array();
        for (const Item &item : inventory[served.index]) {
            items.push_back(ToJson(item.instance));
            items.back()["facts"] = FactsOf(item);
        }
    }
    return document;
}

std::string Dump(const Json &json, int indent) { return json.dump(indent, ' ', false, Json::error_handler_t::replace); }

} // namespace cim
