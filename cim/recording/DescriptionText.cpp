#include "cim/recording/DescriptionText.h"

#include "cim/inventory/Json.h"
#include "cim/values/Text.h"
#include "cim/values/Types.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>
#include <map>
#include <optional>

namespace cim {

namespace {

constexpr std::size_t kWidth = 120;

std::string Text(const Json &json) { return Dump(json, -1); }

std::string HexOf(const std::string &text) {
    std::string hex;
    for (const char c : text) hex += fmt::format("{:02x}", static_cast<unsigned char>(c));
    return hex;
}

// A value in the form that its type gives it in a description; none for what has no form there.
std::optional<Json> Plain(const Value &value) {
    if (value.IsNull()) return Json(nullptr);
    if (const auto *elements = value.As<Value::Elements>()) {
        Json array = Json::array();
        for (const Value &element : *elements) {
            auto plain = Plain(element);
            if (!plain) return std::nullopt;
            array.push_back(*std::move(plain));
        }
        return array;
    }
    if (const auto *number = value.As<double>(); number != nullptr && !std::isfinite(*number)) return std::nullopt;
    if (value.As<std::shared_ptr<const ObjectPath>>() != nullptr) return std::nullopt;
    if (value.As<std::shared_ptr<const Instance>>() != nullptr) return std::nullopt;
    if (const auto *character = value.As<std::uint64_t>()) return Json(*character); // a char16 is a number there
    return ToJson(value);
}

std::optional<Json> Recorded(const Value &value, CMPIType declared) {
    if (ElementType(value.type) == CMPI_ref) return std::nullopt;
    const auto *text = value.As<std::string>();
    if (value.type == CMPI_string && text != nullptr && !IsUtf8(*text)) {
        return Json{{"type", "string"}, {"hex", HexOf(*text)}};
    }
    auto plain = Plain(value);
    const bool obvious = value.type == declared || (declared == CMPI_null && value.type == CMPI_string);
    if (!plain || obvious) return plain;
    return Json{{"type", DeclaredTypeName(value.type)}, {"value", *std::move(plain)}};
}

// "{" and "}" around the members, as many on a line as there is room for.
std::string Wrapped(const std::vector<std::string> &members, std::size_t column, std::size_t indent) {
    std::string text = "{";
    column += 1;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const std::string member = members[i] + (i + 1 < members.size() ? "," : "");
        if (i > 0 && column + 1 + member.size() > kWidth) {
            text += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (i > 0) {
            text += " ";
            ++column;
        }
        text += member;
        column += member.size();
    }
    return text + "}";
}

class Writer {
public:
    Writer(const VendorModel &written, const std::string &profiles) : model(written), interop(profiles) {}

    DescriptionText Write(const std::string &about) {
        // Without a list there would be a profile that nobody has told of.
        out.text = "{\n  \"description\": " + Text(about) + ",\n  \"profiles\": [],\n  \"classes\": {";
        List(static_cast<std::size_t>(model.classes.End() - model.classes.FirstAdded()),
             [&](std::size_t i) { return ClassText(model.classes.FirstAdded() + static_cast<sim::ClassId>(i)); });
        NameObjects();
        out.text += "},\n  \"objects\": [";
        List(model.objects.size(), [&](std::size_t i) { return ObjectText(i); });
        out.text += "],\n  \"links\": [";
        List(model.links.size(), [&](std::size_t i) { return LinkText(model.links[i]); });
        out.text += "]\n}\n";
        return std::move(out);
    }

private:
    template <class Entry> void List(std::size_t count, const Entry &entry) {
        for (std::size_t i = 0; i < count; ++i) out.text += (i > 0 ? ",\n    " : "\n    ") + entry(i);
        if (count > 0) out.text += "\n  ";
    }

    // Short names that tell a reader what is what.
    void NameObjects() {
        std::map<std::string, int> counts;
        for (const Instance &object : model.objects) {
            names.push_back(fmt::format("{} {}", object.path->className, ++counts[object.path->className]));
        }
    }

    std::string ClassText(sim::ClassId id) const {
        const sim::ClassId super = model.classes.SuperOf(id);
        const Json superName = super != sim::kNoClass ? Json(model.classes.Name(super)) : Json(nullptr);
        const auto &properties = model.classes.OwnProperties(id);
        const std::string name = Text(model.classes.Name(id)) + ": ";
        if (properties.empty()) return name + Text(superName);
        std::vector<std::string> members;
        for (const auto &[property, type] : properties)
            members.push_back(Text(property) + ": " + Text(DeclaredTypeName(type)));
        const std::string start = name + "{\"extends\": " + Text(superName) + ", \"properties\": ";
        return start + Wrapped(members, 4 + start.size(), 6) + "}";
    }

    std::vector<std::string> MembersOf(const std::vector<NamedValue> &values, sim::ClassId type) {
        std::vector<std::string> members;
        for (const auto &[name, value] : values) {
            const auto recorded = Recorded(value, model.classes.TypeOf(type, name));
            if (recorded) {
                members.push_back(Text(name) + ": " + Text(*recorded));
            } else {
                ++out.leftOut;
            }
        }
        return members;
    }

    std::string ObjectText(std::size_t index) {
        const Instance &object = model.objects[index];
        const sim::ClassId type = model.classes.Find(object.path->className);
        std::string text = "{\"id\": " + Text(names[index]) + ", \"class\": " + Text(object.path->className);
        const std::string nameSpace =
            SameName(object.path->nameSpace, interop) ? "root/interop" : object.path->nameSpace;
        if (nameSpace != "root/sim") text += ", \"namespace\": " + Text(nameSpace);
        constexpr std::string_view keys = "     \"keys\": ", properties = "     \"properties\": ";
        text += fmt::format(",\n{}{}", keys, Wrapped(MembersOf(object.path->keys, type), keys.size(), 7));
        text += fmt::format(",\n{}{}}}", properties, Wrapped(MembersOf(object.properties, type), properties.size(), 7));
        return text;
    }

    std::string LinkText(const VendorModel::RecordedLink &link) const {
        std::vector<std::string> ends;
        for (const auto &end : link.ends) ends.push_back(Text(end.role) + ": " + Text(names[end.object]));
        return fmt::format("{{\"class\": {}, \"ends\": {{{}}}}}", Text(link.associationClass), fmt::join(ends, ", "));
    }

    const VendorModel &model;
    const std::string &interop;
    std::vector<std::string> names; // of the objects
    DescriptionText out;
};

} // namespace

DescriptionText DescriptionOf(const VendorModel &model, const std::string &interop, const std::string &about) {
    return Writer(model, interop).Write(about);
}

} // namespace cim
