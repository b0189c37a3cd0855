#include "cim/inventory/NaturalOrder.h"

#include <tuple>

namespace cim {

bool NaturallyBefore(std::string_view a, std::string_view b) {
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    while (!a.empty() && !b.empty()) {
        if (digit(a.front()) && digit(b.front())) {
            const auto take = [&](std::string_view &text) {
                while (text.size() > 1 && text[0] == '0' && digit(text[1])) text.remove_prefix(1);
                std::size_t length = 0;
                while (length < text.size() && digit(text[length])) ++length;
                const auto number = text.substr(0, length);
                text.remove_prefix(length);
                return number;
            };
            const auto x = take(a), y = take(b);
            if (x != y) return std::make_tuple(x.size(), x) < std::make_tuple(y.size(), y);
        } else {
            if (a.front() != b.front()) return a.front() < b.front();
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    return a.empty() && !b.empty();
}

} // namespace cim
