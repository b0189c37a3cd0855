#include "cim/simhhrc/Elements.h"

namespace sim {
namespace {

constexpr Name kOperationalStatus[] = {
    {"unknown", 0},
    {"other", 1},
    {"ok", 2},
    {"degraded", 3},
    {"stressed", 4},
    {"predictive failure", 5},
    {"error", 6},
    {"non-recoverable error", 7},
    {"starting", 8},
    {"stopping", 9},
    {"stopped", 10},
    {"in service", 11},
    {"no contact", 12},
    {"lost communication", 13},
    {"aborted", 14},
    {"dormant", 15},
    {"supporting entity in error", 16},
    {"completed", 17},
    {"power mode", 18},
};
constexpr Name kHealth[] = {{"unknown", 0}, {"ok", 5},        {"warning", 10}, {"minor", 15},
                            {"major", 20},  {"critical", 25}, {"failed", 30}};

constexpr const char *kOwnKey[] = {"Name", "DeviceID", "Tag", "InstanceID"}; // in the order of Keys

void Identify(Object &object, const char *key, const std::string &value) {
    object.keys.push_back({key, TextValue(value)});
    object.properties.push_back({key, TextValue(value)});
}

using ReadValue = Value (*)(const Json &json, CMPIType declared, const std::string &what);

void SetOdd(const Classes &classes, ClassId type, NamedValues &values, Fields &fields, const char *omit,
            const char *set, ReadValue read) {
    if (const Json *names = fields.Find(omit)) {
        for (const Json &name : ListOf(*names, fields.What(omit))) Drop(values, TextOf(name, fields.What(omit)));
    }
    if (const Json *members = fields.Find(set)) {
        for (const auto &[name, json] : ObjectOf(*members, fields.What(set))) {
            Put(values, name, read(json, classes.TypeOf(type, name), fields.What(name.c_str())));
        }
    }
}

ClassId ClassNamed(const Classes &classes, const Kind &kind, const Fields &odd, const Json &named) {
    const std::string base = std::string("CIM_") + kind.suffix;
    const std::string &name = TextOf(named, odd.What("class"));
    const ClassId type = classes.Find(name);
    if (type == kNoClass) odd.Fail(named, "class \"" + name + "\" is not known");
    if (!classes.IsA(type, classes.Find(base))) odd.Fail(named, "class \"" + name + "\" is no " + base);
    return type;
}

} // namespace

const Names kHealthNames(kHealth);

std::uint16_t HealthOf(std::uint16_t operationalStatus) {
    switch (operationalStatus) {
    case 2:
    case 15:
        return 5;
    case 3:
    case 5:
        return 10;
    case 6:
        return 30;
    case 12:
        return 20;
    default:
        return 0;
    }
}

Status StatusOf(Fields &fields, const std::vector<State> &states, const char *otherwise) {
    Status status{{}, 2, State::Needs::Nothing};
    const Json absent{std::string(otherwise)};
    const Json *given = fields.Find("status");
    const Json &member = given != nullptr ? *given : absent;
    if (const auto *list = member.As<Json::List>()) {
        for (const Json &item : *list) {
            status.operational.push_back(NumberOrNameOf(item, fields.What("status"), kOperationalStatus));
        }
        return status;
    }
    const auto *text = member.As<std::string>();
    const std::string name = text != nullptr ? *text : "";
    std::string own;
    for (const State &state : states) {
        if (name == state.name) return {{state.operational}, state.extent, state.needs};
        own.append("\"").append(state.name).append("\", ");
    }
    const Names common(kOperationalStatus);
    if (const Name *known = common.Find(name)) {
        status.operational = {known->number};
    } else if (member.IsNull()) {
        fields.Fail(member, "\"status\" cannot be null; to leave the property out, \"omit\" it");
    } else if (text != nullptr) {
        fields.Fail(member, "status \"" + name + "\" is none of " + own + common.All());
    } else {
        status.operational = {static_cast<std::uint16_t>(NumberOf(member, fields.What("status"), UINT16_MAX))};
    }
    return status;
}

ClassId ClassOf(const Classes &classes, const Scope &scope, const Kind &kind, Fields *odd) {
    if (const Json *named = odd != nullptr ? odd->Find("class") : nullptr)
        return ClassNamed(classes, kind, *odd, *named);
    ClassId type = classes.Find(scope.classPrefix + kind.suffix);
    if (type == kNoClass) type = classes.Find(std::string("Sim_") + kind.suffix);
    if (type == kNoClass && odd != nullptr) odd->Need("class"); // a kind without a class of its own
    return type;
}

Object MakeObject(const Classes &classes, const Scope &scope, const Kind &kind, ClassId type, const std::string &id) {
    Object object;
    object.nameSpace = "root/sim";
    object.type = type;
    if (kind.keys == Keys::Device) {
        Identify(object, "SystemCreationClassName", scope.systemClass);
        Identify(object, "SystemName", scope.systemName);
    }
    if (kind.keys != Keys::Instance) Identify(object, "CreationClassName", classes.Name(type));
    Identify(object, kOwnKey[static_cast<int>(kind.keys)], id);
    for (const Default &known : kind.defaults) SetNumber(classes, object, known.property, known.number);
    return object;
}

void SetText(Object &object, const char *property, const std::optional<std::string> &text) {
    if (text) Put(object.properties, property, TextValue(*text));
}

void SetNumber(const Classes &classes, Object &object, const char *property, std::uint64_t number) {
    Put(object.properties, property, NumberValue(classes.TypeOf(object.type, property), number));
}

void SetNumbers(Object &object, const char *property, const std::vector<std::uint16_t> &numbers) {
    Put(object.properties, property, NumbersValue(CMPI_uint16, numbers));
}

void SetStatus(const Classes &classes, Object &object, const Status &status) {
    SetNumbers(object, "OperationalStatus", status.operational);
    SetNumber(classes, object, "HealthState", status.operational.empty() ? 0 : HealthOf(status.operational.front()));
}

void SetRows(const Classes &classes, Object &object, const std::vector<Row> &rows, Fields &fields) {
    for (const Row &row : rows) {
        const Json *member = fields.Find(row.member);
        if (member == nullptr) continue;
        const CMPIType type = classes.TypeOf(object.type, row.property);
        const std::string what = fields.What(row.member);
        Put(object.properties, row.property,
            row.names != nullptr && !member->IsNull() ? NumberValue(type, NumberOrNameOf(*member, what, *row.names))
                                                      : ValueOf(*member, type, what));
    }
}

void SetOddities(const Classes &classes, Object &object, Fields &fields) {
    SetOdd(classes, object.type, object.properties, fields, "omit", "properties", ValueOf);
    SetOdd(classes, object.type, object.keys, fields, "omitKeys", "keys", KeyValueOf);
}

Parts::Parts(Fields &owner) {
    if (const Json *parts = owner.Find("parts")) fields.emplace(*parts, owner.What("parts"));
}

const Json *Parts::Find(const char *part) { return fields ? fields->Find(part) : nullptr; }

bool Parts::Has(const char *part) {
    const Json *json = Find(part);
    return json == nullptr || !json->IsNull();
}

Fields *Parts::Odd(const char *part) {
    const Json *json = Find(part);
    if (json == nullptr || json->IsNull()) return nullptr;
    for (auto &[name, entry] : odd) {
        if (name == part) return &entry;
    }
    return &odd.emplace_back(part, Fields(*json, fields->What(part))).second;
}

void Parts::Finish() const {
    if (fields) fields->Finish();
    for (const auto &[name, entry] : odd) entry.Finish();
}

} // namespace sim
