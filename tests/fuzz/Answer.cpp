// CIM-XML answers as a client reads them: the input is what a server says to each operation.
#include "cim/client/Client.h"
#include "tests/fuzz/Fuzz.h"

#include <algorithm>
#include <cctype>

namespace {

const cim::ObjectPath kBattery{{}, "root/cimv2", "Zembra_QuarnelBattery", {{"DeviceID", cim::Value::Text("b0")}}};

template <class T> void RequireSentence(const cim::Answer<T> &answer) {
    const std::string &said = answer.status.message;
    fuzz::Require(answer.Ok() || said.rfind("server: ", 0) == 0, "who answered what: " + said);
    const bool oneLine =
        std::none_of(said.begin(), said.end(), [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; });
    fuzz::Require(oneLine, "it is one line: " + said);
}

} // namespace

void fuzz::Read(std::string_view input) {
    const auto server = cim::ConnectThrough([input](auto &&...) { return std::string(input); }, "server");
    RequireSentence(server->EnumerateInstances(kBattery.nameSpace, kBattery.className));
    RequireSentence(server->GetInstance(kBattery));
    RequireSentence(server->Associators(kBattery, "CIM_ConcreteComponent", ""));
    RequireSentence(server->AssociatorNames(kBattery, "CIM_ConcreteComponent", ""));
    RequireSentence(server->GetClass(kBattery.nameSpace, kBattery.className));
}
