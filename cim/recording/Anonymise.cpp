#include "cim/recording/Anonymise.h"

#include "cim/broker/classes/Value.h"
#include "cim/recording/Pseudonyms.h"

#include <algorithm>

namespace cim {

namespace {

constexpr std::size_t kLongestModel = 64, kLongestVersion = 40;
constexpr std::size_t kLongestTag = 3; // letters in a version that belong to no word, as in "rc" or "GCA"

// How the texts of a property are read.
enum class Nature {
    Name,    // what tells objects from one another
    Serial,  // the same, and the whole text is one
    Prose,   // may name anything
    Model,   // a product's designation
    Version, // the same of software
};

struct NatureRow {
    const char *part; // of the property's name, in lower case
    Nature nature;
};
// The first that fits holds; the rest are names.
constexpr NatureRow kNatures[] = {
    {"serial", Nature::Serial},     {"identifyingnumber", Nature::Serial},
    {"address", Nature::Serial},    {"otheridentifyinginfo", Nature::Name},
    {"version", Nature::Version},   {"model", Nature::Model},
    {"elementname", Nature::Prose}, {"caption", Nature::Prose},
    {"description", Nature::Prose}, {"manufacturer", Nature::Prose},
    {"vendor", Nature::Prose},
};

Nature NatureOf(const std::string &property) {
    const std::string lower = LowerCase(property);
    for (const NatureRow &row : kNatures) {
        if (lower.find(row.part) != std::string::npos) return row.nature;
    }
    return Nature::Name;
}

// Calls `visit` for each text in the values.
template <class Values, class Visit> void ForEachText(Values &values, const Visit &visit) {
    const auto see = [&](const std::string &name, auto &value) {
        if (auto *text = std::get_if<std::string>(&value.payload)) visit(name, value.type, *text);
    };
    for (auto &[name, value] : values) {
        see(name, value);
        if (auto *elements = std::get_if<Value::Elements>(&value.payload)) {
            for (auto &element : *elements) see(name, element);
        }
    }
}

// Where a list of identifiers says beside each what it is.
void FindDescribedSerials(const Instance &object, Pseudonyms &pseudonyms) {
    const Value *infos = object.Property("OtherIdentifyingInfo");
    const Value *descriptions = object.Property("IdentifyingDescriptions");
    const auto *values = infos != nullptr ? infos->As<Value::Elements>() : nullptr;
    const auto *names = descriptions != nullptr ? descriptions->As<Value::Elements>() : nullptr;
    if (values == nullptr || names == nullptr) return;
    for (std::size_t i = 0; i < std::min(values->size(), names->size()); ++i) {
        const auto *name = (*names)[i].As<std::string>();
        const auto *value = (*values)[i].As<std::string>();
        const bool serial = name != nullptr && LowerCase(*name).find("serial") != std::string::npos;
        if (serial && value != nullptr) pseudonyms.AddSerial(*value);
    }
}

// A model without a number might as well be somebody's name.
bool LooksLikeModel(const std::string &text) { return text.size() <= kLongestModel && HasDigit(text); }

bool LooksLikeVersion(const std::string &text, const Pseudonyms &pseudonyms) {
    if (text.size() > kLongestVersion) return false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string word = text.substr(at, WordLength(text, at));
        const bool number = HasDigit(word);
        if (!number && word.size() > kLongestTag && !pseudonyms.IsCommon(word)) return false;
        at += word.size();
    }
    return true;
}

bool Stays(Nature nature, const std::string &text, const Pseudonyms &pseudonyms) {
    const bool looks = (nature == Nature::Model && LooksLikeModel(text)) ||
                       (nature == Nature::Version && LooksLikeVersion(text, pseudonyms));
    return looks && !pseudonyms.HoldsKnown(text);
}

} // namespace

LeftTexts Anonymise(VendorModel *model, const std::vector<std::string> &hosts) {
    Pseudonyms pseudonyms(model->classes);
    for (const std::string &host : hosts) pseudonyms.AddHost(host);
    for (const std::string &host : model->hosts) pseudonyms.AddHost(host);
    const auto learn = [&](const std::string &name, CMPIType, const std::string &text) {
        const Nature nature = NatureOf(name);
        if (nature == Nature::Serial) pseudonyms.AddSerial(text);
        pseudonyms.Learn(text, {nature == Nature::Name || nature == Nature::Serial, nature == Nature::Version});
    };
    for (const Instance &object : model->objects) {
        FindDescribedSerials(object, pseudonyms);
        ForEachText(object.path->keys, learn);
        ForEachText(object.properties, learn);
    }
    pseudonyms.Settle();

    LeftTexts left;
    const auto replace = [&](const std::string &name, CMPIType type, std::string &text) {
        const bool date = type == CMPI_dateTime && IsDateTimeText(text);
        std::string replaced = date || Stays(NatureOf(name), text, pseudonyms) ? text : pseudonyms.Replace(text);
        if (!text.empty() && replaced == text) ++left[name];
        text = std::move(replaced);
    };
    for (Instance &object : model->objects) {
        ObjectPath path = object.path;
        ForEachText(path.keys, replace);
        object.path = std::move(path);
        ForEachText(object.properties, replace);
    }
    model->hosts.clear();
    return left;
}

} // namespace cim
