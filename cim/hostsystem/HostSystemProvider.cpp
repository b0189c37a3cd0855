// One instance of OMC_UnitaryComputerSystem: the machine that this runs on, by its own name. For CIM servers, and for
// the embedded broker, that have no provider of the class.
#include <cmpift.h>

#include <strings.h>
#include <unistd.h>

#include <atomic>
#include <string>

namespace {

constexpr const char *kClass = "OMC_UnitaryComputerSystem";
constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};
constexpr CMPIStatus kFailed = {CMPI_RC_ERR_FAILED, nullptr};

std::atomic<const CMPIBroker *> broker; // the process has one; every factory call names it

const CMPIValue *Chars(const char *text) { return reinterpret_cast<const CMPIValue *>(text); }

std::string HostName() {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return name[0] != '\0' ? name : "localhost";
}

CMPIObjectPath *HostPath(const CMPIObjectPath *asked, const std::string &host) {
    const CMPIString *nameSpace = asked->ft->getNameSpace(asked, nullptr);
    const char *chars = nameSpace != nullptr ? nameSpace->ft->getCharPtr(nameSpace, nullptr) : nullptr;
    CMPIObjectPath *path =
        broker.load()->eft->newObjectPath(broker, chars != nullptr ? chars : "root/cimv2", kClass, nullptr);
    if (path == nullptr) return nullptr;
    path->ft->addKey(path, "CreationClassName", Chars(kClass), CMPI_chars);
    path->ft->addKey(path, "Name", Chars(host.c_str()), CMPI_chars);
    return path;
}

void SetOnly(const CMPIInstance *instance, const char *property, CMPIUint16 only) {
    CMPIValue value = {}, array = {};
    value.uint16 = only;
    array.array = broker.load()->eft->newArray(broker, 1, CMPI_uint16, nullptr);
    if (array.array == nullptr || array.array->ft->setElementAt(array.array, 0, &value, CMPI_uint16).rc != CMPI_RC_OK) {
        return;
    }
    instance->ft->setProperty(instance, property, &array, CMPI_uint16A);
}

CMPIStatus ReturnHost(const CMPIResult *results, const CMPIObjectPath *asked, const char **properties) {
    const std::string host = HostName();
    const CMPIObjectPath *path = HostPath(asked, host);
    CMPIInstance *instance = path != nullptr ? broker.load()->eft->newInstance(broker, path, nullptr) : nullptr;
    if (instance == nullptr) return kFailed;
    const char *keys[] = {"CreationClassName", "Name", nullptr};
    if (properties != nullptr) instance->ft->setPropertyFilter(instance, properties, keys);
    const struct {
        const char *property;
        const char *text;
    } texts[] = {{"CreationClassName", kClass},
                 {"Name", host.c_str()},
                 {"ElementName", host.c_str()},
                 {"Caption", host.c_str()},
                 {"NameFormat", "Other"}};
    for (const auto &row : texts) instance->ft->setProperty(instance, row.property, Chars(row.text), CMPI_chars);
    CMPIValue enabled = {};
    enabled.uint16 = 2;
    instance->ft->setProperty(instance, "EnabledState", &enabled, CMPI_uint16);
    SetOnly(instance, "OperationalStatus", 2); // OK
    SetOnly(instance, "Dedicated", 0);         // not dedicated
    const CMPIStatus status = results->ft->returnInstance(results, instance);
    return status.rc == CMPI_RC_OK ? results->ft->returnDone(results) : status;
}

bool IsHost(const CMPIObjectPath *path) {
    CMPIStatus status = kOk;
    const CMPIData name = path->ft->getKey(path, "Name", &status);
    if (status.rc != CMPI_RC_OK || name.type != CMPI_string || (name.state & CMPI_nullValue) != 0) return false;
    const char *chars = name.value.string->ft->getCharPtr(name.value.string, nullptr);
    return chars != nullptr && strcasecmp(chars, HostName().c_str()) == 0; // host names know no case
}

// Nothing is kept, so there is nothing to give back.
CMPIStatus Cleanup(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean) { return kOk; }

CMPIStatus EnumerateInstanceNames(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *results,
                                  const CMPIObjectPath *asked) {
    const CMPIObjectPath *path = HostPath(asked, HostName());
    if (path == nullptr) return kFailed;
    const CMPIStatus status = results->ft->returnObjectPath(results, path);
    return status.rc == CMPI_RC_OK ? results->ft->returnDone(results) : status;
}

CMPIStatus EnumerateInstances(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *results,
                              const CMPIObjectPath *asked, const char **properties) {
    return ReturnHost(results, asked, properties);
}

CMPIStatus GetInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *results, const CMPIObjectPath *asked,
                       const char **properties) {
    if (!IsHost(asked)) return {CMPI_RC_ERR_NOT_FOUND, nullptr};
    return ReturnHost(results, asked, properties);
}

template <class... Arguments> CMPIStatus NotSupported(CMPIInstanceMI *, Arguments...) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

const CMPIInstanceMIFT kTable = {
    100,
    100,
    "instanceHostSystemProvider",
    Cleanup,
    EnumerateInstanceNames,
    EnumerateInstances,
    GetInstance,
    NotSupported,
    NotSupported,
    NotSupported,
    NotSupported,
};

} // namespace

extern "C" __attribute__((visibility("default"))) CMPIInstanceMI *
HostSystemProvider_Create_InstanceMI(const CMPIBroker *given, const CMPIContext *, CMPIStatus *) {
    static CMPIInstanceMI mi = {nullptr, &kTable};
    broker = given;
    return &mi;
}
