#include "cim/simhhrc/Objects.h"

#include "cim/simhhrc/Data.h"
#include "cim/simhhrc/Query.h"

#include <syslog.h>

#include <algorithm>

namespace sim {
namespace {

template <class T> T *Checked(T *made, const CMPIStatus &status) {
    if (made == nullptr || status.rc != CMPI_RC_OK) {
        throw BrokerRefused{{status.rc != CMPI_RC_OK ? status.rc : CMPI_RC_ERR_FAILED, nullptr}};
    }
    return made;
}

// The way CMPI takes a text: the characters stand where a value's address would.
const CMPIValue *Chars(const std::string &text) { return reinterpret_cast<const CMPIValue *>(text.c_str()); }

std::string CharsOf(const CMPIString *string) {
    const char *chars = string != nullptr ? string->ft->getCharPtr(string, nullptr) : nullptr;
    return chars != nullptr ? chars : "";
}

Datum KeyDatum(const CMPIData &data) {
    if ((data.state & (CMPI_nullValue | CMPI_notFound | CMPI_badValue)) != 0) return {data.type};
    if (data.type == CMPI_string) return TextDatum(CharsOf(data.value.string));
    if (data.type == CMPI_chars) return TextDatum(data.value.chars);
    return {data.type, false, cim::ReadNumber(data.type, data.value).value_or(cim::Numeric())};
}

std::string IdentityOf(const CMPIObjectPath *path) {
    Data keys;
    const CMPICount count = path->ft->getKeyCount(path, nullptr);
    for (CMPICount i = 0; i < count; ++i) {
        CMPIString *name = nullptr;
        const CMPIData data = path->ft->getKeyAt(path, i, &name, nullptr);
        keys.push_back({CharsOf(name), KeyDatum(data)});
    }
    return PathIdentity(NameSpaceOf(path), ClassNameOf(path), keys);
}

} // namespace

std::string NameSpaceOf(const CMPIObjectPath *path) { return CharsOf(path->ft->getNameSpace(path, nullptr)); }
std::string ClassNameOf(const CMPIObjectPath *path) { return CharsOf(path->ft->getClassName(path, nullptr)); }

std::vector<NodeId> ObjectsAt(const Graph &graph, const CMPIObjectPath *path) { return graph.Find(IdentityOf(path)); }

const Edge *LinkAt(const Graph &graph, const CMPIObjectPath *path) {
    if (path->ft->getKeyCount(path, nullptr) != 2) return nullptr;
    std::vector<NodeId> ends[2];
    std::string roles[2];
    for (CMPICount i = 0; i < 2; ++i) {
        CMPIString *name = nullptr;
        const CMPIData data = path->ft->getKeyAt(path, i, &name, nullptr);
        if (data.type != CMPI_ref || data.value.ref == nullptr) return nullptr;
        roles[i] = CharsOf(name);
        ends[i] = ObjectsAt(graph, data.value.ref);
    }
    const ClassFilter type(graph.classes, ClassNameOf(path).c_str()), any(graph.classes, nullptr);
    for (const Passage &step : StepsFrom(graph, ends[0], {type, any, roles[0], roles[1]})) {
        const Edge &link = graph.Edges()[step.link];
        const bool found = std::count(ends[1].begin(), ends[1].end(), step.Target(graph).object) > 0;
        if (found && link.type == type.wanted) return &link;
    }
    return nullptr;
}

CMPIObjectPath *ObjectMaker::NewPath(const std::string &nameSpace, ClassId type) const {
    CMPIStatus status = {CMPI_RC_OK, nullptr};
    return Checked(broker->eft->newObjectPath(broker, nameSpace.c_str(), graph.classes.Name(type).c_str(), &status),
                   status);
}

CMPIObjectPath *ObjectMaker::PathOf(const Node &object) const {
    CMPIObjectPath *path = NewPath(object.nameSpace, object.type);
    for (const NamedDatum &key : object.keys) {
        CMPIValue room = {};
        CMPIType type = CMPI_null;
        const CMPIValue *value = Enter(key.value, &room, &type);
        path->ft->addKey(path, key.name.c_str(), value, type);
    }
    return path;
}

CMPIObjectPath *ObjectMaker::PathOf(const Edge &link, const std::string &nameSpace) const {
    CMPIObjectPath *path = NewPath(nameSpace, link.type);
    for (const Edge::End &end : link.ends) {
        CMPIValue reference = {};
        reference.ref = PathOf(graph.Nodes()[end.object]);
        path->ft->addKey(path, end.role.c_str(), &reference, CMPI_ref);
    }
    return path;
}

CMPIInstance *ObjectMaker::InstanceOf(const Node &object) const {
    CMPIInstance *instance = NewInstance(PathOf(object), object.properties);
    const std::string &className = graph.classes.Name(object.type);
    for (const NamedDatum &property : object.properties) Set(instance, className, property);
    // A broker enters the path's keys among the properties; what the object lacks it must not gain that way.
    for (const NamedDatum &key : object.keys) {
        const auto is = [&](const NamedDatum &property) { return SameName(property.name, key.name); };
        if (std::none_of(object.properties.begin(), object.properties.end(), is)) {
            instance->ft->setProperty(instance, key.name.c_str(), nullptr, key.value.type);
        }
    }
    return instance;
}

CMPIInstance *ObjectMaker::InstanceOf(const Edge &link, const std::string &nameSpace) const {
    CMPIObjectPath *path = PathOf(link, nameSpace);
    Data properties = link.properties;
    for (const Edge::End &end : link.ends) properties.push_back({end.role, {}});
    CMPIInstance *instance = NewInstance(path, properties);
    for (const Edge::End &end : link.ends) {
        CMPIData reference = path->ft->getKey(path, end.role.c_str(), nullptr);
        instance->ft->setProperty(instance, end.role.c_str(), &reference.value, CMPI_ref);
    }
    for (const NamedDatum &property : link.properties) Set(instance, graph.classes.Name(link.type), property);
    return instance;
}

// Lets in what the object has and the request wants. Without that a broker that knows the class would serve what an
// object leaves out as null.
CMPIInstance *ObjectMaker::NewInstance(const CMPIObjectPath *path, const Data &properties) const {
    CMPIStatus status = {CMPI_RC_OK, nullptr};
    CMPIInstance *instance = Checked(broker->eft->newInstance(broker, path, &status), status);
    std::vector<const char *> filter;
    for (const NamedDatum &property : properties) {
        bool want = wanted == nullptr;
        for (const char **name = wanted; !want && *name != nullptr; ++name) want = SameName(*name, property.name);
        if (want) filter.push_back(property.name.c_str());
    }
    filter.push_back(nullptr);
    const char *noKeys[] = {nullptr};
    instance->ft->setPropertyFilter(instance, filter.data(), noKeys);
    return instance;
}

void ObjectMaker::Set(CMPIInstance *instance, const std::string &className, const NamedDatum &property) const {
    CMPIValue room = {};
    CMPIType type = CMPI_null;
    const CMPIValue *value = Enter(property.value, &room, &type);
    const CMPIStatus status = instance->ft->setProperty(instance, property.name.c_str(), value, type);
    if (status.rc != CMPI_RC_OK && snapshot.FirstTime(className + '.' + property.name)) {
        syslog(LOG_WARNING, "SimHHRCProvider: the broker refused property %s of %s, status %d", property.name.c_str(),
               className.c_str(), status.rc);
    }
}

// The value and type to hand to the broker; `room` holds what is not a text.
CMPIValue *ObjectMaker::Enter(const Datum &value, CMPIValue *room, CMPIType *type) const {
    *type = value.type;
    if (value.null) return nullptr;
    if (value.type == CMPI_string) {
        *type = CMPI_chars;
        return const_cast<CMPIValue *>(Chars(value.text));
    }
    CMPIStatus status = {CMPI_RC_OK, nullptr};
    if (value.type == CMPI_dateTime) {
        room->dateTime = broker->eft->newDateTimeFromChars(broker, value.text.c_str(), &status);
        return room->dateTime != nullptr ? room : nullptr;
    }
    if ((value.type & CMPI_ARRAY) == 0) {
        cim::WriteNumber(value.type, value.number, *room);
        return room;
    }
    const auto elementType = static_cast<CMPIType>(value.type & ~CMPI_ARRAY);
    const auto size = static_cast<CMPICount>(value.elements.size());
    room->array = Checked(broker->eft->newArray(broker, size, elementType, &status), status);
    for (CMPICount i = 0; i < size; ++i) {
        CMPIValue element = {};
        CMPIType given = CMPI_null;
        const CMPIValue *entered = Enter(value.elements[i], &element, &given);
        if (entered != nullptr) room->array->ft->setElementAt(room->array, i, entered, given);
    }
    return room;
}

} // namespace sim
