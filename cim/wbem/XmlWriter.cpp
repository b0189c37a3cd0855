#include "cim/wbem/XmlWriter.h"

#include "cim/values/Text.h"

#include <array>

namespace cim::wbem {

namespace {

enum class Spot { Text, Attribute };

// White space in attributes, and a carriage return anywhere, would be read back as a space or a line feed.
constexpr struct {
    char byte;
    const char *inText, *inAttribute;
} kStandIns[] = {{'&', "&amp;", "&amp;"},  {'<', "&lt;", "&lt;"},   {'>', "&gt;", "&gt;"},   {'\r', "&#13;", "&#13;"},
                 {'"', nullptr, "&quot;"}, {'\t', nullptr, "&#9;"}, {'\n', nullptr, "&#10;"}};

const char *StandIn(char byte, Spot place) {
    for (const auto &each : kStandIns) {
        if (each.byte == byte) return place == Spot::Text ? each.inText : each.inAttribute;
    }
    return nullptr;
}

// Bytes that are copied as they are, wherever they stand.
constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (unsigned byte = 0x20; byte < 0x80; ++byte) plain[byte] = true;
    for (const char byte : {'&', '<', '>', '"'}) plain[static_cast<unsigned char>(byte)] = false;
    return plain;
}();

void AppendEscaped(std::string &out, std::string_view text, Spot place) {
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && kPlain[static_cast<unsigned char>(text[plain])]) ++plain;
        out.append(text.data(), plain);
        text.remove_prefix(plain);
        if (text.empty()) return;

        const Character next = FirstCharacter(text);
        if (const char *standIn = StandIn(text[0], place)) {
            out += standIn;
        } else if (next.valid && IsXmlCharacter(next.code)) {
            out.append(text.data(), next.bytes);
        } else {
            out += kReplacementText;
        }
        text.remove_prefix(next.bytes);
    }
}

} // namespace

void XmlWriter::EndOpenTag() {
    if (tagIsOpen) out += '>';
    tagIsOpen = false;
}

void XmlWriter::Text(std::string_view text) {
    EndOpenTag();
    AppendEscaped(out, text, Spot::Text);
}

void XmlWriter::Open(const char *tag, std::initializer_list<Attribute> attributes) {
    EndOpenTag();
    out += '<';
    out += tag;
    tagIsOpen = true;
    for (const Attribute &attribute : attributes) Add(attribute);
}

void XmlWriter::Add(const Attribute &attribute) {
    out += ' ';
    out += attribute.name;
    out += "=\"";
    AppendEscaped(out, attribute.value, Spot::Attribute);
    out += '"';
}

void XmlWriter::Close(const char *tag) {
    EndOpenTag();
    out += "</";
    out += tag;
    out += '>';
}

void XmlWriter::Leaf(const char *tag, std::string_view text, std::initializer_list<Attribute> attributes) {
    Open(tag, attributes);
    Text(text);
    Close(tag);
}

void XmlWriter::Ready(std::string_view xml) {
    EndOpenTag();
    out += xml;
}

void XmlWriter::Repeat(std::size_t begin, std::size_t size) {
    EndOpenTag();
    out.append(out, begin, size);
}

} // namespace cim::wbem
