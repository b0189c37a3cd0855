#include "cim/broker/objects/Convert.h"

#include "cim/broker/objects/DateTime.h"
#include "cim/broker/objects/Objects.h"

#include <type_traits>

namespace cim {
namespace {

// The types whose values are numbers: how to read one and how to write one.
struct NumberType {
    CMPIType type;
    Value (*read)(CMPIType, const CMPIValue &);
    void (*write)(CMPIValue &, const Value &);
};

// `Plain` is what a plain value holds, `Make` how one is made of it.
template <auto Member, class Plain, auto Make> constexpr NumberType Number(CMPIType type) {
    return {type, [](CMPIType own, const CMPIValue &from) { return Make(own, static_cast<Plain>(from.*Member)); },
            [](CMPIValue &to, const Value &from) {
                using Member_t = std::remove_reference_t<decltype(to.*Member)>;
                to.*Member = static_cast<Member_t>(*from.As<Plain>());
            }};
}
template <auto Member> constexpr NumberType Unsigned(CMPIType type) {
    return Number<Member, std::uint64_t, &Value::Unsigned>(type);
}
template <auto Member> constexpr NumberType Signed(CMPIType type) {
    return Number<Member, std::int64_t, &Value::Signed>(type);
}
template <auto Member> constexpr NumberType Real(CMPIType type) { return Number<Member, double, &Value::Real>(type); }

constexpr NumberType kNumbers[] = {
    {CMPI_boolean, [](CMPIType, const CMPIValue &from) { return Value::Boolean(from.boolean != 0); },
     [](CMPIValue &to, const Value &from) { to.boolean = *from.As<bool>() ? 1 : 0; }},
    Unsigned<&CMPIValue::char16>(CMPI_char16),
    Unsigned<&CMPIValue::uint8>(CMPI_uint8),
    Unsigned<&CMPIValue::uint16>(CMPI_uint16),
    Unsigned<&CMPIValue::uint32>(CMPI_uint32),
    Unsigned<&CMPIValue::uint64>(CMPI_uint64),
    Signed<&CMPIValue::sint8>(CMPI_sint8),
    Signed<&CMPIValue::sint16>(CMPI_sint16),
    Signed<&CMPIValue::sint32>(CMPI_sint32),
    Signed<&CMPIValue::sint64>(CMPI_sint64),
    Real<&CMPIValue::real32>(CMPI_real32),
    Real<&CMPIValue::real64>(CMPI_real64),
};

const NumberType *FindNumber(CMPIType type) {
    for (const NumberType &number : kNumbers)
        if (number.type == type) return &number;
    return nullptr;
}

// The type as plain values have it.
CMPIType Plain(CMPIType type) {
    return ElementType(type) == CMPI_chars ? static_cast<CMPIType>((type & CMPI_ARRAY) | CMPI_string) : type;
}

// An instance that becomes part of a value has nothing more to do with what it was made by.
Value ValueOf(const InstanceObject &object) {
    auto own = std::make_shared<Instance>(*object.value);
    if (object.declaration != nullptr) CopyKeys(*own, *object.declaration, nullptr);
    return {CMPI_instance, std::shared_ptr<const Instance>(std::move(own))};
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
    if (const NumberType *number = FindNumber(type)) return number->read(type, *value);
    switch (type) {
    case CMPI_string:
        return value->string != nullptr ? ValueOf(ObjectOf<StringObject>(value->string)) : Value::Null(type);
    case CMPI_dateTime:
        return value->dateTime != nullptr ? Value::DateTime(TextOf(value->dateTime)) : Value::Null(type);
    case CMPI_ref:
        if (value->ref == nullptr) return Value::Null(type);
        return Value{type, ObjectOf<ObjectPathObject>(value->ref).value.Share()};
    case CMPI_instance:
        return value->inst != nullptr ? ValueOf(ObjectOf<InstanceObject>(value->inst)) : Value::Null(type);
    default:
        return std::nullopt;
    }
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
    } else if (const NumberType *number = FindNumber(value.type)) {
        number->write(data.value, value);
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

std::optional<std::vector<std::string>> ListOf(const char *const *names) {
    if (names == nullptr) return std::nullopt;
    std::vector<std::string> list;
    for (; *names != nullptr; ++names) list.emplace_back(*names);
    return list;
}

} // namespace cim
