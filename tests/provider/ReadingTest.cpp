// Every property and key that the provider reads of vendors' objects is missing, null or of another type in turn, and
// counts as absent. readings.txt tells what the model then lacks.
#include "tests/provider/Answers.h"
#include "tests/provider/Model.h"

#include <cstdio>
#include <mutex>

using namespace support;
using cim::FaultRule;
using cim::Operation;

namespace {

enum Type { kText = 1, kNumber = 2, kFlag = 4, kArray = 8 };

Type TypeOf(const CMPIData &answer) {
    if ((answer.type & CMPI_ARRAY) != 0) return kArray;
    return answer.type == CMPI_string ? kText : answer.type == CMPI_boolean ? kFlag : kNumber;
}

// An answer that counts as absent where a value of one of the types is wanted.
struct Absent {
    const char *name;
    int types;
    CMPIData answer;
    CMPIrc rc = CMPI_RC_OK;
};

std::vector<Absent> AllAbsent(const Answers &answers) {
    constexpr int all = kText | kNumber | kFlag | kArray;
    return {
        {"missing", all, Answers::Plain(CMPI_null, 0, CMPI_notFound), CMPI_RC_ERR_NO_SUCH_PROPERTY},
        {"failed", kText, answers.String("x"), CMPI_RC_ERR_FAILED},
        {"failed", kNumber, Answers::Plain(CMPI_uint16, 7), CMPI_RC_ERR_FAILED},
        {"failed", kFlag, Answers::Plain(CMPI_boolean, 1), CMPI_RC_ERR_FAILED},
        {"failed", kArray, answers.Array(CMPI_uint16, 2), CMPI_RC_ERR_FAILED},
        {"null", kText, Answers::WithState(answers.String("x"), CMPI_nullValue)},
        {"null", kNumber, Answers::Plain(CMPI_uint16, 7, CMPI_nullValue)},
        {"null", kFlag, Answers::Plain(CMPI_boolean, 1, CMPI_nullValue)},
        {"null", kArray, Answers::WithState(answers.Array(CMPI_uint16, 2), CMPI_nullValue)},
        {"bad", kText, Answers::WithState(answers.String("x"), CMPI_badValue)},
        {"bad", kArray, Answers::WithState(answers.Array(CMPI_uint16, 2), CMPI_badValue)},
        {"no object", kText, Answers::Plain(CMPI_string, 0)},
        {"no object", kArray, Answers::Plain(CMPI_uint16A, 0)},
        {"a text", kNumber | kFlag | kArray, answers.String("7")},
        {"a number", kText | kFlag | kArray, Answers::Plain(CMPI_uint8, 1)},
        {"a flag", kText | kNumber | kArray, Answers::Plain(CMPI_boolean, 1)},
        {"a real", kText | kNumber | kFlag | kArray, Answers::Real(2)},
        {"a negative number", kNumber, Answers::Plain(CMPI_sint16, -1)},
        {"an array of numbers", kText | kNumber | kFlag, answers.Array(CMPI_uint16, 2)},
        {"an array of texts", kText | kNumber | kFlag | kArray, answers.Array(CMPI_string, 0)},
        {"an array of flags", kArray, answers.Array(CMPI_boolean, 1)},
        {"an array of numbers that do not fit", kArray, answers.Array(CMPI_uint32, 70000)},
        {"an array of negative numbers", kArray, answers.Array(CMPI_sint8, -1)},
        {"an array of nulls", kArray, answers.Array(CMPI_uint16, -1)},
        {"an array of nothing", kArray, answers.Empty()},
    };
}

struct Reading {
    Operation operation;
    std::string className, name;
    bool operator<(const Reading &other) const {
        return std::tie(operation, className, name) < std::tie(other.operation, other.className, other.name);
    }
};

// All that the provider reads in a life, and of which type it is.
std::map<Reading, Type> ReadingsOf(WholeBench &bench) {
    std::map<Reading, Type> readings;
    std::mutex mutex;
    static thread_local std::string className; // of the object that this thread is reading
    for (const Operation operation : {Operation::GetProperty, Operation::GetKey}) {
        FaultRule rule = Rule(operation);
        rule.hook = [](const cim::Call &call) { className = call.className; };
        rule.rewrite = [&, operation](const std::string &name, CMPIData &answer, CMPIStatus &) {
            const std::lock_guard lock(mutex);
            readings.emplace(Reading{operation, className, name}, TypeOf(answer));
        };
        bench.Inject(rule);
    }
    bench.Live();
    bench.Broker().Faults().Clear();
    return readings;
}

#ifdef QUARNEL_SANITIZED
constexpr std::size_t kStride = 6; // answers of each reading that are left out, others for the next reading
#else
constexpr std::size_t kStride = 1;
#endif

} // namespace

TEST(Readings, ThatAreMissingNullOrOfAnotherTypeCountAsAbsent) {
    WholeBench bench;
    const Answers answers(bench);
    const std::vector<Absent> absents = AllAbsent(answers);
    const std::map<Reading, Type> readings = ReadingsOf(bench);
    bench.Live();
    const Facts whole = FactsOf(bench);
    ASSERT_TRUE(WorkersIdle());
    const std::uint64_t lent = bench.Broker().Live().lent;
    std::size_t tried = 0, row = 0;
    std::string told;
    for (const auto &[reading, type] : readings) {
        std::string changes; // the same, whatever makes it absent
        for (const Absent &absent : absents) {
            if ((absent.types & type) == 0 || ++row % kStride != 0) continue;
            SCOPED_TRACE(reading.className + "." + reading.name + " is " + absent.name);
            const auto rule =
                bench.Inject(Answering(reading.operation, reading.className, reading.name, absent.answer, absent.rc));
            bench.Live();
            const std::string changed = Changes(whole, FactsOf(bench));
            if (changes.empty()) changes = changed;
            EXPECT_EQ(changed, changes);
            EXPECT_GT(bench.Broker().Faults().Hit(rule), 0u);
            bench.Broker().Faults().Remove(rule);
            ASSERT_TRUE(WorkersIdle());
            answers.ExpectOnlyRecordsAlive(lent);
            ++tried;
        }
        told += (reading.operation == Operation::GetKey ? "key " : "") + reading.className + "." + reading.name + ": " +
                changes + "\n";
    }
    ExpectFile("readings.txt", told);
    std::printf("tried %zu answers to %zu readings\n", tried, readings.size());
}

TEST(Readings, OfIntegersOfAnyWidthOrSignAreTakenWhenTheyFit) {
    WholeBench bench;
    const Answers answers(bench);
    const auto shown = [&](const char *property, const CMPIData &answer) {
        const auto rule = bench.Inject(Answering(Operation::GetProperty, "Sim_SASSATAPort", property, answer));
        bench.Live();
        bench.Broker().Faults().Remove(rule);
        return bench.Column(kPort, property).at(0);
    };
    const CMPIType types[] = {CMPI_uint8, CMPI_uint16, CMPI_uint32, CMPI_uint64,
                              CMPI_sint8, CMPI_sint16, CMPI_sint32, CMPI_sint64};
    for (const CMPIType type : types) {
        EXPECT_EQ(shown("PortType", Answers::Plain(type, 94)), "94") << type;
        EXPECT_EQ(shown("OperationalStatus", answers.Array(type, 12)), "{12}") << type;
    }
    EXPECT_EQ(shown("PortType", Answers::Plain(CMPI_uint32, 65535)), "65535");
    EXPECT_EQ(shown("PortType", Answers::Plain(CMPI_uint32, 65536)), "0");
}
