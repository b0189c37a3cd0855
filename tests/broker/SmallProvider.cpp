// Two providers in a library of their own. Small has one instance MI for one device, whose speed tells how often its
// factory was called since the library was loaded. Late has a thread of its own that makes one up-call, and may be in
// it when the library has long been unloaded, so the library keeps itself mapped.
#include <cmpift.h>

#include <cstdlib>

namespace {

const CMPIBroker *broker;
int factoryCalls = 0;

CMPIStatus Cleanup(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean) {
    const char *answer = std::getenv("SMALL_PROVIDER_CLEANUP");
    return {answer != nullptr ? static_cast<CMPIrc>(std::atoi(answer)) : CMPI_RC_OK, nullptr};
}

CMPIStatus Instances(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *result, const CMPIObjectPath *,
                     const char **) {
    const CMPIObjectPath *path = broker->eft->newObjectPath(broker, "root/small", "T_Disk", nullptr);
    const CMPIInstance *instance = broker->eft->newInstance(broker, path, nullptr);
    CMPIValue calls = CMPIValue();
    calls.uint32 = static_cast<CMPIUint32>(factoryCalls);
    instance->ft->setProperty(instance, "Speed", &calls, CMPI_uint32);
    return result->ft->returnInstance(result, instance);
}

const CMPIInstanceMIFT kTable = {100,     100,     "small", Cleanup, nullptr, Instances,
                                 nullptr, nullptr, nullptr, nullptr, nullptr};
CMPIInstanceMI mi{nullptr, &kTable};

} // namespace

extern "C" __attribute__((visibility("default"))) CMPIInstanceMI *
SmallProvider_Create_InstanceMI(const CMPIBroker *given, const CMPIContext *, CMPIStatus *) {
    broker = given;
    ++factoryCalls;
    return &mi;
}
