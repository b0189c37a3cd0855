// CIM data as plain C++ values: what a client hands to the broker and gets back, and what stands behind the broker's
// CMPI objects. Values are copied, own everything and know nothing of threads or invocations.
#pragma once

#include "cim/broker/classes/Name.h"
#include "cim/values/Text.h"

#include <cmpidt.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace cim {

struct Instance;
struct ObjectPath;

// One CIM value with its CMPI type code. Texts are CMPI_string, never CMPI_chars; an array's type has CMPI_ARRAY set
// and its elements carry the element type. Null has a type, too.
struct Value {
    using Elements = std::vector<Value>;
    using Payload = std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double, std::string, Elements,
                                 std::shared_ptr<const ObjectPath>, std::shared_ptr<const Instance>>;

    CMPIType type = CMPI_null;
    Payload payload; // monostate: null

    static Value Null(CMPIType type) { return {type, {}}; }
    static Value Boolean(bool value) { return {CMPI_boolean, value}; }
    static Value Text(std::string value) { return {CMPI_string, std::move(value)}; }
    static Value DateTime(std::string value) { return {CMPI_dateTime, std::move(value)}; }
    static Value Unsigned(CMPIType type, std::uint64_t value) { return {type, value}; }
    static Value Signed(CMPIType type, std::int64_t value) { return {type, value}; }
    static Value Real(CMPIType type, double value) { return {type, value}; }
    static Value Reference(ObjectPath path);
    static Value ArrayOf(CMPIType elementType, Elements elements);

    bool IsNull() const { return std::holds_alternative<std::monostate>(payload); }
    bool IsArray() const { return (type & CMPI_ARRAY) != 0; }

    // The payload when it is of that kind, else null.
    template <class T> const T *As() const { return std::get_if<T>(&payload); }
};

bool operator==(const Value &a, const Value &b);
inline bool operator!=(const Value &a, const Value &b) { return !(a == b); }

struct NamedValue {
    Name name;
    Value value;
};

struct ObjectPath {
    std::string host;
    std::string nameSpace;
    std::string className;
    std::vector<NamedValue> keys; // in the order in which they were added

    const Value *Key(std::string_view name) const;
    // namespace:Class.Key="text",Key=1 (DSP0004's untyped WBEM path, without a host part when there is no host).
    std::string ToString() const;
};

// Same namespace, class and keys; keys in any order, compared by CIM type. The host takes no part.
bool operator==(const ObjectPath &a, const ObjectPath &b);
inline bool operator!=(const ObjectPath &a, const ObjectPath &b) { return !(a == b); }

// A path that does not change any more, but is replaced by another: copies share it.
class FixedPath {
public:
    FixedPath() : FixedPath(ObjectPath()) {}
    FixedPath(ObjectPath own) : path(std::make_shared<const ObjectPath>(std::move(own))) {}
    FixedPath(std::shared_ptr<const ObjectPath> common) : path(std::move(common)) {}

    const ObjectPath &operator*() const { return *path; }
    const ObjectPath *operator->() const { return path.get(); }
    operator const ObjectPath &() const { return *path; }
    const std::shared_ptr<const ObjectPath> &Share() const { return path; }

private:
    std::shared_ptr<const ObjectPath> path;
};

struct Instance {
    FixedPath path;
    std::vector<NamedValue> properties;
    // The class's other properties are null, not missing: classes have many more than any provider sets.
    bool othersAreNull = false;
    // Key properties that are not set have the values of the path's keys: as if copied, which few would ever look at.
    bool keysAsInPath = false;

    const Value *Property(std::string_view name) const;
};

} // namespace cim
