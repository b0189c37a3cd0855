#include "cim/program/Described.h"

#include "cim/values/Types.h"

#include <fmt/format.h>

#include <map>
#include <set>
#include <utility>

namespace cim {

namespace {

constexpr const char *kInterop = "root/interop", *kVendor = "root/sim";

bool IsA(const sim::Classes &classes, sim::ClassId type, const char *base) {
    return classes.IsA(type, classes.Find(base));
}

// True for what schema/SimHHRCProvider.reg has: the simulated vendor's classes, with what derives from them.
bool IsRegistered(const sim::Classes &classes, sim::ClassId type, const std::string &nameSpace) {
    while (type >= classes.FirstAdded()) type = classes.SuperOf(type);
    if (type == sim::kNoClass || classes.Name(type).rfind("Sim_", 0) != 0) return false;
    const bool vendor = sim::SameName(nameSpace, kVendor), interop = sim::SameName(nameSpace, kInterop);
    if (IsA(classes, type, "CIM_RegisteredProfile")) return interop;
    return vendor || (interop && IsA(classes, type, "CIM_ElementConformsToProfile"));
}

struct Stanzas {
    std::set<std::pair<sim::ClassId, std::string>> instances, associations;
};

Stanzas MissingFrom(const sim::Graph &graph) {
    Stanzas missing;
    const auto add = [&](auto &to, sim::ClassId type, const std::string &nameSpace) {
        if (!IsRegistered(graph.classes, type, nameSpace)) to.emplace(type, sim::LowerCase(nameSpace));
    };
    for (const sim::Node &object : graph.Nodes()) add(missing.instances, object.type, object.nameSpace);
    for (const sim::Edge &link : graph.Edges()) {
        for (const sim::Edge::End &end : link.ends) {
            add(missing.associations, link.type, graph.Nodes()[end.object].nameSpace);
        }
    }
    return missing;
}

} // namespace

std::string MofOf(const sim::Graph &graph) {
    const sim::Classes &classes = graph.classes;
    std::string mof;
    for (sim::ClassId id = classes.FirstAdded(); id < classes.End(); ++id) {
        const sim::ClassId super = classes.SuperOf(id);
        mof += "class " + classes.Name(id);
        if (super != sim::kNoClass) mof += " : " + classes.Name(super);
        mof += " {\n";
        for (const auto &[name, type] : classes.OwnProperties(id)) {
            if (classes.TypeOf(super, name) != CMPI_null) continue;
            mof += fmt::format("    {} {}{};\n", TypeName(type), name, IsArray(type) ? "[]" : "");
        }
        mof += "};\n";
    }
    return mof;
}

std::string RegistrationsOf(const sim::Graph &graph) {
    const Stanzas missing = MissingFrom(graph);
    std::string text;
    const auto write = [&](const auto &some, const char *type) {
        for (const auto &[id, nameSpace] : some) {
            text += fmt::format("[{}]\n  provider: SimHHRCProvider\n  location: SimHHRCProvider\n  type: {}\n"
                                "  namespace: {}\n",
                                graph.classes.Name(id), type, nameSpace);
        }
    };
    write(missing.instances, "instance");
    write(missing.associations, "association");
    return text;
}

} // namespace cim
