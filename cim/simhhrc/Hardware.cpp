#include "cim/simhhrc/Hardware.h"

#include "cim/simhhrc/Ranges.h"

#include <cstring>
#include <numeric>

namespace sim {

void HardwareReader::Read(Fields &file) {
    ReadProfiles(file);
    // Pools first: devices name those of other controllers, too.
    for (const JsonValue *json : Expanded(file.List("controllers"), "controller", {"id"}, expanded)) {
        Controller &controller = ReadController(*json);
        ReadSoftware(controller);
        ReadEnclosures(controller);
        ReadPools(controller);
    }
    for (Controller &controller : controllers) ReadDevices(controller);
    FinishPools();
    for (const Controller &controller : controllers) controller.entry.Finish();
}

std::optional<NodeId> HardwareReader::Find(const std::string &address) const {
    const auto found = byAddress.find(address);
    if (found == byAddress.end()) return std::nullopt;
    return found->second;
}

void HardwareReader::ReadProfiles(Fields &file) {
    static const JsonValue standard = ParseJson(R"([{"id": "hhrc"}])");
    const JsonValue *list = file.Find("profiles");
    for (const JsonValue &json : ListOf(list != nullptr ? *list : standard, file.What("profiles"))) {
        Entry entry = Open(json, kProfile, nullptr);
        Element profile = Make({}, entry, "Sim:" + entry.id);
        profile.node.nameSpace = "root/interop";
        const NodeId added = Add(nullptr, entry, std::move(profile));
        if (!firstProfile) firstProfile = added;
        entry.Finish();
    }
}

HardwareReader::Controller &HardwareReader::ReadController(const JsonValue &json) {
    controllers.push_back({Open(json, kPortController, nullptr)});
    Controller &controller = controllers.back();
    Entry &entry = controller.entry;
    System &system = controller.system;
    system.classPrefix = entry.fields.Text("classPrefix").value_or("Sim_");
    if (graph.classes.Find(system.classPrefix + kPortController.suffix) == kNoClass) {
        entry.fields.Fail(*entry.fields.Find("classPrefix"),
                          "there is no class \"" + system.classPrefix + kPortController.suffix + '"');
    }
    system.className =
        graph.classes.Name(ClassOf(graph.classes, system.classPrefix, kComputerSystem, entry.PartOf("system").odd));
    system.name = entry.id;
    const std::optional<std::string> model = entry.fields.Text("model");
    Element port = Make(system, entry, entry.id);
    port.Set("ElementName", model);
    const NodeId portId = Add(nullptr, entry, std::move(port));
    ConnectProfiles(controller, portId);

    Element computer = MakePart(controller, kComputerSystem, entry.id, entry, "system");
    computer.Set("ElementName", model);
    computer.Set(ConditionOf(entry.fields, *kPortController.states));
    controller.systemNode = AddPart(std::move(computer), entry, "system", entry.address + "/system");
    if (controller.systemNode) Connect(kLogicalIdentity, *controller.systemNode, portId);

    Element package = MakePart(controller, kPackage, entry.id, entry, "package");
    package.SetMembers(kPackage, entry.fields);
    const auto packageId = AddPart(std::move(package), entry, "package", entry.address + "/package");
    if (packageId) Connect(kRealizes, *packageId, portId);
    return controller;
}

void HardwareReader::ConnectProfiles(Controller &controller, NodeId port) {
    Fields &fields = controller.entry.fields;
    const JsonValue *named = fields.Find("profile");
    if (named == nullptr && firstProfile) Connect(kElementConformsToProfile, *firstProfile, port);
    for (const std::string &name : fields.Texts("profile")) {
        const std::optional<NodeId> profile = Find("profile/" + name);
        if (!profile) fields.Fail(*named, "no profile \"" + name + '"');
        Connect(kElementConformsToProfile, *profile, port);
    }
}

void HardwareReader::ReadSoftware(Controller &controller) {
    std::size_t index = 0;
    for (const JsonValue &json : controller.entry.fields.List("software")) {
        const std::string number = std::to_string(index++);
        Entry entry(json, kSoftware, controller.entry.fields.What("software ") + number);
        entry.address = controller.entry.id + "/software/" + number;
        Element identity = Make(controller.system, entry, "Sim:" + controller.entry.id + ":software:" + number);
        const std::string what = entry.fields.What("kind");
        identity.Set("Classifications", NumberOrWordOf(entry.fields.Need("kind"), what, kClassificationNames));
        Add(&controller, entry, std::move(identity));
        entry.Finish();
    }
}

void HardwareReader::ReadEnclosures(Controller &controller) {
    const JsonValue::List &entries = controller.entry.fields.List("enclosures");
    for (const JsonValue *json : Expanded(entries, kChassis.word, {"id"}, expanded)) {
        Entry entry = Open(*json, kChassis, &controller);
        Fields &fields = entry.fields;
        Enclosure enclosure{0, fields.Text("tag").value_or(controller.entry.id + '_' + entry.id), std::nullopt};
        Element chassis = Make(controller.system, entry, enclosure.tag);
        chassis.Set("ElementName", "Enclosure " + entry.id);
        enclosure.node = Add(&controller, entry, std::move(chassis));
        if (const JsonValue *slots = fields.Find("slots")) {
            if (slots->As<std::string>() != nullptr) {
                enclosure.slots = NumbersOf(*slots, fields.What("slots"));
            } else {
                enclosure.slots.emplace(NumberOf(*slots, fields.What("slots"), UINT16_MAX));
                std::iota(enclosure.slots->begin(), enclosure.slots->end(), std::uint16_t{0});
            }
        }
        entry.Finish();
        controller.enclosures.emplace(entry.id, std::move(enclosure));
    }
}

void HardwareReader::ReadPools(Controller &controller) {
    const JsonValue::List &entries = controller.entry.fields.List("pools");
    for (const JsonValue *json : Expanded(entries, kPool.word, {"id"}, expanded)) {
        Entry entry = Open(*json, kPool, &controller);
        Element element = Make(controller.system, entry, "Sim:" + controller.entry.id + ":pool:" + entry.id);
        const bool primordial = entry.fields.Flag("primordial", false);
        element.Set("PoolID", entry.id);
        element.Set("ElementName", entry.id);
        element.Set("Primordial", primordial);
        const NodeId node = Add(&controller, entry, std::move(element));
        pools.push_back({node, std::move(entry), primordial});
        Pool &pool = pools.back();
        poolsByAddress.emplace(pool.entry.address, &pool);
        if (primordial && controller.firstPrimordial == nullptr) controller.firstPrimordial = &pool;
    }
}

void HardwareReader::ReadDevices(Controller &controller) {
    static const struct {
        const char *name;
        const ElementKind &kind;
        void (HardwareReader::*read)(Controller &, Entry &);
    } kLists[] = {
        {"disks", kDisk, &HardwareReader::ReadDisk},      {"volumes", kVolume, &HardwareReader::ReadVolume},
        {"ports", kPort, &HardwareReader::ReadDevice},    {"batteries", kBattery, &HardwareReader::ReadDevice},
        {"devices", kOther, &HardwareReader::ReadDevice},
    };
    Fields &fields = controller.entry.fields;
    for (const JsonValue::Member &member : *fields.Value().As<JsonValue::Object>()) {
        for (const auto &list : kLists) {
            if (member.name != list.name) continue;
            for (const JsonValue *json : Expanded(fields.List(list.name), list.kind.word, {"slot", "id"}, expanded)) {
                Entry entry = Open(*json, list.kind, &controller);
                (this->*list.read)(controller, entry);
                entry.Finish();
            }
        }
    }
}

void HardwareReader::FinishPools() {
    for (Pool &pool : pools) {
        Fields &fields = pool.entry.fields;
        const JsonValue *size = fields.Find("size"), *unused = fields.Find("free");
        const std::uint64_t total = size != nullptr ? BytesOf(*size, fields.What("size")) : pool.bytes;
        const std::uint64_t otherwise = pool.primordial ? total : 0;
        Element element(graph.classes, std::move(graph.Nodes()[pool.node]));
        element.Set("TotalManagedSpace", total);
        element.Set("RemainingManagedSpace", unused != nullptr ? BytesOf(*unused, fields.What("free")) : otherwise);
        element.SetOddities(fields); // again: they overrule these two as well
        graph.Nodes()[pool.node] = std::move(element.node);
        pool.entry.Finish();
    }
}

Entry HardwareReader::Open(const JsonValue &json, const ElementKind &kind, const Controller *of) {
    const auto what = [&](const std::string &word) {
        return of != nullptr ? of->entry.fields.What(word.c_str()) : word;
    };
    Entry entry(json, kind, what(kind.word));
    Fields &fields = entry.fields;
    if (&kind == &kDisk && fields.Find("id") == nullptr) {
        const std::optional<std::string> enclosure = fields.Text("enclosure");
        const std::optional<std::uint64_t> slot = fields.Number("slot", UINT16_MAX);
        if (enclosure && slot) entry.id = *enclosure + ':' + std::to_string(*slot);
    }
    if (entry.id.empty()) entry.id = TextOf(fields.Need("id"), fields.What("id"));
    fields.Rename(what(kind.word + (" \"" + entry.id + '"')));
    const std::string list = std::string(kind.word) + '/';
    entry.address = (of != nullptr ? of->entry.id + '/' + list : &kind == &kProfile ? list : "") + entry.id;
    return entry;
}

Element HardwareReader::Make(const System &system, Entry &entry, const std::string &key) const {
    Element element(graph.classes, system, entry.kind, key, &entry.fields);
    if (entry.kind.states != nullptr) element.Set(ConditionOf(entry.fields, *entry.kind.states));
    element.SetMembers(entry.kind, entry.fields);
    return element;
}

NodeId HardwareReader::Add(const Controller *controller, Entry &entry, Element element) {
    element.SetOddities(entry.fields);
    const bool again = entry.fields.Flag("duplicate", false);
    const NodeId id = graph.Add(std::move(element.node));
    if (!byAddress.emplace(entry.address, id).second && !again) entry.fields.Fail("is there twice");
    const Association *association = entry.kind.toSystem;
    if (association != nullptr && controller->systemNode) {
        const bool group = std::strcmp(association->roles[0], "GroupComponent") == 0; // which the system is
        Connect(*association, group ? *controller->systemNode : id, group ? id : *controller->systemNode);
    }
    return id;
}

Element HardwareReader::MakePart(const Controller &controller, const ElementKind &kind, const std::string &key,
                                 Entry &entry, const char *part) const {
    return {graph.classes, controller.system, kind, key, entry.PartOf(part).odd};
}

std::optional<NodeId> HardwareReader::AddPart(Element element, Entry &entry, const char *part,
                                              const std::string &address) {
    const Entry::Part said = entry.PartOf(part);
    if (said.odd != nullptr) element.SetOddities(*said.odd);
    if (!said.exists) return std::nullopt;
    const NodeId id = graph.Add(std::move(element.node));
    byAddress.emplace(address, id);
    return id;
}

void HardwareReader::Connect(const Association &association, NodeId first, NodeId second) {
    graph.Connect({graph.classes.Find(std::string("Sim_") + association.suffix),
                   {{association.roles[0], first}, {association.roles[1], second}},
                   {}});
}

} // namespace sim
