#include "cim/client/Message.h"

#include "cim/client/Http.h"
#include "cim/wbem/Encode.h"
#include "cim/wbem/Objects.h"

#include <algorithm>
#include <cctype>

namespace cim::client {

using wbem::XmlElement;
using wbem::XmlWriter;

namespace {

constexpr int kDeepest = 64; // references within keys of references are read by recursion

struct WriteArgument {
    XmlWriter &xml;
    void operator()(bool value) const { xml.Leaf("VALUE", value ? "TRUE" : "FALSE"); }
    void operator()(const std::string &value) const { xml.Leaf("CLASSNAME", {}, {{"NAME", value}}); }
    void operator()(const ObjectPath &value) const { wbem::WriteInstanceName(xml, value); }
};

struct DepthCheck : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node &) override { return depth() < kDeepest; }
};

pugi::xml_node Need(const pugi::xml_node &parent, const char *name) {
    if (const pugi::xml_node child = parent.child(name)) return child;
    throw Failure(std::string("answered XML that is not a CIM answer: it has no ") + name);
}

// Also with a byte order mark or white space before it.
bool IsHtml(std::string_view body) {
    const std::string_view start = body.substr(std::min(body.find('<'), body.size()));
    const auto beginsWith = [start](std::string_view tag) {
        return start.size() >= tag.size() && std::equal(tag.begin(), tag.end(), start.begin(), [](char a, char b) {
                   return a == std::tolower(static_cast<unsigned char>(b));
               });
    };
    return beginsWith("<!doctype html") || beginsWith("<html");
}

} // namespace

std::string TextOf(const OutgoingCall &call) {
    XmlWriter xml;
    {
        const XmlElement cim(xml, "CIM", {{"CIMVERSION", "2.0"}, {"DTDVERSION", "2.0"}});
        const XmlElement message(xml, "MESSAGE", {{"ID", "1"}, {"PROTOCOLVERSION", "1.0"}});
        const XmlElement request(xml, "SIMPLEREQ");
        const XmlElement method(xml, "IMETHODCALL", {{"NAME", call.method}});
        wbem::WriteNameSpace(xml, call.nameSpace);
        for (const Parameter &parameter : call.parameters) {
            const auto *className = std::get_if<std::string>(&parameter.second);
            if (className != nullptr && className->empty()) continue;
            const XmlElement element(xml, "IPARAMVALUE", {{"NAME", parameter.first}});
            std::visit(WriteArgument{xml}, parameter.second);
        }
    }
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + xml.Take();
}

void ReadReply(std::string_view body, Reply *reply) {
    if (IsHtml(body)) throw Failure("answered HTML, not CIM-XML: is this the port of a CIM server?");
    // White space is a value where it is all that a VALUE has. Texts may be of any bytes: vendors' are.
    constexpr unsigned options = pugi::parse_default | pugi::parse_ws_pcdata_single;
    const auto result = reply->document.load_buffer(body.data(), body.size(), options);
    if (!result) {
        const auto end = std::min(static_cast<std::size_t>(result.offset), body.size());
        const auto line = 1 + std::count(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        throw Failure("answered what is not XML: line " + std::to_string(line) + ": " + result.description());
    }
    DepthCheck check;
    if (!reply->document.traverse(check)) throw Failure("answered XML that nests too deeply");

    const pugi::xml_node message = Need(Need(reply->document, "CIM"), "MESSAGE");
    const pugi::xml_node response = Need(Need(message, "SIMPLERSP"), "IMETHODRESPONSE");
    if (const pugi::xml_node error = response.child("ERROR")) {
        reply->error = CimError{error.attribute("CODE").as_int(), error.attribute("DESCRIPTION").value()};
    }
    reply->returned = response.child("IRETURNVALUE");
}

} // namespace cim::client
