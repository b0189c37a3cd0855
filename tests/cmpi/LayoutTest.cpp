// The CMPI declarations that the project is built with have the standard's binary interface: every offset, size and
// type on 64-bit Linux, and every constant.
#include <cmpidt.h>
#include <cmpift.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace {

struct Constant {
    const char *name;
    unsigned long actual, expected;
};

struct Member {
    const char *name;
    std::size_t offset, size, expectedOffset, expectedSize;
};

#define CONSTANT(name, expected)                                                                                       \
    { #name, name, expected }
#define MEMBER(type, member, offset, size)                                                                             \
    { #type "." #member, offsetof(type, member), sizeof(static_cast <type *>(nullptr)->member), offset, size }
#define WHOLE(type, size)                                                                                              \
    { #type, 0, sizeof(type), 0, size }

constexpr Constant kConstants[] = {
    CONSTANT(CMPI_null, 0x0),
    CONSTANT(CMPI_boolean, 0x2),
    CONSTANT(CMPI_char16, 0x3),
    CONSTANT(CMPI_real32, 0x8),
    CONSTANT(CMPI_real64, 0xc),
    CONSTANT(CMPI_uint8, 0x80),
    CONSTANT(CMPI_uint16, 0x90),
    CONSTANT(CMPI_uint32, 0xa0),
    CONSTANT(CMPI_uint64, 0xb0),
    CONSTANT(CMPI_sint8, 0xc0),
    CONSTANT(CMPI_sint16, 0xd0),
    CONSTANT(CMPI_sint32, 0xe0),
    CONSTANT(CMPI_sint64, 0xf0),
    CONSTANT(CMPI_instance, 0x1000),
    CONSTANT(CMPI_ref, 0x1100),
    CONSTANT(CMPI_args, 0x1200),
    CONSTANT(CMPI_class, 0x1300),
    CONSTANT(CMPI_filter, 0x1400),
    CONSTANT(CMPI_enumeration, 0x1500),
    CONSTANT(CMPI_string, 0x1600),
    CONSTANT(CMPI_chars, 0x1700),
    CONSTANT(CMPI_dateTime, 0x1800),
    CONSTANT(CMPI_ptr, 0x1900),
    CONSTANT(CMPI_charsptr, 0x1a00),
    CONSTANT(CMPI_ARRAY, 0x2000),
    CONSTANT(CMPI_SIMPLE, 0x2),
    CONSTANT(CMPI_REAL, 0x8),
    CONSTANT(CMPI_UINT, 0x80),
    CONSTANT(CMPI_SINT, 0xc0),
    CONSTANT(CMPI_INTEGER, 0xc0),
    CONSTANT(CMPI_ENC, 0x1000),
    CONSTANT(CMPI_goodValue, 0x0),
    CONSTANT(CMPI_nullValue, 0x100),
    CONSTANT(CMPI_keyValue, 0x200),
    CONSTANT(CMPI_notFound, 0x400),
    CONSTANT(CMPI_badValue, 0x8000),
    CONSTANT(CMPI_RC_OK, 0x0),
    CONSTANT(CMPI_RC_ERR_FAILED, 0x1),
    CONSTANT(CMPI_RC_ERR_ACCESS_DENIED, 0x2),
    CONSTANT(CMPI_RC_ERR_INVALID_NAMESPACE, 0x3),
    CONSTANT(CMPI_RC_ERR_INVALID_PARAMETER, 0x4),
    CONSTANT(CMPI_RC_ERR_INVALID_CLASS, 0x5),
    CONSTANT(CMPI_RC_ERR_NOT_FOUND, 0x6),
    CONSTANT(CMPI_RC_ERR_NOT_SUPPORTED, 0x7),
    CONSTANT(CMPI_RC_ERR_CLASS_HAS_CHILDREN, 0x8),
    CONSTANT(CMPI_RC_ERR_CLASS_HAS_INSTANCES, 0x9),
    CONSTANT(CMPI_RC_ERR_INVALID_SUPERCLASS, 0xa),
    CONSTANT(CMPI_RC_ERR_ALREADY_EXISTS, 0xb),
    CONSTANT(CMPI_RC_ERR_NO_SUCH_PROPERTY, 0xc),
    CONSTANT(CMPI_RC_ERR_TYPE_MISMATCH, 0xd),
    CONSTANT(CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, 0xe),
    CONSTANT(CMPI_RC_ERR_INVALID_QUERY, 0xf),
    CONSTANT(CMPI_RC_ERR_METHOD_NOT_AVAILABLE, 0x10),
    CONSTANT(CMPI_RC_ERR_METHOD_NOT_FOUND, 0x11),
    CONSTANT(CMPI_RC_DO_NOT_UNLOAD, 0x32),
    CONSTANT(CMPI_RC_NEVER_UNLOAD, 0x33),
    CONSTANT(CMPI_RC_ERROR_SYSTEM, 0x64),
    CONSTANT(CMPI_RC_ERROR, 0xc8),
    CONSTANT(CMPI_FLAG_LocalOnly, 0x1),
    CONSTANT(CMPI_FLAG_DeepInheritance, 0x2),
    CONSTANT(CMPI_FLAG_IncludeQualifiers, 0x4),
    CONSTANT(CMPI_FLAG_IncludeClassOrigin, 0x8),
};

constexpr Member kMembers[] = {
    MEMBER(CMPIBroker, hdl, 0, 8),
    MEMBER(CMPIBroker, bft, 8, 8),
    MEMBER(CMPIBroker, eft, 16, 8),
    MEMBER(CMPIBroker, xft, 24, 8),
    MEMBER(CMPIBroker, mft, 32, 8),
    WHOLE(CMPIBroker, 40),
    MEMBER(CMPIBrokerFT, brokerCapabilities, 0, 4),
    MEMBER(CMPIBrokerFT, brokerVersion, 4, 4),
    MEMBER(CMPIBrokerFT, brokerName, 8, 8),
    MEMBER(CMPIBrokerFT, prepareAttachThread, 16, 8),
    MEMBER(CMPIBrokerFT, attachThread, 24, 8),
    MEMBER(CMPIBrokerFT, detachThread, 32, 8),
    MEMBER(CMPIBrokerFT, deliverIndication, 40, 8),
    MEMBER(CMPIBrokerFT, enumerateInstanceNames, 48, 8),
    MEMBER(CMPIBrokerFT, getInstance, 56, 8),
    MEMBER(CMPIBrokerFT, createInstance, 64, 8),
    MEMBER(CMPIBrokerFT, modifyInstance, 72, 8),
    MEMBER(CMPIBrokerFT, deleteInstance, 80, 8),
    MEMBER(CMPIBrokerFT, execQuery, 88, 8),
    MEMBER(CMPIBrokerFT, enumerateInstances, 96, 8),
    MEMBER(CMPIBrokerFT, associators, 104, 8),
    MEMBER(CMPIBrokerFT, associatorNames, 112, 8),
    MEMBER(CMPIBrokerFT, references, 120, 8),
    MEMBER(CMPIBrokerFT, referenceNames, 128, 8),
    MEMBER(CMPIBrokerFT, invokeMethod, 136, 8),
    MEMBER(CMPIBrokerFT, setProperty, 144, 8),
    MEMBER(CMPIBrokerFT, getProperty, 152, 8),
    WHOLE(CMPIBrokerFT, 160),
    MEMBER(CMPIBrokerEncFT, ftVersion, 0, 4),
    MEMBER(CMPIBrokerEncFT, newInstance, 8, 8),
    MEMBER(CMPIBrokerEncFT, newObjectPath, 16, 8),
    MEMBER(CMPIBrokerEncFT, newArgs, 24, 8),
    MEMBER(CMPIBrokerEncFT, newString, 32, 8),
    MEMBER(CMPIBrokerEncFT, newArray, 40, 8),
    MEMBER(CMPIBrokerEncFT, newDateTime, 48, 8),
    MEMBER(CMPIBrokerEncFT, newDateTimeFromBinary, 56, 8),
    MEMBER(CMPIBrokerEncFT, newDateTimeFromChars, 64, 8),
    MEMBER(CMPIBrokerEncFT, newSelectExp, 72, 8),
    MEMBER(CMPIBrokerEncFT, classPathIsA, 80, 8),
    MEMBER(CMPIBrokerEncFT, toString, 88, 8),
    MEMBER(CMPIBrokerEncFT, isOfType, 96, 8),
    MEMBER(CMPIBrokerEncFT, getType, 104, 8),
    MEMBER(CMPIBrokerEncFT, getMessage, 112, 8),
    MEMBER(CMPIBrokerEncFT, logMessage, 120, 8),
    MEMBER(CMPIBrokerEncFT, trace, 128, 8),
    WHOLE(CMPIBrokerEncFT, 136),
    MEMBER(CMPIBrokerMemFT, ftVersion, 0, 4),
    MEMBER(CMPIBrokerMemFT, mark, 8, 8),
    MEMBER(CMPIBrokerMemFT, release, 16, 8),
    MEMBER(CMPIBrokerMemFT, cmpiMalloc, 24, 8),
    MEMBER(CMPIBrokerMemFT, cmpiCalloc, 32, 8),
    MEMBER(CMPIBrokerMemFT, cmpiRealloc, 40, 8),
    MEMBER(CMPIBrokerMemFT, cmpiStrDup, 48, 8),
    MEMBER(CMPIBrokerMemFT, cmpiFree, 56, 8),
    MEMBER(CMPIBrokerMemFT, freeInstance, 64, 8),
    MEMBER(CMPIBrokerMemFT, freeObjectPath, 72, 8),
    MEMBER(CMPIBrokerMemFT, freeArgs, 80, 8),
    MEMBER(CMPIBrokerMemFT, freeString, 88, 8),
    MEMBER(CMPIBrokerMemFT, freeArray, 96, 8),
    MEMBER(CMPIBrokerMemFT, freeDateTime, 104, 8),
    MEMBER(CMPIBrokerMemFT, freeSelectExp, 112, 8),
    WHOLE(CMPIBrokerMemFT, 120),
    MEMBER(CMPIContextFT, ftVersion, 0, 4),
    MEMBER(CMPIContextFT, release, 8, 8),
    MEMBER(CMPIContextFT, clone, 16, 8),
    MEMBER(CMPIContextFT, getEntry, 24, 8),
    MEMBER(CMPIContextFT, getEntryAt, 32, 8),
    MEMBER(CMPIContextFT, getEntryCount, 40, 8),
    MEMBER(CMPIContextFT, addEntry, 48, 8),
    WHOLE(CMPIContextFT, 56),
    MEMBER(CMPIResultFT, ftVersion, 0, 4),
    MEMBER(CMPIResultFT, release, 8, 8),
    MEMBER(CMPIResultFT, clone, 16, 8),
    MEMBER(CMPIResultFT, returnData, 24, 8),
    MEMBER(CMPIResultFT, returnInstance, 32, 8),
    MEMBER(CMPIResultFT, returnObjectPath, 40, 8),
    MEMBER(CMPIResultFT, returnDone, 48, 8),
    WHOLE(CMPIResultFT, 56),
    MEMBER(CMPIInstanceFT, ftVersion, 0, 4),
    MEMBER(CMPIInstanceFT, release, 8, 8),
    MEMBER(CMPIInstanceFT, clone, 16, 8),
    MEMBER(CMPIInstanceFT, getProperty, 24, 8),
    MEMBER(CMPIInstanceFT, getPropertyAt, 32, 8),
    MEMBER(CMPIInstanceFT, getPropertyCount, 40, 8),
    MEMBER(CMPIInstanceFT, setProperty, 48, 8),
    MEMBER(CMPIInstanceFT, getObjectPath, 56, 8),
    MEMBER(CMPIInstanceFT, setPropertyFilter, 64, 8),
    MEMBER(CMPIInstanceFT, setObjectPath, 72, 8),
    WHOLE(CMPIInstanceFT, 80),
    MEMBER(CMPIObjectPathFT, ftVersion, 0, 4),
    MEMBER(CMPIObjectPathFT, release, 8, 8),
    MEMBER(CMPIObjectPathFT, clone, 16, 8),
    MEMBER(CMPIObjectPathFT, setNameSpace, 24, 8),
    MEMBER(CMPIObjectPathFT, getNameSpace, 32, 8),
    MEMBER(CMPIObjectPathFT, setHostname, 40, 8),
    MEMBER(CMPIObjectPathFT, getHostname, 48, 8),
    MEMBER(CMPIObjectPathFT, setClassName, 56, 8),
    MEMBER(CMPIObjectPathFT, getClassName, 64, 8),
    MEMBER(CMPIObjectPathFT, addKey, 72, 8),
    MEMBER(CMPIObjectPathFT, getKey, 80, 8),
    MEMBER(CMPIObjectPathFT, getKeyAt, 88, 8),
    MEMBER(CMPIObjectPathFT, getKeyCount, 96, 8),
    MEMBER(CMPIObjectPathFT, setNameSpaceFromObjectPath, 104, 8),
    MEMBER(CMPIObjectPathFT, setHostAndNameSpaceFromObjectPath, 112, 8),
    MEMBER(CMPIObjectPathFT, getClassQualifier, 120, 8),
    MEMBER(CMPIObjectPathFT, getPropertyQualifier, 128, 8),
    MEMBER(CMPIObjectPathFT, getMethodQualifier, 136, 8),
    MEMBER(CMPIObjectPathFT, getParameterQualifier, 144, 8),
    MEMBER(CMPIObjectPathFT, toString, 152, 8),
    WHOLE(CMPIObjectPathFT, 160),
    MEMBER(CMPIStringFT, ftVersion, 0, 4),
    MEMBER(CMPIStringFT, release, 8, 8),
    MEMBER(CMPIStringFT, clone, 16, 8),
    MEMBER(CMPIStringFT, getCharPtr, 24, 8),
    WHOLE(CMPIStringFT, 32),
    MEMBER(CMPIArrayFT, ftVersion, 0, 4),
    MEMBER(CMPIArrayFT, release, 8, 8),
    MEMBER(CMPIArrayFT, clone, 16, 8),
    MEMBER(CMPIArrayFT, getSize, 24, 8),
    MEMBER(CMPIArrayFT, getSimpleType, 32, 8),
    MEMBER(CMPIArrayFT, getElementAt, 40, 8),
    MEMBER(CMPIArrayFT, setElementAt, 48, 8),
    WHOLE(CMPIArrayFT, 56),
    MEMBER(CMPIEnumerationFT, ftVersion, 0, 4),
    MEMBER(CMPIEnumerationFT, release, 8, 8),
    MEMBER(CMPIEnumerationFT, clone, 16, 8),
    MEMBER(CMPIEnumerationFT, getNext, 24, 8),
    MEMBER(CMPIEnumerationFT, hasNext, 32, 8),
    MEMBER(CMPIEnumerationFT, toArray, 40, 8),
    WHOLE(CMPIEnumerationFT, 48),
    MEMBER(CMPIInstanceMI, hdl, 0, 8),
    MEMBER(CMPIInstanceMI, ft, 8, 8),
    WHOLE(CMPIInstanceMI, 16),
    MEMBER(CMPIInstanceMIFT, ftVersion, 0, 4),
    MEMBER(CMPIInstanceMIFT, miVersion, 4, 4),
    MEMBER(CMPIInstanceMIFT, miName, 8, 8),
    MEMBER(CMPIInstanceMIFT, cleanup, 16, 8),
    MEMBER(CMPIInstanceMIFT, enumerateInstanceNames, 24, 8),
    MEMBER(CMPIInstanceMIFT, enumerateInstances, 32, 8),
    MEMBER(CMPIInstanceMIFT, getInstance, 40, 8),
    MEMBER(CMPIInstanceMIFT, createInstance, 48, 8),
    MEMBER(CMPIInstanceMIFT, modifyInstance, 56, 8),
    MEMBER(CMPIInstanceMIFT, deleteInstance, 64, 8),
    MEMBER(CMPIInstanceMIFT, execQuery, 72, 8),
    WHOLE(CMPIInstanceMIFT, 80),
    MEMBER(CMPIAssociationMI, hdl, 0, 8),
    MEMBER(CMPIAssociationMI, ft, 8, 8),
    WHOLE(CMPIAssociationMI, 16),
    MEMBER(CMPIAssociationMIFT, ftVersion, 0, 4),
    MEMBER(CMPIAssociationMIFT, miVersion, 4, 4),
    MEMBER(CMPIAssociationMIFT, miName, 8, 8),
    MEMBER(CMPIAssociationMIFT, cleanup, 16, 8),
    MEMBER(CMPIAssociationMIFT, associators, 24, 8),
    MEMBER(CMPIAssociationMIFT, associatorNames, 32, 8),
    MEMBER(CMPIAssociationMIFT, references, 40, 8),
    MEMBER(CMPIAssociationMIFT, referenceNames, 48, 8),
    WHOLE(CMPIAssociationMIFT, 56),
    MEMBER(CMPIData, type, 0, 2),
    MEMBER(CMPIData, state, 2, 2),
    MEMBER(CMPIData, value, 8, 16),
    WHOLE(CMPIData, 24),
    MEMBER(CMPIStatus, rc, 0, 4),
    MEMBER(CMPIStatus, msg, 8, 8),
    WHOLE(CMPIStatus, 16),
    MEMBER(CMPIValue, boolean, 0, 1),
    MEMBER(CMPIValue, char16, 0, 2),
    MEMBER(CMPIValue, uint8, 0, 1),
    MEMBER(CMPIValue, uint16, 0, 2),
    MEMBER(CMPIValue, uint32, 0, 4),
    MEMBER(CMPIValue, uint64, 0, 8),
    MEMBER(CMPIValue, sint8, 0, 1),
    MEMBER(CMPIValue, sint16, 0, 2),
    MEMBER(CMPIValue, sint32, 0, 4),
    MEMBER(CMPIValue, sint64, 0, 8),
    MEMBER(CMPIValue, real32, 0, 4),
    MEMBER(CMPIValue, real64, 0, 8),
    MEMBER(CMPIValue, inst, 0, 8),
    MEMBER(CMPIValue, ref, 0, 8),
    MEMBER(CMPIValue, args, 0, 8),
    MEMBER(CMPIValue, filter, 0, 8),
    MEMBER(CMPIValue, Enum, 0, 8),
    MEMBER(CMPIValue, array, 0, 8),
    MEMBER(CMPIValue, string, 0, 8),
    MEMBER(CMPIValue, chars, 0, 8),
    MEMBER(CMPIValue, dateTime, 0, 8),
    MEMBER(CMPIValue, dataPtr, 0, 16),
    MEMBER(CMPIValue, Byte, 0, 1),
    MEMBER(CMPIValue, Short, 0, 2),
    MEMBER(CMPIValue, Int, 0, 4),
    MEMBER(CMPIValue, Long, 0, 8),
    MEMBER(CMPIValue, Float, 0, 4),
    MEMBER(CMPIValue, Double, 0, 8),
};

// The type of a table's function, or of a member.
#define TYPE(type, member, ...) static_assert(std::is_same_v<decltype(type::member), __VA_ARGS__>, #type "." #member)

TYPE(CMPIBroker, hdl, const void *);
TYPE(CMPIBroker, bft, const CMPIBrokerFT *);
TYPE(CMPIBroker, eft, const CMPIBrokerEncFT *);
TYPE(CMPIBroker, xft, const CMPIBrokerExtFT *);
TYPE(CMPIBroker, mft, const CMPIBrokerMemFT *);
TYPE(CMPIBrokerFT, brokerCapabilities, unsigned int);
TYPE(CMPIBrokerFT, brokerVersion, unsigned int);
TYPE(CMPIBrokerFT, brokerName, const char *);
TYPE(CMPIBrokerFT, prepareAttachThread, CMPIContext *(*)(const CMPIBroker *, const CMPIContext *));
TYPE(CMPIBrokerFT, attachThread, CMPIStatus (*)(const CMPIBroker *, const CMPIContext *));
TYPE(CMPIBrokerFT, detachThread, CMPIStatus (*)(const CMPIBroker *, const CMPIContext *));
TYPE(CMPIBrokerFT, deliverIndication,
     CMPIStatus (*)(const CMPIBroker *, const CMPIContext *, const char *, const CMPIInstance *));
TYPE(CMPIBrokerFT, enumerateInstanceNames,
     CMPIEnumeration *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIBrokerFT, getInstance,
     CMPIInstance *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char **, CMPIStatus *));
TYPE(CMPIBrokerFT, createInstance,
     CMPIObjectPath *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const CMPIInstance *,
                         CMPIStatus *));
TYPE(CMPIBrokerFT, modifyInstance,
     CMPIStatus (*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const CMPIInstance *,
                    const char **));
TYPE(CMPIBrokerFT, deleteInstance, CMPIStatus (*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *));
TYPE(CMPIBrokerFT, execQuery,
     CMPIEnumeration *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const char *,
                          CMPIStatus *));
