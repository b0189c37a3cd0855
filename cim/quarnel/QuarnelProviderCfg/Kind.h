// What is done with a device of any kind: it is built, refreshed, deleted and freed. What sets a kind apart is its
// KindOf, in the kind's own file, which ends with an instantiation of Kind. Beside its row of the action table a kind
// has
//
//     Action, Op, Key                    its row, and where a record has its path and its key
//     Noun, TypeName, Builder, Updater   how messages name the device, its record and the functions
//     Prepare, Read, Dump                what is read of a new device, and told to the log
//     Label                              what a refresh calls the device
//     Release                            what a record owns
//
// and whatever it does otherwise than AnyKind.
#pragma once

#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

template <class Record> struct KindOf;

// Properties of a vendor's instance and the fields that take them. Texts stay null, numbers zero and flags false when
// the instance, which may be null, has no such value.
inline void Take(char **field, const CMPIInstance *from, const char *name) { *field = StringClone(TextOf(from, name)); }
template <class Integer> void Take(Integer *field, const CMPIInstance *from, const char *name) {
    *field = NumberOf<Integer>(from, name);
}
inline void TakeFlag(CMPIBoolean *field, const CMPIInstance *from, const char *name) {
    *field = FlagOf(from, name) ? 1 : 0;
}
inline CMPIUint16 ExtentStatusOf(const CMPIInstance *extent) { return GetArrayProperty(extent, "ExtentStatus").uint16; }

bool SameText(const char *a, const char *b); // null is the same as null
// The new text may be absent; when it cannot be copied, the field is.
void Replace(char **field, const char *text);
// The instance that a refresh has matched, or one fetched now; null when there is neither.
const CMPIInstance *Fresh(const CMPIInstance *matched, const CMPIContext *ctx, const CMPIObjectPath *op);
void LogRemovedFrom(const RaidController_t *ctrl, const char *name);

// A new record is the list's when this gives 0.
template <class Record> int Append(RaidController_t *ctrl, Record *record) REQUIRES(ctrl->CtrlMutex) {
    const ConfigAction_t &row = *FindAction(KindOf<Record>::Action);
    const int result = AddEntryAtListTail(ctrl->*row.List, record);
    if (result == RESULT_OK) ctrl->*row.UpdateTime = time(nullptr);
    return result;
}

template <class Record> struct AnyKind {
    static constexpr const char *BuildEntry = "%s, ENTER...\n";
    static constexpr const char *UpdateExit = "%s, exit.\n";
    static constexpr const char *Required = "DeviceID"; // as the message says it

    // What a record must have besides its key; false when the instance lacks it.
    static bool Prepare(Record *, const CMPIInstance *) { return true; }
    // Lists a record that is read: 0; -1 refused, or the list's result, having said why.
    static int Enter(const CMPIContext *, RaidController_t *ctrl, Record *record) {
        int result = RESULT_OK;
        {
            const ControllerLock lock(ctrl->CtrlMutex);
            result = Append(ctrl, record);
        }
        using Facts = KindOf<Record>;
        if (result != RESULT_OK)
            QLOG(LOG_ERR, "%s: failed to add %s to list, rc %d.\n", Facts::Builder, Facts::Noun, result);
        return result;
    }
    static void LogListed(const RaidController_t *, const void *record) {
        QLOG(LOG_DEBUG, "%s: %s %p added to the list\n", KindOf<Record>::Builder, KindOf<Record>::Noun, record);
    }
    static void LogUpdate(const Record *record) {
        using Facts = KindOf<Record>;
        QLOG(LOG_DEBUG, "%s: ENTER. %s - %s\n", Facts::Updater, Facts::Noun, Shown(record->*Facts::Label));
    }
    // Most kinds only have their update time stamped.
    static void Refresh(const CMPIContext *, RaidController_t *, Record *, const CMPIInstance *) {}
    static void LogRemoved(const RaidController_t *, const Record *) {}
};

template <class Record>
int MakeRecord(const CMPIContext *ctx, RaidController_t *ctrl, const CMPIInstance *instance, const CMPIObjectPath *op) {
    using Facts = KindOf<Record>;
    Holder<Record, Kind<Record>::Free> owned(Allocate<Record>());
    Record *record = owned.get();
    if (record == nullptr) {
        QLOG(LOG_ERR, "%s, failed to allocate memory for %s\n", Facts::Builder, Facts::TypeName);
        return RESULT_NO_MEMORY;
    }
    record->*Facts::Op = CloneOf(op).release();
    Take(&(record->*Facts::Key), instance, FindAction(Facts::Action)->KeyName);
    if (!Facts::Prepare(record, instance) || record->*Facts::Key == nullptr) {
        QLOG(LOG_ERR, "NULL %s for %s %s\n", Facts::Required, Facts::Noun, PathText(record->*Facts::Op).Text());
        return RESULT_NULL;
    }
    record->OperationalStatus = GetOperationalStatus(instance);
    if (!Facts::Read(ctx, ctrl, record, instance)) return RESULT_NULL;
    record->LastUpdateTime = time(nullptr);
    Facts::Dump(*record);
    // The record is the list's when the result is 0; until then the holder frees it on every way out.
    const int result = Facts::Enter(ctx, ctrl, record);
    if (result == RESULT_OK) Facts::LogListed(ctrl, owned.release());
    return result;
}

template <class Record>
int Kind<Record>::Build(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl,
                        const CMPIInstance *instance, const CMPIObjectPath *op) {
    using Facts = KindOf<Record>;
    QLOG(LOG_DEBUG, Facts::BuildEntry, Facts::Builder);
    const bool given = ctrl != nullptr && instance != nullptr && op != nullptr;
    const int result = given ? MakeRecord<Record>(ctx, ctrl, instance, op) : RESULT_NULL;
    QLOG(LOG_DEBUG, "%s, EXIT(%d).\n", Facts::Builder, result);
    return result;
}

template <class Record>
int Kind<Record>::CheckAndUpdate(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                                 const CMPIInstance *instance) {
    using Facts = KindOf<Record>;
    auto *record = static_cast<Record *>(device);
    Facts::LogUpdate(record);
    if (NeedUpdate(record->LastUpdateTime, record->UpdateEnabled) != 0) {
        Facts::Refresh(ctx, ctrl, record, instance);
        Stamp(ctrl, FindAction(Facts::Action)->UpdateTime);
    }
    QLOG(LOG_DEBUG, Facts::UpdateExit, Facts::Updater);
    return RESULT_OK;
}

template <class Record> int Kind<Record>::Delete(RaidController_t *ctrl, void *device) {
    int result = RESULT_OK;
    {
        const ControllerLock lock(ctrl->CtrlMutex);
        result = RemoveEntryFromListByKey(ctrl->*FindAction(KindOf<Record>::Action)->List, device);
    }
    if (result != RESULT_OK) return result;
    KindOf<Record>::LogRemoved(ctrl, static_cast<Record *>(device));
    Free(device);
    return result;
}

template <class Record> void Kind<Record>::Free(void *device) {
    if (device == nullptr) return;
    KindOf<Record>::Release(static_cast<Record *>(device));
    free(device);
}

template <class Record> CMPIObjectPath *Kind<Record>::GetOp(void *device) {
    return static_cast<Record *>(device)->*KindOf<Record>::Op;
}

template <class Record> const char *Kind<Record>::KeyOf(const void *device) {
    return static_cast<const Record *>(device)->*KindOf<Record>::Key;
}
