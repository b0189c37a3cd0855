#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"
#include "cim/include/cmpiflush.h"

#include <algorithm>

namespace cim {
namespace {

NamedValue *FindEntry(std::vector<NamedValue> &entries, std::string_view name) {
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const NamedValue &entry) { return entry.name == name; });
    return found != entries.end() ? &*found : nullptr;
}

// A prepared context that no thread has attached is the provider's to free; a call's is not.
CMPIStatus Release(CMPIContext *context) {
    auto &object = ObjectOf<ContextObject>(context);
    if (object.prepared) {
        if (object.attached != nullptr || !object.core.Forget(&object)) return {CMPI_RC_ERR_FAILED, nullptr};
        delete &object;
    } else {
        object.Release();
    }
    return kOk;
}

CMPIContext *Clone(const CMPIContext *from, CMPIStatus *status) {
    const auto &object = ObjectOf<ContextObject>(from);
    Set(status, CMPI_RC_OK);
    return Cloned(std::make_unique<ContextObject>(object.core, object.provider, object.entries));
}

CMPIData GetEntry(const CMPIContext *context, const char *name, CMPIStatus *status) {
    auto &object = ObjectOf<ContextObject>(context);
    const NamedValue *entry = name != nullptr ? FindEntry(object.entries, name) : nullptr;
    if (entry == nullptr) return Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    Set(status, CMPI_RC_OK);
    return ToCmpi(object.core, entry->value);
}

CMPIData GetEntryAt(const CMPIContext *context, CMPICount index, CMPIString **name, CMPIStatus *status) {
    const auto &object = ObjectOf<ContextObject>(context);
    if (index >= object.entries.size()) return Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    Set(status, CMPI_RC_OK);
    if (name != nullptr) *name = LendString(object.core, object.entries[index].name);
    return ToCmpi(object.core, object.entries[index].value);
}

CMPICount GetEntryCount(const CMPIContext *context, CMPIStatus *status) {
    Set(status, CMPI_RC_OK);
    return static_cast<CMPICount>(ObjectOf<ContextObject>(context).entries.size());
}

CMPIStatus AddEntry(const CMPIContext *context, const char *name, const CMPIValue *value, CMPIType type) {
    auto &object = ObjectOf<ContextObject>(context);
    std::optional<Value> given = FromCmpi(value, type);
    if (name == nullptr || !given) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    if (NamedValue *known = FindEntry(object.entries, name))
        known->value = *std::move(given);
    else
        object.entries.push_back({name, *std::move(given)});
    return kOk;
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

const Table kTable = {{100, Release, Clone, GetEntry, GetEntryAt, GetEntryCount, AddEntry}, kBehind};

} // namespace

const CMPIContextFT *ContextTable() { return &kTable.standard; }

} // namespace cim
