#include "cim/broker/objects/DateTime.h"

#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Objects.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace cim {
namespace {

constexpr CMPIUint64 kMicro = 1000000;

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

bool IsInterval(const std::string &text) { return text[21] == ':'; }

CMPIUint64 Number(const std::string &text, std::size_t from, std::size_t length) {
    return std::strtoull(text.substr(from, length).c_str(), nullptr, 10);
}

CMPIUint64 Binary(const std::string &text) {
    const CMPIUint64 micros = Number(text, 15, 6);
    if (IsInterval(text)) {
        const CMPIUint64 hours = Number(text, 0, 8) * 24 + Number(text, 8, 2);
        return ((hours * 60 + Number(text, 10, 2)) * 60 + Number(text, 12, 2)) * kMicro + micros;
    }
    std::tm parts{};
    parts.tm_year = static_cast<int>(Number(text, 0, 4)) - 1900;
    parts.tm_mon = static_cast<int>(Number(text, 4, 2)) - 1;
    parts.tm_mday = static_cast<int>(Number(text, 6, 2));
    parts.tm_hour = static_cast<int>(Number(text, 8, 2));
    parts.tm_min = static_cast<int>(Number(text, 10, 2));
    parts.tm_sec = static_cast<int>(Number(text, 12, 2));
    const auto offset = static_cast<std::time_t>(Number(text, 22, 3) * 60);
    const std::time_t seconds = timegm(&parts) - (text[21] == '-' ? -offset : offset);
    return static_cast<CMPIUint64>(seconds) * kMicro + micros;
}

const DateTimeTable kDateTimeTable = {
    100,
    ReleaseObject<DateTimeObject>,
    [](const CMPIDateTime *from, CMPIStatus *status) {
        const auto &object = ObjectOf<DateTimeObject>(from);
        Set(status, CMPI_RC_OK);
        return Cloned(std::make_unique<DateTimeObject>(object.core, object.text));
    },
    [](const CMPIDateTime *from, CMPIStatus *status) {
        Set(status, CMPI_RC_OK);
        return Binary(TextOf(from));
    },
    [](const CMPIDateTime *from, CMPIStatus *status) {
        Set(status, CMPI_RC_OK);
        return LendString(ObjectOf<DateTimeObject>(from).core, TextOf(from));
    },
    [](const CMPIDateTime *from, CMPIStatus *status) -> CMPIBoolean {
        Set(status, CMPI_RC_OK);
        return IsInterval(TextOf(from)) ? 1 : 0;
    },
};

} // namespace

CMPIDateTime *LendDateTime(Core &core, std::string text) {
    return Lend(std::make_unique<DateTimeObject>(core, std::move(text)));
}

const std::string &TextOf(const CMPIDateTime *dateTime) { return ObjectOf<DateTimeObject>(dateTime).text; }

std::string DateTimeText(CMPIUint64 microseconds, bool interval) {
    char text[64];
    const unsigned micros = static_cast<unsigned>(microseconds % kMicro);
    const CMPIUint64 seconds = microseconds / kMicro;
    if (interval) {
        std::snprintf(text, sizeof text, "%08llu%02llu%02llu%02llu.%06u:000", seconds / 86400 % 100000000,
                      seconds / 3600 % 24, seconds / 60 % 60, seconds % 60, micros);
        return text;
    }
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d.%06u+000", (parts.tm_year + 1900) % 10000,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, micros);
    return text;
}

bool IsDateTimeText(const std::string &text) {
    if (text.size() != 25 || text[14] != '.' || (text[21] != '+' && text[21] != '-' && text[21] != ':')) return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (i != 14 && i != 21 && (text[i] < '0' || text[i] > '9') && text[i] != '*') return false;
    return true;
}

} // namespace cim
