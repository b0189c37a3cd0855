#include "cim/broker/objects/Threads.h"

#include "cim/broker/Core.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace cim {

Threads &Threads::Mine() {
    thread_local Threads mine;
    return mine;
}

Threads::~Threads() {
    for (const auto &layer : layers) {
        const std::lock_guard<std::mutex> lock(Core::EndMutex());
        Core *core = layer->core.load();
        if (core == nullptr) continue;
        const std::size_t left = layer->scope.UpcallObjects();
        if (left != 0 && core->config.memory.abortUndrained) {
            std::fprintf(stderr, "broker: a thread of %s ended with %zu objects of its up-calls left on it\n",
                         layer->running != nullptr ? layer->running->name.c_str() : "no known provider", left);
            std::abort();
        }
        if (layer->kind == Layer::Kind::Heap && layer->scope.Empty()) core->Forget(layer);
    }
}

std::shared_ptr<Layer> Threads::Push(Core &core, Layer::Kind kind, const Runner *running) {
    auto layer = std::make_shared<Layer>(&core, kind);
    const Layer *below = Top(core);
    layer->running = running;
    layer->background = below == nullptr || below->background;
    layers.push_back(layer);
    return layer;
}

// Takes those of the layers from `from` on off that `drop` says.
template <class Drop> void Threads::Erase(Layers::iterator from, Drop drop) {
    const auto end = std::stable_partition(from, layers.end(), [&](const auto &layer) { return !drop(*layer); });
    for (auto layer = end; layer != layers.end(); ++layer)
        if ((*layer)->kind == Layer::Kind::Mark) (*layer)->core.load()->Forget(*layer);
    layers.erase(end, layers.end());
}

Threads::Layers::iterator Threads::Find(const Layer *wanted) {
    return std::find_if(layers.begin(), layers.end(), [&](const auto &layer) { return layer.get() == wanted; });
}

void Threads::PopCall(const Layer *call) {
    Erase(Find(call), [](const Layer &) { return true; });
}

bool Threads::PopMark(const void *mark) {
    const auto found = Find(static_cast<const Layer *>(mark));
    if (found == layers.end() || (*found)->kind != Layer::Kind::Mark) return false;
    Erase(found, [core = (*found)->core.load()](const Layer &layer) {
        return layer.kind == Layer::Kind::Mark && layer.core.load() == core;
    });
    return true;
}

bool Threads::PopAttached(const Layer *attached) {
    const auto found = Find(attached);
    if (found == layers.end()) return false;
    Erase(found, [&, core = attached->core.load(), owned = attached->owns](const Layer &layer) {
        return &layer == attached || (owned && layer.kind == Layer::Kind::Mark && layer.core.load() == core);
    });
    return true;
}

Layer *Threads::Top(const Core &core) const {
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer)
        if ((*layer)->core.load(std::memory_order_relaxed) == &core) return layer->get();
    return nullptr;
}

bool Threads::Runs(const Core &core, const Runner &runner) const {
    return std::any_of(layers.begin(), layers.end(), [&](const auto &layer) {
        return layer->core.load(std::memory_order_relaxed) == &core && layer->running == &runner;
    });
}

bool Threads::IsInCall(const Core &core) const {
    return std::any_of(layers.begin(), layers.end(), [&](const auto &layer) {
        return layer->core.load(std::memory_order_relaxed) == &core && layer->kind == Layer::Kind::Call;
    });
}

Layer &Threads::Heap(Core &core) {
    layers.erase(
        std::remove_if(layers.begin(), layers.end(), [](const auto &layer) { return layer->core.load() == nullptr; }),
        layers.end()); // of brokers that are gone
    auto heap = std::make_shared<Layer>(&core, Layer::Kind::Heap);
    if (const Layer *top = Top(core)) heap->running = top->running;
    core.Keep(heap);
    layers.insert(layers.begin(), heap);
    return *heap;
}

LentScope &Threads::CurrentScope(Core &core) {
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer)
        if ((*layer)->owns && (*layer)->core.load(std::memory_order_relaxed) == &core) return (*layer)->scope;
    return Heap(core).scope;
}

void Threads::Flush(Core &core, const ContextObject &context) {
    LentScope *lowest = nullptr; // that objects of the context's layer go to
    bool above = false;
    for (const auto &layer : layers) {
        if (layer->core.load(std::memory_order_relaxed) != &core) continue;
        if (layer->context == &context) above = true;
        if (!above && layer->owns) lowest = &layer->scope;
        if (layer->context == &context && layer->owns) lowest = nullptr;
        if (above) layer->scope.Free();
    }
    if (above && lowest != nullptr) lowest->Free();
}

} // namespace cim
