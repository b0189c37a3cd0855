#include "cim/wbem/Arguments.h"

#include "cim/wbem/Errors.h"
#include "cim/wbem/Objects.h"
#include "cim/wbem/Types.h"

#include <algorithm>

namespace cim::wbem {

namespace {

constexpr std::size_t kMostNames = 1000; // of a property list, which is looked through once for each property

struct Reader {
    pugi::xml_node value; // the one child of the IPARAMVALUE
    const Parameter &parameter;
    const std::string &nameSpace;
    const ClassTree &classes;

    Fault Wrong(const char *expected) const {
        return InvalidParameter(std::string(parameter.name) + ": " + value.name() + " where " + expected + " belongs");
    }

    void Expect(const char *tag) const {
        if (std::string_view(value.name()) != tag) throw Wrong(tag);
    }

    bool ReadBoolean() const {
        Expect("VALUE");
        const std::string text = TextIn(value);
        if (const auto truth = ValueOf(CMPI_boolean, text)) return *truth->As<bool>();
        throw InvalidParameter(std::string(parameter.name) + ": \"" + text + "\" is neither TRUE nor FALSE");
    }

    std::vector<std::string> ReadNames() const {
        Expect("VALUE.ARRAY");
        std::vector<std::string> names;
        for (const pugi::xml_node each : value.children("VALUE")) {
            if (names.size() == kMostNames) {
                throw InvalidParameter(std::string(parameter.name) + ": more than " + std::to_string(kMostNames) +
                                       " names");
            }
            names.push_back(TextIn(each));
        }
        return names;
    }

    ObjectPath ReadPath() const {
        if (parameter.kind == Kind::ObjectName && std::string_view(value.name()) == "CLASSNAME") {
            throw Fault(CMPI_RC_ERR_NOT_SUPPORTED, "associations of classes are not supported; name an instance");
        }
        Expect("INSTANCENAME");
        return ReadInstanceName(value, nameSpace, classes);
    }

    Argument Read() const {
        switch (parameter.kind) {
        case Kind::Boolean:
            return ReadBoolean();
        case Kind::Text:
            Expect("VALUE");
            return TextIn(value);
        case Kind::Names:
            return ReadNames();
        case Kind::ClassName:
            Expect("CLASSNAME");
            return std::string(value.attribute("NAME").value());
        case Kind::InstanceName:
        case Kind::ObjectName:
            return ReadPath();
        }
        return {};
    }
};

} // namespace

Arguments::Arguments(const pugi::xml_node &call, const std::vector<Parameter> &parameters, const std::string &nameSpace,
                     const ClassTree &classes) {
    for (const pugi::xml_node given : call.children("IPARAMVALUE")) {
        const std::string name = given.attribute("NAME").value();
        const auto parameter = std::find_if(parameters.begin(), parameters.end(),
                                            [&](const Parameter &each) { return SameName(each.name, name); });
        if (parameter == parameters.end()) throw InvalidParameter(name + " is not a parameter of this operation");
        const pugi::xml_node value = FirstElement(given);
        Argument argument;
        if (value) argument = Reader{value, *parameter, nameSpace, classes}.Read();
        if (!byName.emplace(parameter->name, std::move(argument)).second) {
            throw InvalidParameter(name + " is there twice");
        }
    }
    for (const Parameter &parameter : parameters) {
        const auto found = byName.find(parameter.name);
        const bool missing = found == byName.end() || std::holds_alternative<std::monostate>(found->second);
        if (parameter.required && missing) throw InvalidParameter(std::string(parameter.name) + " is missing");
    }
}

template <class T> const T *Arguments::Find(const char *name) const {
    const auto found = byName.find(name);
    return found != byName.end() ? std::get_if<T>(&found->second) : nullptr;
}

bool Arguments::Boolean(const char *name, bool otherwise) const {
    const bool *given = Find<bool>(name);
    return given != nullptr ? *given : otherwise;
}

const std::string &Arguments::Text(const char *name) const {
    static const std::string empty;
    const auto *given = Find<std::string>(name);
    return given != nullptr ? *given : empty;
}

PropertyList Arguments::Names(const char *name) const { return Find<std::vector<std::string>>(name); }

const ObjectPath &Arguments::Path(const char *name) const { return *Find<ObjectPath>(name); }

} // namespace cim::wbem
