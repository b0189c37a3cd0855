// What a thread is doing in a broker: a stack of layers, innermost last. It tells who is calling and whose the objects
// are that the broker lends out.
#pragma once

#include "cim/broker/objects/Scope.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace cim {

class Core;
struct ContextObject;

// Whose code can run on a thread: a provider.
struct Runner {
    const std::string name;
};

struct Layer {
    enum class Kind {
        Heap,     // the thread itself: what no other layer owns
        Call,     // a provider's function runs, or an invocation of the client's own code
        Attached, // a context that the thread attached
        Mark,     // what was made since a mark
    };

    Layer(Core *broker, Kind what) : core(broker), kind(what) {}

    std::atomic<Core *> core; // null once the broker is gone
    const Kind kind;
    bool owns = true; // false: what is made goes to the layer below
    bool background = true;
    const Runner *running = nullptr;        // whose code runs; null for the client's own
    const ContextObject *context = nullptr; // of a call or an attachment
    LentScope scope;
};

// The calling thread's layers, of all brokers that it meets.
class Threads {
public:
    static Threads &Mine();
    ~Threads(); // the thread ends

    std::shared_ptr<Layer> Push(Core &core, Layer::Kind kind, const Runner *running);
    // Takes a call and all that is above it off.
    void PopCall(const Layer *call);
    // Takes a mark, and the marks above it, off. Attachments above it stay. False when this thread has no such mark.
    bool PopMark(const void *mark);
    // Takes an attachment off and with it, when it owns objects, the marks above it. False when it is another thread's.
    bool PopAttached(const Layer *attached);

    Layer *Top(const Core &core) const; // null when the thread does nothing in this broker
    LentScope &CurrentScope(Core &core);
    bool Runs(const Core &core, const Runner &runner) const;
    bool IsInCall(const Core &core) const; // false on a provider's own thread, unless it is inside of another provider
    // Frees all that was lent to the thread in the context's layer and above it; layers stay.
    void Flush(Core &core, const ContextObject &context);

private:
    using Layers = std::vector<std::shared_ptr<Layer>>;
    Layer &Heap(Core &core);
    Layers::iterator Find(const Layer *wanted);
    template <class Drop> void Erase(Layers::iterator from, Drop drop);

    Layers layers;
};

} // namespace cim
