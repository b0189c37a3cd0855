// Up-calls into the vendors' providers, with the one place that decides what a failure means.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

// The result, or null; logs a failure under the operation's name. Nothing is logged or returned once the workers are
// being stopped: the up-call may have returned long after its life was abandoned.
CMPIEnumeration *Walked(const char *operation, const CMPIObjectPath *from, const char *association, const char *result,
                        CMPIEnumeration *found, const CMPIStatus &status) {
    if (Stopping()) return nullptr;
    if (status.rc == CMPI_RC_OK) return found;
    QLOG(LOG_ERR, "%s %s (assocClass: %s, resultClass: %s) failed, status: rc %d, msg %s", operation,
         PathText(from).Text(), association, Shown(result), status.rc, MessageOf(status));
    return nullptr;
}

constexpr CMPIStatus kNoSource = {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};

} // namespace

CMPIEnumeration *Associators(const CMPIContext *ctx, const CMPIObjectPath *from, const char *association,
                             const char *result) {
    CMPIStatus status = from != nullptr ? kOk : kNoSource;
    CMPIEnumeration *found = nullptr;
    if (const Upcall upcall; from != nullptr && upcall.Allowed())
        found = Broker->bft->associators(Broker, ctx, from, association, result, nullptr, nullptr, nullptr, &status);
    return Walked("Associators", from, association, result, found, status);
}

CMPIEnumeration *AssociatorNames(const CMPIContext *ctx, const CMPIObjectPath *from, const char *association,
                                 const char *result) {
    CMPIStatus status = from != nullptr ? kOk : kNoSource;
    CMPIEnumeration *found = nullptr;
    if (const Upcall upcall; from != nullptr && upcall.Allowed())
        found = Broker->bft->associatorNames(Broker, ctx, from, association, result, nullptr, nullptr, &status);
    return Walked("AssociatorNames", from, association, result, found, status);
}

CMPIInstance *GetInstance(const CMPIContext *ctx, const CMPIObjectPath *path) {
    CMPIStatus status = path != nullptr ? kOk : kNoSource;
    CMPIInstance *instance = nullptr;
    if (const Upcall upcall; path != nullptr && upcall.Allowed())
        instance = Broker->bft->getInstance(Broker, ctx, path, nullptr, &status);
    if (Stopping()) return nullptr;
    if (status.rc == CMPI_RC_OK) return instance;
    QLOG(LOG_ERR, "GetInstance %s failed, status: rc %d, msg %s", PathText(path).Text(), status.rc, MessageOf(status));
    return nullptr;
}
