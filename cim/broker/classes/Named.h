// Things with a name in the order in which they were added, found without regard to case, as CIM names are.
#pragma once

#include "cim/broker/classes/Name.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace cim {

// T has a `name`, which does not change but in its case. Pointers to things last until the next one is added.
template <class T> class Named {
public:
    // Of several with one name the first is found.
    void Add(T thing) {
        things.push_back(std::move(thing));
        if (2 * things.size() <= slots.size()) return Enter(things.size());
        slots.assign(slots.empty() ? 8 : 2 * slots.size(), 0);
        for (std::size_t number = 1; number <= things.size(); ++number) Enter(number);
    }

    // Null when there is none.
    const T *Find(std::string_view name) const {
        if (slots.empty()) return nullptr;
        std::size_t slot = FirstSlot(name);
        for (; slots[slot] != 0; slot = NextSlot(slot))
            if (SameName(things[slots[slot] - 1].name, name)) return &things[slots[slot] - 1];
        return nullptr;
    }
    T *Find(std::string_view name) { return const_cast<T *>(std::as_const(*this).Find(name)); }

    auto begin() const { return things.begin(); }
    auto end() const { return things.end(); }
    std::size_t size() const { return things.size(); }
    const T &operator[](std::size_t place) const { return things[place]; }

private:
    // Eight letters at a time, in either case; the last eight overlap those before them.
    std::size_t FirstSlot(std::string_view name) const {
        std::uint64_t hash = name.size(), letters = 0;
        const auto mix = [&] {
            hash = (hash ^ (letters | kLowerCase)) * kSpread;
            hash ^= hash >> 32;
        };
        const auto mixAt = [&](std::size_t place) {
            std::memcpy(&letters, &name[place], sizeof letters);
            mix();
        };
        if (name.size() < sizeof letters) {
            for (const char letter : name) letters = letters << 8 | static_cast<unsigned char>(letter);
            mix();
        } else {
            const std::size_t last = name.size() - sizeof letters;
            for (std::size_t place = 0; place < last; place += sizeof letters) mixAt(place);
            mixAt(last);
        }
        return hash & (slots.size() - 1);
    }
    std::size_t NextSlot(std::size_t slot) const { return (slot + 1) & (slots.size() - 1); }
    void Enter(std::size_t number) {
        std::size_t slot = FirstSlot(things[number - 1].name);
        while (slots[slot] != 0) slot = NextSlot(slot);
        slots[slot] = static_cast<std::uint32_t>(number);
    }

    static constexpr std::uint64_t kLowerCase = 0x2020202020202020;
    static constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15; // 2 to the 64th by the golden ratio

    std::vector<T> things;
    std::vector<std::uint32_t> slots; // a power of two of them: things, counted from 1; 0: free, as at least half are
};

} // namespace cim
