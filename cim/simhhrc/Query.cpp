#include "cim/simhhrc/Query.h"

namespace sim {
namespace {

bool HasRole(const Edge::End &end, const std::string &role) { return role.empty() || SameName(end.role, role); }

// A rule for CIM_MediaPresent is also meant for those who ask for Sim_MediaPresent, and the other way round.
bool Concerns(const Classes &classes, ClassId rule, const ClassFilter &asked) {
    return asked.any || classes.IsA(asked.wanted, rule) || classes.IsA(rule, asked.wanted);
}

} // namespace

ClassFilter::ClassFilter(const Classes &classes, const char *name)
    : any(name == nullptr || *name == '\0'), wanted(any ? kNoClass : classes.Find(name)) {}

std::vector<NodeId> ObjectsOf(const Graph &graph, const std::string &nameSpace, const std::string &className) {
    const ClassId type = graph.classes.Find(className);
    std::vector<NodeId> found;
    for (NodeId id = 0; id < graph.Nodes().size(); ++id) {
        const Node &object = graph.Nodes()[id];
        if (graph.classes.IsA(object.type, type) && SameName(object.nameSpace, nameSpace)) found.push_back(id);
    }
    return found;
}

std::vector<EdgeId> LinksOf(const Graph &graph, const std::string &nameSpace, const std::string &className) {
    const ClassId type = graph.classes.Find(className);
    std::vector<EdgeId> found;
    for (EdgeId id = 0; id < graph.Edges().size(); ++id) {
        const Edge &link = graph.Edges()[id];
        if (graph.classes.IsA(link.type, type) && (SameName(graph.Nodes()[link.ends[0].object].nameSpace, nameSpace) ||
                                                   SameName(graph.Nodes()[link.ends[1].object].nameSpace, nameSpace))) {
            found.push_back(id);
        }
    }
    return found;
}

std::vector<Passage> StepsFrom(const Graph &graph, const std::vector<NodeId> &sources,
                               const AssociationFilter &filter) {
    std::vector<Passage> steps;
    for (const NodeId source : sources) {
        for (const EdgeId id : graph.Nodes()[source].links) {
            const Edge &link = graph.Edges()[id];
            if (!filter.association.Lets(graph.classes, link.type)) continue;
            for (int from = 0; from < 2; ++from) {
                const Passage step{id, from};
                const Edge::End &target = step.Target(graph);
                if (step.Source(graph).object == source && HasRole(step.Source(graph), filter.role) &&
                    HasRole(target, filter.resultRole) &&
                    filter.result.Lets(graph.classes, graph.Nodes()[target.object].type)) {
                    steps.push_back(step);
                }
            }
        }
    }
    return steps;
}

const Behaviour *BehaviourFor(const Description &description, Request request, const ClassFilter &type,
                              const ClassFilter &result) {
    const Classes &classes = description.graph.classes;
    for (const Behaviour &rule : description.rules) {
        if (rule.request && *rule.request != request) continue;
        if (!Concerns(classes, rule.type, type)) continue;
        if (rule.result != kNoClass && !Concerns(classes, rule.result, result)) continue;
        return &rule;
    }
    return nullptr;
}

} // namespace sim
