#include "cim/simhhrc/Graph.h"

#include <strings.h>

#include <algorithm>
#include <cctype>

namespace sim {
namespace {

// Integers of every width that are equal read the same, as do all kinds of text.
std::string KeyText(const Value &value) {
    switch (value.type) {
    case CMPI_boolean:
        return value.scalar.boolean != 0 ? "true" : "false";
    case CMPI_uint8:
        return std::to_string(value.scalar.uint8);
    case CMPI_uint16:
        return std::to_string(value.scalar.uint16);
    case CMPI_uint32:
        return std::to_string(value.scalar.uint32);
    case CMPI_uint64:
        return std::to_string(value.scalar.uint64);
    case CMPI_sint8:
        return std::to_string(value.scalar.sint8);
    case CMPI_sint16:
        return std::to_string(value.scalar.sint16);
    case CMPI_sint32:
        return std::to_string(value.scalar.sint32);
    case CMPI_sint64:
        return std::to_string(value.scalar.sint64);
    case CMPI_char16:
        return std::to_string(value.scalar.char16);
    case CMPI_real32:
        return std::to_string(value.scalar.real32);
    case CMPI_real64:
        return std::to_string(value.scalar.real64);
    default:
        return '"' + value.text;
    }
}

} // namespace

bool SameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string LowerCase(std::string_view name) {
    std::string lower(name);
    for (char &c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

std::string PathIdentity(std::string_view nameSpace, std::string_view className, const NamedValues &keys) {
    std::vector<std::string> texts;
    for (const NamedValue &key : keys) {
        if (!key.value.null) texts.push_back(LowerCase(key.name) + '=' + KeyText(key.value));
    }
    std::sort(texts.begin(), texts.end());
    std::string identity = LowerCase(nameSpace) + ':' + LowerCase(className);
    for (const std::string &text : texts) (identity += '\0') += text; // no key holds a zero character
    return identity;
}

ObjectId Graph::Add(Object object) {
    objects.push_back(std::move(object));
    return static_cast<ObjectId>(objects.size() - 1);
}

void Graph::Connect(Link link) {
    const LinkId id = static_cast<LinkId>(links.size());
    for (const Link::End &end : link.ends) {
        std::vector<LinkId> &of = objects[end.object].links;
        if (of.empty() || of.back() != id) of.push_back(id);
    }
    links.push_back(std::move(link));
}

void Graph::Index() {
    byIdentity.clear();
    for (ObjectId id = 0; id < objects.size(); ++id) {
        const Object &object = objects[id];
        byIdentity.emplace(PathIdentity(object.nameSpace, classes.Name(object.type), object.keys), id);
    }
}

std::vector<ObjectId> Graph::Find(const std::string &identity) const {
    std::vector<ObjectId> found;
    const auto range = byIdentity.equal_range(identity);
    for (auto it = range.first; it != range.second; ++it) found.push_back(it->second);
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace sim
