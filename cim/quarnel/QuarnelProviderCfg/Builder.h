// The shape that the six builders share: make a record, read it from its instance, append it to its list. What differs
// between them is a Kind each, derived from KindDefaults, with
//
//     Builder, Noun, TypeName            how messages name the function, the device and its record
//     Free, Op, Key, List, UpdateTime    where things are
//     Properties                         what is read of the instance itself, before any up-call
//     Dump(record)
//
// and whatever it does otherwise than the defaults.
#pragma once

#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

// A property of a vendor's instance and the field that takes it.
template <class Record> struct PropertyRow_t {
    const char *Property;
    void (*Take)(Record &record, const CMPIInstance *instance, const char *property);
};

template <class Record, size_t Count>
void ReadProperties(Record *record, const CMPIInstance *instance, const PropertyRow_t<Record> (&rows)[Count]) {
    for (const auto &row : rows) row.Take(*record, instance, row.Property);
}

template <auto Member> struct MemberOf;
template <class RecordType, class FieldType, FieldType RecordType::*Member> struct MemberOf<Member> {
    using Record = RecordType;
    using Field = FieldType;
};

// What rows take. Texts stay null, numbers zero and flags false when the instance has no such value.
template <auto Member, class Record = typename MemberOf<Member>::Record>
void Text(Record &record, const CMPIInstance *instance, const char *property) {
    record.*Member = StringClone(TextOf(instance, property));
}
template <auto Member, class Record = typename MemberOf<Member>::Record>
void Number(Record &record, const CMPIInstance *instance, const char *property) {
    record.*Member = NumberOf<typename MemberOf<Member>::Field>(instance, property);
}
template <auto Member, class Record = typename MemberOf<Member>::Record>
void Flag(Record &record, const CMPIInstance *instance, const char *property) {
    record.*Member = FlagOf(instance, property) ? 1 : 0;
}
template <auto Member, class Record = typename MemberOf<Member>::Record>
void FirstNumber(Record &record, const CMPIInstance *instance, const char *property) {
    record.*Member = GetArrayProperty(instance, property).uint16;
}

// Under CtrlMutex.
template <class Kind, class Record> int Append(RaidController_t *ctrl, Record *record) REQUIRES(ctrl->CtrlMutex) {
    const int result = AddEntryAtListTail(ctrl->*Kind::List, record);
    if (result == RESULT_OK) ctrl->*Kind::UpdateTime = time(nullptr);
    return result;
}

template <class Kind> struct KindDefaults {
    static constexpr const char *Entry = "%s, ENTER...\n";
    static constexpr const char *Required = "DeviceID"; // as the message says it

    // False when the instance lacks what every record must have.
    template <class Record> static bool ReadKey(Record *record, const CMPIInstance *instance) {
        record->*Kind::Key = StringClone(TextOf(instance, "DeviceID"));
        return record->*Kind::Key != nullptr;
    }
    // What up-calls tell of the device before it is dumped; false: refused, having said why.
    template <class Record> static bool Walk(const CMPIContext *, const RaidController_t *, Record *) { return true; }
    // Asks what is left to ask and lists the record: 0; -1 refused, or the list's result, having said why.
    template <class Record> static int Enter(const CMPIContext *, RaidController_t *ctrl, Record *record) {
        int result = RESULT_OK;
        {
            const ControllerLock lock(ctrl->CtrlMutex);
            result = Append<Kind>(ctrl, record);
        }
        if (result != RESULT_OK)
            QLOG(LOG_ERR, "%s: failed to add %s to list, rc %d.\n", Kind::Builder, Kind::Noun, result);
        return result;
    }
    template <class Record> static void LogListed(const RaidController_t *, const Record *record) {
        QLOG(LOG_DEBUG, "%s: %s %p added to the list\n", Kind::Builder, Kind::Noun, static_cast<const void *>(record));
    }
};

template <class Kind>
int MakeRecord(const CMPIContext *ctx, RaidController_t *ctrl, const CMPIInstance *instance, const CMPIObjectPath *op) {
    Holder<typename Kind::Record, Kind::Free> record(Allocate<typename Kind::Record>());
    if (record == nullptr) {
        QLOG(LOG_ERR, "%s, failed to allocate memory for %s\n", Kind::Builder, Kind::TypeName);
        return RESULT_NO_MEMORY;
    }
    record.get()->*Kind::Op = CloneOf(op).release();
    if (!Kind::ReadKey(record.get(), instance)) {
        QLOG(LOG_ERR, "NULL %s for %s %s\n", Kind::Required, Kind::Noun, PathText(record.get()->*Kind::Op).Text());
        return RESULT_NULL;
    }
    for (const auto &row : Kind::Properties) row.Take(*record, instance, row.Property);
    record->OperationalStatus = GetOperationalStatus(instance);
    if (!Kind::Walk(ctx, ctrl, record.get())) return RESULT_NULL;
    record->LastUpdateTime = time(nullptr);
    Kind::Dump(*record);
    // The record is the list's when the result is 0; until then the holder frees it on every way out.
    const int result = Kind::Enter(ctx, ctrl, record.get());
    if (result == RESULT_OK) Kind::LogListed(ctrl, record.release());
    return result;
}

template <class Kind>
int Build(const CMPIContext *ctx, RaidController_t *ctrl, const CMPIInstance *instance, const CMPIObjectPath *op) {
    QLOG(LOG_DEBUG, Kind::Entry, Kind::Builder);
    const int result = MakeRecord<Kind>(ctx, ctrl, instance, op);
    QLOG(LOG_DEBUG, "%s, EXIT(%d).\n", Kind::Builder, result);
    return result;
}
