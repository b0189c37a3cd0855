#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

namespace cim {
namespace {

CMPIEnumeration *Clone(const CMPIEnumeration *from, CMPIStatus *status) {
    const auto &object = ObjectOf<EnumerationObject>(from);
    const FaultPoint fault(object.core, {Operation::Clone});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    auto clone = std::make_unique<EnumerationObject>(object.core, object.elementType, object.elements);
    clone->cursor = object.cursor;
    return Cloned(std::move(clone));
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
    const auto array = [&](Value::Elements elements) {
        return Lend(std::make_unique<ArrayObject>(object.core, object.elementType, std::move(elements)),
                    object.fromUpcall);
    };
    const FaultPoint fault(object.core, {Operation::ToArray});
    if (fault.Stops(status)) return fault.WantsEmpty() ? array({}) : nullptr;
    Set(status, CMPI_RC_OK);
    return array(object.elements);
}

} // namespace

const CMPIEnumerationFT kEnumerationTable = {100, ReleaseObject<EnumerationObject>, Clone, GetNext, HasNext, ToArray};

} // namespace cim
