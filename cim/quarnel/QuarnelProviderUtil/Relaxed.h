// An atomic word in relaxed order: it orders no other memory.
#pragma once

#include <atomic>

template <class Word> class Relaxed {
public:
    Relaxed() = default; // in zero-filled memory: zero
    constexpr Relaxed(Word first) : word(first) {}
    Relaxed(const Relaxed &) = delete;
    Relaxed &operator=(const Relaxed &) = delete;

    operator Word() const { return word.load(std::memory_order_relaxed); }
    Word operator->() const { return *this; }
    void operator=(Word next) { word.store(next, std::memory_order_relaxed); }

private:
    std::atomic<Word> word;
};
