#include "Read.h"

#include "Log.h"

CMPIUint64 IntegerIn(const CMPIData &data, CMPIUint64 most) {
    if ((data.state & (CMPI_nullValue | CMPI_badValue | CMPI_notFound)) != 0) return 0;
    CMPIUint64 value = 0;
    CMPISint64 signedValue = 0;
    switch (data.type) {
    case CMPI_uint8:
        value = data.value.uint8;
        break;
    case CMPI_uint16:
        value = data.value.uint16;
        break;
    case CMPI_uint32:
        value = data.value.uint32;
        break;
    case CMPI_uint64:
        value = data.value.uint64;
        break;
    case CMPI_sint8:
        signedValue = data.value.sint8;
        break;
    case CMPI_sint16:
        signedValue = data.value.sint16;
        break;
    case CMPI_sint32:
        signedValue = data.value.sint32;
        break;
    case CMPI_sint64:
        signedValue = data.value.sint64;
        break;
    default:
        return 0;
    }
    if (signedValue > 0) value = static_cast<CMPIUint64>(signedValue);
    return value <= most ? value : 0;
}

namespace {

bool NextElement(const CMPIEnumeration *enumeration, CMPIData *element) {
    CMPIStatus status = kOk;
    if (enumeration == nullptr || !enumeration->ft->hasNext(enumeration, &status) || status.rc != CMPI_RC_OK)
        return false;
    *element = enumeration->ft->getNext(enumeration, &status);
    return status.rc == CMPI_RC_OK;
}

} // namespace

bool Next(const CMPIEnumeration *enumeration, CMPIInstance **next) {
    CMPIData element = {};
    if (!NextElement(enumeration, &element)) return false;
    *next = Present(element, CMPI_instance) ? element.value.inst : nullptr;
    return true;
}

bool Next(const CMPIEnumeration *enumeration, CMPIObjectPath **next) {
    CMPIData element = {};
    if (!NextElement(enumeration, &element)) return false;
    *next = Present(element, CMPI_ref) ? element.value.ref : nullptr;
    return true;
}

const char *PathText(const CMPIObjectPath *path) {
    return Shown(path != nullptr ? TextOf(path->ft->toString(path, nullptr)) : nullptr);
}

const char *MessageOf(const CMPIStatus &status) { return Shown(TextOf(status.msg)); }
