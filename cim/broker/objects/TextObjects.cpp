// Strings and dates.
#include "cim/broker/objects/Objects.h"

namespace cim {
namespace {

const char *GetCharPtr(const CMPIString *from, CMPIStatus *status) {
    const auto &object = ObjectOf<StringObject>(from);
    const FaultPoint fault(object.core, {Operation::GetCharPtr});
    if (fault.Stops(status)) return fault.WantsEmpty() ? "" : nullptr;
    return object.text ? object.text->c_str() : nullptr;
}

// The standard's table. Declared here because the project's CMPI declarations leave it out: no provider of the project
// looks into a date.
struct DateTimeTable {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIDateTime *);
    CMPIDateTime *(*clone)(const CMPIDateTime *, CMPIStatus *);
    CMPIUint64 (*getBinaryFormat)(const CMPIDateTime *, CMPIStatus *);
    CMPIString *(*getStringFormat)(const CMPIDateTime *, CMPIStatus *);
    CMPIBoolean (*isInterval)(const CMPIDateTime *, CMPIStatus *);
};
extern const DateTimeTable kDateTimeTable;

struct DateTimeObject : Encapsulated<CMPIDateTime, CMPIDateTimeFT> {
    DateTimeObject(Core &broker, std::string content)
        : Encapsulated(broker, reinterpret_cast<const CMPIDateTimeFT *>(&kDateTimeTable)), text(std::move(content)) {}
    const std::string text;
};

const DateTimeTable kDateTimeTable = {
    100, ReleaseObject<DateTimeObject>, kNotSupported, kNotSupported, kNotSupported, kNotSupported};

} // namespace

const CMPIStringFT kStringTable = {100, ReleaseObject<StringObject>, CloneObject<StringObject>, GetCharPtr};

CMPIString *LendString(Core &core, std::optional<std::string> text) {
    return Lend(std::make_unique<StringObject>(core, std::move(text)));
}

CMPIString *LendString(const FaultPoint &fault, Core &core, CMPIStatus *status, std::optional<std::string> text) {
    if (!fault.Stops(status)) return LendString(core, std::move(text));
    return fault.WantsEmpty() ? LendString(core, "") : nullptr;
}

CMPIDateTime *LendDateTime(Core &core, std::string text) {
    return Lend(std::make_unique<DateTimeObject>(core, std::move(text)));
}

const std::string &TextOf(const CMPIDateTime *dateTime) { return ObjectOf<DateTimeObject>(dateTime).text; }

} // namespace cim
