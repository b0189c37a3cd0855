// Setting properties of a served instance, one typed setter each. What the broker says to it is not looked at.
#pragma once

#include "cim/quarnel/QuarnelProvider.h"

// A text, passed as the characters themselves. A null one leaves the property null.
inline void SetText(CMPIInstance *inst, const char *name, const char *text) {
    if (text != nullptr) inst->ft->setProperty(inst, name, reinterpret_cast<const CMPIValue *>(text), CMPI_chars);
}

inline void SetUint8(CMPIInstance *inst, const char *name, CMPIUint8 number) {
    CMPIValue value = {};
    value.uint8 = number;
    inst->ft->setProperty(inst, name, &value, CMPI_uint8);
}

inline void SetUint16(CMPIInstance *inst, const char *name, CMPIUint16 number) {
    CMPIValue value = {};
    value.uint16 = number;
    inst->ft->setProperty(inst, name, &value, CMPI_uint16);
}

inline void SetUint64(CMPIInstance *inst, const char *name, CMPIUint64 number) {
    CMPIValue value = {};
    value.uint64 = number;
    inst->ft->setProperty(inst, name, &value, CMPI_uint64);
}

inline void SetFlag(CMPIInstance *inst, const char *name, bool flag) {
    CMPIValue value = {};
    value.boolean = flag ? 1 : 0;
    inst->ft->setProperty(inst, name, &value, CMPI_boolean);
}

// Arrays of one element; null when the broker cannot make one.
CMPIArray *ArrayOf(CMPIUint16 only);
CMPIArray *ArrayOf(const char *only);

// An array that could not be made leaves the property null.
inline void SetArray(CMPIInstance *inst, const char *name, CMPIArray *array, CMPIType type) {
    if (array == nullptr) return;
    CMPIValue value = {};
    value.array = array;
    inst->ft->setProperty(inst, name, &value, type);
}
