#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Objects.h"

namespace cim {
namespace {

CMPIString *Clone(const CMPIString *from, CMPIStatus *status) {
    const auto &object = ObjectOf<StringObject>(from);
    const FaultPoint fault(object.core, {Operation::Clone});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    return Cloned(std::make_unique<StringObject>(object.core, object.text));
}

const char *GetCharPtr(const CMPIString *from, CMPIStatus *status) {
    const auto &object = ObjectOf<StringObject>(from);
    const FaultPoint fault(object.core, {Operation::GetCharPtr});
    if (fault.Stops(status)) return fault.WantsEmpty() ? "" : nullptr;
    Set(status, CMPI_RC_OK);
    return object.text ? object.text->c_str() : nullptr;
}

} // namespace

const CMPIStringFT kStringTable = {100, ReleaseObject<StringObject>, Clone, GetCharPtr};

CMPIString *LendString(Core &core, std::optional<std::string> text) {
    return Lend(std::make_unique<StringObject>(core, std::move(text)));
}

} // namespace cim
