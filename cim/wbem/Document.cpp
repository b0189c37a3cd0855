#include "cim/wbem/Document.h"

#include "cim/wbem/Errors.h"
#include "cim/wbem/Utf8.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace cim::wbem {

namespace {

std::string Line(std::string_view text, std::size_t at) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(at, text.size()));
    return "line " + std::to_string(1 + std::count(text.begin(), end, '\n')) + ": ";
}

// The parser is quick and lenient: it takes any bytes for characters, any name for an entity, and skips what stands
// around the document's element. This looks for what it would let pass, and does so before it builds anything.
class Scanner {
public:
    explicit Scanner(std::string_view body) : text(body) {}

    void Scan() {
        CheckCharacters();
        while (at < text.size()) {
            if (Skip("<!--", "-->") || Skip("<![CDATA[", "]]>") || Skip("<?", "?>")) continue;
            if (Begins("<!DOCTYPE")) {
                CheckDocumentType();
            } else if (text[at] == '<') {
                CheckTag();
            } else {
                CheckText();
            }
        }
    }

private:
    Refusal Broken(std::size_t where, const std::string &reason) const {
        return NotWellFormed(Line(text, where) + reason);
    }

    bool Begins(std::string_view mark) const { return text.substr(at, mark.size()) == mark; }

    bool Skip(std::string_view open, std::string_view close) {
        if (!Begins(open)) return false;
        const std::size_t end = text.find(close, at + open.size());
        if (end == std::string_view::npos) throw Broken(at, std::string(open) + " has no end");
        at = end + close.size();
        return true;
    }

    void CheckCharacters() const {
        for (std::size_t i = 0; i < text.size();) {
            const Character next = FirstCharacter(text.substr(i));
            if (!next.valid) throw Broken(i, "bytes that are not UTF-8");
            if (!IsXmlCharacter(next.code)) throw Broken(i, "a character that XML does not allow");
            i += next.bytes;
        }
    }

    void CheckDocumentType() {
        const std::size_t end = std::min(text.find('>', at), text.size());
        if (text.substr(at, end - at).find('[') != std::string_view::npos) {
            throw NotValid(Line(text, at) + "a document type with declarations of its own is not accepted");
        }
        at = std::min(end + 1, text.size());
    }

    void CheckTag() {
        const std::size_t begin = at;
        char quote = 0;
        for (++at; at < text.size() && (quote != 0 || text[at] != '>'); ++at) {
            const char c = text[at];
            if (c == '<') throw Broken(at, "a < inside a tag");
            if (c == '&') CheckReference();
            if (quote == 0 && (c == '"' || c == '\'')) {
                quote = c;
            } else if (c == quote) {
                quote = 0;
            }
        }
        if (at == text.size()) throw Broken(begin, "a tag has no end");
        CountElement(begin);
        ++at;
    }

    void CountElement(std::size_t begin) {
        if (text[begin + 1] == '/') {
            --depth;
            return;
        }
        if (depth == 0 && ++roots > 1) throw Broken(begin, "a second element at the document's top");
        if (text[at - 1] != '/' && ++depth > kDeepestElement) {
            throw NotValid(Line(text, begin) + "elements nest more than " + std::to_string(kDeepestElement) + " deep");
        }
    }

    void CheckText() {
        for (; at < text.size() && text[at] != '<'; ++at) {
            if (text[at] == '&') CheckReference();
            if (depth == 0 && std::string_view(" \t\r\n").find(text[at]) == std::string_view::npos) {
                throw Broken(at, "text outside of the document's element");
            }
        }
    }

    // Entities beyond XML's five could only come from a document type.
    void CheckReference() const {
        const std::size_t end = text.find(';', at);
        const std::string_view name = end < text.size() ? text.substr(at + 1, end - at - 1) : std::string_view();
        for (const char *known : {"amp", "lt", "gt", "quot", "apos"}) {
            if (name == known) return;
        }
        if (name.size() < 2 || name[0] != '#') throw Broken(at, "an & that begins no entity of XML's own");
        const bool hex = name[1] == 'x';
        const char *last = name.data() + name.size();
        unsigned code = 0;
        const auto [stop, error] = std::from_chars(name.data() + (hex ? 2 : 1), last, code, hex ? 16 : 10);
        if (error != std::errc() || stop != last || !IsXmlCharacter(code)) {
            throw Broken(at, "a reference to a character that XML does not allow");
        }
    }

    std::string_view text;
    std::size_t at = 0;
    int depth = 0;
    int roots = 0;
};

struct AttributeCheck : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node &node) override {
        int count = 0;
        for (const pugi::xml_attribute attribute : node.attributes()) {
            // Counted first: looking for doubles takes time in proportion to the square.
            if (++count > kMostAttributes) throw NotValid(std::string(node.name()) + " has too many attributes");
            if (node.attribute(attribute.name()) != attribute) {
                throw NotWellFormed(std::string(node.name()) + " has the attribute " + attribute.name() + " twice");
            }
        }
        return true;
    }
};

void RequireUtf8(const pugi::xml_document &document) {
    for (const pugi::xml_node node : document.children()) {
        if (node.type() != pugi::node_declaration) continue;
        std::string encoding = node.attribute("encoding").as_string("utf-8");
        for (char &c : encoding) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        if (encoding != "utf-8" && encoding != "us-ascii") {
            throw NotWellFormed("the encoding is " + encoding + "; only UTF-8 is understood");
        }
    }
}

} // namespace

void ReadDocument(std::string_view body, pugi::xml_document &document) {
    if (body.substr(0, 3) == "\xEF\xBB\xBF") body.remove_prefix(3);
    Scanner(body).Scan();
    // White space is a value where it is all that a VALUE has.
    constexpr unsigned kOptions = pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_declaration;
    const auto result = document.load_buffer(body.data(), body.size(), kOptions, pugi::encoding_utf8);
    if (!result) throw NotWellFormed(Line(body, static_cast<std::size_t>(result.offset)) + result.description());
    RequireUtf8(document);
    AttributeCheck check;
    document.traverse(check);
}

} // namespace cim::wbem
