#include "cim/broker/objects/Convert.h"

#include "cim/broker/objects/Objects.h"

#include <type_traits>

namespace cim {
namespace {

// The type as plain values have it.
CMPIType Plain(CMPIType type) {
    return ElementType(type) == CMPI_chars ? static_cast<CMPIType>((type & CMPI_ARRAY) | CMPI_string) : type;
}

bool WriteNumberOf(const Value &value, CMPIValue &to) {
    const auto write = [&](const auto &plain) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(plain)>>) return WriteNumber(value.type, plain, to);
        return false;
    };
    return std::visit(write, value.payload);
}

Value ValueOf(const StringObject &string) { return string.text ? Value::Text(*string.text) : Value::Null(CMPI_string); }

} // namespace

std::optional<Value> FromCmpi(const CMPIValue *value, CMPIType type) {
    if (value == nullptr || type == CMPI_null) return Value::Null(Plain(type));
    if (type == CMPI_chars) return Value::Text(reinterpret_cast<const char *>(value));
    if ((type & CMPI_ARRAY) != 0) {
        if (value->array == nullptr) return Value::Null(Plain(type));
        const auto &array = ObjectOf<ArrayObject>(value->array);
        if (array.elementType != ElementType(Plain(type))) return std::nullopt;
        return Value::ArrayOf(array.elementType, array.elements);
    }
    if (const auto number = ReadNumber(type, *value))
        return std::visit([&](auto plain) { return Value{type, plain}; }, *number);
    switch (type) {
    case CMPI_string:
        return value->string != nullptr ? ValueOf(ObjectOf<StringObject>(value->string)) : Value::Null(type);
    case CMPI_dateTime:
        return value->dateTime != nullptr ? Value::DateTime(TextOf(value->dateTime)) : Value::Null(type);
    case CMPI_ref:
        if (value->ref == nullptr) return Value::Null(type);
        return Value{type, ObjectOf<ObjectPathObject>(value->ref).value.Share()};
    case CMPI_instance:
        if (value->inst == nullptr) return Value::Null(type);
        return Value{type, ObjectOf<InstanceObject>(value->inst).value.Share()};
    default:
        return std::nullopt;
    }
}

bool IsText(const Value &known, const CMPIValue *value, CMPIType type) {
    const auto *text = known.type == CMPI_string ? known.As<std::string>() : nullptr;
    return text != nullptr && value != nullptr && type == CMPI_chars && *text == reinterpret_cast<const char *>(value);
}

CMPIData ToCmpi(Core &core, const Value &value, bool fromUpcall) {
    CMPIData data = Blank(value.type, CMPI_goodValue);
    if (value.IsNull()) {
        data.state = CMPI_nullValue;
        if (value.type == CMPI_string)
            data.value.string = Lend(std::make_unique<StringObject>(core, std::nullopt), fromUpcall);
    } else if (value.IsArray()) {
        data.value.array = Lend(
            std::make_unique<ArrayObject>(core, ElementType(value.type), *value.As<Value::Elements>()), fromUpcall);
    } else if (WriteNumberOf(value, data.value)) {
        return data;
    } else if (value.type == CMPI_dateTime) {
        data.value.dateTime = LendDateTime(core, *value.As<std::string>());
    } else if (const auto *text = value.As<std::string>()) {
        data.value.string = Lend(std::make_unique<StringObject>(core, *text), fromUpcall);
    } else if (const auto *path = value.As<std::shared_ptr<const ObjectPath>>()) {
        data.value.ref = Lend(std::make_unique<ObjectPathObject>(core, Shared<ObjectPath>(*path)), fromUpcall);
    } else if (const auto *instance = value.As<std::shared_ptr<const Instance>>()) {
        data.value.inst = Lend(std::make_unique<InstanceObject>(core, Shared<Instance>(*instance)), fromUpcall);
    }
    return data;
}

bool Fits(CMPIType declared, CMPIType type) {
    if (((declared ^ type) & CMPI_ARRAY) != 0) return false;
    const CMPIType wanted = ElementType(declared);
    const CMPIType given = ElementType(type);
    if (IsInteger(wanted)) return IsInteger(given) || type == CMPI_chars;
    if (IsReal(wanted)) return IsReal(given) || type == CMPI_chars;
    if (wanted == CMPI_string && (given == CMPI_chars || given == CMPI_instance)) return true; // embedded instances
    return given == wanted;
}

CMPIData Missing(CMPIStatus *status, CMPIrc rc, CMPIValueState state) {
    Set(status, rc);
    return Blank(CMPI_null, state);
}

Status ToStatus(const CMPIStatus &status) {
    Status plain{status.rc, {}};
    if (status.rc != CMPI_RC_OK && status.msg != nullptr)
        plain.message = ObjectOf<StringObject>(status.msg).text.value_or("");
    return plain;
}

CMPIStatus FromStatus(Core &core, const Status &status) {
    return {status.rc, status.message.empty() ? nullptr : LendString(core, status.message)};
}

} // namespace cim
