// Setting properties of a served instance. The broker's answers are ignored.
#pragma once

#include "cim/quarnel/QuarnelProvider.h"

// A text, passed as the characters themselves. A null one leaves the property null.
inline void SetText(CMPIInstance *inst, const char *name, const char *text) {
    if (text != nullptr) inst->ft->setProperty(inst, name, reinterpret_cast<const CMPIValue *>(text), CMPI_chars);
}

template <auto Member, CMPIType Type, class Number> void Set(CMPIInstance *inst, const char *name, Number number) {
    CMPIValue value = {};
    value.*Member = number;
    inst->ft->setProperty(inst, name, &value, Type);
}
constexpr auto SetUint8 = Set<&CMPIValue::uint8, CMPI_uint8, CMPIUint8>;
constexpr auto SetUint16 = Set<&CMPIValue::uint16, CMPI_uint16, CMPIUint16>;
constexpr auto SetUint64 = Set<&CMPIValue::uint64, CMPI_uint64, CMPIUint64>;
constexpr auto SetFlag = Set<&CMPIValue::boolean, CMPI_boolean, bool>;

using Caption = TextBuffer<128>;
// A text as a caption shows it.
inline const char *OrUnknown(const char *text) { return text != nullptr && *text != '\0' ? text : "n/a"; }

// An array of one element; left null when the broker cannot make it.
void SetArray(CMPIInstance *inst, const char *name, CMPIUint16 only);
void SetArray(CMPIInstance *inst, const char *name, const char *only);

inline void SetCaption(CMPIInstance *inst, const TextComposer &caption) {
    SetText(inst, "ElementName", caption.Text());
    SetText(inst, "Caption", caption.Text());
}

inline void SetStatus(CMPIInstance *inst, CMPIUint16 opStatus, CMPIUint16 health) {
    SetArray(inst, "OperationalStatus", opStatus);
    SetUint16(inst, "HealthState", health);
}
