/*
 * CMPI 1.0 function tables: what a broker offers, what its encapsulated objects answer to, and what a provider hands
 * over. Later versions of the interface only add members behind these. Used only where the system brings no CMPI
 * headers of its own.
 */
#ifndef QUARNEL_CMPIFT_H
#define QUARNEL_CMPIFT_H

#include "cim/include/cmpidt.h"

#ifdef __cplusplus
extern "C" {
#endif

struct _CMPIContext {
    void *hdl;
    const CMPIContextFT *ft;
};

struct _CMPIResult {
    void *hdl;
    const CMPIResultFT *ft;
};

struct _CMPIInstance {
    void *hdl;
    const CMPIInstanceFT *ft;
};

struct _CMPIObjectPath {
    void *hdl;
    const CMPIObjectPathFT *ft;
};

struct _CMPIString {
    void *hdl;
    const CMPIStringFT *ft;
};

struct _CMPIArray {
    void *hdl;
    const CMPIArrayFT *ft;
};

struct _CMPIEnumeration {
    void *hdl;
    const CMPIEnumerationFT *ft;
};

struct _CMPIArgs {
    void *hdl;
    const CMPIArgsFT *ft;
};

struct _CMPIDateTime {
    void *hdl;
    const CMPIDateTimeFT *ft;
};

struct _CMPISelectExp {
    void *hdl;
    const CMPISelectExpFT *ft;
};

struct _CMPIInstanceMI {
    const void *hdl;
    const CMPIInstanceMIFT *ft;
};

struct _CMPIAssociationMI {
    const void *hdl;
    const CMPIAssociationMIFT *ft;
};

struct _CMPIBroker {
    const void *hdl;
    const CMPIBrokerFT *bft;
    const CMPIBrokerEncFT *eft;
    const CMPIBrokerExtFT *xft;
    const CMPIBrokerMemFT *mft; /* CMPI 2.0; may be null */
};

struct _CMPIBrokerFT {
    unsigned int brokerCapabilities;
    unsigned int brokerVersion;
    const char *brokerName;
    CMPIContext *(*prepareAttachThread)(const CMPIBroker *, const CMPIContext *);
    CMPIStatus (*attachThread)(const CMPIBroker *, const CMPIContext *);
    CMPIStatus (*detachThread)(const CMPIBroker *, const CMPIContext *);
    CMPIStatus (*deliverIndication)(const CMPIBroker *, const CMPIContext *, const char *, const CMPIInstance *);
    CMPIEnumeration *(*enumerateInstanceNames)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                                               CMPIStatus *);
    CMPIInstance *(*getInstance)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char **,
                                 CMPIStatus *);
    CMPIObjectPath *(*createInstance)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                                      const CMPIInstance *, CMPIStatus *);
    CMPIStatus (*modifyInstance)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const CMPIInstance *,
                                 const char **);
    CMPIStatus (*deleteInstance)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *);
    CMPIEnumeration *(*execQuery)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                                  const char *, CMPIStatus *);
    CMPIEnumeration *(*enumerateInstances)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *,
                                           const char **, CMPIStatus *);
    CMPIEnumeration *(*associators)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                                    const char *, const char *, const char *, const char **, CMPIStatus *);
    CMPIEnumeration *(*associatorNames)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                                        const char *, const char *, const char *, CMPIStatus *);
    CMPIEnumeration *(*references)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                                   const char *, const char **, CMPIStatus *);
    CMPIEnumeration *(*referenceNames)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                                       const char *, CMPIStatus *);
    CMPIData (*invokeMethod)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                             const CMPIArgs *, CMPIArgs *, CMPIStatus *);
    CMPIStatus (*setProperty)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                              const CMPIValue *, CMPIType);
    CMPIData (*getProperty)(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *,
                            CMPIStatus *);
};

