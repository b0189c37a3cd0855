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

// Writes the INSTANCENAMEs of one answer: class and most keys of most instances are those of the one before.
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
    std::string className, open; // the last one, and the tag with it
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

// Writes the instances of one answer, the properties in the order of the class. What is known of a property, and what
// stands around its values, is worked out once and repeated.
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
        CMPIType type;                     // of the tags
        std::string open, close, null;     // tags of the property's element, and both
        std::string openValue, closeValue; // with those of a scalar within
    };
    struct Table {                         // the instances of a class
        std::string open;                  // the tag
        std::vector<Column> columns;       // the class's properties, then what else instances have
        std::vector<std::size_t> places;   // the columns of the last instance's properties: the next one's as a rule
        std::vector<const Value *> values; // of an instance's columns
    };

    Table &TableOf(const std::string &className);
    void AddColumn(Table &table, const Name &name, const PropertyDeclaration *declared, CMPIType type) const;
    std::size_t ColumnOf(Table &table, const NamedValue &property) const;
    void Place(Table &table, const std::vector<NamedValue> &properties) const;
    void WriteProperty(const Column &column, const Value &value);
    void MakeTags(Column &column, CMPIType type) const;

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
