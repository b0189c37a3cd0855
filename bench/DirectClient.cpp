#include "bench/DirectClient.h"

#include <stdexcept>
#include <thread>

namespace bench {
namespace {

// Up-calls of one thread; what they return is the broker's.
struct Asking {
    const CMPIBroker *broker;
    const CMPIContext *context;

    CMPIObjectPath *NewPath(const char *nameSpace, const char *className) const {
        return broker->eft->newObjectPath(broker, nameSpace, className, nullptr);
    }
    CMPIEnumeration *Instances(const char *nameSpace, const char *className) const {
        return broker->bft->enumerateInstances(broker, context, NewPath(nameSpace, className), nullptr, nullptr);
    }
    CMPIEnumeration *Associators(const CMPIObjectPath *from, const char *association, const char *result) const {
        return broker->bft->associators(broker, context, from, association, result, nullptr, nullptr, nullptr, nullptr);
    }
    CMPIEnumeration *Names(const CMPIObjectPath *from, const char *association, const char *result) const {
        return broker->bft->associatorNames(broker, context, from, association, result, nullptr, nullptr, nullptr);
    }
    CMPIInstance *Get(const CMPIObjectPath *path) const {
        return broker->bft->getInstance(broker, context, path, nullptr, nullptr);
    }
};

CMPIInstance *NextInstance(CMPIEnumeration *from) {
    return from != nullptr && from->ft->hasNext(from, nullptr) ? from->ft->getNext(from, nullptr).value.inst : nullptr;
}
CMPIObjectPath *NextPath(CMPIEnumeration *from) {
    return from != nullptr && from->ft->hasNext(from, nullptr) ? from->ft->getNext(from, nullptr).value.ref : nullptr;
}
CMPIObjectPath *PathOf(const CMPIInstance *instance) { return instance->ft->getObjectPath(instance, nullptr); }

// Calls `visit` with the path of each controller's computer system, after the up-calls that find the port controllers.
template <class Visit> void ForEachController(const Asking &ask, const Visit &visit) {
    CMPIEnumeration *profiles = ask.Instances("root/interop", "CIM_RegisteredProfile");
    while (const CMPIInstance *profile = NextInstance(profiles)) {
        CMPIEnumeration *controllers =
            ask.Associators(PathOf(profile), "CIM_ElementConformsToProfile", "CIM_PortController");
        while (const CMPIInstance *controller = NextInstance(controllers)) {
            const CMPIObjectPath *path = PathOf(controller);
            const CMPIInstance *system =
                NextInstance(ask.Associators(path, "CIM_LogicalIdentity", "CIM_ComputerSystem"));
            if (system == nullptr) throw std::runtime_error("a port controller has no computer system");
            visit(path, PathOf(system));
        }
    }
}

void Touch(const CMPIInstance *instance, std::initializer_list<const char *> properties) {
    for (const char *property : properties) instance->ft->getProperty(instance, property, nullptr);
}

// Every fact that a drive's extent instance shows; false when a step leads nowhere.
bool ReadDrive(const Asking &ask, const CMPIInstance *drive) {
    Touch(drive, {"DeviceID", "OperationalStatus"});
    const CMPIObjectPath *path = PathOf(drive);
    const CMPIInstance *extent = NextInstance(ask.Associators(path, "CIM_MediaPresent", nullptr));
    const CMPIInstance *firmware =
        NextInstance(ask.Associators(path, "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity"));
    const CMPIObjectPath *package = NextPath(ask.Names(path, "CIM_Realizes", "CIM_PhysicalPackage"));
    if (extent == nullptr || firmware == nullptr || package == nullptr) return false;
    Touch(extent, {"NumberOfBlocks", "Primordial", "ExtentStatus"});
    Touch(firmware, {"VersionString"});
    const CMPIInstance *slot = NextInstance(ask.Associators(package, "CIM_PackageInConnector", "CIM_Slot"));
    if (slot == nullptr) return false;
    Touch(slot, {"Number"});
    const CMPIObjectPath *chassis = NextPath(ask.Names(PathOf(slot), "CIM_Container", "CIM_Chassis"));
    const CMPIObjectPath *pool = NextPath(ask.Names(PathOf(extent), "CIM_ConcreteComponent", "CIM_StoragePool"));
    if (chassis == nullptr || pool == nullptr) return false;
    chassis->ft->getKey(chassis, "Tag", nullptr);
    pool->ft->getKey(pool, "InstanceID", nullptr);
    return true;
}

} // namespace

DirectClient::DirectClient(Rig &used) : rig(used) {
    const Invocation invocation(rig);
    const Asking ask = {invocation.Handle(), invocation.Context()};
    ForEachController(ask, [&](const CMPIObjectPath *, const CMPIObjectPath *found) {
        if (system != nullptr) return;
        system = found->ft->clone(found, nullptr);
        CMPIEnumeration *drives = ask.Associators(system, "CIM_SystemDevice", "CIM_DiskDrive");
        while (const CMPIInstance *drive = NextInstance(drives)) {
            const CMPIInstance *extent = NextInstance(ask.Associators(PathOf(drive), "CIM_MediaPresent", nullptr));
            const CMPIObjectPath *path = PathOf(extent);
            extents.push_back(path->ft->clone(path, nullptr));
        }
    });
}

DirectClient::~DirectClient() {
    for (CMPIObjectPath *extent : extents) extent->ft->release(extent);
    if (system != nullptr) system->ft->release(system);
}

std::size_t DirectClient::ReadFacts() const {
    const Invocation invocation(rig);
    const Asking ask = {invocation.Handle(), invocation.Context()};
    CMPIEnumeration *pools = ask.Associators(system, "CIM_HostedStoragePool", "CIM_StoragePool");
    while (const CMPIInstance *pool = NextInstance(pools)) Touch(pool, {"InstanceID", "Primordial"});
    CMPIEnumeration *chassis = ask.Associators(system, "CIM_SystemPackaging", "CIM_Chassis");
    while (const CMPIInstance *one = NextInstance(chassis)) Touch(one, {"Tag"});
    CMPIEnumeration *drives = ask.Associators(system, "CIM_SystemDevice", "CIM_DiskDrive");
    std::size_t read = 0;
    while (const CMPIInstance *drive = NextInstance(drives))
        if (ReadDrive(ask, drive)) ++read;
    return read;
}

void DirectClient::RefreshUpcalls() const {
    const Invocation invocation(rig);
    const CMPIBroker *broker = invocation.Handle();
    CMPIContext *prepared = broker->bft->prepareAttachThread(broker, invocation.Context());
    std::thread([&] {
        broker->bft->attachThread(broker, prepared);
        const Asking ask = {broker, prepared};
        ask.Associators(system, "CIM_HostedStoragePool", "CIM_StoragePool");
        ask.Associators(system, "CIM_SystemDevice", "CIM_DiskDrive");
        for (const CMPIObjectPath *extent : extents) {
            ask.Get(extent);
            ask.Names(extent, "CIM_ConcreteComponent", "CIM_StoragePool");
        }
        broker->bft->detachThread(broker, prepared);
    }).join();
}

void DirectClient::FactoryUpcalls(Rig &rig) {
    const Invocation invocation(rig);
    const Asking ask = {invocation.Handle(), invocation.Context()};
    ask.Instances(kNameSpace, "OMC_UnitaryComputerSystem");
    ForEachController(ask, [&](const CMPIObjectPath *port, const CMPIObjectPath *system) {
        ask.Associators(port, "CIM_Realizes", "CIM_PhysicalPackage");
        ask.Associators(system, "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity");
    });
}

} // namespace bench
