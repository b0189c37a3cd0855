#include "cim/simhhrc/Recorded.h"

#include "cim/simhhrc/Data.h"

#include <unordered_map>

namespace sim {
namespace {

constexpr const char *kOperations[] = {"enumerateInstances", "enumerateInstanceNames", "getInstance",
                                       "associators",        "associatorNames",        "references",
                                       "referenceNames"};
constexpr std::uint64_t kLongestLatency = 600000;

ClassId KnownClass(const Classes &classes, Fields &fields, const JsonValue &json, const char *member) {
    const std::string &name = TextOf(json, fields.What(member));
    const ClassId type = classes.Find(name);
    if (type == kNoClass) fields.Fail(json, "class \"" + name + "\" is not known: \"classes\" can declare it");
    return type;
}

Data ReadValues(const Classes &classes, ClassId type, Fields &fields, const char *member) {
    Data values;
    const JsonValue *json = fields.Find(member);
    if (json == nullptr) return values;
    for (const auto &[name, value] : ObjectOf(*json, fields.What(member))) {
        const auto read = member == std::string_view("keys") ? KeyDatumOf : DatumOf;
        values.push_back({name, read(value, classes.TypeOf(type, name), fields.What(name.c_str()))});
    }
    return values;
}

} // namespace

void ReadClasses(Fields &file, Classes &classes) {
    const JsonValue *members = file.Find("classes");
    if (members == nullptr) return;
    for (const auto &[name, json] : ObjectOf(*members, file.What("classes"))) {
        Classes::Properties properties;
        const JsonValue *super = &json;
        if (json.As<JsonValue::Object>() != nullptr) {
            Fields fields(json, "class \"" + name + '"');
            super = &fields.Need("extends");
            if (const JsonValue *declared = fields.Find("properties")) {
                for (const auto &[property, type] : ObjectOf(*declared, fields.What("properties"))) {
                    properties.emplace_back(property, TypeNamed(type, fields.What(property.c_str())));
                }
            }
            fields.Finish();
        }
        const std::string what = "class \"" + name + '"';
        if (classes.Find(name) != kNoClass) throw Mistake(json.line, what + " is known already");
        const ClassId base = super->IsNull() ? kNoClass : classes.Find(TextOf(*super, what + ": superclass"));
        if (base == kNoClass && !super->IsNull()) {
            throw Mistake(super->line, what + ": superclass \"" + *super->As<std::string>() + "\" is not known");
        }
        classes.Add(name, base, std::move(properties));
    }
}

void ReadRecorded(Fields &file, Graph &graph,
                  const std::function<std::optional<NodeId>(const std::string &)> &described) {
    std::unordered_map<std::string, NodeId> byId;
    for (const JsonValue &json : file.List("objects")) {
        Fields fields(json, "object");
        const std::string id = TextOf(fields.Need("id"), fields.What("id"));
        fields.Rename("object \"" + id + '"');
        Node object;
        object.nameSpace = fields.Text("namespace").value_or("root/sim");
        object.type = KnownClass(graph.classes, fields, fields.Need("class"), "class");
        object.keys = ReadValues(graph.classes, object.type, fields, "keys");
        object.properties = ReadValues(graph.classes, object.type, fields, "properties");
        if (!byId.emplace(id, graph.Add(std::move(object))).second) fields.Fail("is there twice");
        fields.Finish();
    }
    for (const JsonValue &json : file.List("links")) {
        Fields fields(json, "link");
        Edge link;
        link.type = KnownClass(graph.classes, fields, fields.Need("class"), "class");
        const JsonValue &ends = fields.Need("ends");
        const JsonValue::Object &roles = ObjectOf(ends, fields.What("ends"));
        if (roles.size() != 2) fields.Fail(ends, "\"ends\" must be two roles, each with an object");
        for (std::size_t i = 0; i < roles.size(); ++i) {
            const std::string &name = TextOf(roles[i].json, fields.What(roles[i].name.c_str()));
            const auto recorded = byId.find(name);
            const auto object = recorded != byId.end() ? std::optional<NodeId>(recorded->second) : described(name);
            if (!object) fields.Fail(roles[i].json, "no object \"" + name + '"');
            link.ends[i] = {roles[i].name, *object};
        }
        link.properties = ReadValues(graph.classes, link.type, fields, "properties");
        fields.Finish();
        graph.Connect(std::move(link));
    }
}

void ReadBehaviour(Fields &file, const Classes &classes, std::vector<Behaviour> &rules) {
    for (const JsonValue &json : file.List("behaviour")) {
        Fields fields(json, "behaviour");
        Behaviour rule;
        rule.type = KnownClass(classes, fields, fields.Need("class"), "class");
        if (const JsonValue *result = fields.Find("result"))
            rule.result = KnownClass(classes, fields, *result, "result");
        if (const JsonValue *operation = fields.Find("operation")) {
            const std::string &name = TextOf(*operation, fields.What("operation"));
            for (std::size_t i = 0; i < std::size(kOperations); ++i) {
                if (name == kOperations[i]) rule.request = static_cast<Request>(i);
            }
            if (!rule.request) fields.Fail(*operation, "no operation \"" + name + '"');
        }
        rule.latency = std::chrono::milliseconds(fields.Number("latency", kLongestLatency).value_or(0));
        if (const auto fault = fields.Number("fault", UINT16_MAX)) rule.fault = static_cast<CMPIrc>(*fault);
        rule.message = fields.Text("message");
        fields.Finish();
        rules.push_back(std::move(rule));
    }
}

} // namespace sim
