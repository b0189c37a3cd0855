// Reading CMPI values: the one place that looks at type, state and status. A value of another type, one that does not
// fit, or one in the null state is absent: null, zero, false.
#pragma once

#include "cim/quarnel/QuarnelProviderUtil/TextBuffer.h"

#include <cmpift.h>

#include <limits>
#include <stdint.h>

constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};

constexpr CMPIValueState kAbsent = CMPI_nullValue | CMPI_badValue | CMPI_notFound;
inline bool Present(const CMPIData &data, CMPIType type) { return data.type == type && (data.state & kAbsent) == 0; }

// Null when there is no string, or none in it. Lent: the characters live as long as the string.
inline const char *TextOf(const CMPIString *string) {
    return string != nullptr ? string->ft->getCharPtr(string, nullptr) : nullptr;
}

// A property of an instance, a key of a path. Absent when the broker says anything but OK.
inline CMPIData Read(const CMPIInstance *instance, const char *property) {
    CMPIStatus status = kOk;
    const CMPIData data = instance->ft->getProperty(instance, property, &status);
    return status.rc == CMPI_RC_OK ? data : CMPIData{CMPI_null, CMPI_notFound, {}};
}
inline CMPIData Read(const CMPIObjectPath *path, const char *key) {
    CMPIStatus status = kOk;
    const CMPIData data = path->ft->getKey(path, key, &status);
    return status.rc == CMPI_RC_OK ? data : CMPIData{CMPI_null, CMPI_notFound, {}};
}

// A null `from` has no values. Lent: the characters live as long as `from`.
template <class From> const char *TextOf(const From *from, const char *name) {
    if (from == nullptr) return nullptr;
    const CMPIData data = Read(from, name);
    return Present(data, CMPI_string) ? TextOf(data.value.string) : nullptr;
}

inline bool FlagOf(const CMPIInstance *from, const char *name) {
    if (from == nullptr) return false;
    const CMPIData data = Read(from, name);
    return Present(data, CMPI_boolean) && data.value.boolean != 0;
}

// An integer of any width and sign, when it lies between 0 and `most`; else 0.
CMPIUint64 IntegerIn(const CMPIData &data, CMPIUint64 most);

template <class Integer> Integer NumberOf(const CMPIInstance *from, const char *name) {
    if (from == nullptr) return 0;
    return static_cast<Integer>(IntegerIn(Read(from, name), std::numeric_limits<Integer>::max()));
}

inline CMPIObjectPath *PathOf(const CMPIInstance *instance) {
    CMPIStatus status = kOk;
    CMPIObjectPath *path = instance->ft->getObjectPath(instance, &status);
    return status.rc == CMPI_RC_OK ? path : nullptr;
}

inline const char *ClassNameOf(const CMPIObjectPath *path) {
    return path != nullptr ? TextOf(path->ft->getClassName(path, nullptr)) : nullptr;
}

// Steps through an enumeration; a null one is empty, a broken one ends. False at the end. `next` is null for an element
// of another type. The element's state is ignored: some brokers leave it null in all of them.
bool Next(const CMPIEnumeration *enumeration, CMPIInstance **next);
bool Next(const CMPIEnumeration *enumeration, CMPIObjectPath **next);

// The first element, or null when there is none.
template <class Handle> Handle *FirstOf(const CMPIEnumeration *enumeration) {
    Handle *first = nullptr;
    return Next(enumeration, &first) ? first : nullptr;
}

// An object path as a log line shows it: "root/cimv2:Class.Key=\"value\"", cut at 1,023 bytes; "NULL" for none.
// Composed here: a broker's own rendering was seen to crash on long keys from a client. Only as an argument of a log
// line, which is not evaluated when the line is masked: it takes calls into the broker.
class PathText {
public:
    explicit PathText(const CMPIObjectPath *path);
    const char *Text() const { return text.Text(); }

private:
    TextBuffer<1024> text;
};

// A text that came from a client as a log line shows it: cut at 1,023 bytes.
class CutText {
public:
    explicit CutText(const char *whole) { text.Append(whole); }
    const char *Text() const { return text.Text(); }

private:
    TextBuffer<1024> text;
};

// Never null.
const char *MessageOf(const CMPIStatus &status);
