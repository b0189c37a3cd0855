// What a controller has: disks, volumes, ports, batteries and the rest.
#include "cim/simhhrc/Hardware.h"

#include <algorithm>

namespace sim {
namespace {

constexpr std::uint64_t kBlockSize = 512;

// The members "size" and "blocks", of which an entry has one at most.
std::optional<std::uint64_t> BlocksOf(Fields &fields) {
    const JsonValue *size = fields.Find("size");
    const std::optional<std::uint64_t> blocks = fields.Number("blocks");
    if (size == nullptr) return blocks;
    if (blocks) fields.Fail("has both \"size\" and \"blocks\"");
    return BytesOf(*size, fields.What("size")) / kBlockSize;
}

// What disks' media and volumes have in common.
void SetExtent(Element &extent, Fields &fields, const Condition &condition) {
    const std::optional<std::uint64_t> blocks = BlocksOf(fields);
    const std::optional<std::uint64_t> consumable = fields.Number("consumableBlocks");
    if (blocks) extent.Set("NumberOfBlocks", *blocks);
    if (blocks || consumable) extent.Set("ConsumableBlocks", consumable ? *consumable : *blocks);
    const JsonValue *stated = fields.Find("extentStatus");
    const std::string what = fields.What("extentStatus");
    if (stated != nullptr && stated->As<JsonValue::List>() != nullptr) {
        Put(extent.node.properties, "ExtentStatus", DatumOf(*stated, CMPI_uint16A, what));
    } else {
        extent.Set("ExtentStatus", stated != nullptr ? NumberOf(*stated, what, UINT16_MAX) : condition.extent);
    }
}

} // namespace

void HardwareReader::ReadDevice(Controller &controller, Entry &device) {
    Add(&controller, device, Make(controller.system, device, device.id));
}

void HardwareReader::ReadDisk(Controller &controller, Entry &disk) {
    const NodeId drive = Add(&controller, disk, Make(controller.system, disk, disk.id));
    AddMedia(controller, disk, drive);
    AddFirmware(controller, disk, drive);
    AddPackage(controller, disk, drive);
}

void HardwareReader::AddMedia(Controller &controller, Entry &disk, NodeId drive) {
    Fields &fields = disk.fields;
    std::vector<Pool *> of = PoolsOf(controller, fields);
    if (fields.Find("pool") == nullptr) {
        if (controller.firstPrimordial == nullptr) fields.Fail("\"pool\" is missing, and there is no primordial pool");
        of.push_back(controller.firstPrimordial);
    }
    const bool inPrimordial = !of.empty() && of.front()->primordial;
    const Condition condition = ConditionOf(fields, *disk.kind.states);
    if (condition.needs != KnownState::Needs::Nothing && !of.empty() &&
        inPrimordial != (condition.needs == KnownState::Needs::PrimordialPool)) {
        fields.Fail(*fields.Find("status"), "status \"" + *fields.Text("status") + "\" needs a pool that is " +
                                                (inPrimordial ? "not primordial" : "primordial"));
    }
    Element media = MakePart(controller, kMedia, disk.id, disk, "media");
    media.Set(condition);
    SetExtent(media, fields, condition);
    media.Set("Primordial", fields.Flag("primordial", inPrimordial));
    const std::optional<NodeId> extent = AddPart(std::move(media), disk, "media", disk.address + "/media");
    if (!extent) return;
    Connect(kMediaPresent, drive, *extent);
    for (Pool *pool : of) {
        Connect(kConcreteComponent, pool->node, *extent);
        pool->bytes += BlocksOf(fields).value_or(0) * kBlockSize;
    }
}

void HardwareReader::AddFirmware(Controller &controller, Entry &disk, NodeId drive) {
    std::string address = disk.address + "/firmware";
    std::size_t number = 0;
    disk.PartOf("firmware"); // even when there is none, it may be named
    for (const std::string &version : disk.fields.Texts("firmware")) {
        Element identity = MakePart(controller, kSoftware, "Sim:" + address, disk, "firmware");
        identity.Set("VersionString", version);
        const std::optional<NodeId> added = AddPart(std::move(identity), disk, "firmware", address);
        if (added) Connect(kElementSoftwareIdentity, *added, drive);
        address = disk.address + "/firmware/" + std::to_string(++number);
    }
}

void HardwareReader::AddPackage(Controller &controller, Entry &disk, NodeId drive) {
    Element package = MakePart(controller, kPackage, controller.entry.id + '_' + disk.id, disk, "package");
    package.SetMembers(kPackage, disk.fields);
    const std::optional<NodeId> slot = SlotOf(controller, disk);
    const auto added = AddPart(std::move(package), disk, "package", disk.address + "/package");
    if (!added) return;
    Connect(kRealizes, *added, drive);
    if (slot) Connect(kPackageInConnector, *slot, *added);
}

std::optional<NodeId> HardwareReader::SlotOf(Controller &controller, Entry &disk) {
    Fields &fields = disk.fields;
    const std::optional<std::string> name = fields.Text("enclosure");
    const std::optional<std::uint64_t> number = fields.Number("slot", UINT16_MAX);
    const bool exists = disk.PartOf("slot").exists;
    const Enclosure *enclosure = nullptr;
    if (name) {
        const auto found = controller.enclosures.find(*name);
        if (found == controller.enclosures.end())
            fields.Fail(*fields.Find("enclosure"), "no enclosure \"" + *name + '"');
        enclosure = &found->second;
    }
    if (!number || !exists) return std::nullopt;
    const std::string text = std::to_string(*number);
    if (enclosure != nullptr && enclosure->slots &&
        std::find(enclosure->slots->begin(), enclosure->slots->end(), *number) == enclosure->slots->end()) {
        fields.Fail(*fields.Find("slot"), "enclosure \"" + *name + "\" has no slot " + text);
    }
    const std::string address = controller.entry.id + "/slot/" + name.value_or("") + ':' + text;
    if (const std::optional<NodeId> taken = Find(address)) {
        if (!fields.Flag("duplicate", false)) fields.Fail(*fields.Find("slot"), "another disk is in slot " + text);
        return taken;
    }
    const std::string &place = enclosure != nullptr ? enclosure->tag : controller.entry.id;
    Element slot = MakePart(controller, kSlot, place + "_slot" + text, disk, "slot");
    slot.Set("ElementName", "Slot " + text);
    slot.Set("Number", *number);
    const std::optional<NodeId> added = AddPart(std::move(slot), disk, "slot", address);
    if (enclosure != nullptr) Connect(kContainer, enclosure->node, *added);
    return added;
}

std::vector<HardwareReader::Pool *> HardwareReader::PoolsOf(const Controller &controller, Fields &device) {
    std::vector<Pool *> of;
    for (const std::string &name : device.Texts("pool")) {
        auto found = poolsByAddress.find(controller.entry.id + "/pool/" + name);
        const std::size_t slash = name.find('/');
        if (found == poolsByAddress.end() && slash != std::string::npos)
            found = poolsByAddress.find(name.substr(0, slash) + "/pool" + name.substr(slash));
        if (found == poolsByAddress.end()) device.Fail(*device.Find("pool"), "no pool \"" + name + '"');
        of.push_back(found->second);
    }
    return of;
}

void HardwareReader::ReadVolume(Controller &controller, Entry &volume) {
    Fields &fields = volume.fields;
    const std::optional<std::string> raid = fields.Text("raid");
    const RaidLevel &level = RaidLevelNamed(raid);
    Element element = Make(controller.system, volume, volume.id);
    SetExtent(element, fields, ConditionOf(fields, *volume.kind.states));
    element.Set("DataRedundancy", level.dataRedundancy);
    element.Set("PackageRedundancy", level.packageRedundancy);
    element.Set("IsBasedOnUnderlyingRedundancy", level.packageRedundancy > 0);
    element.SetMembers(volume.kind, fields); // again: they overrule the level's
    fields.Need("pool");
    const std::vector<Pool *> from = PoolsOf(controller, fields);
    const NodeId added = Add(&controller, volume, std::move(element));

    const std::string address = volume.address + "/setting";
    if (raid || volume.PartOf("setting").odd != nullptr) {
        Element setting = MakePart(controller, kSetting, "Sim:" + address, volume, "setting");
        setting.Set("ElementName", raid);
        const std::optional<NodeId> settingId = AddPart(std::move(setting), volume, "setting", address);
        if (settingId) Connect(kElementSettingData, added, *settingId);
    }
    for (const Pool *pool : from) Connect(kAllocatedFromStoragePool, pool->node, added);
}

} // namespace sim