struct _CMPIBrokerEncFT {
    unsigned int ftVersion;
    CMPIInstance *(*newInstance)(const CMPIBroker *, const CMPIObjectPath *, CMPIStatus *);
    CMPIObjectPath *(*newObjectPath)(const CMPIBroker *, const char *, const char *, CMPIStatus *);
    CMPIArgs *(*newArgs)(const CMPIBroker *, CMPIStatus *);
    CMPIString *(*newString)(const CMPIBroker *, const char *, CMPIStatus *);
    CMPIArray *(*newArray)(const CMPIBroker *, CMPICount, CMPIType, CMPIStatus *);
    CMPIDateTime *(*newDateTime)(const CMPIBroker *, CMPIStatus *);
    CMPIDateTime *(*newDateTimeFromBinary)(const CMPIBroker *, CMPIUint64, CMPIBoolean, CMPIStatus *);
    CMPIDateTime *(*newDateTimeFromChars)(const CMPIBroker *, const char *, CMPIStatus *);
    CMPISelectExp *(*newSelectExp)(const CMPIBroker *, const char *, const char *, CMPIArray **, CMPIStatus *);
    CMPIBoolean (*classPathIsA)(const CMPIBroker *, const CMPIObjectPath *, const char *, CMPIStatus *);
    CMPIString *(*toString)(const CMPIBroker *, const void *, CMPIStatus *);
    CMPIBoolean (*isOfType)(const CMPIBroker *, const void *, const char *, CMPIStatus *);
    CMPIString *(*getType)(const CMPIBroker *, const void *, CMPIStatus *);
    CMPIString *(*getMessage)(const CMPIBroker *, const char *, const char *, CMPIStatus *, CMPICount, ...);
    CMPIStatus (*logMessage)(const CMPIBroker *, CMPISeverity, const char *, const char *, const CMPIString *);
    CMPIStatus (*trace)(const CMPIBroker *, CMPILevel, const char *, const char *, const CMPIString *);
};

struct _CMPIBrokerMemFT {
    unsigned int ftVersion;
    CMPIGcStat *(*mark)(const CMPIBroker *, CMPIStatus *);
    CMPIStatus (*release)(const CMPIBroker *, const CMPIGcStat *);
    void *(*cmpiMalloc)(const CMPIBroker *, size_t);
    void *(*cmpiCalloc)(const CMPIBroker *, size_t, size_t);
    void *(*cmpiRealloc)(const CMPIBroker *, void *, size_t);
    char *(*cmpiStrDup)(const CMPIBroker *, const char *);
    void (*cmpiFree)(const CMPIBroker *, void *);
    void (*freeInstance)(const CMPIBroker *, CMPIInstance *);
    void (*freeObjectPath)(const CMPIBroker *, CMPIObjectPath *);
    void (*freeArgs)(const CMPIBroker *, CMPIArgs *);
    void (*freeString)(const CMPIBroker *, CMPIString *);
    void (*freeArray)(const CMPIBroker *, CMPIArray *);
    void (*freeDateTime)(const CMPIBroker *, CMPIDateTime *);
    void (*freeSelectExp)(const CMPIBroker *, CMPISelectExp *);
};

struct _CMPIContextFT {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIContext *);
    CMPIContext *(*clone)(const CMPIContext *, CMPIStatus *);
    CMPIData (*getEntry)(const CMPIContext *, const char *, CMPIStatus *);
    CMPIData (*getEntryAt)(const CMPIContext *, CMPICount, CMPIString **, CMPIStatus *);
    CMPICount (*getEntryCount)(const CMPIContext *, CMPIStatus *);
    CMPIStatus (*addEntry)(const CMPIContext *, const char *, const CMPIValue *, CMPIType);
};

struct _CMPIResultFT {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIResult *);
    CMPIResult *(*clone)(const CMPIResult *, CMPIStatus *);
    CMPIStatus (*returnData)(const CMPIResult *, const CMPIValue *, CMPIType);
    CMPIStatus (*returnInstance)(const CMPIResult *, const CMPIInstance *);
    CMPIStatus (*returnObjectPath)(const CMPIResult *, const CMPIObjectPath *);
    CMPIStatus (*returnDone)(const CMPIResult *);
};

struct _CMPIInstanceFT {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIInstance *);
    CMPIInstance *(*clone)(const CMPIInstance *, CMPIStatus *);
    CMPIData (*getProperty)(const CMPIInstance *, const char *, CMPIStatus *);
    CMPIData (*getPropertyAt)(const CMPIInstance *, CMPICount, CMPIString **, CMPIStatus *);
    CMPICount (*getPropertyCount)(const CMPIInstance *, CMPIStatus *);
    CMPIStatus (*setProperty)(const CMPIInstance *, const char *, const CMPIValue *, CMPIType);
    CMPIObjectPath *(*getObjectPath)(const CMPIInstance *, CMPIStatus *);
    CMPIStatus (*setPropertyFilter)(const CMPIInstance *, const char **, const char **);
    CMPIStatus (*setObjectPath)(const CMPIInstance *, const CMPIObjectPath *);
};