TYPE(CMPIBrokerFT, enumerateInstances,
     CMPIEnumeration *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char **,
                          CMPIStatus *));
TYPE(CMPIBrokerFT, associators,
     CMPIEnumeration *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const char *,
                          const char *, const char *, const char **, CMPIStatus *));
TYPE(CMPIBrokerFT, associatorNames,
     CMPIEnumeration *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const char *,
                          const char *, const char *, CMPIStatus *));
TYPE(CMPIBrokerFT, references,
     CMPIEnumeration *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const char *,
                          const char **, CMPIStatus *));
TYPE(CMPIBrokerFT, referenceNames,
     CMPIEnumeration *(*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const char *,
                          CMPIStatus *));
TYPE(CMPIBrokerFT, invokeMethod,
     CMPIData (*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const CMPIArgs *,
                  CMPIArgs *, CMPIStatus *));
TYPE(CMPIBrokerFT, setProperty,
     CMPIStatus (*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const CMPIValue *,
                    CMPIType));
TYPE(CMPIBrokerFT, getProperty,
     CMPIData (*)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, ftVersion, unsigned int);
TYPE(CMPIBrokerEncFT, newInstance, CMPIInstance *(*)(const CMPIBroker *, const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newObjectPath, CMPIObjectPath *(*)(const CMPIBroker *, const char *, const char *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newArgs, CMPIArgs *(*)(const CMPIBroker *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newString, CMPIString *(*)(const CMPIBroker *, const char *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newArray, CMPIArray *(*)(const CMPIBroker *, CMPICount, CMPIType, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newDateTime, CMPIDateTime *(*)(const CMPIBroker *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newDateTimeFromBinary,
     CMPIDateTime *(*)(const CMPIBroker *, CMPIUint64, CMPIBoolean, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newDateTimeFromChars, CMPIDateTime *(*)(const CMPIBroker *, const char *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, newSelectExp,
     CMPISelectExp *(*)(const CMPIBroker *, const char *, const char *, CMPIArray **, CMPIStatus *));
TYPE(CMPIBrokerEncFT, classPathIsA,
     CMPIBoolean (*)(const CMPIBroker *, const CMPIObjectPath *, const char *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, toString, CMPIString *(*)(const CMPIBroker *, const void *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, isOfType, CMPIBoolean (*)(const CMPIBroker *, const void *, const char *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, getType, CMPIString *(*)(const CMPIBroker *, const void *, CMPIStatus *));
TYPE(CMPIBrokerEncFT, getMessage,
     CMPIString *(*)(const CMPIBroker *, const char *, const char *, CMPIStatus *, CMPICount, ...));
TYPE(CMPIBrokerEncFT, logMessage,
     CMPIStatus (*)(const CMPIBroker *, CMPISeverity, const char *, const char *, const CMPIString *));
TYPE(CMPIBrokerEncFT, trace,
     CMPIStatus (*)(const CMPIBroker *, CMPILevel, const char *, const char *, const CMPIString *));
TYPE(CMPIBrokerMemFT, ftVersion, unsigned int);
TYPE(CMPIBrokerMemFT, mark, CMPIGcStat *(*)(const CMPIBroker *, CMPIStatus *));
TYPE(CMPIBrokerMemFT, release, CMPIStatus (*)(const CMPIBroker *, const CMPIGcStat *));
TYPE(CMPIBrokerMemFT, cmpiMalloc, void *(*)(const CMPIBroker *, size_t));
TYPE(CMPIBrokerMemFT, cmpiCalloc, void *(*)(const CMPIBroker *, size_t, size_t));
TYPE(CMPIBrokerMemFT, cmpiRealloc, void *(*)(const CMPIBroker *, void *, size_t));
TYPE(CMPIBrokerMemFT, cmpiStrDup, char *(*)(const CMPIBroker *, const char *));
TYPE(CMPIBrokerMemFT, cmpiFree, void (*)(const CMPIBroker *, void *));
TYPE(CMPIBrokerMemFT, freeInstance, void (*)(const CMPIBroker *, CMPIInstance *));
TYPE(CMPIBrokerMemFT, freeObjectPath, void (*)(const CMPIBroker *, CMPIObjectPath *));
TYPE(CMPIBrokerMemFT, freeArgs, void (*)(const CMPIBroker *, CMPIArgs *));
TYPE(CMPIBrokerMemFT, freeString, void (*)(const CMPIBroker *, CMPIString *));
TYPE(CMPIBrokerMemFT, freeArray, void (*)(const CMPIBroker *, CMPIArray *));
TYPE(CMPIBrokerMemFT, freeDateTime, void (*)(const CMPIBroker *, CMPIDateTime *));
TYPE(CMPIBrokerMemFT, freeSelectExp, void (*)(const CMPIBroker *, CMPISelectExp *));
TYPE(CMPIContextFT, ftVersion, unsigned int);
TYPE(CMPIContextFT, release, CMPIStatus (*)(CMPIContext *));
TYPE(CMPIContextFT, clone, CMPIContext *(*)(const CMPIContext *, CMPIStatus *));
TYPE(CMPIContextFT, getEntry, CMPIData (*)(const CMPIContext *, const char *, CMPIStatus *));
TYPE(CMPIContextFT, getEntryAt, CMPIData (*)(const CMPIContext *, CMPICount, CMPIString **, CMPIStatus *));
TYPE(CMPIContextFT, getEntryCount, CMPICount (*)(const CMPIContext *, CMPIStatus *));
TYPE(CMPIContextFT, addEntry, CMPIStatus (*)(const CMPIContext *, const char *, const CMPIValue *, CMPIType));
TYPE(CMPIResultFT, ftVersion, unsigned int);
TYPE(CMPIResultFT, release, CMPIStatus (*)(CMPIResult *));
TYPE(CMPIResultFT, clone, CMPIResult *(*)(const CMPIResult *, CMPIStatus *));
TYPE(CMPIResultFT, returnData, CMPIStatus (*)(const CMPIResult *, const CMPIValue *, CMPIType));
TYPE(CMPIResultFT, returnInstance, CMPIStatus (*)(const CMPIResult *, const CMPIInstance *));
TYPE(CMPIResultFT, returnObjectPath, CMPIStatus (*)(const CMPIResult *, const CMPIObjectPath *));
TYPE(CMPIResultFT, returnDone, CMPIStatus (*)(const CMPIResult *));
TYPE(CMPIInstanceFT, ftVersion, unsigned int);
TYPE(CMPIInstanceFT, release, CMPIStatus (*)(CMPIInstance *));
TYPE(CMPIInstanceFT, clone, CMPIInstance *(*)(const CMPIInstance *, CMPIStatus *));
TYPE(CMPIInstanceFT, getProperty, CMPIData (*)(const CMPIInstance *, const char *, CMPIStatus *));
TYPE(CMPIInstanceFT, getPropertyAt, CMPIData (*)(const CMPIInstance *, CMPICount, CMPIString **, CMPIStatus *));
TYPE(CMPIInstanceFT, getPropertyCount, CMPICount (*)(const CMPIInstance *, CMPIStatus *));
TYPE(CMPIInstanceFT, setProperty, CMPIStatus (*)(const CMPIInstance *, const char *, const CMPIValue *, CMPIType));
TYPE(CMPIInstanceFT, getObjectPath, CMPIObjectPath *(*)(const CMPIInstance *, CMPIStatus *));
TYPE(CMPIInstanceFT, setPropertyFilter, CMPIStatus (*)(const CMPIInstance *, const char **, const char **));
TYPE(CMPIInstanceFT, setObjectPath, CMPIStatus (*)(const CMPIInstance *, const CMPIObjectPath *));
TYPE(CMPIObjectPathFT, ftVersion, unsigned int);
TYPE(CMPIObjectPathFT, release, CMPIStatus (*)(CMPIObjectPath *));
TYPE(CMPIObjectPathFT, clone, CMPIObjectPath *(*)(const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIObjectPathFT, setNameSpace, CMPIStatus (*)(const CMPIObjectPath *, const char *));
TYPE(CMPIObjectPathFT, getNameSpace, CMPIString *(*)(const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIObjectPathFT, setHostname, CMPIStatus (*)(const CMPIObjectPath *, const char *));
TYPE(CMPIObjectPathFT, getHostname, CMPIString *(*)(const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIObjectPathFT, setClassName, CMPIStatus (*)(const CMPIObjectPath *, const char *));
TYPE(CMPIObjectPathFT, getClassName, CMPIString *(*)(const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIObjectPathFT, addKey, CMPIStatus (*)(const CMPIObjectPath *, const char *, const CMPIValue *, CMPIType));
TYPE(CMPIObjectPathFT, getKey, CMPIData (*)(const CMPIObjectPath *, const char *, CMPIStatus *));
TYPE(CMPIObjectPathFT, getKeyAt, CMPIData (*)(const CMPIObjectPath *, CMPICount, CMPIString **, CMPIStatus *));
TYPE(CMPIObjectPathFT, getKeyCount, CMPICount (*)(const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIObjectPathFT, setNameSpaceFromObjectPath, CMPIStatus (*)(const CMPIObjectPath *, const CMPIObjectPath *));
TYPE(CMPIObjectPathFT, setHostAndNameSpaceFromObjectPath,
     CMPIStatus (*)(const CMPIObjectPath *, const CMPIObjectPath *));
TYPE(CMPIObjectPathFT, getClassQualifier, CMPIData (*)(const CMPIObjectPath *, const char *, CMPIStatus *));
TYPE(CMPIObjectPathFT, getPropertyQualifier,
     CMPIData (*)(const CMPIObjectPath *, const char *, const char *, CMPIStatus *));
TYPE(CMPIObjectPathFT, getMethodQualifier,
     CMPIData (*)(const CMPIObjectPath *, const char *, const char *, CMPIStatus *));
TYPE(CMPIObjectPathFT, getParameterQualifier,
     CMPIData (*)(const CMPIObjectPath *, const char *, const char *, const char *, CMPIStatus *));
TYPE(CMPIObjectPathFT, toString, CMPIString *(*)(const CMPIObjectPath *, CMPIStatus *));
TYPE(CMPIStringFT, ftVersion, unsigned int);
TYPE(CMPIStringFT, release, CMPIStatus (*)(CMPIString *));
TYPE(CMPIStringFT, clone, CMPIString *(*)(const CMPIString *, CMPIStatus *));
TYPE(CMPIStringFT, getCharPtr, const char *(*)(const CMPIString *, CMPIStatus *));
TYPE(CMPIArrayFT, ftVersion, unsigned int);
TYPE(CMPIArrayFT, release, CMPIStatus (*)(CMPIArray *));
TYPE(CMPIArrayFT, clone, CMPIArray *(*)(const CMPIArray *, CMPIStatus *));
TYPE(CMPIArrayFT, getSize, CMPICount (*)(const CMPIArray *, CMPIStatus *));
TYPE(CMPIArrayFT, getSimpleType, CMPIType (*)(const CMPIArray *, CMPIStatus *));
TYPE(CMPIArrayFT, getElementAt, CMPIData (*)(const CMPIArray *, CMPICount, CMPIStatus *));
TYPE(CMPIArrayFT, setElementAt, CMPIStatus (*)(const CMPIArray *, CMPICount, const CMPIValue *, CMPIType));
TYPE(CMPIEnumerationFT, ftVersion, unsigned int);
TYPE(CMPIEnumerationFT, release, CMPIStatus (*)(CMPIEnumeration *));
TYPE(CMPIEnumerationFT, clone, CMPIEnumeration *(*)(const CMPIEnumeration *, CMPIStatus *));
TYPE(CMPIEnumerationFT, getNext, CMPIData (*)(const CMPIEnumeration *, CMPIStatus *));
TYPE(CMPIEnumerationFT, hasNext, CMPIBoolean (*)(const CMPIEnumeration *, CMPIStatus *));
TYPE(CMPIEnumerationFT, toArray, CMPIArray *(*)(const CMPIEnumeration *, CMPIStatus *));
TYPE(CMPIInstanceMI, hdl, const void *);
TYPE(CMPIInstanceMI, ft, const CMPIInstanceMIFT *);
TYPE(CMPIInstanceMIFT, ftVersion, unsigned int);
TYPE(CMPIInstanceMIFT, miVersion, int);
TYPE(CMPIInstanceMIFT, miName, const char *);
TYPE(CMPIInstanceMIFT, cleanup, CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean));
TYPE(CMPIInstanceMIFT, enumerateInstanceNames,
     CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *));
TYPE(CMPIInstanceMIFT, enumerateInstances,
     CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char **));
TYPE(CMPIInstanceMIFT, getInstance,
     CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char **));
TYPE(CMPIInstanceMIFT, createInstance,
     CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                    const CMPIInstance *));
TYPE(CMPIInstanceMIFT, modifyInstance,
     CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                    const CMPIInstance *, const char **));
TYPE(CMPIInstanceMIFT, deleteInstance,
     CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *));
TYPE(CMPIInstanceMIFT, execQuery,
     CMPIStatus (*)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char *,
                    const char *));
TYPE(CMPIAssociationMI, hdl, const void *);
TYPE(CMPIAssociationMI, ft, const CMPIAssociationMIFT *);
TYPE(CMPIAssociationMIFT, ftVersion, unsigned int);
TYPE(CMPIAssociationMIFT, miVersion, int);
TYPE(CMPIAssociationMIFT, miName, const char *);
TYPE(CMPIAssociationMIFT, cleanup, CMPIStatus (*)(CMPIAssociationMI *, const CMPIContext *, CMPIBoolean));
TYPE(CMPIAssociationMIFT, associators,
     CMPIStatus (*)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char *,
                    const char *, const char *, const char *, const char **));
TYPE(CMPIAssociationMIFT, associatorNames,
     CMPIStatus (*)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char *,
                    const char *, const char *, const char *));
TYPE(CMPIAssociationMIFT, references,
     CMPIStatus (*)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char *,
                    const char *, const char **));
TYPE(CMPIAssociationMIFT, referenceNames,
     CMPIStatus (*)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char *,
                    const char *));
TYPE(CMPIData, type, CMPIType);
TYPE(CMPIData, state, CMPIValueState);
TYPE(CMPIData, value, CMPIValue);
TYPE(CMPIStatus, rc, CMPIrc);
TYPE(CMPIStatus, msg, CMPIString *);
TYPE(CMPIValue, boolean, CMPIBoolean);
TYPE(CMPIValue, char16, CMPIChar16);
TYPE(CMPIValue, uint8, CMPIUint8);
TYPE(CMPIValue, uint16, CMPIUint16);
TYPE(CMPIValue, uint32, CMPIUint32);
TYPE(CMPIValue, uint64, CMPIUint64);
TYPE(CMPIValue, sint8, CMPISint8);
TYPE(CMPIValue, sint16, CMPISint16);
TYPE(CMPIValue, sint32, CMPISint32);
TYPE(CMPIValue, sint64, CMPISint64);
TYPE(CMPIValue, real32, CMPIReal32);
TYPE(CMPIValue, real64, CMPIReal64);
TYPE(CMPIValue, inst, CMPIInstance *);
TYPE(CMPIValue, ref, CMPIObjectPath *);
TYPE(CMPIValue, args, CMPIArgs *);
TYPE(CMPIValue, filter, CMPISelectExp *);
TYPE(CMPIValue, Enum, CMPIEnumeration *);
TYPE(CMPIValue, array, CMPIArray *);
TYPE(CMPIValue, string, CMPIString *);
TYPE(CMPIValue, chars, char *);
TYPE(CMPIValue, dateTime, CMPIDateTime *);
TYPE(CMPIValue, dataPtr, CMPIValuePtr);
TYPE(CMPIValue, Byte, CMPISint8);
TYPE(CMPIValue, Short, CMPISint16);
TYPE(CMPIValue, Int, CMPISint32);
TYPE(CMPIValue, Long, CMPISint64);
TYPE(CMPIValue, Float, CMPIReal32);
TYPE(CMPIValue, Double, CMPIReal64);

TEST(CmpiDeclarations, ConstantsHaveTheStandardsValues) {
    for (const Constant &constant : kConstants) EXPECT_EQ(constant.actual, constant.expected) << constant.name;
}

TEST(CmpiDeclarations, StructuresHaveTheStandardsLayout) {
    for (const Member &member : kMembers) {
        EXPECT_EQ(member.offset, member.expectedOffset) << member.name;
        EXPECT_EQ(member.size, member.expectedSize) << member.name;
    }
}

TEST(CmpiDeclarations, ScalarsHaveTheStandardsTypes) {
    EXPECT_TRUE((std::is_same_v<CMPIBoolean, unsigned char>));
    EXPECT_TRUE((std::is_same_v<CMPIUint8, unsigned char>));
    EXPECT_TRUE((std::is_same_v<CMPIChar16, unsigned short>));
    EXPECT_TRUE((std::is_same_v<CMPIUint16, unsigned short>));
    EXPECT_TRUE((std::is_same_v<CMPIUint32, unsigned int>));
    EXPECT_TRUE((std::is_same_v<CMPIUint64, unsigned long long>));
    EXPECT_TRUE((std::is_same_v<CMPISint8, signed char>));
    EXPECT_TRUE((std::is_same_v<CMPISint16, short>));
    EXPECT_TRUE((std::is_same_v<CMPISint32, int>));
    EXPECT_TRUE((std::is_same_v<CMPISint64, long long>));
    EXPECT_TRUE((std::is_same_v<CMPIReal32, float>));
    EXPECT_TRUE((std::is_same_v<CMPIReal64, double>));
    EXPECT_TRUE((std::is_same_v<CMPICount, unsigned int>));
    EXPECT_TRUE((std::is_same_v<CMPIFlags, unsigned int>));
    EXPECT_TRUE((std::is_same_v<CMPIType, unsigned short>));
    EXPECT_TRUE((std::is_same_v<CMPIValueState, unsigned short>));
    EXPECT_TRUE(std::is_enum_v<CMPIrc>);
    EXPECT_TRUE((std::is_same_v<CMPIGcStat, void>));
    EXPECT_EQ(offsetof(CMPIValuePtr, length), sizeof(void *));
}

// Each encapsulated object is a handle of the broker's and its function table.
#define ENCAPSULATED(type) (offsetof(type, hdl) == 0 && offsetof(type, ft) == 8 && sizeof(type) == 16)
static_assert(ENCAPSULATED(CMPIContext) && ENCAPSULATED(CMPIResult) && ENCAPSULATED(CMPIInstance) &&
              ENCAPSULATED(CMPIObjectPath) && ENCAPSULATED(CMPIString) && ENCAPSULATED(CMPIArray) &&
              ENCAPSULATED(CMPIEnumeration) && ENCAPSULATED(CMPIArgs) && ENCAPSULATED(CMPIDateTime) &&
              ENCAPSULATED(CMPISelectExp));
static_assert(std::is_same_v<CMPIBroker, struct _CMPIBroker> && std::is_same_v<CMPIInstance, struct _CMPIInstance> &&
              std::is_same_v<CMPIData, struct _CMPIData> && std::is_same_v<CMPIStatus, struct _CMPIStatus>);
static_assert(CMPI_uint16A == (CMPI_ARRAY | CMPI_uint16) && CMPI_stringA == (CMPI_ARRAY | CMPI_string) &&
              CMPI_charsA == (CMPI_ARRAY | CMPI_chars) && CMPI_booleanA == (CMPI_ARRAY | CMPI_boolean) &&
              CMPI_refA == (CMPI_ARRAY | CMPI_ref));

TEST(CmpiDeclarations, ContextEntriesHaveTheStandardsNames) {
    EXPECT_STREQ(CMPIInvocationFlags, "CMPIInvocationFlags");
    EXPECT_STREQ(CMPIPrincipal, "CMPIPrincipal");
    EXPECT_STREQ(CMPIInitNameSpace, "CMPIInitNameSpace");
    EXPECT_STREQ(CMPIRole, "CMPIRole");
    EXPECT_STREQ(CMPIAcceptLanguage, "CMPIAcceptLanguage");
    EXPECT_STREQ(CMPIContentLanguage, "CMPIContentLanguage");
}

} // namespace
