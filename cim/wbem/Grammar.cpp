#include "cim/wbem/Grammar.h"

#include "cim/wbem/Errors.h"

#include <climits>
#include <string>
#include <string_view>

namespace cim::wbem {

namespace {

constexpr int kAny = INT_MAX;

// Lists of names are separated by spaces.
struct ElementRow {
    const char *name;
    const char *attributes; // that must be there
    const char *children;   // that may be there; null: anything, of no interest here
    int least = 0, most = kAny;
    bool text = false;
};

#define TYPED_VALUES "VALUE VALUE.ARRAY VALUE.REFERENCE"
#define PATHS "CLASSPATH LOCALCLASSPATH CLASSNAME INSTANCEPATH LOCALINSTANCEPATH INSTANCENAME"

constexpr ElementRow kElements[] = {
    {"CIM", "CIMVERSION DTDVERSION", "MESSAGE", 1, 1},
    {"MESSAGE", "ID PROTOCOLVERSION", "SIMPLEREQ", 1, 1},
    {"SIMPLEREQ", "", "CORRELATOR METHODCALL IMETHODCALL", 1},
    {"CORRELATOR", "NAME TYPE", "VALUE", 1, 1},
    {"IMETHODCALL", "NAME", "LOCALNAMESPACEPATH IPARAMVALUE", 1},
    {"METHODCALL", "NAME", "LOCALCLASSPATH LOCALINSTANCEPATH PARAMVALUE", 1},
    {"IPARAMVALUE", "NAME",
     TYPED_VALUES " CLASSNAME INSTANCENAME QUALIFIER.DECLARATION CLASS INSTANCE VALUE.NAMEDINSTANCE", 0, 1},
    {"PARAMVALUE", "NAME", TYPED_VALUES " VALUE.REFARRAY CLASSNAME INSTANCENAME CLASS INSTANCE VALUE.NAMEDINSTANCE", 0,
     1},
    {"NAMESPACE", "NAME", "", 0, 0},
    {"HOST", "", "", 0, 0, true},
    {"LOCALNAMESPACEPATH", "", "NAMESPACE", 1},
    {"NAMESPACEPATH", "", "HOST LOCALNAMESPACEPATH", 2, 2},
    {"CLASSNAME", "NAME", "", 0, 0},
    {"CLASSPATH", "", "NAMESPACEPATH CLASSNAME", 2, 2},
    {"LOCALCLASSPATH", "", "LOCALNAMESPACEPATH CLASSNAME", 2, 2},
    {"INSTANCENAME", "CLASSNAME", "KEYBINDING KEYVALUE VALUE.REFERENCE"},
    {"INSTANCEPATH", "", "NAMESPACEPATH INSTANCENAME", 2, 2},
    {"LOCALINSTANCEPATH", "", "LOCALNAMESPACEPATH INSTANCENAME", 2, 2},
    {"KEYBINDING", "NAME", "KEYVALUE VALUE.REFERENCE", 1, 1},
    {"KEYVALUE", "", "", 0, 0, true},
    {"VALUE", "", "", 0, 0, true},
    {"VALUE.NULL", "", "", 0, 0},
    {"VALUE.ARRAY", "", "VALUE VALUE.NULL"},
    {"VALUE.REFERENCE", "", PATHS, 1, 1},
    {"VALUE.REFARRAY", "", "VALUE.REFERENCE VALUE.NULL"},
    {"VALUE.NAMEDINSTANCE", "", "INSTANCENAME INSTANCE", 2, 2},
    {"INSTANCE", "CLASSNAME", "QUALIFIER PROPERTY PROPERTY.ARRAY PROPERTY.REFERENCE"},
    {"PROPERTY", "NAME TYPE", "QUALIFIER VALUE"},
    {"PROPERTY.ARRAY", "NAME TYPE", "QUALIFIER VALUE.ARRAY"},
    {"PROPERTY.REFERENCE", "NAME", "QUALIFIER VALUE.REFERENCE"},
    {"QUALIFIER", "NAME TYPE", "VALUE VALUE.ARRAY", 0, 1},
    {"CLASS", "NAME", nullptr},
    {"QUALIFIER.DECLARATION", "NAME TYPE", nullptr},
};

// Calls `visit` with each name in a list until it says false.
template <class Visit> void EachName(std::string_view list, Visit visit) {
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(' '), list.size());
        if (!visit(list.substr(0, end))) return;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

bool Names(const char *list, std::string_view name) {
    bool found = false;
    EachName(list, [&](std::string_view entry) { return !(found = entry == name); });
    return found;
}

const ElementRow &RowOf(const pugi::xml_node &element) {
    for (const ElementRow &row : kElements) {
        if (std::string_view(row.name) == element.name()) return row;
    }
    throw NotValid(std::string(element.name()) + " is no element of a request");
}

void RequireChildren(const pugi::xml_node &element, const ElementRow &row) {
    int count = 0;
    for (const pugi::xml_node child : element.children()) {
        switch (child.type()) {
        case pugi::node_element:
            if (!Names(row.children, child.name())) {
                throw NotValid(std::string(child.name()) + " inside " + element.name());
            }
            ++count;
            break;
        case pugi::node_pcdata:
        case pugi::node_cdata:
            if (!row.text && std::string_view(child.value()).find_first_not_of(" \t\r\n") != std::string_view::npos) {
                throw NotValid(std::string("text inside ") + element.name());
            }
            break;
        default:
            break; // comments and processing instructions may stand anywhere
        }
    }
    if (count < row.least) throw NotValid(std::string(element.name()) + " has too few children");
    if (count > row.most) throw NotValid(std::string(element.name()) + " has too many children");
}

} // namespace

void RequireValid(const pugi::xml_node &root) {
    const ElementRow &row = RowOf(root);
    EachName(row.attributes, [&](std::string_view name) {
        if (!root.attribute(std::string(name).c_str())) {
            throw NotValid(std::string(root.name()) + " has no attribute " + std::string(name));
        }
        return true;
    });
    if (row.children == nullptr) return;
    RequireChildren(root, row);
    for (const pugi::xml_node child : root.children()) { // nesting is limited where the document is read
        if (child.type() == pugi::node_element) RequireValid(child);
    }
}

} // namespace cim::wbem
