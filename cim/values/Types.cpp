#include "cim/values/Types.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace cim {
namespace {

struct TypeRow {
    CMPIType type;
    const char *name;
    // The rest is null for types whose values are not numbers.
    std::optional<Numeric> (*convert)(const Numeric &) = nullptr;
    Numeric (*read)(const CMPIValue &) = nullptr;
    bool (*write)(const Numeric &, CMPIValue &) = nullptr;
};

// The number as a `Held` that a `Member` can take.
template <class Member, class Held> std::optional<Numeric> Convert(const Numeric &number) {
    const auto convert = [](auto given) -> std::optional<Numeric> {
        using Given = decltype(given);
        constexpr bool sameKind = std::is_same_v<Given, bool> == std::is_same_v<Held, bool>;
        if constexpr (!sameKind || (std::is_floating_point_v<Given> && !std::is_floating_point_v<Held>)) {
            return std::nullopt;
        } else {
            const auto held = static_cast<Held>(given);
            bool fits = true;
            if constexpr (std::is_floating_point_v<Held>) {
                fits = !std::isfinite(held) || std::fabs(held) <= double{std::numeric_limits<Member>::max()};
            } else if constexpr (!std::is_same_v<Held, bool>) {
                const bool sameSign = std::is_same_v<Given, Held> || static_cast<std::int64_t>(given) >= 0;
                fits = sameSign && static_cast<Held>(static_cast<Member>(held)) == held;
            }
            return fits ? std::optional<Numeric>(held) : std::nullopt;
        }
    };
    return std::visit(convert, number);
}

// `Held`: the kind of number that the place in the union is read into.
template <class Held, auto Place> constexpr TypeRow NumberRow(CMPIType type, const char *name) {
    using Member = std::remove_reference_t<decltype(std::declval<CMPIValue &>().*Place)>;
    return {type, name, Convert<Member, Held>,
            [](const CMPIValue &value) { return Numeric(static_cast<Held>(value.*Place)); },
            [](const Numeric &number, CMPIValue &value) {
                const auto *held = std::get_if<Held>(&number);
                if (held != nullptr) value.*Place = static_cast<Member>(*held);
                return held != nullptr;
            }};
}

constexpr TypeRow kTypes[] = {
    {CMPI_string, "string"},
    NumberRow<std::uint64_t, &CMPIValue::uint16>(CMPI_uint16, "uint16"),
    NumberRow<std::uint64_t, &CMPIValue::uint64>(CMPI_uint64, "uint64"),
    NumberRow<bool, &CMPIValue::boolean>(CMPI_boolean, "boolean"),
    NumberRow<std::uint64_t, &CMPIValue::uint32>(CMPI_uint32, "uint32"),
    NumberRow<std::uint64_t, &CMPIValue::uint8>(CMPI_uint8, "uint8"),
    NumberRow<std::uint64_t, &CMPIValue::char16>(CMPI_char16, "char16"),
    NumberRow<std::int64_t, &CMPIValue::sint8>(CMPI_sint8, "sint8"),
    NumberRow<std::int64_t, &CMPIValue::sint16>(CMPI_sint16, "sint16"),
    NumberRow<std::int64_t, &CMPIValue::sint32>(CMPI_sint32, "sint32"),
    NumberRow<std::int64_t, &CMPIValue::sint64>(CMPI_sint64, "sint64"),
    NumberRow<double, &CMPIValue::real32>(CMPI_real32, "real32"),
    NumberRow<double, &CMPIValue::real64>(CMPI_real64, "real64"),
    {CMPI_dateTime, "datetime"},
    {CMPI_ref, "reference"},
};

const TypeRow *RowOf(CMPIType type) {
    for (const TypeRow &row : kTypes)
        if (row.type == type) return &row;
    return nullptr;
}

const TypeRow *NumberRowOf(CMPIType type) {
    const TypeRow *row = RowOf(type);
    return row != nullptr && row->read != nullptr ? row : nullptr;
}

} // namespace

const char *TypeName(CMPIType type) {
    const TypeRow *row = RowOf(ElementType(type));
    return row != nullptr ? row->name : "string";
}

std::string DeclaredTypeName(CMPIType type) { return TypeName(type) + std::string(IsArray(type) ? "[]" : ""); }

CMPIType TypeNamed(std::string_view name) {
    for (const TypeRow &row : kTypes)
        if (name == row.name) return row.type;
    return CMPI_null;
}

std::optional<Numeric> NumberOfType(CMPIType type, const Numeric &number) {
    const TypeRow *row = NumberRowOf(type);
    return row != nullptr ? row->convert(number) : std::nullopt;
}

std::optional<Numeric> ReadNumber(CMPIType type, const CMPIValue &value) {
    const TypeRow *row = NumberRowOf(type);
    return row != nullptr ? std::optional(row->read(value)) : std::nullopt;
}

bool WriteNumber(CMPIType type, const Numeric &number, CMPIValue &value) {
    const TypeRow *row = NumberRowOf(type);
    return row != nullptr && row->write(number, value);
}

} // namespace cim
