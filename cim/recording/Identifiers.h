// Identifiers that a text shows by their form.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cim {

struct Identifier {
    enum class Kind { Mail, Iqn, Ipv6, Ipv4, Host } kind;
    std::string text;
};

// From front to back. Hexadecimal ones are not among them: they may stand within words.
std::vector<Identifier> IdentifiersIn(const std::string &text);

// The length of the hexadecimal identifier that begins there: a WWN, a UUID or a MAC address. Digits may have single
// separators between them. 0: there is none.
std::size_t HexIdentifierAt(std::string_view text, std::size_t begin);

// Labels with points between them, the last beginning with a letter.
bool LooksLikeHost(std::string_view text);

} // namespace cim
