#include "cim/simhhrc/Query.h"

namespace sim {
namespace {

bool HasRole(const Link::End &end, const std::string &role) { return role.empty() || SameName(end.role, role); }

// A rule for CIM_MediaPresent is also meant for those who ask for Sim_MediaPresent, and the other way round.
bool Concerns(const Classes &classes, ClassId rule, const ClassFilter &asked) {
    return asked.any || classes.IsA(asked.wanted, rule) || classes.IsA(rule, asked.wanted);
}

} // namespace

ClassFilter::ClassFilter(const Classes &classes, const char *name)
    : any(name == nullptr || *name == '\0'), wanted(any ? kNoClass : classes.Find(name)) {}

std::vector<ObjectId> ObjectsOf(const Graph &graph, const std::string &nameSpace, const std::string &className) {
    const ClassId type = graph.classes.Find(className);
    std::vector<ObjectId> found;
    for (ObjectId id = 0; id < graph.Objects().size(); ++id) {
        const Object &object = graph.Objects()[id];
        if (graph.classes.IsA(object.type, type) && SameName(object.nameSpace, nameSpace)) found.push_back(id);
    }
    return found;
}

std::vector<LinkId> LinksOf(const Graph &graph, const std::string &nameSpace, const std::string &className) {
    const ClassId type = graph.classes.Find(className);
    std::vector<LinkId> found;
    for (LinkId id = 0; id < graph.Links().size(); ++id) {
        const Link &link = graph.Links()[id];
        if (graph.classes.IsA(link.type, type) &&
            (SameName(graph.Objects()[link.ends[0].object].nameSpace, nameSpace) ||
             SameName(graph.Objects()[link.ends[1].object].nameSpace, nameSpace))) {
            found.push_back(id);
        }
    }
    return found;
}

std::vector<Step> StepsFrom(const Graph &graph, const std::vector<ObjectId> &sources, const AssociationFilter &filter) {
    std::vector<Step> steps;
    for (const ObjectId source : sources) {
        for (const LinkId id : graph.Objects()[source].links) {
            const Link &link = graph.Links()[id];
            if (!filter.association.Lets(graph.classes, link.type)) continue;
            for (int from = 0; from < 2; ++from) {
                const Step step{id, from};
                const Link::End &target = step.Target(graph);
                if (step.Source(graph).object == source && HasRole(step.Source(graph), filter.role) &&
                    HasRole(target, filter.resultRole) &&
                    filter.result.Lets(graph.classes, graph.Objects()[target.object].type)) {
                    steps.push_back(step);
                }
            }
        }
    }
    return steps;
}

const Rule *RuleFor(const Description &description, Operation operation, const ClassFilter &type,
                    const ClassFilter &result) {
    const Classes &classes = description.graph.classes;
    for (const Rule &rule : description.rules) {
        if (rule.operation && *rule.operation != operation) continue;
        if (!Concerns(classes, rule.type, type)) continue;
        if (rule.result != kNoClass && !Concerns(classes, rule.result, result)) continue;
        return &rule;
    }
    return nullptr;
}

} // namespace sim
