#include "cim/wbem/Arguments.h"

#include "cim/wbem/Errors.h"
#include "cim/wbem/Objects.h"
#include "cim/wbem/ValueText.h"

#include <algorithm>
#include <set>

namespace cim::wbem {

namespace {

constexpr std::size_t kMostNames = 1000; // of a property list, which is looked through once for each property

struct Reader {
    pugi::xml_node value; // the one child of the IPARAMVALUE
    const Parameter &parameter;
    const std::string &nameSpace;
    const ClassTree &classes;

    Fault Wrong(const std::string &what) const { return InvalidParameter(parameter.name + (": " + what)); }

    void RequireElement() const {
        const std::string found = value.name();
        if (found == parameter.element) return;
        if (std::string_view(parameter.name) == "ObjectName" && found == "CLASSNAME") {
            throw Fault(CMPI_RC_ERR_NOT_SUPPORTED, "associations of classes are not supported; name an instance");
        }
        throw Wrong(found + " where " + parameter.element + " belongs");
    }

    void Read(std::string &text) const {
        const pugi::xml_attribute name = value.attribute("NAME"); // a CLASSNAME's
        text = name ? name.value() : TextIn(value);
    }

    void Read(std::optional<bool> &flag) const {
        const std::string text = TextIn(value);
        const auto truth = ValueOf(CMPI_boolean, text);
        if (!truth) throw Wrong("\"" + text + "\" is neither TRUE nor FALSE");
        flag = *truth->As<bool>();
    }

    void Read(std::optional<std::vector<std::string>> &names) const {
        names.emplace();
        for (const pugi::xml_node each : value.children("VALUE")) {
            if (names->size() == kMostNames) throw Wrong("more than " + std::to_string(kMostNames) + " names");
            names->push_back(TextIn(each));
        }
    }

    void Read(std::optional<ObjectPath> &path) const { path = ReadInstanceName(value, nameSpace, classes); }
};

} // namespace

Arguments ReadArguments(const pugi::xml_node &call, const std::vector<Parameter> &parameters,
                        const std::string &nameSpace, const ClassTree &classes) {
    Arguments arguments;
    std::set<const Parameter *> seen, given;
    for (const pugi::xml_node element : call.children("IPARAMVALUE")) {
        const std::string name = element.attribute("NAME").value();
        const auto parameter = std::find_if(parameters.begin(), parameters.end(),
                                            [&](const Parameter &each) { return SameName(each.name, name); });
        if (parameter == parameters.end()) throw InvalidParameter(name + " is not a parameter of this operation");
        if (!seen.insert(&*parameter).second) throw InvalidParameter(name + " is there twice");
        const Reader reader{FirstElement(element), *parameter, nameSpace, classes};
        if (!reader.value) continue;
        reader.RequireElement();
        std::visit([&](auto place) { reader.Read(arguments.*place); }, parameter->place);
        given.insert(&*parameter);
    }
    for (const Parameter &parameter : parameters) {
        if (parameter.required && given.count(&parameter) == 0) {
            throw InvalidParameter(std::string(parameter.name) + " is missing");
        }
    }
    return arguments;
}

} // namespace cim::wbem
