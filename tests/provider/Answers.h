// What a broker can be made to answer when the provider reads a vendor's property or key.
#pragma once

#include "tests/provider/Linked.h"

namespace support {

// Made by a broker, and lent by it for as long as the invocation lasts.
class Answers {
public:
    explicit Answers(LinkedBench &owner) : broker(owner.Broker().Handle()), invocation(owner) {}

    CMPIData String(const char *text) const {
        CMPIData data = {CMPI_string, 0, {}};
        data.value.string = broker->eft->newString(broker, text, nullptr);
        return data;
    }

    // Of one element; of texts "7"; null for -1 where that is no such number.
    CMPIData Array(CMPIType type, CMPISint64 number) const {
        CMPIData data = {static_cast<CMPIType>(type | CMPI_ARRAY), 0, {}};
        data.value.array = broker->eft->newArray(broker, 1, type, nullptr);
        CMPIValue value = {};
        value.sint64 = number;
        if (type == CMPI_string) value.string = String("7").value.string;
        if (number >= 0 || type == CMPI_sint8) data.value.array->ft->setElementAt(data.value.array, 0, &value, type);
        return data;
    }

    static CMPIData Plain(CMPIType type, CMPISint64 number, CMPIValueState state = 0) {
        CMPIData data = {type, state, {}};
        data.value.sint64 = number;
        return data;
    }
    static CMPIData Real(double number) {
        CMPIData data = {CMPI_real64, 0, {}};
        data.value.real64 = number;
        return data;
    }
    static CMPIData WithState(CMPIData data, CMPIValueState state) {
        data.state = state;
        return data;
    }
    CMPIData Empty() const {
        CMPIData data = {CMPI_uint16A, 0, {}};
        data.value.array = broker->eft->newArray(broker, 0, CMPI_uint16, nullptr);
        return data;
    }

private:
    const CMPIBroker *broker;
    Invocation invocation;
};

// Every reading of the property, or key, of the vendor's class is answered with this.
inline cim::FaultRule Answering(cim::Operation operation, const std::string &className, const std::string &name,
                                const CMPIData &answer, CMPIrc rc = CMPI_RC_OK) {
    cim::FaultRule rule = Rule(operation).From(className);
    rule.rewrite = [=](const std::string &asked, CMPIData &given, CMPIStatus &status) {
        if (!cim::SameName(asked, name)) return;
        given = answer;
        status.rc = rc;
    };
    return rule;
}

} // namespace support
