// What the CIM object manager sees first: the factory, the instance MI with its function table, and the operations that
// are refused.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

namespace {

constexpr CMPIStatus kNotSupported = {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};

CMPIStatus QuarnelProviderCreateInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                                         const CMPIObjectPath *, const CMPIInstance *) {
    return kNotSupported;
}

CMPIStatus QuarnelProviderModifyInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                                         const CMPIObjectPath *, const CMPIInstance *, const char **) {
    return kNotSupported;
}

CMPIStatus QuarnelProviderDeleteInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                                         const CMPIObjectPath *) {
    return kNotSupported;
}

CMPIStatus QuarnelProviderExecQuery(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                                    const char *, const char *) {
    return kNotSupported;
}

constexpr int kVersion = 100; // CMPI 1.0

const CMPIInstanceMIFT instMIFT__ = {
    kVersion,
    kVersion,
    "instanceQuarnelProvider",
    QuarnelProviderCleanup,
    QuarnelProviderEnumInstanceNames,
    QuarnelProviderEnumInstances,
    QuarnelProviderGetInstance,
    QuarnelProviderCreateInstance,
    QuarnelProviderModifyInstance,
    QuarnelProviderDeleteInstance,
    QuarnelProviderExecQuery,
};

CMPIInstanceMI instMI = {nullptr, &instMIFT__};

} // namespace

// The library's only entry point. Never null, never writes `rc`: a provider that could not start serves an empty model
// and tries again at the next call.
extern "C" __attribute__((visibility("default"))) CMPIInstanceMI *
QuarnelProvider_Create_InstanceMI(const CMPIBroker *broker, const CMPIContext *ctx, CMPIStatus *) {
    Broker = broker;
    ReadLogMask();
    QuarnelProviderInit(&instMI, ctx);
    InitCompleteTime = time(nullptr);
    return &instMI;
}
