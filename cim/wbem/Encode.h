// Paths, instances and classes as DSP0201's elements.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/wbem/XmlWriter.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace cim::wbem {

// INSTANCENAME
void WriteInstanceName(XmlWriter &xml, const ObjectPath &path);
// INSTANCEPATH, with `host` where the path has none of its own
void WriteInstancePath(XmlWriter &xml, const ObjectPath &path, const std::string &host);
void WriteNameSpace(XmlWriter &xml, const std::string &nameSpace);

// Writes the INSTANCENAMEs of one answer: most keys of most instances are those of the one before.
class InstanceNameWriter {
public:
    explicit InstanceNameWriter(XmlWriter &writer) : xml(writer) {}

    void Write(const ObjectPath &path);

private:
    struct LastKey { // at a place
        NamedValue key;
        std::string element;
    };

    XmlWriter &xml;
    std::vector<LastKey> last;
};

// What a client asked to see of instances and classes.
struct Detail {
    PropertyList properties = nullptr;           // null: all
    const ClassDeclaration *upToClass = nullptr; // only what this class has; null: all
    bool classOrigin = false;
    bool localOnly = false;  // of classes
    bool qualifiers = false; // of classes
};

// Writes the instances of one answer. What is known of a property, and what stands around its values, is worked out
// once and repeated: instances of a class have the same properties in the same places.
class InstanceWriter {
public:
    InstanceWriter(XmlWriter &writer, const ClassTree &tree, const Detail &what)
        : xml(writer), classes(tree), detail(what) {}

    void Write(const Instance &instance);

private:
    struct Column { // a place, and the property that stood there last
        Name name;
        const PropertyDeclaration *declared = nullptr; // null: the class does not know it
        bool shown = true;
        std::optional<CMPIType> type; // of the tags, once there are any
        std::string open, close;      // tags of the property's element
        std::string null;             // the whole element when it has no value, as most have none
    };
    struct Columns {
        const ClassDeclaration *declaration = nullptr;
        std::vector<Column> places;
    };

    Columns &ColumnsOf(const std::string &className);
    void Retarget(Column &column, const ClassDeclaration *declaration, const Name &name) const;
    void MakeTags(Column &column, CMPIType type) const;

    XmlWriter &xml;
    const ClassTree &classes;
    Detail detail;
    std::unordered_map<std::string, Columns> byClass;
};

// CLASS. Of qualifiers, Key and Association are known.
void WriteClass(XmlWriter &xml, const ClassDeclaration &declaration, const Detail &detail);

} // namespace cim::wbem
