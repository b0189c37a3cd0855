// The identity of the host system: part of the keys of every device that is served. Read once at start-up by the thread
// that starts, read-only from then on, released when no request and no worker is left.
#include "../QuarnelProvider.h"

namespace {

char *__SystemName; // set: the identity is known
char *__HostName;
char *__SystemClassName;

const struct {
    const char *Property;
    char **Text;
} kIdentity[] = {
    {"Name", &__SystemName},
    {"ElementName", &__HostName},
    {"CreationClassName", &__SystemClassName},
};

} // namespace

int InitSystemInfo(const CMPIInstanceMI *, const CMPIContext *ctx) {
    QLOG(LOG_DEBUG, "%s: entering...\n", __func__);
    if (__SystemName != nullptr) return RESULT_OK;

    CMPIStatus status = kOk;
    CMPIObjectPath *path = Broker->eft->newObjectPath(Broker, "root/cimv2", "OMC_UnitaryComputerSystem", &status);
    if (status.rc != CMPI_RC_OK || path == nullptr) {
        const char *message = TextOf(status.msg);
        QLOG(LOG_ERR, "%s: rc %d, msg %s\n", __func__, status.rc, message != nullptr ? message : "");
        return RESULT_NO_MEMORY;
    }
    NoteUpcall();
    const CMPIEnumeration *hosts = Broker->bft->enumerateInstances(Broker, ctx, path, nullptr, &status);
    const CMPIInstance *host = status.rc == CMPI_RC_OK ? FirstOf<CMPIInstance>(hosts) : nullptr;
    if (host == nullptr) {
        const char *message = status.rc != CMPI_RC_OK ? TextOf(status.msg) : nullptr;
        if (message != nullptr)
            QLOG(LOG_ERR, "%s: no instance found. rc %d, msg %s\n", __func__, status.rc, message);
        else
            QLOG(LOG_ERR, "%s: no instance found. rc %d\n", __func__, status.rc);
        return RESULT_INVALID;
    }
    ReleaseSystemInfo(); // an earlier life may have known the other two
    for (const auto &row : kIdentity) *row.Text = StringClone(TextOf(host, row.Property));
    QLOG(LOG_DEBUG, "SYSTEM INFO: HostName %s, SystemName %s, SystemClassName %s\n", Shown(__HostName),
         Shown(__SystemName), Shown(__SystemClassName));
    return RESULT_OK;
}

void ReleaseSystemInfo() {
    for (char **text : {&__SystemClassName, &__HostName, &__SystemName}) {
        free(*text);
        *text = nullptr;
    }
}

const char *GetHostName() { return __HostName; }
const char *GetSystemName() { return __SystemName; }
const char *GetSystemClassName() { return __SystemClassName; }
