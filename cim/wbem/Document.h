// Request bodies as XML. libxml2 judges them by Request.dtd, and pugixml reads them: like clients' code, which has to
// read answers that libxml2 refuses, since vendors' texts are not always UTF-8.
#pragma once

#include <pugixml.hpp>

#include <memory>
#include <string_view>

namespace cim::wbem {

constexpr int kDeepestElement = 64;
constexpr int kMostAttributes = 16; // DSP0201's elements have seven at most

class Document {
public:
    // Throws a Refusal that names the line: not well-formed, another encoding, a document type with declarations of its
    // own (which could blow a small request up), elements that nest too deeply, too many attributes.
    explicit Document(std::string_view body);
    ~Document();

    pugi::xml_node Root() const { return read.document_element(); }
    // Throws a Refusal that names the line when this is not a request as DSP0201 has it.
    void RequireValid() const;

private:
    struct Judged;

    pugi::xml_document read;
    std::unique_ptr<Judged> judged;
};

} // namespace cim::wbem
