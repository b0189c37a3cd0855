// The encapsulated objects as a provider sees them.
#include "cim/include/cmpiflush.h"
#include "tests/broker/Scripted.h"

#include <cstring>

namespace cim::test {
namespace {

const CMPIValue *Chars(const char *text) { return reinterpret_cast<const CMPIValue *>(text); }

template <class T, class Number> CMPIValue ValueWith(T CMPIValue::*member, Number number) {
    CMPIValue value = CMPIValue();
    value.*member = static_cast<T>(number);
    return value;
}

class Objects : public Scripted {
protected:
    Objects() {
        Start();
        context = broker->BeginInvocation("root/back");
        cmpi = broker->Handle();
    }
    void TearDown() override {
        broker->EndInvocation(context);
        Scripted::TearDown();
    }
    CMPIInstance *NewDevice(const char *className = "T_Device") {
        return cmpi->eft->newInstance(cmpi, NewPath(cmpi, "root/back", className, "1"), nullptr);
    }

    const CMPIBroker *cmpi;
    const CMPIContext *context;
    CMPIStatus status{CMPI_RC_ERROR, nullptr};
};

TEST_F(Objects, NewInstanceHasEveryPropertyOfTheClassAsNull) {
    const CMPIInstance *device = NewDevice();
    EXPECT_EQ(device->ft->getPropertyCount(device, nullptr), 12u);
    CMPIData data = device->ft->getProperty(device, "BIG", &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_EQ(data.type, CMPI_uint64);
    EXPECT_EQ(data.state, CMPI_nullValue);
    // A null text is a string whose characters are null.
    data = device->ft->getProperty(device, "Caption", &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_EQ(data.type, CMPI_string);
    EXPECT_EQ(data.state, CMPI_nullValue);
    ASSERT_NE(data.value.string, nullptr);
    EXPECT_EQ(data.value.string->ft->getCharPtr(data.value.string, nullptr), nullptr);
    data = device->ft->getProperty(device, "Texts", &status);
    EXPECT_EQ(data.type, CMPI_stringA);
    EXPECT_EQ(data.state, CMPI_nullValue);
    EXPECT_EQ(data.value.array, nullptr);
    data = device->ft->getProperty(device, "Unheard", &status);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(data.type, CMPI_null);
    EXPECT_EQ(data.state, CMPI_notFound);
    // An unknown class's has none, and takes what it is given.
    CMPIInstance *unknown = NewDevice("T_Unheard");
    EXPECT_EQ(unknown->ft->getPropertyCount(unknown, nullptr), 0u);
    EXPECT_EQ(unknown->ft->setProperty(unknown, "Any", Chars("x"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(TextOf(unknown->ft->getProperty(unknown, "any", nullptr)), "x");
}

TEST_F(Objects, SetPropertyTakesWhatACimomTakes) {
    const CMPIInstance *device = NewDevice();
    CMPIValue text = CMPIValue();
    text.string = cmpi->eft->newString(cmpi, "x", nullptr);
    CMPIValue texts = CMPIValue(), numbers = CMPIValue();
    texts.array = cmpi->eft->newArray(cmpi, 1, CMPI_string, nullptr);
    numbers.array = cmpi->eft->newArray(cmpi, 1, CMPI_uint32, nullptr);
    CMPIValue path = CMPIValue();
    path.ref = NewPath(cmpi, "root/back", "T_Disk", "1");
    CMPIValue instance = CMPIValue();
    instance.inst = NewDevice();
    CMPIValue date = CMPIValue();
    date.dateTime = cmpi->eft->newDateTimeFromChars(cmpi, "20260131120000.000000+060", nullptr);
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
        {"Small", &number, CMPI_uint64, CMPI_RC_OK}, // another width
        {"Small", &number, CMPI_sint8, CMPI_RC_OK},
        {"Small", Chars("7"), CMPI_chars, CMPI_RC_OK}, // taken, and somebody else's trouble
        {"Small", &text, CMPI_string, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Small", &yes, CMPI_boolean, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Small", &real, CMPI_real64, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Flag", &yes, CMPI_boolean, CMPI_RC_OK},
        {"Flag", &number, CMPI_uint8, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Real", &real, CMPI_real64, CMPI_RC_OK},
        {"Real", &number, CMPI_uint64, CMPI_RC_ERR_TYPE_MISMATCH},
        {"Texts", &texts, CMPI_stringA, CMPI_RC_OK},
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
    EXPECT_EQ(device->ft->getPropertyCount(device, nullptr), 12u);
}

TEST_F(Objects, ValuesComeBackAsTheyWereSet) {
    const CMPIInstance *device = NewDevice();
    const auto roundTrip = [&](const char *name, CMPIValue value, CMPIType type) {
        EXPECT_EQ(device->ft->setProperty(device, name, &value, type).rc, CMPI_RC_OK) << name;
        const CMPIData data = device->ft->getProperty(device, name, &status);
        EXPECT_EQ(data.type, type) << name;
        EXPECT_EQ(data.state, CMPI_goodValue) << name;
        return data.value;
    };
    EXPECT_EQ(roundTrip("Big", ValueWith(&CMPIValue::uint64, UINT64_MAX), CMPI_uint64).uint64, UINT64_MAX);
    EXPECT_EQ(roundTrip("Big", ValueWith(&CMPIValue::uint32, UINT32_MAX), CMPI_uint32).uint32, UINT32_MAX);
    EXPECT_EQ(roundTrip("Big", ValueWith(&CMPIValue::uint16, 65535), CMPI_uint16).uint16, 65535);
    EXPECT_EQ(roundTrip("Big", ValueWith(&CMPIValue::uint8, 255), CMPI_uint8).uint8, 255);
    EXPECT_EQ(roundTrip("Signed", ValueWith(&CMPIValue::sint64, INT64_MIN), CMPI_sint64).sint64, INT64_MIN);
    EXPECT_EQ(roundTrip("Signed", ValueWith(&CMPIValue::sint32, -5), CMPI_sint32).sint32, -5);
    EXPECT_EQ(roundTrip("Signed", ValueWith(&CMPIValue::sint16, -300), CMPI_sint16).sint16, -300);
    EXPECT_EQ(roundTrip("Signed", ValueWith(&CMPIValue::sint8, -128), CMPI_sint8).sint8, -128);
    EXPECT_EQ(roundTrip("Real", ValueWith(&CMPIValue::real64, 0.1), CMPI_real64).real64, 0.1);
    EXPECT_EQ(roundTrip("Real", ValueWith(&CMPIValue::real32, 0.5), CMPI_real32).real32, 0.5f);
    EXPECT_EQ(roundTrip("Flag", ValueWith(&CMPIValue::boolean, 7), CMPI_boolean).boolean, 1);
    CMPIValue path = CMPIValue();
    path.ref = NewPath(cmpi, "root/back", "T_Disk", "9");
    const CMPIObjectPath *other = roundTrip("Other", path, CMPI_ref).ref;
    EXPECT_EQ(TextOf(other->ft->toString(other, nullptr)), "root/back:T_Disk.ID=\"9\"");
    CMPIValue embedded = CMPIValue();
    embedded.inst = NewDevice();
    embedded.inst->ft->setProperty(embedded.inst, "Caption", Chars("inner"), CMPI_chars);
    const CMPIInstance *inner = roundTrip("Embedded", embedded, CMPI_instance).inst;
    EXPECT_EQ(TextOf(inner->ft->getProperty(inner, "Caption", nullptr)), "inner");
    CMPIValue texts = CMPIValue();
    texts.array = cmpi->eft->newArray(cmpi, 2, CMPI_string, nullptr);
    texts.array->ft->setElementAt(texts.array, 1, Chars("second"), CMPI_chars);
    const CMPIArray *stored = roundTrip("Texts", texts, CMPI_stringA).array;
    EXPECT_EQ(stored->ft->getElementAt(stored, 0, nullptr).state, CMPI_nullValue);
    EXPECT_EQ(TextOf(stored->ft->getElementAt(stored, 1, nullptr)), "second");
    CMPIValue date = CMPIValue();
    date.dateTime = cmpi->eft->newDateTime(cmpi, nullptr);
    EXPECT_NE(roundTrip("Date", date, CMPI_dateTime).dateTime, nullptr);
    // The characters were copied.
    char text[] = "before";
    device->ft->setProperty(device, "Caption", Chars(text), CMPI_chars);
    std::strcpy(text, "after");
    EXPECT_EQ(TextOf(device->ft->getProperty(device, "Caption", nullptr)), "before");
    CMPIString *name = nullptr;
    const CMPIData first = device->ft->getPropertyAt(device, 1, &name, &status);
    EXPECT_EQ(TextOf(name), "Caption");
    EXPECT_EQ(TextOf(first), "before");
    device->ft->getPropertyAt(device, 12, &name, &status);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

TEST_F(Objects, AFilterDropsWhatIsNotListedNowAndLater) {
    const CMPIInstance *device = NewDevice();
    device->ft->setProperty(device, "Caption", Chars("c"), CMPI_chars);
    const char *listed[] = {"small", nullptr};
    EXPECT_EQ(device->ft->setPropertyFilter(device, listed, nullptr).rc, CMPI_RC_OK);
    EXPECT_EQ(device->ft->getPropertyCount(device, nullptr), 2u); // Small and the key
    EXPECT_EQ(device->ft->setProperty(device, "Caption", Chars("c"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(device->ft->setProperty(device, "Unheard", Chars("c"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(device->ft->setProperty(device, "ID", Chars("1"), CMPI_chars).rc, CMPI_RC_OK);
    const CMPIValue seven = ValueWith(&CMPIValue::uint16, 7);
    EXPECT_EQ(device->ft->setProperty(device, "Small", &seven, CMPI_uint16).rc, CMPI_RC_OK);
    EXPECT_EQ(device->ft->getPropertyCount(device, nullptr), 2u);
    device->ft->getProperty(device, "Caption", &status);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(TextOf(device->ft->getProperty(device, "ID", nullptr)), "1");
    // A clone keeps the filter; a null list lifts it; named keys stay as well.
    CMPIInstance *clone = device->ft->clone(device, nullptr);
    clone->ft->setProperty(clone, "Caption", Chars("c"), CMPI_chars);
    EXPECT_EQ(clone->ft->getPropertyCount(clone, nullptr), 2u);
    clone->ft->setPropertyFilter(clone, nullptr, nullptr);
    clone->ft->setProperty(clone, "Caption", Chars("c"), CMPI_chars);
    EXPECT_EQ(clone->ft->getPropertyCount(clone, nullptr), 3u);
    const char *none[] = {nullptr};
    const char *keys[] = {"Caption", nullptr};
    clone->ft->setPropertyFilter(clone, none, keys);
    EXPECT_EQ(TextOf(clone->ft->getProperty(clone, "Caption", nullptr)), "c");
    EXPECT_EQ(clone->ft->getPropertyCount(clone, nullptr), 2u);
    clone->ft->release(clone);
}

TEST_F(Objects, PathsKeepTheirKeysInOrder) {
    CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Device");
    const CMPIValue seven = ValueWith(&CMPIValue::uint16, 7);
    CMPIValue ref = CMPIValue();
    ref.ref = NewPath(cmpi, "root/back", "T_Disk", "x");
    EXPECT_EQ(path->ft->addKey(path, "B", Chars("text"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, "A", &seven, CMPI_uint16).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, "R", &ref, CMPI_ref).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, "b", Chars("changed"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(path->ft->addKey(path, nullptr, &seven, CMPI_uint16).rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(path->ft->getKeyCount(path, nullptr), 3u);
    CMPIData data = path->ft->getKey(path, "a", &status);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_EQ(data.state, CMPI_keyValue);
    EXPECT_EQ(data.value.uint16, 7);
    CMPIString *name = nullptr;
    EXPECT_EQ(TextOf(path->ft->getKeyAt(path, 0, &name, &status)), "changed");
    EXPECT_EQ(TextOf(name), "B");
    data = path->ft->getKey(path, "Missing", &status);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(data.state, CMPI_notFound);
    path->ft->getKeyAt(path, 3, &name, &status);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(TextOf(path->ft->toString(path, nullptr)),
              "root/back:T_Device.B=\"changed\",A=7,R=\"root/back:T_Disk.ID=\\\"x\\\"\"");
}

TEST_F(Objects, PathsKnowNamespaceHostAndClass) {
    CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Disk", "1");
    // Without a host: a string with null characters.
    const CMPIString *host = path->ft->getHostname(path, &status);
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->ft->getCharPtr(host, nullptr), nullptr);
    path->ft->setHostname(path, "server");
    path->ft->setNameSpace(path, "root/other");
    path->ft->setClassName(path, "T_Fan");
    CMPIObjectPath *second = NewPath(cmpi, "root/x", "T_Disk");
    second->ft->setNameSpaceFromObjectPath(second, path);
    EXPECT_EQ(TextOf(second->ft->toString(second, nullptr)), "root/other:T_Disk");
    second->ft->setHostAndNameSpaceFromObjectPath(second, path);
    EXPECT_EQ(TextOf(second->ft->toString(second, nullptr)), "//server/root/other:T_Disk");
    EXPECT_EQ(TextOf(path->ft->getClassName(path, nullptr)), "T_Fan");
    EXPECT_EQ(TextOf(path->ft->getNameSpace(path, nullptr)), "root/other");
    EXPECT_EQ(cmpi->eft->classPathIsA(cmpi, path, "t_device", nullptr), 1);
    EXPECT_EQ(cmpi->eft->classPathIsA(cmpi, path, "T_Disk", nullptr), 0);
    // An instance's path is a copy.
    CMPIInstance *device = cmpi->eft->newInstance(cmpi, path, nullptr);
    CMPIObjectPath *own = device->ft->getObjectPath(device, nullptr);
    own->ft->setClassName(own, "T_Changed");
    path->ft->setClassName(path, "T_Changed");
    own = device->ft->getObjectPath(device, nullptr);
    EXPECT_EQ(TextOf(own->ft->getClassName(own, nullptr)), "T_Fan");
    own->ft->setHostname(own, "elsewhere");
    EXPECT_EQ(device->ft->setObjectPath(device, own).rc, CMPI_RC_OK);
    EXPECT_EQ(device->ft->setObjectPath(device, path).rc, CMPI_RC_ERR_INVALID_PARAMETER); // another class
    EXPECT_EQ(TextOf(cmpi->eft->toString(cmpi, device, nullptr)), "//elsewhere/root/other:T_Fan.ID=\"1\"");
}

TEST_F(Objects, AnyObjectTellsItsTypeAndReadsAsText) {
    const CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Disk", "1");
    EXPECT_EQ(TextOf(cmpi->eft->toString(cmpi, path, nullptr)), "root/back:T_Disk.ID=\"1\"");
    EXPECT_EQ(TextOf(cmpi->eft->toString(cmpi, cmpi->eft->newString(cmpi, "s", nullptr), nullptr)), "s");
    EXPECT_EQ(TextOf(cmpi->eft->toString(cmpi, context, nullptr)), "CMPIContext");
    EXPECT_EQ(TextOf(cmpi->eft->getType(cmpi, path, nullptr)), "CMPIObjectPath");
    EXPECT_EQ(cmpi->eft->isOfType(cmpi, path, "CMPIInstance", nullptr), 0);
    EXPECT_EQ(cmpi->eft->getType(cmpi, nullptr, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

TEST_F(Objects, ArraysHoldOneType) {
    CMPIArray *array = cmpi->eft->newArray(cmpi, 2, CMPI_uint16, nullptr);
    const CMPIValue seven = ValueWith(&CMPIValue::uint16, 7);
    EXPECT_EQ(array->ft->getSize(array, nullptr), 2u);
    EXPECT_EQ(array->ft->getSimpleType(array, nullptr), CMPI_uint16);
    EXPECT_EQ(array->ft->setElementAt(array, 1, &seven, CMPI_uint16).rc, CMPI_RC_OK);
    EXPECT_EQ(array->ft->setElementAt(array, 1, &seven, CMPI_uint32).rc, CMPI_RC_ERR_TYPE_MISMATCH);
    EXPECT_EQ(array->ft->setElementAt(array, 2, &seven, CMPI_uint16).rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(array->ft->getElementAt(array, 0, nullptr).state, CMPI_nullValue);
    EXPECT_EQ(array->ft->getElementAt(array, 1, nullptr).value.uint16, 7);
    EXPECT_EQ(array->ft->getElementAt(array, 2, &status).state, CMPI_badValue);
    EXPECT_NE(status.rc, CMPI_RC_OK);
    CMPIArray *texts = cmpi->eft->newArray(cmpi, 1, CMPI_chars, nullptr);
    EXPECT_EQ(texts->ft->getSimpleType(texts, nullptr), CMPI_string);
    EXPECT_EQ(texts->ft->setElementAt(texts, 0, Chars("t"), CMPI_chars).rc, CMPI_RC_OK);
    CMPIArray *clone = texts->ft->clone(texts, nullptr);
    texts->ft->setElementAt(texts, 0, nullptr, CMPI_null);
    EXPECT_EQ(texts->ft->getElementAt(texts, 0, nullptr).state, CMPI_nullValue);
    EXPECT_EQ(TextOf(clone->ft->getElementAt(clone, 0, nullptr)), "t");
    clone->ft->release(clone);
}

TEST_F(Objects, AnEnumerationIsWalkedOnceAndItsArrayShowsAll) {
    back.enumerateInstances = [&](const Asked &call) {
        ReturnInstance(call, "1");
        return ReturnInstance(call, "2");
    };
    CMPIEnumeration *all =
        cmpi->bft->enumerateInstances(cmpi, context, NewPath(cmpi, "root/back", "T_Fan"), nullptr, &status);
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(TextOf(cmpi->eft->getType(cmpi, all, nullptr)), "CMPIEnumeration");
    EXPECT_EQ(cmpi->eft->isOfType(cmpi, all, "CMPIEnumeration", nullptr), 1);
    EXPECT_EQ(all->ft->getNext(all, nullptr).type, CMPI_instance);
    CMPIArray *array = all->ft->toArray(all, nullptr); // the cursor stays
    EXPECT_EQ(array->ft->getSize(array, nullptr), 2u);
    EXPECT_EQ(array->ft->getSimpleType(array, nullptr), CMPI_instance);
    CMPIEnumeration *clone = all->ft->clone(all, nullptr);
    EXPECT_EQ(IdsOf(all), (std::vector<std::string>{"2"}));
    EXPECT_EQ(all->ft->hasNext(all, nullptr), 0);
    EXPECT_EQ(all->ft->getNext(all, &status).state, CMPI_badValue);
    EXPECT_EQ(IdsOf(clone), (std::vector<std::string>{"2"}));
    clone->ft->release(clone);
    // What is read from it can be changed without changing it.
    const CMPIInstance *element = array->ft->getElementAt(array, 0, nullptr).value.inst;
    element->ft->setProperty(element, "Caption", Chars("changed"), CMPI_chars);
    const CMPIInstance *again = array->ft->getElementAt(array, 0, nullptr).value.inst;
    EXPECT_EQ(again->ft->getProperty(again, "Caption", nullptr).state, CMPI_nullValue);
}

TEST_F(Objects, DatesConvertBetweenTextAndMicroseconds) {
    struct Table { // the standard's
        unsigned int version;
        CMPIStatus (*release)(CMPIDateTime *);
        CMPIDateTime *(*clone)(const CMPIDateTime *, CMPIStatus *);
        CMPIUint64 (*binary)(const CMPIDateTime *, CMPIStatus *);
        CMPIString *(*text)(const CMPIDateTime *, CMPIStatus *);
        CMPIBoolean (*isInterval)(const CMPIDateTime *, CMPIStatus *);
    };
    const auto tableOf = [](const CMPIDateTime *date) { return reinterpret_cast<const Table *>(date->ft); };
    const CMPIDateTime *zoned = cmpi->eft->newDateTimeFromChars(cmpi, "20010909034640.000005+120", &status);
    ASSERT_NE(zoned, nullptr);
    EXPECT_EQ(tableOf(zoned)->binary(zoned, nullptr), 1000000000000005u);
    const CMPIDateTime *west = cmpi->eft->newDateTimeFromChars(cmpi, "20010908234640.000005-120", &status);
    EXPECT_EQ(tableOf(west)->binary(west, nullptr), 1000000000000005u);
    const CMPIDateTime *utc = cmpi->eft->newDateTimeFromBinary(cmpi, 1000000000000005, 0, nullptr);
    EXPECT_EQ(TextOf(tableOf(utc)->text(utc, nullptr)), "20010909014640.000005+000");
    EXPECT_EQ(tableOf(utc)->isInterval(utc, nullptr), 0);
    const CMPIDateTime *interval = cmpi->eft->newDateTimeFromBinary(cmpi, 90061000007, 1, nullptr);
    EXPECT_EQ(TextOf(tableOf(interval)->text(interval, nullptr)), "00000001010101.000007:000");
    EXPECT_EQ(tableOf(interval)->binary(interval, nullptr), 90061000007u);
    EXPECT_EQ(tableOf(interval)->isInterval(interval, nullptr), 1);
    CMPIDateTime *clone = tableOf(interval)->clone(interval, nullptr);
    EXPECT_EQ(broker->Live().clones, 1u);
    tableOf(clone)->release(clone);
    EXPECT_EQ(cmpi->eft->newDateTimeFromChars(cmpi, "yesterday", &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

TEST_F(Objects, ContextsHaveTheStandardsEntriesAndTakeMore) {
    EXPECT_EQ(TextOf(context->ft->getEntry(context, CMPIInitNameSpace, &status)), "root/back");
    EXPECT_EQ(context->ft->getEntry(context, CMPIInvocationFlags, nullptr).type, CMPI_uint32);
    context->ft->getEntry(context, CMPIRole, &status);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    const CMPICount before = context->ft->getEntryCount(context, nullptr);
    EXPECT_EQ(context->ft->addEntry(context, "Mine", Chars("m"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(context->ft->addEntry(context, "Mine", Chars("n"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(context->ft->getEntryCount(context, nullptr), before + 1);
    CMPIString *name = nullptr;
    EXPECT_EQ(TextOf(context->ft->getEntryAt(context, before, &name, nullptr)), "n");
    EXPECT_EQ(TextOf(name), "Mine");
    CMPIContext *clone = context->ft->clone(context, nullptr);
    EXPECT_EQ(TextOf(clone->ft->getEntry(clone, "Mine", nullptr)), "n");
    clone->ft->release(clone);
}

TEST_F(Objects, SlotsWithoutAnImplementationAnswerNotSupported) {
    EXPECT_EQ(cmpi->eft->newArgs(cmpi, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    status.rc = CMPI_RC_OK;
    EXPECT_EQ(cmpi->eft->newSelectExp(cmpi, "", "", nullptr, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    status.rc = CMPI_RC_OK;
    EXPECT_EQ(cmpi->eft->getMessage(cmpi, "", "", &status, 0), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(cmpi->eft->logMessage(cmpi, 0, "", "", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(cmpi->eft->trace(cmpi, 0, "", "", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(cmpi->bft->deliverIndication(cmpi, context, "", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    cmpi->bft->invokeMethod(cmpi, context, nullptr, "", nullptr, nullptr, &status);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    const CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Disk");
    const auto expectNotSupported = [&](const CMPIData &data) {
        EXPECT_EQ(data.state, CMPI_notFound);
        EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
        status.rc = CMPI_RC_OK;
    };
    expectNotSupported(path->ft->getClassQualifier(path, "Version", &status));
    expectNotSupported(path->ft->getPropertyQualifier(path, "ID", "Key", &status));
    expectNotSupported(path->ft->getMethodQualifier(path, "Reset", "Version", &status));
    expectNotSupported(path->ft->getParameterQualifier(path, "Reset", "How", "In", &status));
    // No slot is null. A table begins with its version, or the broker's with capabilities, version and name.
    const auto expectFilled = [](const void *table, std::size_t from, std::size_t size) {
        for (std::size_t at = from; at < size; at += sizeof(void *)) {
            void *slot = nullptr;
            std::memcpy(&slot, static_cast<const char *>(table) + at, sizeof slot);
            EXPECT_NE(slot, nullptr) << "at " << at;
        }
    };
    expectFilled(cmpi->bft, 8, sizeof *cmpi->bft);
    expectFilled(cmpi->eft, 8, sizeof *cmpi->eft);
    expectFilled(context->ft, 8, sizeof *context->ft);
    expectFilled(path->ft, 8, sizeof *path->ft);
    const CMPIInstance *device = NewDevice();
    expectFilled(device->ft, 8, sizeof *device->ft);
}

TEST_F(Objects, BrokerPropertiesGoThroughGetAndModify) {
    std::string stored = "old";
    back.getInstance = [&](const Asked &call) {
        CMPIInstance *device = call.broker->eft->newInstance(call.broker, call.path, nullptr);
        device->ft->setProperty(device, "Caption", Chars(stored.c_str()), CMPI_chars);
        return call.result->ft->returnInstance(call.result, device);
    };
    back.modifyInstance = [&](const Asked &call) {
        stored = TextOf(call.instance->ft->getProperty(call.instance, "Caption", nullptr));
        return kOk;
    };
    const CMPIObjectPath *path = NewPath(cmpi, "root/back", "T_Disk", "1");
    EXPECT_EQ(TextOf(cmpi->bft->getProperty(cmpi, context, path, "Caption", &status)), "old");
    EXPECT_EQ(cmpi->bft->setProperty(cmpi, context, path, "Caption", Chars("new"), CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(stored, "new");
    EXPECT_EQ(cmpi->bft->setProperty(cmpi, context, path, "Unheard", Chars("x"), CMPI_chars).rc,
              CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

TEST_F(Objects, AReleaseFreesAtOnceAndACallsOwnObjectsStay) {
    const std::uint64_t lent = broker->Live().lent;
    CMPIString *string = cmpi->eft->newString(cmpi, "s", nullptr);
    EXPECT_EQ(broker->Live().lent, lent + 1);
    CMPIString *clone = string->ft->clone(string, nullptr);
    EXPECT_EQ(broker->Live().clones, 1u);
    string->ft->release(string);
    EXPECT_EQ(broker->Live().lent, lent);
    EXPECT_EQ(TextOf(clone), "s");
    clone->ft->release(clone);
    EXPECT_EQ(broker->Live().clones, 0u);
    back.enumerateInstances = [&](const Asked &call) {
        auto *path = const_cast<CMPIObjectPath *>(call.path);
        auto *result = const_cast<CMPIResult *>(call.result);
        path->ft->release(path);
        result->ft->release(result);
        return ReturnInstance(call, "still");
    };
    EXPECT_EQ(IdsOf(broker->EnumerateInstances("root/back", "T_Fan").value), (std::vector<std::string>{"still"}));
}

#ifndef QUARNEL_CONTEXT_FLUSH
TEST_F(Objects, WhatFollowsAddEntryIsNoFunction) {
    // No address of that form exists on this machine: a call through it is found out at once.
    std::uintptr_t behind = 0;
    std::memcpy(&behind, &context->ft->addEntry + 1, sizeof behind);
    EXPECT_NE(behind >> 47, 0u);
    EXPECT_NE(behind >> 47, 0x1ffffu);
}
#endif

} // namespace
} // namespace cim::test
