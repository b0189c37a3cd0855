#include "Set.h"

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
    if (array != nullptr) array->ft->setElementAt(array, 0, reinterpret_cast<const CMPIValue *>(only), CMPI_chars);
    return array;
}