struct _CMPIObjectPathFT {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIObjectPath *);
    CMPIObjectPath *(*clone)(const CMPIObjectPath *, CMPIStatus *);
    CMPIStatus (*setNameSpace)(const CMPIObjectPath *, const char *);
    CMPIString *(*getNameSpace)(const CMPIObjectPath *, CMPIStatus *);
    CMPIStatus (*setHostname)(const CMPIObjectPath *, const char *);
    CMPIString *(*getHostname)(const CMPIObjectPath *, CMPIStatus *);
    CMPIStatus (*setClassName)(const CMPIObjectPath *, const char *);
    CMPIString *(*getClassName)(const CMPIObjectPath *, CMPIStatus *);
    CMPIStatus (*addKey)(const CMPIObjectPath *, const char *, const CMPIValue *, CMPIType);
    CMPIData (*getKey)(const CMPIObjectPath *, const char *, CMPIStatus *);
    CMPIData (*getKeyAt)(const CMPIObjectPath *, CMPICount, CMPIString **, CMPIStatus *);
    CMPICount (*getKeyCount)(const CMPIObjectPath *, CMPIStatus *);
    CMPIStatus (*setNameSpaceFromObjectPath)(const CMPIObjectPath *, const CMPIObjectPath *);
    CMPIStatus (*setHostAndNameSpaceFromObjectPath)(const CMPIObjectPath *, const CMPIObjectPath *);
    CMPIData (*getClassQualifier)(const CMPIObjectPath *, const char *, CMPIStatus *);
    CMPIData (*getPropertyQualifier)(const CMPIObjectPath *, const char *, const char *, CMPIStatus *);
    CMPIData (*getMethodQualifier)(const CMPIObjectPath *, const char *, const char *, CMPIStatus *);
    CMPIData (*getParameterQualifier)(const CMPIObjectPath *, const char *, const char *, const char *, CMPIStatus *);
    CMPIString *(*toString)(const CMPIObjectPath *, CMPIStatus *);
};

struct _CMPIStringFT {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIString *);
    CMPIString *(*clone)(const CMPIString *, CMPIStatus *);
    const char *(*getCharPtr)(const CMPIString *, CMPIStatus *);
};

struct _CMPIArrayFT {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIArray *);
    CMPIArray *(*clone)(const CMPIArray *, CMPIStatus *);
    CMPICount (*getSize)(const CMPIArray *, CMPIStatus *);
    CMPIType (*getSimpleType)(const CMPIArray *, CMPIStatus *);
    CMPIData (*getElementAt)(const CMPIArray *, CMPICount, CMPIStatus *);
    CMPIStatus (*setElementAt)(const CMPIArray *, CMPICount, const CMPIValue *, CMPIType);
};

struct _CMPIEnumerationFT {
    unsigned int ftVersion;
    CMPIStatus (*release)(CMPIEnumeration *);
    CMPIEnumeration *(*clone)(const CMPIEnumeration *, CMPIStatus *);
    CMPIData (*getNext)(const CMPIEnumeration *, CMPIStatus *);
    CMPIBoolean (*hasNext)(const CMPIEnumeration *, CMPIStatus *);
    CMPIArray *(*toArray)(const CMPIEnumeration *, CMPIStatus *);
};

struct _CMPIInstanceMIFT {
    unsigned int ftVersion;
    int miVersion;
    const char *miName;
    CMPIStatus (*cleanup)(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean);
    CMPIStatus (*enumerateInstanceNames)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *,
                                         const CMPIObjectPath *);
    CMPIStatus (*enumerateInstances)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                                     const char **);
    CMPIStatus (*getInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                              const char **);
    CMPIStatus (*createInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                                 const CMPIInstance *);
    CMPIStatus (*modifyInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                                 const CMPIInstance *, const char **);
    CMPIStatus (*deleteInstance)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *);
    CMPIStatus (*execQuery)(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                            const char *, const char *);
};

struct _CMPIAssociationMIFT {
    unsigned int ftVersion;
    int miVersion;
    const char *miName;
    CMPIStatus (*cleanup)(CMPIAssociationMI *, const CMPIContext *, CMPIBoolean);
    CMPIStatus (*associators)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                              const char *, const char *, const char *, const char *, const char **);
    CMPIStatus (*associatorNames)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                                  const char *, const char *, const char *, const char *);
    CMPIStatus (*references)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                             const char *, const char *, const char **);
    CMPIStatus (*referenceNames)(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                                 const char *, const char *);
};

#ifdef __cplusplus
}
#endif

#endif
