#include "cim/broker/objects/Objects.h"

namespace cim {
namespace {

// A result ends with the call that it was made for.
CMPIStatus Release(CMPIResult *) { return kOk; }

CMPIStatus ReturnInstance(const CMPIResult *result, const CMPIInstance *instance) {
    if (instance == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    auto &object = ObjectOf<ResultObject>(result);
    auto &source = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::ReturnInstance, source.Path()});
    CMPIStatus status;
    if (!fault.Stops(&status)) object.instances.push_back(ShareOf(source));
    return status;
}

CMPIStatus ReturnObjectPath(const CMPIResult *result, const CMPIObjectPath *path) {
    if (path == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    auto &object = ObjectOf<ResultObject>(result);
    const ObjectPath &value = *ObjectOf<ObjectPathObject>(path).value;
    const FaultPoint fault(object.core, {Operation::ReturnObjectPath, &value});
    CMPIStatus status;
    if (!fault.Stops(&status)) object.results.paths.push_back(value);
    return status;
}

CMPIStatus ReturnDone(const CMPIResult *) { return kOk; }

} // namespace

const CMPIResultFT kResultTable = {100,       Release, kNotSupported, kNotSupported, ReturnInstance, ReturnObjectPath,
                                   ReturnDone};

} // namespace cim
