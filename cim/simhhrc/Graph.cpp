#include "cim/simhhrc/Graph.h"

#include <algorithm>

namespace sim {
namespace {

// Integers of every width that are equal read the same, as do all kinds of text.
std::string KeyText(const Value &value) {
    if (value.type == CMPI_boolean) return std::get<bool>(value.number) ? "true" : "false";
    if (value.type == CMPI_string || value.type == CMPI_dateTime) return '"' + value.text;
    return std::visit([](auto number) { return std::to_string(number); }, value.number);
}

} // namespace

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
