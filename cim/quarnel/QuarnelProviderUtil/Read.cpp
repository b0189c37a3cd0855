#include "cim/quarnel/QuarnelProvider.h"

#include <string.h>

namespace {

bool NextElement(const CMPIEnumeration *enumeration, CMPIData *element) {
    CMPIStatus status = kOk;
    if (enumeration == nullptr || !enumeration->ft->hasNext(enumeration, &status) || status.rc != CMPI_RC_OK)
        return false;
    *element = enumeration->ft->getNext(enumeration, &status);
    return status.rc == CMPI_RC_OK;
}

template <class Integer> CMPIUint64 UpTo(CMPIUint64 most, Integer value) {
    return value > 0 && static_cast<CMPIUint64>(value) <= most ? static_cast<CMPIUint64>(value) : 0;
}

} // namespace

CMPIUint64 IntegerIn(const CMPIData &data, CMPIUint64 most) {
    if ((data.state & kAbsent) != 0) return 0;
    switch (data.type) {
    case CMPI_uint8:
        return UpTo(most, data.value.uint8);
    case CMPI_uint16:
        return UpTo(most, data.value.uint16);
    case CMPI_uint32:
        return UpTo(most, data.value.uint32);
    case CMPI_uint64:
        return UpTo(most, data.value.uint64);
    case CMPI_sint8:
        return UpTo(most, data.value.sint8);
    case CMPI_sint16:
        return UpTo(most, data.value.sint16);
    case CMPI_sint32:
        return UpTo(most, data.value.sint32);
    case CMPI_sint64:
        return UpTo(most, data.value.sint64);
    default:
        return 0;
    }
}

bool Next(const CMPIEnumeration *enumeration, CMPIInstance **next) {
    CMPIData element = {};
    if (!NextElement(enumeration, &element)) return false;
    *next = element.type == CMPI_instance ? element.value.inst : nullptr;
    return true;
}

bool Next(const CMPIEnumeration *enumeration, CMPIObjectPath **next) {
    CMPIData element = {};
    if (!NextElement(enumeration, &element)) return false;
    *next = element.type == CMPI_ref ? element.value.ref : nullptr;
    return true;
}

PathText::PathText(const CMPIObjectPath *path) {
    if (path == nullptr) {
        text.Append("NULL");
        return;
    }
    if (const char *nameSpace = TextOf(path->ft->getNameSpace(path, nullptr))) text.Append(nameSpace, ":");
    if (const char *className = ClassNameOf(path)) text.Append(className);
    const CMPICount count = path->ft->getKeyCount(path, nullptr);
    for (CMPICount i = 0; i < count && !text.Full(); ++i) {
        CMPIString *name = nullptr;
        CMPIStatus status = kOk;
        const CMPIData key = path->ft->getKeyAt(path, i, &name, &status);
        if (status.rc != CMPI_RC_OK) continue;
        text.Append(i == 0 ? "." : ",", Shown(TextOf(name)), "=");
        if (Present(key, CMPI_string))
            text.Append("\"", Shown(TextOf(key.value.string)), "\"");
        else if (Present(key, CMPI_boolean))
            text.Append(key.value.boolean != 0 ? "TRUE" : "FALSE");
        else if (Present(key, CMPI_ref))
            text.Append("(reference)");
        else
            text.Append(IntegerIn(key, UINT64_MAX));
    }
}

const char *MessageOf(const CMPIStatus &status) { return Shown(TextOf(status.msg)); }

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
