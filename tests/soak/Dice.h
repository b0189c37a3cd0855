// Decisions at random, the same ones for the same seed.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace support {

class Dice {
public:
    explicit Dice(std::uint64_t seed) : random(seed) {}
    std::uint64_t Seed() { return random(); } // for other dice
    int Below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
    bool OneIn(int chances) { return Below(chances) == 0; }
    template <class Choice> Choice OneOf(std::initializer_list<Choice> choices) {
        return *(choices.begin() + Below(static_cast<int>(choices.size())));
    }
    template <class List> auto &OneOf(List &list) {
        return list[static_cast<std::size_t>(Below(static_cast<int>(list.size())))];
    }

private:
    std::mt19937_64 random;
};

} // namespace support
