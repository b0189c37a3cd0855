#include "cim/recording/VendorModel.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace cim {

namespace {

constexpr const char *kProfileClass = "CIM_RegisteredProfile";
constexpr const char *kProfileName = "Host Hardware RAID Controller";
constexpr std::size_t kLongestDescent = 32; // of a class, against servers whose superclasses go round in circles

// What an object is to the walk; what it is not asked for further is Leaf.
enum class Place : unsigned char { Leaf, Profile, Controller, System, Device, Disk, Volume, Extent, Package, Slot };

// Where a place leads: the provider's reads, in its order.
struct WalkStep {
    Place from, to;
    bool names;     // paths are all that is read
    bool firstOnly; // of the objects, the first is followed further
    const char *association;
    const char *result; // class; empty: any
    const char *fromRole, *toRole;
};
constexpr WalkStep kSteps[] = {
    {Place::Profile, Place::Controller, false, false, "CIM_ElementConformsToProfile", "CIM_PortController",
     "ConformantStandard", "ManagedElement"},
    {Place::Controller, Place::System, false, true, "CIM_LogicalIdentity", "CIM_ComputerSystem", "SystemElement",
     "SameElement"},
    {Place::Controller, Place::Leaf, false, false, "CIM_Realizes", "CIM_PhysicalPackage", "Dependent", "Antecedent"},
    {Place::System, Place::Leaf, false, false, "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity", "Dependent",
     "Antecedent"},
    {Place::System, Place::Leaf, false, false, "CIM_HostedStoragePool", "CIM_StoragePool", "GroupComponent",
     "PartComponent"},
    {Place::System, Place::Leaf, false, false, "CIM_SystemPackaging", "CIM_Chassis", "Dependent", "Antecedent"},
    {Place::System, Place::Device, false, false, "CIM_SystemDevice", "", "GroupComponent", "PartComponent"},
    {Place::Disk, Place::Extent, false, true, "CIM_MediaPresent", "", "Antecedent", "Dependent"},
    {Place::Disk, Place::Leaf, false, false, "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity", "Dependent",
     "Antecedent"},
    {Place::Disk, Place::Package, true, true, "CIM_Realizes", "CIM_PhysicalPackage", "Dependent", "Antecedent"},
    {Place::Package, Place::Slot, false, true, "CIM_PackageInConnector", "CIM_Slot", "Dependent", "Antecedent"},
    {Place::Slot, Place::Leaf, true, false, "CIM_Container", "CIM_Chassis", "PartComponent", "GroupComponent"},
    {Place::Extent, Place::Leaf, true, false, "CIM_ConcreteComponent", "CIM_StoragePool", "PartComponent",
     "GroupComponent"},
    {Place::Volume, Place::Leaf, false, false, "CIM_ElementSettingData", "CIM_StorageSetting", "ManagedElement",
     "SettingData"},
    {Place::Volume, Place::Leaf, true, false, "CIM_AllocatedFromStoragePool", "CIM_StoragePool", "Dependent",
     "Antecedent"},
};

// Ends the walk.
struct Stop {
    Status status;
};

// Equal texts, equal paths.
std::string IdentityOf(ObjectPath path) {
    path.host.clear();
    path.nameSpace = LowerCase(path.nameSpace);
    path.className = LowerCase(path.className);
    for (NamedValue &key : path.keys) key.name = LowerCase(key.name);
    std::stable_sort(path.keys.begin(), path.keys.end(),
                     [](const NamedValue &a, const NamedValue &b) { return a.name < b.name; });
    return path.ToString();
}

class Walker {
public:
    Walker(Connection &asked, const WalkOptions &given, VendorModel &filled, WalkProgress &counted,
           const std::function<void(const WalkProgress &)> &shown)
        : server(asked), options(given), model(filled), progress(counted), show(shown) {}

    void Run() {
        const std::string what = fmt::format("{} in {}", kProfileClass, options.interop);
        for (const std::size_t profile : Meet(Ask(what, server.EnumerateInstances(options.interop, kProfileClass)))) {
            const Value *name = model.objects[profile].Property("RegisteredName");
            const auto *text = name != nullptr ? name->As<std::string>() : nullptr;
            if (text != nullptr && *text == kProfileName) Visit(Place::Profile, profile);
        }
    }

private:
    Stop StoppedAt(const std::string &what, const Status &status) const {
        return {{status.rc, fmt::format("stopped after {} requests and {} objects, at {}: {}", progress.requests,
                                        progress.objects, what, status.message)}};
    }

    // Without an answer the walk ends here, or goes on without.
    template <class T> T Ask(const std::string &what, Answer<T> &&answer) {
        if (!answer.Ok()) {
            if (!options.skipRefused || answer.status.rc == kNoAnswer) throw StoppedAt(what, answer.status);
            progress.refused.push_back(fmt::format("{}: {}", what, answer.status.message));
        }
        ++progress.requests;
        show(progress);
        return std::move(answer.value);
    }

