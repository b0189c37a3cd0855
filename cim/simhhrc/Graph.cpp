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
    nodes.push_back(std::move(object));
    return static_cast<NodeId>(nodes.size() - 1);
}

void Graph::Connect(Edge link) {
    const EdgeId id = static_cast<EdgeId>(edges.size());
    for (const Edge::End &end : link.ends) {
        std::vector<EdgeId> &of = nodes[end.object].links;
        if (of.empty() || of.back() != id) of.push_back(id);
    }
    edges.push_back(std::move(link));
}

void Graph::Index() {
    byIdentity.clear();
    for (NodeId id = 0; id < nodes.size(); ++id) {
        const Node &node = nodes[id];
        byIdentity[PathIdentity(node.nameSpace, classes.Name(node.type), node.keys)].push_back(id);
    }
}

std::vector<NodeId> Graph::Find(const std::string &identity) const {
    const auto found = byIdentity.find(identity);
    return found != byIdentity.end() ? found->second : std::vector<NodeId>();
}

} // namespace sim
