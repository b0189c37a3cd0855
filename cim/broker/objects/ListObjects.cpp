// Arrays and enumerations.
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

namespace cim {
namespace {

CMPICount GetSize(const CMPIArray *array, CMPIStatus *status) {
    Set(status, CMPI_RC_OK);
    return static_cast<CMPICount>(ObjectOf<ArrayObject>(array).elements.size());
}

CMPIData GetElementAt(const CMPIArray *array, CMPICount index, CMPIStatus *status) {
    const auto &object = ObjectOf<ArrayObject>(array);
    if (index >= object.elements.size()) return Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY, CMPI_badValue);
    Set(status, CMPI_RC_OK);
    return ToCmpi(object.core, object.elements[index], object.fromUpcall);
}

CMPIStatus SetElementAt(const CMPIArray *array, CMPICount index, const CMPIValue *value, CMPIType type) {
    auto &object = ObjectOf<ArrayObject>(array);
    const FaultPoint fault(object.core, {Operation::SetElementAt});
    CMPIStatus status;
    if (fault.Stops(&status)) return status;
    if (index >= object.elements.size()) return {CMPI_RC_ERR_NO_SUCH_PROPERTY, nullptr};
    if (type == CMPI_chars && !object.madeOfChars && object.core.config.unkind.strictArrays)
        return {CMPI_RC_ERR_TYPE_MISMATCH, nullptr};
    std::optional<Value> element = FromCmpi(value, type);
    // An array has one type: unlike a property, its elements take no other width.
    if (!element || (element->type != object.elementType && element->type != CMPI_null))
        return {CMPI_RC_ERR_TYPE_MISMATCH, nullptr};
    element->type = object.elementType;
    object.elements[index] = *std::move(element);
    return status;
}

CMPIData GetNext(const CMPIEnumeration *enumeration, CMPIStatus *status) {
    auto &object = ObjectOf<EnumerationObject>(enumeration);
    if (object.cursor >= object.elements.size()) return Missing(status, CMPI_RC_ERR_NOT_FOUND, CMPI_badValue);
    Set(status, CMPI_RC_OK);
    CMPIData data = ToCmpi(object.core, object.elements[object.cursor++], object.fromUpcall);
    if (object.core.config.unkind.nullStateOfElements) data.state = CMPI_nullValue;
    return data;
}

CMPIBoolean HasNext(const CMPIEnumeration *enumeration, CMPIStatus *status) {
    const auto &object = ObjectOf<EnumerationObject>(enumeration);
    Set(status, CMPI_RC_OK);
    return object.cursor < object.elements.size() ? 1 : 0;
}

// All elements, whatever the cursor has passed.
CMPIArray *ToArray(const CMPIEnumeration *enumeration, CMPIStatus *status) {
    const auto &object = ObjectOf<EnumerationObject>(enumeration);
    const FaultPoint fault(object.core, {Operation::ToArray});
    const bool stopped = fault.Stops(status);
    if (stopped && !fault.WantsEmpty()) return nullptr;
    auto elements = stopped ? Value::Elements() : object.elements;
    return Lend(std::make_unique<ArrayObject>(object.core, object.elementType, std::move(elements)), object.fromUpcall);
}

} // namespace

std::unique_ptr<ArrayObject> ArrayObject::Copy() const {
    auto copy = std::make_unique<ArrayObject>(core, elementType, elements);
    copy->madeOfChars = madeOfChars;
    return copy;
}

const CMPIArrayFT kArrayTable = {
    100, ReleaseObject<ArrayObject>, CloneObject<ArrayObject>, GetSize, kNotSupported, GetElementAt, SetElementAt};

std::unique_ptr<EnumerationObject> EnumerationObject::Copy() const {
    auto copy = std::make_unique<EnumerationObject>(core, elementType, elements);
    copy->cursor = cursor;
    return copy;
}

const CMPIEnumerationFT kEnumerationTable = {
    100, ReleaseObject<EnumerationObject>, CloneObject<EnumerationObject>, GetNext, HasNext, ToArray};

} // namespace cim
