#include "cim/simhhrc/Graph.h"

#include <algorithm>

namespace sim {
namespace {

// Integers of every width that are equal read the same, as do all kinds of text.
std::string KeyText(const Datum &value) {
    if (value.type == CMPI_boolean) return std::get<bool>(value.number) ? "true" : "false";
    if (value.type == CMPI_string || value.type == CMPI_dateTime) return '"' + value.text;
    return std::visit([](auto number) { return std::to_string(number); }, value.number);
}

} // namespace

std::string PathIdentity(std::string_view nameSpace, std::string_view className, const Data &keys) {
    std::vector<std::string> texts;
    for (const NamedDatum &key : keys) {
        if (!key.value.null) texts.push_back(LowerCase(key.name) + '=' + KeyText(key.value));
    }
    std::sort(texts.begin(), texts.end());
    std::string identity = LowerCase(nameSpace) + ':' + LowerCase(className);
    for (const std::string &text : texts) (identity += '\0') += text; // no key holds a zero character
    return identity;
}

NodeId Graph::Add(Node object) {
    objects.push_back(std::move(object));
    return static_cast<NodeId>(objects.size() - 1);
}

void Graph::Connect(Edge link) {
    const EdgeId id = static_cast<EdgeId>(links.size());
    for (const Edge::End &end : link.ends) {
        std::vector<EdgeId> &of = objects[end.object].links;
        if (of.empty() || of.back() != id) of.push_back(id);
    }
    links.push_back(std::move(link));
}

void Graph::Index() {
    byIdentity.clear();
    for (NodeId id = 0; id < objects.size(); ++id) {
        const Node &object = objects[id];
        byIdentity.emplace(PathIdentity(object.nameSpace, classes.Name(object.type), object.keys), id);
    }
}

std::vector<NodeId> Graph::Find(const std::string &identity) const {
    std::vector<NodeId> found;
    const auto range = byIdentity.equal_range(identity);
    for (auto it = range.first; it != range.second; ++it) found.push_back(it->second);
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace sim
