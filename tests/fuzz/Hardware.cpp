// Hardware descriptions, and requests for all that they describe.
#include "cim/simhhrc/Query.h"
#include "tests/fuzz/Fuzz.h"

namespace {

void AskForEverything(const sim::Description &description) {
    const sim::Graph &graph = description.graph;
    const sim::ClassFilter any(graph.classes, "");
    for (sim::NodeId id = 0; id < graph.Nodes().size(); ++id) {
        const sim::Node &object = graph.Nodes()[id];
        const std::string &className = graph.classes.Name(object.type);
        const auto found = graph.Find(sim::PathIdentity(object.nameSpace, className, object.keys));
        fuzz::Require(!found.empty(), "an object is found by its path");
        for (const sim::Passage &step : sim::StepsFrom(graph, {id}, {any, any, {}, {}})) {
            fuzz::Require(step.Target(graph).object < graph.Nodes().size(), "links end at objects");
        }
        sim::BehaviourFor(description, sim::Request::GetInstance, {graph.classes, className.c_str()}, any);
    }
}

} // namespace

void fuzz::Read(std::string_view input) {
    sim::Description description;
    std::string error;
    if (sim::ReadDescription(input, "text", &description, &error)) {
        AskForEverything(description);
    } else {
        Require(error.rfind("text:", 0) == 0, "where and why: " + error);
        Require(description.graph.Nodes().empty(), "nothing is taken of what is wrong");
    }
}
