#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Objects.h"
#include "cim/broker/routing/Results.h"

namespace cim {
namespace {

// A result ends with the call that it was made for.
CMPIStatus Release(CMPIResult *) { return kOk; }

CMPIResult *Clone(const CMPIResult *, CMPIStatus *status) {
    Set(status, CMPI_RC_ERR_NOT_SUPPORTED);
    return nullptr;
}

CMPIStatus ReturnInstance(const CMPIResult *result, const CMPIInstance *instance) {
    if (instance == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    auto &object = ObjectOf<ResultObject>(result);
    auto &source = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::ReturnInstance, &*source.value->path});
    CMPIStatus status = kOk;
    if (!fault.Stops(&status)) object.instances.push_back(ShareOf(source));
    return status;
}

CMPIStatus ReturnObjectPath(const CMPIResult *result, const CMPIObjectPath *path) {
    if (path == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    auto &object = ObjectOf<ResultObject>(result);
    const ObjectPath &value = *ObjectOf<ObjectPathObject>(path).value;
    const FaultPoint fault(object.core, {Operation::ReturnObjectPath, &value});
    CMPIStatus status = kOk;
    if (!fault.Stops(&status)) object.results.paths.push_back(value);
    return status;
}

// Only methods return anything else, and there are none here.
CMPIStatus ReturnData(const CMPIResult *result, const CMPIValue *value, CMPIType type) {
    if (value != nullptr && type == CMPI_instance) return ReturnInstance(result, value->inst);
    if (value != nullptr && type == CMPI_ref) return ReturnObjectPath(result, value->ref);
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

CMPIStatus ReturnDone(const CMPIResult *) { return kOk; }

} // namespace

const CMPIResultFT kResultTable = {100, Release, Clone, ReturnData, ReturnInstance, ReturnObjectPath, ReturnDone};

} // namespace cim
