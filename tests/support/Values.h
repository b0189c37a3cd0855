// Short ways to write and to read CIM values in tests.
#pragma once

#include "cim/broker/classes/Value.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace support {

inline cim::Value Text(std::string text) { return cim::Value::Text(std::move(text)); }
inline cim::Value Flag(bool flag) { return cim::Value::Boolean(flag); }
inline cim::Value U8(std::uint64_t number) { return cim::Value::Unsigned(CMPI_uint8, number); }
inline cim::Value U16(std::uint64_t number) { return cim::Value::Unsigned(CMPI_uint16, number); }
inline cim::Value U32(std::uint64_t number) { return cim::Value::Unsigned(CMPI_uint32, number); }
inline cim::Value U64(std::uint64_t number) { return cim::Value::Unsigned(CMPI_uint64, number); }
inline cim::Value S64(std::int64_t number) { return cim::Value::Signed(CMPI_sint64, number); }
cim::Value U16s(std::initializer_list<std::uint64_t> numbers);

// A value as a reader of a failed check wants it: 5, {2}, "c0" without quotes, true, null; "absent" for no value.
std::string Shown(const cim::Value *value);
std::string Shown(const cim::Instance &instance, std::string_view property);

// A caption, or a text with captions in it, with the members of each volume in the order of their names: two workers
// build disks side by side, so a pool lists its members in any order.
std::string WithMembersSorted(std::string row);

} // namespace support
