#include "cim/simhhrc/Description.h"

#include "cim/simhhrc/Fields.h"
#include "cim/simhhrc/FileText.h"
#include "cim/simhhrc/Hardware.h"
#include "cim/simhhrc/JsonValue.h"
#include "cim/simhhrc/Recorded.h"

#include <system_error>

namespace sim {
namespace {

Description Read(std::string_view text) {
    const JsonValue json = ParseJson(text);
    Fields file(json, "the description");
    file.Find("description");
    Description description;
    ReadClasses(file, description.graph.classes);
    HardwareReader hardware(description.graph);
    hardware.Read(file);
    ReadRecorded(file, description.graph, [&](const std::string &address) { return hardware.Find(address); });
    ReadBehaviour(file, description.graph.classes, description.rules);
    file.Finish();
    description.graph.Index();
    return description;
}

} // namespace

bool ReadDescription(std::string_view text, const std::string &name, Description *description, std::string *error) {
    try {
        Description read = Read(text);
        if (description != nullptr) *description = std::move(read);
        return true;
    } catch (const Mistake &mistake) {
        if (error != nullptr) *error = name + ':' + std::to_string(mistake.line) + ": " + mistake.what();
        return false;
    }
}

bool LoadDescription(const std::string &file, Description *description, std::string *error) {
    std::string text;
    FileState state;
    if (const int problem = ReadTextFile(file, &text, &state)) {
        if (error != nullptr) *error = file + ": cannot be read: " + std::generic_category().message(problem);
        return false;
    }
    return ReadDescription(text, file, description, error);
}

} // namespace sim
