#include "cim/inventory/Json.h"

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

Json ToJson(const Instances &instances, const ServedClass *only) {
    Json all = Json::object();
    for (std::size_t i = 0; i < kServedClasses.size(); ++i) {
        if (only != nullptr && only != &kServedClasses[i]) continue;
        Json &array = all[kServedClasses[i].name] = Json::array();
        for (const auto &instance : instances[i]) array.push_back(ToJson(instance));
    }
    return all;
}

Json FactsOf(const Item &item) {
    Json facts = Json::object();
    for (const Fact &fact : kFacts) {
        if (!(item.*fact.text).empty()) facts[fact.name] = item.*fact.text;
    }
    return facts;
}

std::string Dump(const Json &json, int indent) { return json.dump(indent, ' ', false, Json::error_handler_t::replace); }

} // namespace cim
