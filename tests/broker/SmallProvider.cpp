// A provider in a library of its own: one instance MI for one device, whose caption tells how often the library was
// loaded into the process's life of it.
#include <cmpift.h>

#include <cstdlib>

namespace {

const CMPIBroker *broker;
int factoryCalls = 0; // since the library was loaded

CMPIStatus Return(const CMPIResult *result, const CMPIObjectPath *from, bool nameOnly) {
    const CMPIString *nameSpace = from->ft->getNameSpace(from, nullptr);
    CMPIObjectPath *path =
        broker->eft->newObjectPath(broker, nameSpace->ft->getCharPtr(nameSpace, nullptr), "T_Disk", nullptr);
    path->ft->addKey(path, "ID", reinterpret_cast<const CMPIValue *>("small"), CMPI_chars);
    if (nameOnly) return result->ft->returnObjectPath(result, path);
    CMPIInstance *instance = broker->eft->newInstance(broker, path, nullptr);
    CMPIValue calls = CMPIValue();
    calls.uint32 = static_cast<CMPIUint32>(factoryCalls);
    instance->ft->setProperty(instance, "Speed", &calls, CMPI_uint32);
    return result->ft->returnInstance(result, instance);
}

CMPIStatus Cleanup(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean) {
    const char *answer = std::getenv("SMALL_PROVIDER_CLEANUP");
    return {answer != nullptr ? static_cast<CMPIrc>(std::atoi(answer)) : CMPI_RC_OK, nullptr};
}

CMPIStatus Names(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *path) {
    return Return(result, path, true);
}

CMPIStatus Instances(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *path,
                     const char **) {
    return Return(result, path, false);
}

const CMPIInstanceMIFT kTable = {100,       100,     "small", Cleanup, Names,  Instances,
                                 Instances, nullptr, nullptr, nullptr, nullptr};
CMPIInstanceMI mi{nullptr, &kTable};

} // namespace

extern "C" __attribute__((visibility("default"))) CMPIInstanceMI *
SmallProvider_Create_InstanceMI(const CMPIBroker *given, const CMPIContext *, CMPIStatus *) {
    broker = given;
    ++factoryCalls;
    return &mi;
}
