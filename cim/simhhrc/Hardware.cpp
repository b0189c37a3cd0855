#include "cim/simhhrc/Hardware.h"

#include "cim/simhhrc/Kinds.h"
#include "cim/simhhrc/Ranges.h"

#include <algorithm>
#include <numeric>

namespace sim {
namespace {

constexpr Name kClassifications[] = {{"unknown", 0}, {"driver", 2}, {"firmware", 10}, {"bios", 11}, {"bundle", 13}};
constexpr const char *kProfileName = "Host Hardware RAID Controller";

const Json &DefaultProfiles() {
    static const Json profiles = ParseJson(R"([{"id": "hhrc"}])");
    return profiles;
}

} // namespace

void HardwareReader::Read(Fields &file) {
    ReadProfiles(file);
    // Pools first: devices name those of other controllers, too.
    const Json *list = file.Find("controllers");
    if (list == nullptr) return;
    for (const Json *json : Expanded(ListOf(*list, file.What("controllers")), "controller", {"id"}, expanded)) {
        Controller &controller = ReadController(*json);
        ReadSoftware(controller);
        ReadEnclosures(controller);
        ReadPools(controller);
    }
    for (Controller &controller : controllers) ReadDevices(controller);
    FinishPools();
    for (const Controller &controller : controllers) {
        controller.fields.Finish();
        controller.parts.Finish();
    }
}

std::optional<ObjectId> HardwareReader::Find(const std::string &address) const {
    const auto found = byAddress.find(address);
    if (found == byAddress.end()) return std::nullopt;
    return found->second;
}

void HardwareReader::ReadProfiles(Fields &file) {
    const Json *list = file.Find("profiles");
    for (const Json &json : ListOf(list != nullptr ? *list : DefaultProfiles(), file.What("profiles"))) {
        Fields fields(json, "profile");
        const std::string id = TextOf(fields.Need("id"), fields.What("id"));
        fields.Rename("profile \"" + id + '"');
        const ClassId type = ClassOf(graph.classes, {}, kProfile, &fields);
        Object object = MakeObject(graph.classes, {}, kProfile, type, "Sim:" + id);
        object.nameSpace = "root/interop";
        SetText(object, "RegisteredName", kProfileName);
        SetText(object, "RegisteredVersion", "1.6.1");
        SetNumbers(object, "AdvertiseTypes", {2}); // not advertised
        SetRows(graph.classes, object, kProfile.rows, fields);
        const ObjectId added = Add(std::move(object), "profile/" + id, fields);
        if (!firstProfile) firstProfile = added;
        fields.Finish();
    }
}

HardwareReader::Controller &HardwareReader::ReadController(const Json &json) {
    Fields fields(json, "controller");
    const std::string id = TextOf(fields.Need("id"), fields.What("id"));
    fields.Rename("controller \"" + id + '"');
    Parts readParts(fields);
    controllers.push_back(Controller{id, std::move(fields), std::move(readParts)});
    Controller &controller = controllers.back();
    const Status status = StatusOf(controller.fields, {});

    Scope &scope = controller.scope;
    scope.classPrefix = controller.fields.Text("classPrefix").value_or("Sim_");
    if (graph.classes.Find(scope.classPrefix + kPortController.suffix) == kNoClass) {
        controller.fields.Fail(*controller.fields.Find("classPrefix"),
                               "there is no class \"" + scope.classPrefix + kPortController.suffix + '"');
    }
    Fields *systemOdd = controller.parts.Odd("system");
    const ClassId systemType = ClassOf(graph.classes, scope, kComputerSystem, systemOdd);
    scope.systemClass = graph.classes.Name(systemType);
    scope.systemName = id;

    const ClassId type = ClassOf(graph.classes, scope, kPortController, &controller.fields);
    Object port = MakeObject(graph.classes, scope, kPortController, type, id);
    SetText(port, "ElementName", controller.fields.Text("model").value_or(id));
    SetStatus(graph.classes, port, status);
    const ObjectId portId = Add(std::move(port), id, controller.fields);

    ConnectProfiles(controller, portId);
    if (controller.parts.Has("system")) {
        Object system = MakePart(controller, kComputerSystem, id, systemOdd);
        SetText(system, "ElementName", controller.fields.Text("model").value_or(id));
        SetText(system, "NameFormat", "Other");
        SetNumbers(system, "Dedicated", {15}); // block server
        SetStatus(graph.classes, system, status);
        controller.system = AddPart(std::move(system), id + "/system", systemOdd);
        Connect(kLogicalIdentity, *controller.system, portId);
    }
    Fields *packageOdd = controller.parts.Odd("package");
    Object package = MakePart(controller, kPackage, id, packageOdd);
    SetRows(graph.classes, package, kPackage.rows, controller.fields);
    if (controller.parts.Has("package")) {
        Connect(kRealizes, AddPart(std::move(package), id + "/package", packageOdd), portId);
    }
    return controller;
}

void HardwareReader::ConnectProfiles(Controller &controller, ObjectId portId) {
    const Json *named = controller.fields.Find("profile");
    if (named == nullptr) {
        if (firstProfile) Connect(kElementConformsToProfile, *firstProfile, portId);
        return;
    }
    for (const std::string &name : controller.fields.Texts("profile")) {
        const std::optional<ObjectId> profile = Find("profile/" + name);
        if (!profile) controller.fields.Fail(*named, "no profile \"" + name + '"');
        Connect(kElementConformsToProfile, *profile, portId);
    }
}

void HardwareReader::ReadSoftware(Controller &controller) {
    std::size_t index = 0;
    for (const Json &json : controller.fields.List("software")) {
        const std::string number = std::to_string(index++);
        Fields fields(json, controller.fields.What("software ") + number);
        Object identity = MakePart(controller, kSoftware, "Sim:" + controller.id + ":software:" + number, &fields);
        const std::uint16_t kind = NumberOrNameOf(fields.Need("kind"), fields.What("kind"), kClassifications);
        SetNumbers(identity, "Classifications", {kind});
        SetRows(graph.classes, identity, kSoftware.rows, fields);
        const ObjectId id = Add(std::move(identity), controller.id + "/software/" + number, fields);
        fields.Finish();
        if (controller.system) Connect(kElementSoftwareIdentity, id, *controller.system);
    }
}

void HardwareReader::ReadEnclosures(Controller &controller) {
    for (const Json *json : Expanded(controller.fields.List("enclosures"), "enclosure", {"id"}, expanded)) {
        Fields fields(*json, controller.fields.What("enclosure"));
        const std::string id = TextOf(fields.Need("id"), fields.What("id"));
        fields.Rename(controller.fields.What("enclosure \"") + id + '"');
        Enclosure enclosure{0, fields.Text("tag").value_or(controller.id + '_' + id), std::nullopt};
        Object chassis = MakePart(controller, kChassis, enclosure.tag, &fields);
        SetStatus(graph.classes, chassis, StatusOf(fields, {}));
        SetText(chassis, "ElementName", "Enclosure " + id);
        SetRows(graph.classes, chassis, kChassis.rows, fields);
        enclosure.object = Add(std::move(chassis), controller.id + "/enclosure/" + id, fields);
        if (controller.system) Connect(kSystemPackaging, enclosure.object, *controller.system);
        if (const Json *slots = fields.Find("slots")) {
            if (slots->As<std::string>() != nullptr) {
                enclosure.slots = NumbersOf(*slots, fields.What("slots"));
            } else {
                enclosure.slots.emplace(NumberOf(*slots, fields.What("slots"), UINT16_MAX));
                std::iota(enclosure.slots->begin(), enclosure.slots->end(), std::uint16_t{0});
            }
        }
        fields.Finish();
        controller.enclosures.emplace(id, std::move(enclosure));
    }
}

void HardwareReader::ReadPools(Controller &controller) {
    for (const Json *json : Expanded(controller.fields.List("pools"), "pool", {"id"}, expanded)) {
        Fields fields(*json, controller.fields.What("pool"));
        const std::string id = TextOf(fields.Need("id"), fields.What("id"));
        fields.Rename(controller.fields.What("pool \"") + id + '"');
        Object object = MakePart(controller, kPool, "Sim:" + controller.id + ":pool:" + id, &fields);
        const bool primordial = fields.Flag("primordial", false);
        SetText(object, "PoolID", id);
        SetText(object, "ElementName", id);
        SetNumber(graph.classes, object, "Primordial", primordial);
        SetStatus(graph.classes, object, StatusOf(fields, {}));
        const std::string address = controller.id + "/pool/" + id;
        const ObjectId added = Add(std::move(object), address, fields);
        pools.push_back(Pool{added, std::move(fields), primordial});
        Pool &pool = pools.back();
        poolsByAddress.emplace(address, &pool);
        if (primordial && controller.firstPrimordial == nullptr) controller.firstPrimordial = &pool;
        if (controller.system) Connect(kHostedStoragePool, *controller.system, added);
    }
}

void HardwareReader::ReadDevices(Controller &controller) {
    static const struct List {
        const char *name;
        const Kind &kind;
        void (HardwareReader::*read)(Controller &, const Json &, const Kind &);
    } kLists[] = {
        {"disks", kDisk, &HardwareReader::ReadDisk},      {"volumes", kVolume, &HardwareReader::ReadVolume},
        {"ports", kPort, &HardwareReader::ReadDevice},    {"batteries", kBattery, &HardwareReader::ReadDevice},
        {"devices", kOther, &HardwareReader::ReadDevice},
    };
    for (const Json::Member &member : *controller.fields.Entry().As<Json::Object>()) {
        for (const List &list : kLists) {
            if (member.name != list.name) continue;
            const Json::List &entries = controller.fields.List(list.name);
            for (const Json *json : Expanded(entries, list.kind.word, {"slot", "id"}, expanded)) {
                (this->*list.read)(controller, *json, list.kind);
            }
        }
    }
}

void HardwareReader::FinishPools() {
    for (Pool &pool : pools) {
        Object &object = graph.Objects()[pool.object];
        const Json *size = pool.fields.Find("size"), *unused = pool.fields.Find("free");
        const std::uint64_t total = size != nullptr ? BytesOf(*size, pool.fields.What("size")) : pool.bytes;
        const std::uint64_t remaining = unused != nullptr ? BytesOf(*unused, pool.fields.What("free"))
                                        : pool.primordial ? total
                                                          : 0;
        SetNumber(graph.classes, object, "TotalManagedSpace", total);
        SetNumber(graph.classes, object, "RemainingManagedSpace", remaining);
        SetOddities(graph.classes, object, pool.fields); // again: they overrule these two as well
        pool.fields.Finish();
    }
}

ObjectId HardwareReader::Add(Object object, const std::string &address, Fields &fields) {
    SetOddities(graph.classes, object, fields);
    const bool again = fields.Flag("duplicate", false);
    const ObjectId id = graph.Add(std::move(object));
    if (!byAddress.emplace(address, id).second && !again) fields.Fail("is there twice");
    return id;
}

Object HardwareReader::MakePart(const Controller &controller, const Kind &kind, const std::string &id,
                                Fields *odd) const {
    return MakeObject(graph.classes, controller.scope, kind, ClassOf(graph.classes, controller.scope, kind, odd), id);
}

ObjectId HardwareReader::AddPart(Object object, const std::string &address, Fields *odd) {
    if (odd != nullptr) SetOddities(graph.classes, object, *odd);
    const ObjectId id = graph.Add(std::move(object));
    byAddress.emplace(address, id);
    return id;
}

void HardwareReader::Connect(const Association &association, ObjectId first, ObjectId second) {
    graph.Connect({graph.classes.Find(std::string("Sim_") + association.suffix),
                   {{association.roles[0], first}, {association.roles[1], second}},
                   {}});
}

} // namespace sim
