// What a controller has: disks, volumes, ports, batteries and the rest.
#include "cim/simhhrc/Hardware.h"

#include <algorithm>

namespace sim {
namespace {

constexpr std::uint64_t kBlockSize = 512;

// The members "size" and "blocks", of which an entry has one at most.
std::optional<std::uint64_t> BlocksOf(Fields &fields) {
    const Json *size = fields.Find("size");
    const std::optional<std::uint64_t> blocks = fields.Number("blocks");
    if (size == nullptr) return blocks;
    if (blocks) fields.Fail("has both \"size\" and \"blocks\"");
    return BytesOf(*size, fields.What("size")) / kBlockSize;
}

// What disks' media and volumes have in common.
void SetExtent(const Classes &classes, Object &extent, Fields &fields, const Status &status) {
    const std::optional<std::uint64_t> blocks = BlocksOf(fields);
    const std::optional<std::uint64_t> consumable = fields.Number("consumableBlocks");
    SetStatus(classes, extent, status);
    SetNumber(classes, extent, "BlockSize", kBlockSize);
    if (blocks) SetNumber(classes, extent, "NumberOfBlocks", *blocks);
    if (blocks || consumable) SetNumber(classes, extent, "ConsumableBlocks", consumable ? *consumable : *blocks);
    const Json *stated = fields.Find("extentStatus");
    if (stated == nullptr) {
        SetNumbers(extent, "ExtentStatus", {status.extent});
    } else if (stated->As<Json::List>() == nullptr) {
        const std::uint64_t number = NumberOf(*stated, fields.What("extentStatus"), UINT16_MAX);
        SetNumbers(extent, "ExtentStatus", {static_cast<std::uint16_t>(number)});
    } else {
        Put(extent.properties, "ExtentStatus", ValueOf(*stated, CMPI_uint16A, fields.What("extentStatus")));
    }
}

std::string Word(const std::string &controller, const Kind &kind, const std::string &id) {
    return "controller \"" + controller + "\": " + kind.word + " \"" + id + '"';
}

} // namespace

void HardwareReader::ReadDisk(Controller &controller, const Json &json, const Kind &kind) {
    Fields fields(json, controller.fields.What(kind.word));
    const std::optional<std::string> enclosure = fields.Text("enclosure");
    const std::optional<std::uint64_t> slot = fields.Number("slot", UINT16_MAX);
    const bool derived = enclosure && slot && fields.Find("id") == nullptr;
    const std::string id =
        derived ? *enclosure + ':' + std::to_string(*slot) : TextOf(fields.Need("id"), fields.What("id"));
    fields.Rename(Word(controller.id, kind, id));
    Parts parts(fields);

    const ClassId type = ClassOf(graph.classes, controller.scope, kind, &fields);
    Object drive = MakeObject(graph.classes, controller.scope, kind, type, id);
    SetText(drive, "ElementName", "Disk " + id);
    SetText(drive, "Name", id);
    SetStatus(graph.classes, drive, StatusOf(fields, kDiskStates));
    SetRows(graph.classes, drive, kind.rows, fields);
    const ObjectId added = Add(std::move(drive), controller.id + "/disk/" + id, fields);
    ConnectDevice(controller, added);

    AddMedia(controller, fields, parts, added, id);
    AddDiskFirmware(controller, fields, parts, added, id);
    AddDiskPackage(controller, fields, parts, added, id);
    parts.Finish();
    fields.Finish();
}

void HardwareReader::AddMedia(Controller &controller, Fields &disk, Parts &parts, ObjectId drive,
                              const std::string &id) {
    std::vector<Pool *> of = PoolsOf(controller, disk);
    if (disk.Find("pool") == nullptr) {
        if (controller.firstPrimordial == nullptr) disk.Fail("\"pool\" is missing, and there is no primordial pool");
        of.push_back(controller.firstPrimordial);
    }
    const Json *flag = disk.Find("primordial");
    const bool primordial =
        flag != nullptr ? FlagOf(*flag, disk.What("primordial")) : !of.empty() && of.front()->primordial;
    const Status status = StatusOf(disk, kDiskStates);
    if (status.needs != State::Needs::Nothing && !of.empty() &&
        of.front()->primordial != (status.needs == State::Needs::PrimordialPool)) {
        disk.Fail(*disk.Find("status"), "status \"" + *disk.Text("status") + "\" needs a pool that is " +
                                            (of.front()->primordial ? "not primordial" : "primordial"));
    }

    Fields *odd = parts.Odd("media");
    Object media = MakePart(controller, kMedia, id, odd);
    SetExtent(graph.classes, media, disk, status);
    SetNumber(graph.classes, media, "Primordial", primordial);
    const std::uint64_t bytes = BlocksOf(disk).value_or(0) * kBlockSize;
    if (!parts.Has("media")) return;
    const ObjectId extent = AddPart(std::move(media), controller.id + "/disk/" + id + "/media", odd);
    Connect(kMediaPresent, drive, extent);
    for (Pool *pool : of) {
        Connect(kConcreteComponent, pool->object, extent);
        pool->bytes += bytes;
    }
}

void HardwareReader::AddDiskFirmware(Controller &controller, Fields &disk, Parts &parts, ObjectId drive,
                                     const std::string &id) {
    std::vector<std::string> versions = disk.Texts("firmware");
    if (!parts.Has("firmware")) versions.clear();
    Fields *odd = parts.Odd("firmware");
    const std::string address = controller.id + "/disk/" + id + "/firmware";
    for (std::size_t i = 0; i < versions.size(); ++i) {
        const std::string own = i == 0 ? address : address + '/' + std::to_string(i);
        Object identity = MakePart(controller, kSoftware, "Sim:" + own, odd);
        SetNumbers(identity, "Classifications", {10});
        SetText(identity, "VersionString", versions[i]);
        Connect(kElementSoftwareIdentity, AddPart(std::move(identity), own, odd), drive);
    }
}

void HardwareReader::AddDiskPackage(Controller &controller, Fields &disk, Parts &parts, ObjectId drive,
                                    const std::string &id) {
    Fields *odd = parts.Odd("package");
    Object package = MakePart(controller, kPackage, controller.id + '_' + id, odd);
    SetRows(graph.classes, package, kPackage.rows, disk);
    const std::optional<ObjectId> slot = SlotOf(controller, disk, parts);
    if (!parts.Has("package")) return;
    const ObjectId added = AddPart(std::move(package), controller.id + "/disk/" + id + "/package", odd);
    Connect(kRealizes, added, drive);
    if (slot) Connect(kPackageInConnector, *slot, added);
}

std::optional<ObjectId> HardwareReader::SlotOf(Controller &controller, Fields &disk, Parts &parts) {
    const std::optional<std::string> name = disk.Text("enclosure");
    const std::optional<std::uint64_t> number = disk.Number("slot", UINT16_MAX);
    Fields *odd = parts.Odd("slot");
    const Enclosure *enclosure = nullptr;
    if (name) {
        const auto found = controller.enclosures.find(*name);
        if (found == controller.enclosures.end()) disk.Fail(*disk.Find("enclosure"), "no enclosure \"" + *name + '"');
        enclosure = &found->second;
    }
    if (!number || !parts.Has("slot")) return std::nullopt;
    const std::string text = std::to_string(*number);
    if (enclosure != nullptr && enclosure->slots &&
        std::find(enclosure->slots->begin(), enclosure->slots->end(), *number) == enclosure->slots->end()) {
        disk.Fail(*disk.Find("slot"), "enclosure \"" + *name + "\" has no slot " + text);
    }
    const std::string address = controller.id + "/slot/" + name.value_or("") + ':' + text;
    if (const std::optional<ObjectId> taken = Find(address)) {
        if (!disk.Flag("duplicate", false)) disk.Fail(*disk.Find("slot"), "another disk is in slot " + text);
        return taken;
    }
    Object slot =
        MakePart(controller, kSlot, (enclosure != nullptr ? enclosure->tag : controller.id) + "_slot" + text, odd);
    SetText(slot, "ElementName", "Slot " + text);
    SetNumber(graph.classes, slot, "Number", *number);
    const ObjectId added = AddPart(std::move(slot), address, odd);
    if (enclosure != nullptr) Connect(kContainer, enclosure->object, added);
    return added;
}

std::vector<HardwareReader::Pool *> HardwareReader::PoolsOf(const Controller &controller, Fields &device) {
    std::vector<Pool *> of;
    for (const std::string &name : device.Texts("pool")) {
        auto found = poolsByAddress.find(controller.id + "/pool/" + name);
        const std::size_t slash = name.find('/');
        if (found == poolsByAddress.end() && slash != std::string::npos) {
            found = poolsByAddress.find(name.substr(0, slash) + "/pool" + name.substr(slash));
        }
        if (found == poolsByAddress.end()) device.Fail(*device.Find("pool"), "no pool \"" + name + '"');
        of.push_back(found->second);
    }
    return of;
}

void HardwareReader::ReadVolume(Controller &controller, const Json &json, const Kind &kind) {
    Fields fields(json, controller.fields.What(kind.word));
    const std::string id = TextOf(fields.Need("id"), fields.What("id"));
    fields.Rename(Word(controller.id, kind, id));
    Parts parts(fields);
    const std::optional<std::string> raid = fields.Text("raid");
    const std::string address = controller.id + "/volume/" + id;

    const ClassId type = ClassOf(graph.classes, controller.scope, kind, &fields);
    Object volume = MakeObject(graph.classes, controller.scope, kind, type, id);
    SetExtent(graph.classes, volume, fields, StatusOf(fields, kVolumeStates));
    const RaidLevel *level = raid ? RaidLevelNamed(*raid) : nullptr;
    SetNumber(graph.classes, volume, "DataRedundancy", level != nullptr ? level->dataRedundancy : 1);
    SetNumber(graph.classes, volume, "PackageRedundancy", level != nullptr ? level->packageRedundancy : 0);
    SetNumber(graph.classes, volume, "IsBasedOnUnderlyingRedundancy", level != nullptr && level->packageRedundancy > 0);
    SetRows(graph.classes, volume, kind.rows, fields);
    fields.Need("pool");
    const std::vector<Pool *> from = PoolsOf(controller, fields);
    const ObjectId added = Add(std::move(volume), address, fields);
    ConnectDevice(controller, added);

    Fields *odd = parts.Odd("setting");
    if (parts.Has("setting") && (raid || odd != nullptr)) {
        Object setting = MakePart(controller, kSetting, "Sim:" + address + "/setting", odd);
        SetText(setting, "ElementName", raid);
        Connect(kElementSettingData, added, AddPart(std::move(setting), address + "/setting", odd));
    }
    for (const Pool *pool : from) Connect(kAllocatedFromStoragePool, pool->object, added);
    parts.Finish();
    fields.Finish();
}

void HardwareReader::ReadDevice(Controller &controller, const Json &json, const Kind &kind) {
    Fields fields(json, controller.fields.What(kind.word));
    const std::string id = TextOf(fields.Need("id"), fields.What("id"));
    fields.Rename(Word(controller.id, kind, id));
    const ClassId type = ClassOf(graph.classes, controller.scope, kind, &fields);
    Object object = MakeObject(graph.classes, controller.scope, kind, type, id);
    SetStatus(graph.classes, object, StatusOf(fields, kDeviceStates));
    SetRows(graph.classes, object, kind.rows, fields);
    ConnectDevice(controller, Add(std::move(object), controller.id + '/' + kind.word + '/' + id, fields));
    fields.Finish();
}

void HardwareReader::ConnectDevice(const Controller &controller, ObjectId device) {
    if (controller.system) Connect(kSystemDevice, *controller.system, device);
}

} // namespace sim
