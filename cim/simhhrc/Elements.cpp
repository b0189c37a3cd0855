#include "cim/simhhrc/Elements.h"

namespace sim {
namespace {

constexpr Word kOperationalStatus[] = {
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

constexpr const char *kOwnKey[] = {"Name", "DeviceID", "Tag", "InstanceID"}; // in the order of Keys

// CIM's health of an operational status.
std::uint64_t HealthOf(std::uint16_t operational) {
    switch (operational) {
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

using ReadDatum = Datum (*)(const JsonValue &json, CMPIType declared, const std::string &what);

void SetOdd(const Classes &classes, ClassId type, Data &data, Fields &fields, const char *omit, const char *set,
            ReadDatum read) {
    for (const JsonValue &name : fields.List(omit)) Drop(data, TextOf(name, fields.What(omit)));
    if (const JsonValue *members = fields.Find(set)) {
        for (const auto &[name, json] : ObjectOf(*members, fields.What(set)))
            Put(data, name, read(json, classes.TypeOf(type, name), fields.What(name.c_str())));
    }
}

} // namespace

Condition ConditionOf(Fields &fields, const std::vector<KnownState> &states) {
    static const Words common(kOperationalStatus);
    const JsonValue *member = fields.Find("status");
    if (member == nullptr) return {{2}};
    Condition condition;
    if (const auto *list = member->As<JsonValue::List>()) {
        for (const JsonValue &item : *list)
            condition.operational.push_back(NumberOrWordOf(item, fields.What("status"), common));
        return condition;
    }
    if (member->IsNull()) fields.Fail(*member, "\"status\" cannot be null; to leave the property out, \"omit\" it");
    const auto *text = member->As<std::string>();
    if (text == nullptr) return {{static_cast<std::uint16_t>(NumberOf(*member, fields.What("status"), UINT16_MAX))}};
    std::string own;
    for (const KnownState &state : states) {
        if (*text == state.name) return {{state.operational}, state.extent, state.needs};
        own.append("\"").append(state.name).append("\", ");
    }
    const Word *known = common.Find(*text);
    if (known == nullptr) fields.Fail(*member, "status \"" + *text + "\" is none of " + own + common.All());
    return {{known->number}};
}

ClassId ClassOf(const Classes &classes, const std::string &prefix, const ElementKind &kind, Fields *entry) {
    if (const JsonValue *named = entry != nullptr ? entry->Find("class") : nullptr) {
        const std::string base = std::string("CIM_") + kind.suffix;
        const std::string &name = TextOf(*named, entry->What("class"));
        const ClassId type = classes.Find(name);
        if (type == kNoClass) entry->Fail(*named, "class \"" + name + "\" is not known");
        if (!classes.IsA(type, classes.Find(base))) entry->Fail(*named, "class \"" + name + "\" is not a " + base);
        return type;
    }
    ClassId type = classes.Find(prefix + kind.suffix);
    if (type == kNoClass) type = classes.Find(std::string("Sim_") + kind.suffix);
    if (type == kNoClass && entry != nullptr) entry->Need("class"); // a kind without a class of its own
    return type;
}

Entry::Part Entry::PartOf(const char *part) {
    const JsonValue *all = fields.Find("parts");
    if (all != nullptr && !parts) parts.emplace(*all, fields.What("parts"));
    const JsonValue *json = parts ? parts->Find(part) : nullptr;
    if (json == nullptr || json->IsNull()) return {json == nullptr, nullptr};
    return {true, &odd.try_emplace(part, *json, parts->What(part)).first->second};
}

void Entry::Finish() const {
    fields.Finish();
    if (parts) parts->Finish();
    for (const auto &[part, members] : odd) members.Finish();
}

Element::Element(const Classes &known, const System &system, const ElementKind &kind, const std::string &id,
                 Fields *entry)
    : classes(known) {
    node.nameSpace = "root/sim";
    node.type = ClassOf(classes, system.classPrefix, kind, entry);
    if (kind.keys == Keys::Device) {
        node.keys.push_back({"SystemCreationClassName", TextDatum(system.className)});
        node.keys.push_back({"SystemName", TextDatum(system.name)});
    }
    if (kind.keys != Keys::Instance) node.keys.push_back({"CreationClassName", TextDatum(classes.Name(node.type))});
    node.keys.push_back({kOwnKey[static_cast<int>(kind.keys)], TextDatum(id)});
    node.properties = node.keys;
    for (const Default &preset : kind.defaults) {
        if (preset.text == nullptr) {
            Set(preset.property, preset.number);
            continue;
        }
        std::string text = preset.text;
        const std::size_t place = text.find("{id}");
        Set(preset.property, place != std::string::npos ? text.replace(place, 4, id) : text);
    }
}

void Element::Set(const char *property, const std::optional<std::string> &text) {
    if (text) Put(node.properties, property, TextDatum(*text));
}

void Element::Set(const char *property, std::uint64_t number) {
    const CMPIType type = classes.TypeOf(node.type, property);
    const Datum datum = NumberDatum(cim::ElementType(type), number);
    Put(node.properties, property, cim::IsArray(type) ? ListDatum({datum}, type) : datum);
}

void Element::Set(const Condition &condition) {
    std::vector<Datum> numbers;
    for (const std::uint16_t number : condition.operational) numbers.push_back(NumberDatum(CMPI_uint16, number));
    Put(node.properties, "OperationalStatus", ListDatum(std::move(numbers), CMPI_uint16A));
    Set("HealthState", condition.operational.empty() ? 0 : HealthOf(condition.operational.front()));
}

void Element::SetMembers(const ElementKind &kind, Fields &entry) {
    for (const MemberRow &row : kind.members) {
        const JsonValue *member = entry.Find(row.member);
        if (member == nullptr) continue;
        const std::string what = entry.What(row.member);
        if (row.words != nullptr && !member->IsNull()) {
            Set(row.property, NumberOrWordOf(*member, what, *row.words));
        } else {
            Put(node.properties, row.property, DatumOf(*member, classes.TypeOf(node.type, row.property), what));
        }
    }
}

void Element::SetOddities(Fields &entry) {
    SetOdd(classes, node.type, node.properties, entry, "omit", "properties", DatumOf);
    SetOdd(classes, node.type, node.keys, entry, "omitKeys", "keys", KeyDatumOf);
}

} // namespace sim
