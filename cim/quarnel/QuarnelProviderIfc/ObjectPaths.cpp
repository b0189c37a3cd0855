// The keys of the served classes. Identifiers are made and parsed here and nowhere else: a prefix of the class, the
// controller's ID and, for a device, an underscore and the device's ID.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderUtil/TextBuffer.h"

#include <string.h>

namespace {

using Identifier = TextBuffer<256>;

// Texts are passed as the characters themselves.
Keys_t AddKeys(CMPIObjectPath *path, const Keys_t &keys) {
    for (const KeyText_t &key : keys)
        if (key.Name != nullptr)
            path->ft->addKey(path, key.Name, reinterpret_cast<const CMPIValue *>(key.Text), CMPI_chars);
    return keys;
}

// Without the host's name or class the key is empty.
const char *OrEmpty(const char *text) { return text != nullptr ? text : ""; }

// What follows the prefix in the path's key, never empty; null, having said why, when it does not begin so. `key` is
// the whole value. Both are borrowed from the path.
const char *Unprefixed(const CMPIObjectPath *path, const char *keyName, const char *prefix, const char **key) {
    *key = TextOf(path, keyName);
    if (*key == nullptr) {
        QLOG(LOG_ERR, "%s key not found in object path %s\n", keyName, PathText(path).Text());
        return nullptr;
    }
    const size_t length = strlen(prefix);
    if (strncmp(*key, prefix, length) != 0) return nullptr;
    if ((*key)[length] == '\0') {
        QLOG(LOG_ERR, "No valid info in key key %s\n", CutText(*key).Text());
        return nullptr;
    }
    return *key + length;
}

HeapText CopyOf(const char *text, size_t length) {
    HeapText copy(strndup(text, length));
    if (copy == nullptr) QLOG(LOG_ERR, "malloc failure\n");
    return copy;
}

} // namespace

char *MakeDeviceID(const char *controllerID, const char *prefix) {
    Identifier identifier;
    identifier.Append(prefix, controllerID);
    return StringClone(identifier.Text());
}

char *MakeLogicalDeviceID(const char *controllerID, const char *deviceID, const char *prefix) {
    Identifier identifier;
    identifier.Append(prefix, controllerID, "_", deviceID);
    return StringClone(identifier.Text());
}

Keys_t FillControllerObjectPath(CMPIObjectPath *path, const RaidController_t *ctrl, const char *identifier) {
    QLOG(LOG_DEBUG, "%s: DeviceID - %s\n", __func__, ctrl->DeviceID);
    return AddKeys(path, {{{"CreationClassName", kControllerClass}, {"Name", identifier}}});
}

Keys_t FillSoftwareIdentityObjectPath(CMPIObjectPath *path, const RaidController_t *ctrl, const char *identifier) {
    QLOG(LOG_DEBUG, "%s: DeviceID - %s\n", __func__, ctrl->DeviceID);
    return AddKeys(path, {{{"InstanceID", identifier}}});
}

Keys_t FillLogicalDeviceObjectPath(CMPIObjectPath *path, const char *identifier, const char *className) {
    QLOG(LOG_DEBUG, "%s: ClassName - %s, DeviceID - %s\n", __func__, className, identifier);
    return AddKeys(path, {{{"SystemCreationClassName", OrEmpty(GetSystemClassName())},
                           {"SystemName", OrEmpty(GetSystemName())},
                           {"CreationClassName", className},
                           {"DeviceID", identifier}}});
}

int RetrieveDeviceID(const CMPIObjectPath *path, const char *keyName, const char *prefix, char **deviceID) {
    const char *key = nullptr;
    const char *id = Unprefixed(path, keyName, prefix, &key);
    if (id == nullptr) return RESULT_NOT_FOUND;
    HeapText copy = CopyOf(id, strlen(id));
    if (copy == nullptr) return RESULT_NO_MEMORY;
    QLOG(LOG_DEBUG, "%s: s1 - %s\n", __func__, CutText(copy.get()).Text());
    *deviceID = copy.release();
    return RESULT_OK;
}

int RetrieveControllerAndDeviceIDs(const CMPIObjectPath *path, const char *prefix, char **controllerID,
                                   char **deviceID) {
    const char *key = nullptr;
    const char *ids = Unprefixed(path, "DeviceID", prefix, &key);
    if (ids == nullptr) return RESULT_NOT_FOUND;
    const char *separator = strchr(ids, '_');
    if (separator == nullptr) {
        QLOG(LOG_ERR, "Device ID not found in key %s\n", CutText(key).Text());
        return RESULT_NOT_FOUND;
    }
    if (separator == ids) {
        QLOG(LOG_ERR, "Controller ID not found in key %s\n", CutText(key).Text());
        return RESULT_NOT_FOUND;
    }
    if (separator[1] == '\0') {
        QLOG(LOG_ERR, "Device ID empty in key %s\n", CutText(key).Text());
        return RESULT_NOT_FOUND;
    }
    HeapText controller = CopyOf(ids, static_cast<size_t>(separator - ids));
    HeapText device = controller != nullptr ? CopyOf(separator + 1, strlen(separator + 1)) : nullptr;
    if (device == nullptr) return RESULT_NO_MEMORY;
    QLOG(LOG_DEBUG, "%s: s1 - %s, s2 - %s\n", __func__, CutText(controller.get()).Text(), CutText(device.get()).Text());
    *controllerID = controller.release();
    *deviceID = device.release();
    return RESULT_OK;
}
