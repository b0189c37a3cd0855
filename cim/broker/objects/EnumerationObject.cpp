#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

namespace cim {
namespace {

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

std::unique_ptr<EnumerationObject> EnumerationObject::Copy() const {
    auto copy = std::make_unique<EnumerationObject>(core, elementType, elements);
    copy->cursor = cursor;
    return copy;
}

const CMPIEnumerationFT kEnumerationTable = {
    100, ReleaseObject<EnumerationObject>, CloneObject<EnumerationObject>, GetNext, HasNext, ToArray};

} // namespace cim
