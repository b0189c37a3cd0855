// The encapsulated objects as a provider sees them.
#include "tests/broker/Scripted.h"

#include <cstring>

namespace cim::test {
namespace {

class Objects : public Invoked {
protected:
    CMPIInstance *NewDevice(const char *className = "T_Device", const char *id = "1") {
        return cmpi->eft->newInstance(cmpi, NewPath(cmpi, "root/back", className, id), nullptr);
    }
    CMPIStatus SetCaption(const CMPIInstance *instance, const char *text) {
        return instance->ft->setProperty(instance, "Caption", Chars(text), CMPI_chars);
    }
    bool Has(const CMPIInstance *instance, const char *name) {
        instance->ft->getProperty(instance, name, &status);
        EXPECT_TRUE(status.rc == CMPI_RC_OK || status.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY);
        return status.rc == CMPI_RC_OK;
    }
};

TEST_F(Objects, NewInstanceHasEveryPropertyOfTheClassAsNull) {
    const CMPIInstance *device = NewDevice();
    const struct {
        const char *name;
        CMPIrc rc;
        CMPIType type;
        CMPIValueState state;
    } properties[] = {
        {"BIG", CMPI_RC_OK, CMPI_uint64, CMPI_nullValue},
        {"Caption", CMPI_RC_OK, CMPI_string, CMPI_nullValue},
        {"Texts", CMPI_RC_OK, CMPI_stringA, CMPI_nullValue},
        {"ID", CMPI_RC_OK, CMPI_string, CMPI_goodValue},
        {"Unheard", CMPI_RC_ERR_NO_SUCH_PROPERTY, CMPI_null, CMPI_notFound},
    };
    for (const auto &expected : properties) {
        SCOPED_TRACE(expected.name);
        const CMPIData data = device->ft->getProperty(device, expected.name, &status);
        EXPECT_EQ(status.rc, expected.rc);
        EXPECT_EQ(data.type, expected.type);
        EXPECT_EQ(data.state, expected.state);
        // A null text is a string whose characters are null, a null array is not there.
        EXPECT_EQ(data.value.string != nullptr, data.type == CMPI_string);
    }
    EXPECT_EQ(TextOf(device, "Caption"), "(null)");
    // An unknown class's has none, and takes what it is given.
    const CMPIInstance *unknown = NewDevice("T_Unheard");
    EXPECT_FALSE(Has(unknown, "ID"));
    EXPECT_EQ(SetCaption(unknown, "x").rc, CMPI_RC_OK);
    EXPECT_EQ(TextOf(unknown, "caption"), "x");
}

TEST_F(Objects, SetPropertyTakesWhatACimomTakes) {
    const CMPIInstance *device = NewDevice();
    const CMPIValue text = ValueWith(&CMPIValue::string, cmpi->eft->newString(cmpi, "x", nullptr));
    const CMPIValue texts = ValueWith(&CMPIValue::array, cmpi->eft->newArray(cmpi, 1, CMPI_string, nullptr));
    const CMPIValue numbers = ValueWith(&CMPIValue::array, cmpi->eft->newArray(cmpi, 1, CMPI_uint32, nullptr));
    const CMPIValue path = ValueWith(&CMPIValue::ref, NewPath(cmpi, "root/back", "T_Disk", "1"));
    const CMPIValue instance = ValueWith(&CMPIValue::inst, NewDevice());
    const CMPIValue date =
        ValueWith(&CMPIValue::dateTime, cmpi->eft->newDateTimeFromChars(cmpi, "20260131120000.000000+060", nullptr));
    const CMPIValue number = ValueWith(&CMPIValue::uint64, 7);
    const CMPIValue yes = ValueWith(&CMPIValue::boolean, 1);
    const CMPIValue real = ValueWith(&CMPIValue::real64, 1.5);
    const struct {
        const char *property;
        const CMPIValue *value;
        CMPIType type;
        CMPIrc expected;
    } cases[] = {
        {"Caption", Chars("c"), CMPI_chars, CMPI_RC_OK},
        {"Caption", &text, CMPI_string, CMPI_RC_OK},
        {"Caption", &number, CMPI_uint64, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Caption", &texts, CMPI_stringA, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Small", &number, CMPI_uint16, CMPI_RC_OK},
        {"Small", &number, CMPI_sint8, CMPI_RC_OK},    // another width and sign
        {"Small", Chars("7"), CMPI_chars, CMPI_RC_OK}, // taken, and somebody else's trouble
        {"Small", &text, CMPI_string, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Small", &yes, CMPI_boolean, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Small", &real, CMPI_real64, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Flag", &yes, CMPI_boolean, CMPI_RC_OK},
        {"Flag", &number, CMPI_uint8, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Real", &real, CMPI_real64, CMPI_RC_OK},
        {"Real", Chars("7"), CMPI_chars, CMPI_RC_OK},
        {"Real", &number, CMPI_uint64, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Texts", &texts, CMPI_charsA, CMPI_RC_OK},
        {"Texts", &text, CMPI_string, CMPI_RC_ERR_TYPE_MISMATCH}, // a scalar for an array
        {"Texts", Chars("x"), CMPI_chars, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Texts", &numbers, CMPI_stringA, CMPI_RC_ERR_TYPE_MISMATCH}, // not what it is said to be
        {"Numbers", &numbers, CMPI_uint32A, CMPI_RC_OK},
        {"Numbers", &texts, CMPI_stringA, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Other", &path, CMPI_ref, CMPI_RC_OK},
        {"Other", &text, CMPI_string, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Date", &date, CMPI_dateTime, CMPI_RC_OK},
        {"Date", &text, CMPI_string, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Embedded", &instance, CMPI_instance, CMPI_RC_OK},
        {"Big", nullptr, CMPI_uint64, CMPI_RC_OK},
        {"Big", &number, CMPI_ptr, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Unheard", &number, CMPI_uint64, CMPI_RC_ERR_NO_SUCH_PROPERTY},
        {nullptr, &number, CMPI_uint64, CMPI_RC_ERR_INVALID_PARAMETER},
    };
    for (const auto &set : cases)
        EXPECT_EQ(device->ft->setProperty(device, set.property, set.value, set.type).rc, set.expected)
            << (set.property != nullptr ? set.property : "(null)") << " as " << std::hex << set.type;
}

TEST_F(Objects, ValuesComeBackAsTheyWereSet) {
    const CMPIInstance *device = NewDevice();
    const auto roundTrip = [&](const char *name, auto CMPIValue::*member, auto given, CMPIType type) {
        const CMPIValue value = ValueWith(member, given);
        EXPECT_EQ(device->ft->setProperty(device, name, &value, type).rc, CMPI_RC_OK) << name;
        const CMPIData data = device->ft->getProperty(device, name, &status);
        EXPECT_EQ(status.rc, CMPI_RC_OK);
        EXPECT_EQ(data.type, type) << name;
        EXPECT_EQ(data.state, CMPI_goodValue) << name;
        return data.value.*member;
    };
    EXPECT_EQ(roundTrip("Big", &CMPIValue::uint64, UINT64_MAX, CMPI_uint64), UINT64_MAX);
    EXPECT_EQ(roundTrip("Big", &CMPIValue::uint8, 255, CMPI_uint8), 255);
    EXPECT_EQ(roundTrip("Signed", &CMPIValue::sint64, INT64_MIN, CMPI_sint64), INT64_MIN);
    EXPECT_EQ(roundTrip("Real", &CMPIValue::real64, 0.1, CMPI_real64), 0.1);
    EXPECT_EQ(roundTrip("Flag", &CMPIValue::boolean, 7, CMPI_boolean), 1);
    const CMPIObjectPath *other =
        roundTrip("Other", &CMPIValue::ref, NewPath(cmpi, "root/back", "T_Disk", "9"), CMPI_ref);
    EXPECT_EQ(TextOf(other->ft->toString(other, nullptr)), "root/back:T_Disk.ID=\"9\"");
    const CMPIInstance *inner = roundTrip("Embedded", &CMPIValue::inst, NewDevice("T_Fan", "inner"), CMPI_instance);
    EXPECT_EQ(TextOf(inner, "ID"), "inner");
    CMPIArray *texts = cmpi->eft->newArray(cmpi, 2, CMPI_string, nullptr);
    texts->ft->setElementAt(texts, 1, Chars("second"), CMPI_chars);
    const CMPIArray *stored = roundTrip("Texts", &CMPIValue::array, texts, CMPI_stringA);
    EXPECT_EQ(stored->ft->getElementAt(stored, 0, nullptr).state, CMPI_nullValue);
    EXPECT_EQ(TextOf(stored->ft->getElementAt(stored, 1, nullptr)), "second");
    CMPIDateTime *date = cmpi->eft->newDateTimeFromChars(cmpi, "20010909034640.000005+120", &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_NE(roundTrip("Date", &CMPIValue::dateTime, date, CMPI_dateTime), nullptr);
    EXPECT_EQ(cmpi->eft->newDateTimeFromChars(cmpi, "yesterday", &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    // The characters were copied.
    char text[] = "before";
    SetCaption(device, text);
    std::strcpy(text, "after");
    EXPECT_EQ(TextOf(device, "Caption"), "before");
}

TEST_F(Objects, AFilterDropsWhatIsNotListedNowAndLater) {
    const CMPIInstance *device = NewDevice();
    SetCaption(device, "c");
    const char *listed[] = {"small", nullptr};
    EXPECT_EQ(device->ft->setPropertyFilter(device, listed, nullptr).rc, CMPI_RC_OK);
    EXPECT_TRUE(Has(device, "Small"));
    EXPECT_EQ(TextOf(device, "ID"), "1"); // the class's keys stay
    EXPECT_FALSE(Has(device, "Big"));
    EXPECT_EQ(SetCaption(device, "c").rc, CMPI_RC_OK); // dropped without a word, as is the next
    EXPECT_EQ(device->ft->setProperty(device, "Unheard", Chars("c"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_FALSE(Has(device, "Caption"));
    // A clone keeps the filter; a null list lifts it; named keys stay as well.
    CMPIInstance *clone = device->ft->clone(device, &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    SetCaption(clone, "c");
    EXPECT_FALSE(Has(clone, "Caption"));
    clone->ft->setPropertyFilter(clone, nullptr, nullptr);
    SetCaption(clone, "c");
    EXPECT_TRUE(Has(clone, "Small"));
    const char *none[] = {nullptr}, *keys[] = {"Caption", nullptr};
    clone->ft->setPropertyFilter(clone, none, keys);
    EXPECT_EQ(TextOf(clone, "Caption"), "c");
    EXPECT_FALSE(Has(clone, "Small"));
    clone->ft->release(clone);
}

TEST_F(Objects, PathsKeepTheirKeysInOrderAndKnowNamespaceAndClass) {
    CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Fan");
    const CMPIValue seven = ValueWith(&CMPIValue::uint16, 7);
    const CMPIValue ref = ValueWith(&CMPIValue::ref, NewPath(cmpi, "root/back", "T_Disk", "x"));
    EXPECT_EQ(path->ft->addKey(path, "B", Chars("text"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, "A", &seven, CMPI_uint16).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, "R", &ref, CMPI_ref).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, "b", Chars("changed"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, nullptr, &seven, CMPI_uint16).rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(path->ft->getKeyCount(path, &status), 3u);
    CMPIData data = path->ft->getKey(path, "a", &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_EQ(data.state, CMPI_keyValue);
    EXPECT_EQ(data.value.uint16, 7);
    CMPIString *name = nullptr;
    EXPECT_EQ(TextOf(path->ft->getKeyAt(path, 0, &name, &status)), "changed");
    EXPECT_EQ(TextOf(name), "B");
    for (const CMPIData &missing :
         {path->ft->getKey(path, "Missing", &status), path->ft->getKeyAt(path, 3, &name, nullptr)})
        EXPECT_EQ(missing.state, CMPI_notFound);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_FOUND);
    // An instance's path is a copy, and so is the path's clone.
    const CMPIInstance *fan = cmpi->eft->newInstance(cmpi, path, nullptr);
    CMPIObjectPath *clone = path->ft->clone(path, &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    path->ft->setNameSpace(path, "root/other");
    EXPECT_EQ(TextOf(path->ft->getNameSpace(path, nullptr)), "root/other");
    for (CMPIObjectPath *own : {fan->ft->getObjectPath(fan, nullptr), clone})
        EXPECT_EQ(TextOf(own->ft->toString(own, nullptr)),
                  "root/back:T_Fan.B=\"changed\",A=7,R=\"root/back:T_Disk.ID=\\\"x\\\"\"");
    clone->ft->release(clone);
    EXPECT_EQ(TextOf(path->ft->getClassName(path, nullptr)), "T_Fan");
    EXPECT_EQ(cmpi->eft->classPathIsA(cmpi, path, "t_device", nullptr), 1);
    EXPECT_EQ(cmpi->eft->classPathIsA(cmpi, path, "T_Disk", nullptr), 0);
    EXPECT_EQ(cmpi->eft->classPathIsA(cmpi, nullptr, "T_Disk", &status), 0);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(cmpi->eft->newInstance(cmpi, nullptr, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

TEST_F(Objects, ArraysHoldOneType) {
    CMPIArray *array = cmpi->eft->newArray(cmpi, 2, CMPI_uint16, nullptr);
    const CMPIValue seven = ValueWith(&CMPIValue::uint16, 7);
    EXPECT_EQ(array->ft->getSize(array, nullptr), 2u);
    EXPECT_EQ(array->ft->setElementAt(array, 1, &seven, CMPI_uint16).rc, CMPI_RC_OK);
    EXPECT_EQ(array->ft->setElementAt(array, 1, &seven, CMPI_uint32).rc, CMPI_RC_ERR_TYPE_MISMATCH);
    EXPECT_EQ(array->ft->setElementAt(array, 2, &seven, CMPI_uint16).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(array->ft->getElementAt(array, 0, nullptr).state, CMPI_nullValue);
    EXPECT_EQ(array->ft->getElementAt(array, 1, &status).value.uint16, 7);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_EQ(array->ft->getElementAt(array, 2, &status).state, CMPI_badValue);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    CMPIArray *clone = array->ft->clone(array, nullptr);
    array->ft->setElementAt(array, 1, nullptr, CMPI_null);
    EXPECT_EQ(array->ft->getElementAt(array, 1, nullptr).state, CMPI_nullValue);
    EXPECT_EQ(clone->ft->getElementAt(clone, 1, nullptr).value.uint16, 7);
    clone->ft->release(clone);
}

TEST_F(Objects, AnEnumerationIsWalkedOnceAndItsArrayShowsAll) {
    CMPIEnumeration *all = Enumerate(cmpi, context);
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(all->ft->getNext(all, &status).type, CMPI_instance);
    CMPIArray *array = all->ft->toArray(all, nullptr); // the cursor stays
    EXPECT_EQ(array->ft->getSize(array, nullptr), 2u);
    CMPIEnumeration *clone = all->ft->clone(all, nullptr);
    EXPECT_EQ(IdsOf(all), (Ids{"2"}));
    EXPECT_EQ(all->ft->getNext(all, &status).state, CMPI_badValue);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(IdsOf(clone), (Ids{"2"}));
    clone->ft->release(clone);
    // What is read from it can be changed without changing it.
    SetCaption(array->ft->getElementAt(array, 0, nullptr).value.inst, "changed");
    EXPECT_EQ(TextOf(array->ft->getElementAt(array, 0, nullptr).value.inst, "Caption"), "(null)");
}

TEST_F(Objects, TablesHaveNoNullEntriesAndWhatIsNotThereSaysSo) {
    EXPECT_EQ(cmpi->bft->brokerVersion, 100u);
    EXPECT_EQ(cmpi->eft->ftVersion, 100u);
    EXPECT_EQ(TextOf(context->ft->getEntry(context, CMPIInitNameSpace, &status)), "root/back");
    EXPECT_EQ(context->ft->getEntry(context, CMPIInvocationFlags, nullptr).type, CMPI_uint32);
    EXPECT_EQ(context->ft->getEntry(context, CMPIRole, &status).state, CMPI_notFound);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(cmpi->eft->getMessage(cmpi, "", "", &status, 0), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(cmpi->eft->trace(cmpi, 0, "", "", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    status.rc = CMPI_RC_OK;
    EXPECT_EQ(cmpi->bft->getProperty(cmpi, context, nullptr, "ID", &status).state, CMPI_badValue);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    const CMPIEnumeration *all = Enumerate(cmpi, context);
    // A table begins with its version, or the broker's with capabilities, version and name.
    const auto expectFilled = [](const auto *table) {
        for (std::size_t at = 8; at < sizeof *table; at += sizeof(void *)) {
            void *slot = nullptr;
            std::memcpy(&slot, reinterpret_cast<const char *>(table) + at, sizeof slot);
            EXPECT_NE(slot, nullptr) << "at " << at;
        }
    };
    expectFilled(cmpi->bft);
    expectFilled(cmpi->eft);
    expectFilled(context->ft);
    expectFilled(all->ft);
    expectFilled(all->ft->toArray(all, nullptr)->ft);
    expectFilled(NewPath(cmpi, "root/back", "T_Disk")->ft);
    expectFilled(NewDevice()->ft);
    expectFilled(cmpi->eft->newString(cmpi, "", nullptr)->ft);
#ifndef QUARNEL_CONTEXT_FLUSH
    // What follows addEntry is not a function: a call through an address of that form is found out at once.
    std::uintptr_t behind = 0;
    std::memcpy(&behind, &context->ft->addEntry + 1, sizeof behind);
    EXPECT_NE(behind >> 47, 0u);
    EXPECT_NE(behind >> 47, 0x1ffffu);
#endif
}

TEST_F(Objects, AReleaseFreesAtOnceAndACallsOwnObjectsStay) {
    const std::uint64_t lent = broker->Live().lent;
    CMPIString *string = cmpi->eft->newString(cmpi, "s", nullptr);
    CMPIString *clone = string->ft->clone(string, &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_EQ(broker->Live().lent, lent + 1);
    EXPECT_EQ(broker->Live().clones, 1u);
    string->ft->release(string);
    EXPECT_EQ(broker->Live().lent, lent);
    EXPECT_EQ(TextOf(clone), "s");
    clone->ft->release(clone);
    EXPECT_EQ(broker->Live().clones, 0u);
    back.on[Operation::EnumerateInstances] = [&](const Asked &call) {
        auto *path = const_cast<CMPIObjectPath *>(call.path);
        auto *result = const_cast<CMPIResult *>(call.result);
        path->ft->release(path);
        result->ft->release(result);
        EXPECT_EQ(result->ft->returnInstance(result, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(result->ft->returnObjectPath(result, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
        return ReturnInstance(call, "still");
    };
    EXPECT_EQ(Fans(), (Ids{"still"}));
}

} // namespace
} // namespace cim::test
