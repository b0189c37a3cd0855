#include "cim/quarnel/QuarnelProviderIfc/Set.h"

CMPIArray *ArrayOf(CMPIUint16 only) {
    CMPIArray *array = Broker->eft->newArray(Broker, 1, CMPI_uint16, nullptr);
    if (array == nullptr) return nullptr;
    CMPIValue value = {};
    value.uint16 = only;
    array->ft->setElementAt(array, 0, &value, CMPI_uint16);
    return array;
}

CMPIArray *ArrayOf(const char *only) {
    CMPIArray *array = Broker->eft->newArray(Broker, 1, CMPI_string, nullptr);
    CMPIValue value = {};
    value.string = Broker->eft->newString(Broker, only, nullptr);
    if (array == nullptr || value.string == nullptr) return nullptr;
    // Not the characters themselves: some brokers refuse those as elements of an array of strings.
    array->ft->setElementAt(array, 0, &value, CMPI_string);
    return array;
}
