// What a test can make a broker do to a provider, and what the broker remembers of a provider's calls.
#pragma once

#include "cim/broker/classes/Value.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace cim {

// Calls into the broker. Those of the first two groups are up-calls and thread calls of providers, which the call log
// holds; those of the third make or hand out broker objects. A rule can hit all of these. The last are for clients
// alone.
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

    CreateInstance,
    ModifyInstance,
    DeleteInstance,
    ExecQuery,
};

const char *NameOf(Operation operation);

// An operation with what it is called with, all of it lent for the call. Null names: any, or none given.
struct OperationRequest {
    Operation operation{};
    const ObjectPath *path = nullptr;        // of an enumeration or a query, namespace and class name count
    const char *const *properties = nullptr; // ended by null; null: all
    const char *associationClass = nullptr;
    const char *resultClass = nullptr;
    const char *role = nullptr;
    const char *resultRole = nullptr;
    const Instance *instance = nullptr; // to create or to modify
    const char *query = nullptr;
    const char *language = nullptr;
};

// One call by a provider. Texts that the call does not have are empty.
struct Call {
    Operation operation{};
    std::string provider;  // who called
    std::string nameSpace; // of the path called with
    std::string className; // of the path called with, as the next
    std::string associationClass;
    std::string resultClass;
    std::string path;        // the whole of it, as text
    bool background = false; // from a thread that serves no client's request
    std::thread::id thread;
    std::chrono::steady_clock::time_point start, end;
    CMPIrc rc = CMPI_RC_OK;
    std::size_t results = 0;
};

// The providers' up-calls and thread calls, while it is switched on.
class CallLog {
public:
    void Switch(bool wanted) { on.store(wanted, std::memory_order_relaxed); }
    bool On() const { return on.load(std::memory_order_relaxed); }
    void Add(Call call);
    std::vector<Call> Take(); // by start

private:
    std::atomic<bool> on{false};
    std::mutex mutex;
    std::vector<Call> calls; // guarded by mutex
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
    using Rule = std::shared_ptr<const FaultRule>;

    Id Add(FaultRule rule);
    void Remove(Id id); // lost calls of the rule are answered, as by the next
    void Clear();
    // How many calls the rule matched so far, those let through included; 0 for an unknown rule.
    std::uint64_t Matched(Id id) const { return CountOf(id, &Entry::matched); }
    std::uint64_t Hit(Id id) const { return CountOf(id, &Entry::hit); }

    // Has all calls that are lost now go on. When it returns none of them counts as lost any more.
    void AnswerLost();
    std::size_t LostNow() const;
    // True once at least `count` calls are lost; false when that takes longer than `limit`.
    bool AwaitLost(std::size_t count, std::chrono::milliseconds limit) const;

    // The broker's side. Whether there are rules at all, which saves a lock while there are none.
    bool Armed() const { return armed.load(std::memory_order_acquire); }
    // The rule that hits the call of `caller`, null for none.
    Rule Find(const OperationRequest &request, const std::string *caller);
    // Keeps the calling thread's call until it is answered. What `resume` does is done when Answer returns.
    void Lose(const FaultRule *rule, const std::function<void()> &pause, const std::function<void()> &resume);

private:
    using Lock = std::unique_lock<std::mutex>;
    struct Entry {
        Id id;
        Rule rule;
        std::uint64_t matched = 0;
        std::uint64_t hit = 0;
    };
    struct LostCall {
        const FaultRule *rule;
        bool answered = false;
    };

    std::vector<Entry>::const_iterator Find(Id id) const;
    std::uint64_t CountOf(Id id, std::uint64_t Entry::*count) const;
    // Has the lost calls of a rule, or of all when it is null, go on; they need nothing but the mutex for that.
    void Answer(Lock &lock, const FaultRule *rule);

    std::atomic<bool> armed{false};
    mutable std::mutex mutex;
    mutable std::condition_variable changed; // `lost` has
    std::vector<Entry> entries;              // guarded by mutex, as the next two
    std::list<LostCall> lost;
    Id lastId = 0;
};

} // namespace cim