    // The objects of one answer. What is there twice in it is two objects.
    template <class Told> std::vector<std::size_t> Meet(const std::vector<Told> &answer) {
        std::map<std::string, int> seen;
        std::vector<std::size_t> objects;
        for (const Told &told : answer) {
            std::string identity = IdentityOf(PathOf(told));
            if (const int before = seen[identity]++; before > 0) identity += fmt::format("#{}", before);
            const auto [known, isNew] = byIdentity.emplace(std::move(identity), model.objects.size());
            if (isNew) {
                ObjectPath path = PathOf(told);
                if (!path.host.empty()) model.hosts.insert(std::exchange(path.host, {}));
                model.objects.push_back({std::move(path), {}});
                LearnClass(PathOf(told).nameSpace, PathOf(told).className);
                ++progress.objects;
            }
            Keep(model.objects[known->second], told);
            objects.push_back(known->second);
        }
        return objects;
    }

    static const ObjectPath &PathOf(const ObjectPath &path) { return path; }
    static const ObjectPath &PathOf(const Instance &instance) { return instance.path; }
    static void Keep(Instance &, const ObjectPath &) {}
    static void Keep(Instance &object, const Instance &told) {
        if (object.properties.empty()) object.properties = told.properties;
    }

    // A class that the simulated vendor does not know, and those between it and one that it knows.
    void LearnClass(const std::string &nameSpace, const std::string &className) {
        std::vector<ClassDeclaration> unknown;
        for (std::string name = className; !name.empty() && model.classes.Find(name) == sim::kNoClass;
             name = unknown.back().superclass) {
            const std::string what = "class " + name;
            if (unknown.size() == kLongestDescent) throw StoppedAt(what, {kNoAnswer, "its superclasses do not end"});
            unknown.push_back(Ask(what, server.GetClass(nameSpace, name)));
            unknown.back().name = name;
        }
        for (; !unknown.empty(); unknown.pop_back()) {
            const ClassDeclaration &declaration = unknown.back();
            const sim::ClassId super = model.classes.Find(declaration.superclass);
            sim::Classes::Properties own;
            for (const PropertyDeclaration &property : declaration.properties) {
                const bool typed = ElementType(property.type) != CMPI_null;
                if (!typed || model.classes.TypeOf(super, property.name) == property.type) continue;
                own.emplace_back(property.name, property.type);
            }
            model.classes.Add(declaration.name, super, std::move(own));
        }
    }

    bool IsA(std::size_t object, const char *base) const {
        return model.classes.IsA(model.classes.Find(model.objects[object].path->className), model.classes.Find(base));
    }

    // Where an object is gone on from; Leaf: it is not, or it has been already.
    Place Enter(Place place, std::size_t object) {
        if (place == Place::Device) {
            place = IsA(object, "CIM_StorageVolume") ? Place::Volume
                    : IsA(object, "CIM_DiskDrive")   ? Place::Disk
                                                     : Place::Leaf;
        }
        if (place == Place::Leaf || !entered.emplace(place, IdentityOf(model.objects[object].path)).second) {
            return Place::Leaf;
        }
        if (place == Place::Controller) ++progress.controllers;
        if (place == Place::Volume || place == Place::Disk) ++progress.devicesKnown;
        return place;
    }

    void Visit(Place place, std::size_t object) {
        for (const WalkStep &step : kSteps) {
            if (step.from == place) Follow(step, object);
        }
        if (place == Place::Extent) ReadAgain(model.objects[object]);
        if (place == Place::Volume || place == Place::Disk) ++progress.devices;
    }

    void Follow(const WalkStep &step, std::size_t from) {
        const ObjectPath source = model.objects[from].path;
        const std::string what = fmt::format("{} of {}", step.association, source.ToString());
        const std::vector<std::size_t> found =
            step.names ? Meet(Ask(what, server.AssociatorNames(source, step.association, step.result)))
                       : Meet(Ask(what, server.Associators(source, step.association, step.result)));
        std::vector<std::pair<Place, std::size_t>> next;
        for (std::size_t i = 0; i < found.size(); ++i) {
            model.links.push_back({step.association, {{step.fromRole, from}, {step.toRole, found[i]}}});
            if (i == 0 || !step.firstOnly) next.emplace_back(Enter(step.to, found[i]), found[i]);
        }
        for (const auto &[place, object] : next) Visit(place, object);
    }

    // An extent's status is what a request for it alone answers, once the provider looks again.
    void ReadAgain(Instance &extent) {
        const char *const status = "ExtentStatus";
        const Instance again = Ask(extent.path->ToString(), server.GetInstance(extent.path));
        if (again.path->className.empty()) return; // refused
        const auto named = [&](const NamedValue &property) { return SameName(property.name, status); };
        const auto known = std::find_if(extent.properties.begin(), extent.properties.end(), named);
        const Value *now = again.Property(status);
        if (known != extent.properties.end() && now == nullptr) {
            extent.properties.erase(known);
        } else if (known != extent.properties.end()) {
            known->value = *now;
        } else if (now != nullptr) {
            extent.properties.push_back({status, *now});
        }
    }

    Connection &server;
    const WalkOptions &options;
    VendorModel &model;
    WalkProgress &progress;
    const std::function<void(const WalkProgress &)> &show;
    std::map<std::string, std::size_t> byIdentity; // of all objects
    std::set<std::pair<Place, std::string>> entered;
};

} // namespace

Status Walk(Connection &server, const WalkOptions &options, VendorModel *model, WalkProgress *progress,
            const std::function<void(const WalkProgress &)> &show) {
    try {
        Walker(server, options, *model, *progress, show).Run();
    } catch (const Stop &stop) {
        return stop.status;
    }
    return {};
}

} // namespace cim
