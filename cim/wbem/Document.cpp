#include "cim/wbem/Document.h"

#include "cim/wbem/Errors.h"
#include "cim/wbem/RequestDtd.h"

#include <libxml/parser.h>
#include <libxml/valid.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

namespace cim::wbem {

template <auto Free> struct FreeWith {
    template <class T> void operator()(T *object) const { Free(object); }
};

namespace {

std::string LineAt(std::string_view text, std::ptrdiff_t offset) {
    return "line " + std::to_string(1 + std::count(text.begin(), text.begin() + offset, '\n')) + ": ";
}

// What would keep libxml2 busy: it compares attributes with each other, and expands what a document declares.
struct Limits : pugi::xml_tree_walker {
    explicit Limits(std::string_view body) : text(body) {}

    bool for_each(pugi::xml_node &node) override {
        const auto refuse = [&](const std::string &reason) {
            return NotValid(LineAt(text, node.offset_debug()) + reason);
        };
        if (depth() >= kDeepestElement) {
            throw refuse("elements nest more than " + std::to_string(kDeepestElement) + " deep");
        }
        const auto attributes = node.attributes();
        if (std::distance(attributes.begin(), attributes.end()) > kMostAttributes) {
            throw refuse(std::string(node.name()) + " has too many attributes");
        }
        if (node.type() == pugi::node_doctype && std::string_view(node.value()).find('[') != std::string_view::npos) {
            throw refuse("a document type with declarations of its own is not accepted");
        }
        return true;
    }

    std::string_view text;
};

template <class T> T *Made(T *object) {
    if (object == nullptr) throw std::bad_alloc();
    return object;
}

// Shared by all threads, for good. Validation would work content models out at their first use and write them down.
xmlDtd *Grammar() {
    static xmlDtd *const grammar = [] {
        xmlInitParser();
        auto *text = Made(xmlParserInputBufferCreateMem(kRequestDtd, sizeof kRequestDtd - 1, XML_CHAR_ENCODING_UTF8));
        xmlDtd *dtd = Made(xmlIOParseDTD(nullptr, text, XML_CHAR_ENCODING_UTF8));
        const std::unique_ptr<xmlValidCtxt, FreeWith<xmlFreeValidCtxt>> context(Made(xmlNewValidCtxt()));
        for (xmlNode *node = dtd->children; node != nullptr; node = node->next) {
            if (node->type == XML_ELEMENT_DECL) {
                xmlValidBuildContentModel(context.get(), reinterpret_cast<xmlElement *>(node));
            }
        }
        return dtd;
    }();
    return grammar;
}

} // namespace

struct Document::Judged {
    std::unique_ptr<xmlParserCtxt, FreeWith<xmlFreeParserCtxt>> parser{Made(xmlNewParserCtxt())};
    std::unique_ptr<xmlDoc, FreeWith<xmlFreeDoc>> tree;
    char mistake[512] = ""; // the first one; without a string, which could throw through libxml2

    Judged() {
        parser->_private = this;
        parser->sax->serror = [](void *context, auto *error) {
            auto &first = static_cast<Judged *>(static_cast<xmlParserCtxt *>(context)->_private)->mistake;
            if (*first != '\0' || error->message == nullptr) return;
            if (error->level == XML_ERR_WARNING || error->code == XML_DTD_UNKNOWN_ATTRIBUTE) return;
            const auto *node = static_cast<xmlNode *>(error->node); // of validation, which does not tell the line
            std::snprintf(first, sizeof first, "line %ld: %.*s", node != nullptr ? xmlGetLineNo(node) : error->line,
                          static_cast<int>(std::strcspn(error->message, "\n")), error->message);
        };
    }
};

Document::Document(std::string_view body) {
    if (body.substr(0, 3) == "\xEF\xBB\xBF") body.remove_prefix(3);
    // White space is a value where it is all that a VALUE has.
    constexpr unsigned kOptions = pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_doctype;
    const auto result = read.load_buffer(body.data(), body.size(), kOptions, pugi::encoding_utf8);
    if (!result) throw NotWellFormed(LineAt(body, result.offset) + result.description());
    Limits limits(body);
    read.traverse(limits);

    Grammar();
    judged = std::make_unique<Judged>();
    judged->tree.reset(xmlCtxtReadMemory(judged->parser.get(), body.data(), static_cast<int>(body.size()), nullptr,
                                         nullptr, XML_PARSE_NONET));
    if (*judged->mistake != '\0') throw NotWellFormed(judged->mistake);
    const auto *encoding = reinterpret_cast<const char *>(Made(judged->tree.get())->encoding);
    if (encoding != nullptr && !SameName(encoding, "utf-8") && !SameName(encoding, "us-ascii")) {
        throw NotWellFormed(std::string("the encoding is ") + encoding + "; only UTF-8 is understood");
    }
}

Document::~Document() = default;

void Document::RequireValid() const {
    xmlValidateDtd(&judged->parser->vctxt, judged->tree.get(), Grammar());
    if (*judged->mistake != '\0') throw NotValid(judged->mistake);
}

} // namespace cim::wbem
