// Small helpers on CMPI values and texts.
#include "cim/quarnel/QuarnelProvider.h"

#include <string.h>

CMPIValue GetArrayProperty(const CMPIInstance *instance, const char *property) {
    CMPIValue first = {};
    const CMPIData data = Read(instance, property);
    const bool array = (data.type & CMPI_ARRAY) != 0 && Present(data, data.type) && data.value.array != nullptr;
    if (!array || data.value.array->ft->getSize(data.value.array, nullptr) == 0) return first;
    CMPIStatus status = kOk;
    const CMPIData element = data.value.array->ft->getElementAt(data.value.array, 0, &status);
    if (status.rc == CMPI_RC_OK) first.uint16 = static_cast<CMPIUint16>(IntegerIn(element, UINT16_MAX));
    return first;
}

int CMStringCmp(const CMPIString *str1, const char *str2) {
    const char *text = TextOf(str1);
    return strcasecmp(text != nullptr ? text : "", str2);
}

char *StringClone(const char *text) {
    if (text == nullptr) return nullptr;
    char *copy = strdup(text);
    if (copy == nullptr) QLOG(LOG_WARNING, "strdup() failed to duplicate string %s\n", text);
    return copy;
}
