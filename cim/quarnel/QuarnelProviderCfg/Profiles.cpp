// The registrations of the SMI-S "Host Hardware RAID Controller" profile in the interop namespace: each is the way into
// one vendor's model.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <string.h>

namespace {

constexpr char kProfileName[] = "Host Hardware RAID Controller";

// The number of matches in the enumeration, all of them in the array; -5 when one more instance follows the eighth.
int CollectMatches(const CMPIEnumeration *registrations, Array_t *profiles) {
    CMPIInstance *registration = nullptr;
    while (true) {
        if (profiles->Count == kMaxProfiles && registrations->ft->hasNext(registrations, nullptr)) {
            QLOG(LOG_ERR, "%s: profile array out of range\n", "GetHHRCProfiles");
            return RESULT_ARRAY_FULL;
        }
        if (!Next(registrations, &registration)) return static_cast<int>(profiles->Count);
        const char *name = TextOf(registration, "RegisteredName");
        QLOG(LOG_DEBUG, "CIM_RegisteredProfile: RegisteredName %s, RegisteredVersion: %s, RegisteredOrganization: %d\n",
             Shown(name), Shown(TextOf(registration, "RegisteredVersion")),
             NumberOf<CMPIUint16>(registration, "RegisteredOrganization"));
        if (name == nullptr || strcmp(name, kProfileName) != 0) continue;
        QLOG(LOG_INFO, "Found a HHRC profile: %s\n", PathText(PathOf(registration)).Text());
        profiles->Array[profiles->Count++] = registration;
    }
}

int FindProfiles(const CMPIContext *ctx, Array_t *profiles) {
    if (ctx == nullptr || profiles == nullptr) return RESULT_NULL;
    CMPIStatus status = kOk;
    CMPIObjectPath *path = Broker->eft->newObjectPath(Broker, "root/interop", "CIM_RegisteredProfile", &status);
    if (status.rc != CMPI_RC_OK || path == nullptr) {
        const char *message = TextOf(status.msg);
        QLOG(LOG_ERR, "status: rc %d, msg %s\n", status.rc, message != nullptr ? message : "");
        return RESULT_NO_MEMORY;
    }
    profiles->Count = 0;
    const CMPIEnumeration *found = nullptr;
    if (const Upcall upcall; upcall.Allowed())
        found = Broker->bft->enumerateInstances(Broker, ctx, path, nullptr, &status);
    if (Stopping()) return 0;
    if (status.rc != CMPI_RC_OK)
        QLOG(LOG_ERR, "EnumInstances %s failed, status: rc %d, msg %s", PathText(path).Text(), status.rc,
             MessageOf(status));
    if (status.rc != CMPI_RC_OK || found == nullptr) return 0;
    return CollectMatches(found, profiles);
}

} // namespace

int GetHHRCProfiles(const CMPIInstanceMI *, const CMPIContext *ctx, Array_t *profiles) {
    QLOG(LOG_DEBUG, "GetHHRCProfiles: entering...\n");
    const int result = FindProfiles(ctx, profiles);
    QLOG(LOG_DEBUG, "GetHHRCProfiles: exiting, RC %d.\n", result);
    return result;
}
