// What a provider is called with: its context and where its results go.
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"
#include "cim/include/cmpiflush.h"

#include <algorithm>

namespace cim {
namespace {

// A prepared context that no thread has attached is the provider's to free; a call's is not.
CMPIStatus Release(CMPIContext *context) {
    auto &object = ObjectOf<ContextObject>(context);
    if (!object.prepared) return kOk;
    if (object.attached != nullptr || !object.core.Forget(&object)) return {CMPI_RC_ERR_FAILED, nullptr};
    delete &object;
    return kOk;
}

CMPIData GetEntry(const CMPIContext *context, const char *name, CMPIStatus *status) {
    auto &object = ObjectOf<ContextObject>(context);
    const auto entry = std::find_if(object.entries.begin(), object.entries.end(),
                                    [&](const NamedValue &each) { return name != nullptr && each.name == name; });
    if (entry == object.entries.end()) return Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    Set(status, CMPI_RC_OK);
    return ToCmpi(object.core, entry->value);
}

#ifdef QUARNEL_CONTEXT_FLUSH
CMPIStatus Flush(const CMPIContext *context) {
    auto &object = ObjectOf<ContextObject>(context);
    Threads::Mine().Flush(object.core, object);
    return kOk;
}

using Table = CMPIContextFlushFT;
constexpr auto kBehind = Flush;
#else
// The standard's table ends with addEntry, and what follows is somebody else's memory. Here it is an address that no
// process has, so that a call through it is found out at once.
struct Table {
    CMPIContextFT standard;
    std::uintptr_t behind;
};
constexpr std::uintptr_t kBehind = 0xdead0000dead0000;
#endif

const Table kTable = {{100, Release, kNotSupported, GetEntry, kNotSupported, kNotSupported, kNotSupported}, kBehind};

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

const CMPIContextFT *ContextTable() { return &kTable.standard; }

const CMPIResultFT kResultTable = {100,       Release, kNotSupported, kNotSupported, ReturnInstance, ReturnObjectPath,
                                   ReturnDone};

} // namespace cim
