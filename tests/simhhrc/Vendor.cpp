#include "tests/simhhrc/Vendor.h"

#include "tests/support/BuildTree.h"
#include "tests/support/LogCapture.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace vendor {

std::string TextOf(const std::string &name) {
    std::ifstream file(SOURCE_FOLDER "/" + name);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string ShortName(const cim::ObjectPath &path) {
    const cim::Value *own = nullptr;
    for (const char *key : {"DeviceID", "InstanceID", "Tag", "Name"})
        if (own == nullptr) own = path.Key(key);
    return path.className + ' ' + support::Shown(own);
}

Texts ShortNames(const std::vector<cim::Instance> &instances) {
    Texts names;
    for (const cim::Instance &instance : instances) names.push_back(ShortName(instance.path));
    return names;
}

Vendor::Vendor() : config(support::ServerConfig()) { support::LogCapture::Clear(); }

Vendor::~Vendor() {
    if (broker == nullptr) return;
    broker->Shutdown();
    EXPECT_EQ(broker->Live().lent, 0u);
    EXPECT_EQ(broker->Live().clones, 0u);
}

void Vendor::Describe(const std::string &text) {
    const std::string file = folder.Write("hardware.json", text);
    if (broker != nullptr) return;
    setenv("SIM_HHRC_HARDWARE", file.c_str(), 1);
    std::string error;
    broker = cim::Broker::Create(config, &error);
    if (broker == nullptr) throw std::runtime_error(error);
}

std::vector<cim::Instance> Vendor::Instances(const std::string &className, cim::PropertyList properties) {
    auto answer = broker->EnumerateInstances("root/sim", className, properties);
    EXPECT_TRUE(answer.Ok()) << className << ": " << answer.status.rc << ' ' << answer.status.message;
    return std::move(answer.value);
}

cim::Instance Vendor::One(const std::string &className, const std::string &id) {
    for (cim::Instance &instance : Instances(className))
        if (ShortName(instance.path) == instance.path->className + ' ' + id) return instance;
    ADD_FAILURE() << className << ' ' << id << " is missing";
    return {};
}

} // namespace vendor
