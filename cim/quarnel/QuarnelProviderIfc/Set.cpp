#include "cim/quarnel/QuarnelProviderIfc/Set.h"

namespace {

void SetArrayOf(CMPIInstance *inst, const char *name, const CMPIValue &only, CMPIType type, CMPIType arrayType) {
    CMPIValue value = {};
    value.array = Broker->eft->newArray(Broker, 1, type, nullptr);
    if (value.array == nullptr) return;
    value.array->ft->setElementAt(value.array, 0, &only, type);
    inst->ft->setProperty(inst, name, &value, arrayType);
}

} // namespace

void SetArray(CMPIInstance *inst, const char *name, CMPIUint16 only) {
    CMPIValue value = {};
    value.uint16 = only;
    SetArrayOf(inst, name, value, CMPI_uint16, CMPI_uint16A);
}

void SetArray(CMPIInstance *inst, const char *name, const char *only) {
    CMPIValue value = {};
    // Not the characters themselves: some brokers refuse those as elements of an array of strings.
    value.string = Broker->eft->newString(Broker, only, nullptr);
    if (value.string != nullptr) SetArrayOf(inst, name, value, CMPI_string, CMPI_charsA);
}
