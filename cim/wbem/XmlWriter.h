// Writes XML in one pass into one string. Elements always have an open and a close tag: a client in wide use cannot
// read the short form. Whatever the texts hold, the result is well-formed XML 1.0 in UTF-8.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace cim::wbem {

class XmlWriter {
public:
    struct Attribute {
        const char *name;
        std::string_view value;
    };

    // Characters that XML 1.0 forbids and bytes that are not UTF-8 become U+FFFD.
    void Text(std::string_view text);
    void Open(const char *tag, std::initializer_list<Attribute> attributes = {});
    void Add(const Attribute &attribute); // to the element just opened, before anything is put into it
    void Close(const char *tag);

    // An element with nothing but a text.
    void Leaf(const char *tag, std::string_view text, std::initializer_list<Attribute> attributes = {});

    // What another writer has made, and the declaration that a document begins with.
    void Ready(std::string_view xml);
    void Repeat(std::size_t begin, std::size_t size); // what is written there already

    // Of what is written so far. What follows is the content of the element just opened.
    std::size_t Size() {
        EndOpenTag();
        return out.size();
    }
    void Reserve(std::size_t size) { out.reserve(size); }
    std::string Take() {
        EndOpenTag();
        return std::move(out);
    }

private:
    void EndOpenTag();

    std::string out;
    bool tagIsOpen = false; // its '>' is still to be written
};

// An element from here to the end of the scope.
class XmlElement {
public:
    XmlElement(XmlWriter &writer, const char *elementTag, std::initializer_list<XmlWriter::Attribute> attributes = {})
        : xml(writer), tag(elementTag) {
        xml.Open(tag, attributes);
    }
    ~XmlElement() { xml.Close(tag); }
    XmlElement(const XmlElement &) = delete;
    XmlElement &operator=(const XmlElement &) = delete;

private:
    XmlWriter &xml;
    const char *tag;
};

} // namespace cim::wbem
