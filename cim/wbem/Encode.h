// Paths, instances, classes and qualifiers as DSP0201's elements.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/broker/classes/Qualifiers.h"
#include "cim/wbem/XmlWriter.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace cim::wbem {

// INSTANCENAME
void WriteInstanceName(XmlWriter &xml, const ObjectPath &path);
// INSTANCEPATH, with `host` where the path has none of its own
void WriteInstancePath(XmlWriter &xml, const ObjectPath &path, const std::string &host);
void WriteNameSpace(XmlWriter &xml, const std::string &nameSpace);

// Writes the INSTANCENAMEs of one answer, whose paths must outlive the writer: most begin like the one before.
class InstanceNameWriter {
public:
    explicit InstanceNameWriter(XmlWriter &writer) : xml(writer) {}

    void Write(const ObjectPath &path);

private:
    XmlWriter &xml;
    const ObjectPath *current = nullptr; // the last one written
    std::size_t begin = 0;               // of its name in the answer
    std::vector<std::size_t> ends;       // from there, of the open tag and of each key
};

// What a client asked to see of instances and classes.
struct Detail {
    PropertyList properties = nullptr;           // null: all
    const ClassDeclaration *upToClass = nullptr; // only what this class has; null: all
    bool classOrigin = false;
    bool localOnly = false;  // of classes
    bool qualifiers = false; // of classes
};

// Writes the instances of one answer, the properties in the order of the class. Most of an instance reads as in the
// last one of its class: it is copied from there, up to the next value that differs. Instances must outlive the writer.
class InstanceWriter {
public:
    InstanceWriter(XmlWriter &writer, const ClassTree &tree, const Detail &what)
        : xml(writer), classes(tree), detail(what) {}

    void Write(const Instance &instance);

private:
    struct Column { // a property
        Name name;
        const PropertyDeclaration *declared; // null: the class does not know it
        bool shown;
        const Value *value = nullptr;                 // of the last instance; null when it has none
        CMPIType type = CMPI_null;                    // as shown there
        std::size_t open = 0, content = 0, close = 0; // lengths: tag, what the element holds, tag
    };
    struct Table {                         // the instances of a class
        std::vector<Column> columns;       // the class's properties, then what else instances have
        std::size_t declared = 0;          // how many of them are the class's
        std::vector<std::size_t> places;   // the columns of the last instance's properties: the next one's as a rule
        std::vector<const Value *> values; // of an instance's columns
        std::size_t begin = 0, open = 0;   // of the last instance: its place in the answer, the length of its open tag
    };

    Table &TableOf(const std::string &className);
    std::size_t ColumnOf(Table &table, const Name &property) const;
    void Place(Table &table, const Instance &instance) const;
    void WriteProperty(Column &column);

    XmlWriter &xml;
    const ClassTree &classes;
    Detail detail;
    std::unordered_map<std::string, Table> byClass;
};

// QUALIFIER.DECLARATION
void WriteQualifierDeclaration(XmlWriter &xml, const QualifierDeclaration &declaration);

// CLASS
void WriteClass(XmlWriter &xml, const ClassDeclaration &declaration, const Detail &detail);

} // namespace cim::wbem
