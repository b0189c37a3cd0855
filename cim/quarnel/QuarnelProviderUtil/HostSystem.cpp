// The identity of the host system: part of the keys of every device that is served. Read once at start-up by the thread
// that starts, read-only from then on, freed with its life.
#include "cim/quarnel/Life.h"

namespace {

const struct {
    const char *Property;
    char *Life_t::*Text;
} kIdentity[] = {
    {"Name", &Life_t::SystemName},
    {"ElementName", &Life_t::HostName},
    {"CreationClassName", &Life_t::SystemClassName},
};

} // namespace

int InitSystemInfo(const CMPIInstanceMI *, const CMPIContext *ctx) {
    QLOG(LOG_DEBUG, "%s: entering...\n", __func__);
    Life_t &life = ThisLife();
    if (life.SystemName != nullptr) return RESULT_OK;

    CMPIStatus status = kOk;
    CMPIObjectPath *path = Broker->eft->newObjectPath(Broker, "root/cimv2", "OMC_UnitaryComputerSystem", &status);
    if (status.rc != CMPI_RC_OK || path == nullptr) {
        const char *message = TextOf(status.msg);
        QLOG(LOG_ERR, "%s: rc %d, msg %s\n", __func__, status.rc, message != nullptr ? message : "");
        return RESULT_NO_MEMORY;
    }
    NoteUpcall();
    const CMPIEnumeration *hosts = Broker->bft->enumerateInstances(Broker, ctx, path, nullptr, &status);
    if (Stopping()) return RESULT_INVALID;
    const CMPIInstance *host = status.rc == CMPI_RC_OK ? FirstOf<CMPIInstance>(hosts) : nullptr;
    if (host == nullptr) {
        const char *message = status.rc != CMPI_RC_OK ? TextOf(status.msg) : nullptr;
        if (message != nullptr)
            QLOG(LOG_ERR, "%s: no instance found. rc %d, msg %s\n", __func__, status.rc, message);
        else
            QLOG(LOG_ERR, "%s: no instance found. rc %d\n", __func__, status.rc);
        return RESULT_INVALID;
    }
    ReleaseSystemInfo(); // an earlier attempt may have found the other two
    for (const auto &row : kIdentity) life.*row.Text = StringClone(TextOf(host, row.Property));
    QLOG(LOG_DEBUG, "SYSTEM INFO: HostName %s, SystemName %s, SystemClassName %s\n", Shown(life.HostName),
         Shown(life.SystemName), Shown(life.SystemClassName));
    return RESULT_OK;
}

void ReleaseSystemInfo() {
    Life_t &life = ThisLife();
    for (const auto &row : kIdentity) {
        free(life.*row.Text);
        life.*row.Text = nullptr;
    }
}

const char *GetHostName() { return ThisLife().HostName; }
const char *GetSystemName() { return ThisLife().SystemName; }
const char *GetSystemClassName() { return ThisLife().SystemClassName; }
