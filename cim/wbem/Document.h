// Request bodies as XML: well-formed, in UTF-8 and within limits.
#pragma once

#include <pugixml.hpp>

#include <string_view>

namespace cim::wbem {

constexpr int kDeepestElement = 64;
constexpr int kMostAttributes = 16; // DSP0201's elements have seven at most

// Reads `body` into `document`. Throws a Refusal that names the line: not well-formed, another encoding, a document
// type with declarations of its own (which could blow a small request up), elements that nest too deeply, too many
// attributes.
void ReadDocument(std::string_view body, pugi::xml_document &document);

} // namespace cim::wbem
