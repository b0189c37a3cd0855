// What a test can make a broker do to a provider, and what the broker remembers of a provider's calls.
#pragma once

#include <cmpidt.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace cim {

// Calls that a provider makes into the broker and that a rule can hit. The first group are the up-calls and thread
// calls, which the call log holds; the second make or hand out broker objects.
enum class Operation {
    PrepareAttachThread,
    AttachThread,
    DetachThread,
    EnumerateInstances,
    EnumerateInstanceNames,
    GetInstance,
    Associators,
    AssociatorNames,
    References,
    ReferenceNames,

    NewObjectPath,
    NewInstance,
    NewArray,
    NewString,
    ClassPathIsA,
    Clone,
    GetObjectPath,
    GetClassName,
    GetNameSpace,
    ToString,
    GetCharPtr,
    ToArray,
    GetProperty,
    GetKey,
    SetProperty,
    AddKey,
    SetElementAt,
    ReturnInstance,
    ReturnObjectPath,
};

const char *NameOf(Operation operation);

// One call by a provider. Texts that the call does not have are empty.
struct Call {
    Operation operation{};
    std::string provider;  // who called
    std::string nameSpace; // of the path called with
    std::string className; // of the path called with, or the class named
    std::string associationClass;
    std::string resultClass;
    std::string path;        // the path called with, as text
    bool background = false; // from a thread that serves no client's request
    std::thread::id thread;
    std::chrono::steady_clock::time_point start, end;
    CMPIrc rc = CMPI_RC_OK;
    std::size_t results = 0;
};

// A rule hits the calls that match all of its fields that are set, after letting the first `skip` of them through, and
// at most `count` of them.
struct FaultRule {
    std::string provider;              // calls of this provider only
    std::vector<Operation> operations; // empty: every one
    std::string className;             // without regard to case, as the next two
    std::string associationClass;
    std::string resultClass;
    std::uint64_t skip = 0;
    std::uint64_t count = UINT64_MAX;

    enum class Effect {
        None,       // delay and hook only
        Fail,       // the status below, and null for an object
        NullWithOk, // nothing, with an OK status
        Empty,      // an enumeration or array without elements, an empty string; else as NullWithOk
        Lost,       // nothing is answered for now: the call waits, holding no lock, until Faults::AnswerLost or the
                    // end of its rule, and then runs as if nothing had happened
    } effect = Effect::None;
    CMPIrc rc = CMPI_RC_ERR_FAILED;
    std::optional<std::string> message;     // none: the status carries no text
    std::chrono::milliseconds delay{0};     // before the call runs
    std::function<void(const Call &)> hook; // before the call runs, on its thread, no lock held; may block
    // Changes what GetProperty and GetKey answer: called with the name asked for and the answer about to be given.
    std::function<void(const std::string &name, CMPIData &answer, CMPIStatus &status)> rewrite;
};

// Thread-safe. Rules are looked at in the order in which they were added; the first that hits decides.
class Faults {
public:
    using Id = std::uint64_t;
    Id Add(FaultRule rule);
    void Remove(Id id); // lost calls of the rule are answered, as by the next
    void Clear();
    // How many calls the rule matched so far, those let through included; 0 for an unknown rule.
    std::uint64_t Matched(Id id) const;
    std::uint64_t Hit(Id id) const;

    // Has all calls that are lost now go on. When it returns none of them counts as lost any more.
    void AnswerLost();
    std::size_t LostNow() const;
    // True once at least `count` calls are lost; false when that has not come to pass within `limit`.
    bool AwaitLost(std::size_t count, std::chrono::milliseconds limit) const;

    Faults();
    ~Faults();

private:
    friend class FaultPoint; // the broker's side
    struct State;
    std::unique_ptr<State> state;
};

} // namespace cim
