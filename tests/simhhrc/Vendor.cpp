#include "tests/simhhrc/Vendor.h"

#include "tests/support/Bench.h"
#include "tests/support/LogCapture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vendor {
namespace fs = std::filesystem;

namespace {

constexpr const char *kOwnKeys[] = {"DeviceID", "InstanceID", "Tag", "Name"};

const cim::Value *OwnKey(const cim::ObjectPath &path) {
    for (const char *key : kOwnKeys) {
        if (const cim::Value *value = path.Key(key)) return value;
    }
    return nullptr;
}

Texts ShortNames(const std::vector<cim::ObjectPath> &paths) {
    Texts names;
    for (const cim::ObjectPath &path : paths) names.push_back(ShortName(path));
    return names;
}

} // namespace

std::string ShortName(const cim::ObjectPath &path) { return path.className + ' ' + support::Shown(OwnKey(path)); }

Vendor::Vendor() {
    support::LogCapture::Clear();
    std::string pattern = (fs::path(testing::TempDir()) / "simhhrc-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make " + pattern);
    folder = pattern;
    file = folder + "/hardware.json";
    const std::string schema = support::BuildFolder() + "/share/quarnel/schema/";
    for (const char *mof : {"CIM_Subset", "CIM_SASSATAPort", "Sim_HHRC"}) {
        config.mofFiles.push_back(schema + mof + ".mof");
    }
    config.registrationFiles = {schema + "SimHHRCProvider.reg"};
    config.libraryFolders = {support::BuildFolder() + "/lib"};
}

Vendor::~Vendor() {
    if (broker != nullptr) {
        broker->Shutdown();
        EXPECT_EQ(broker->Live().lent, 0u);
        EXPECT_EQ(broker->Live().clones, 0u);
    }
    fs::remove_all(folder);
}

void Vendor::Describe(const std::string &text) {
    std::ofstream(file + ".new") << text;
    fs::rename(file + ".new", file);
    if (broker != nullptr) return;
    setenv("SIM_HHRC_HARDWARE", file.c_str(), 1);
    std::string error;
    broker = cim::Broker::Create(config, &error);
    if (broker == nullptr) throw std::runtime_error(error);
}

void Vendor::DescribeSample(const std::string &name) {
    std::ostringstream text;
    text << std::ifstream(support::BuildFolder() + "/share/quarnel/hardware/" + name).rdbuf();
    Describe(text.str());
}

std::vector<cim::Instance> Vendor::Instances(const std::string &className, cim::PropertyList properties) {
    auto answer = broker->EnumerateInstances("root/sim", className, properties);
    EXPECT_TRUE(answer.Ok()) << className << ": " << answer.status.rc << ' ' << answer.status.message;
    return std::move(answer.value);
}

cim::Instance Vendor::One(const std::string &className, const std::string &id) {
    std::vector<cim::Instance> found;
    for (cim::Instance &instance : Instances(className)) {
        if (support::Shown(OwnKey(instance.path)) == id) found.push_back(std::move(instance));
    }
    EXPECT_EQ(found.size(), 1u) << className << ' ' << id;
    return found.empty() ? cim::Instance() : found.front();
}

Texts Vendor::Associated(const cim::ObjectPath &source, const std::string &association, const std::string &resultClass,
                         const std::string &role, const std::string &resultRole) {
    const auto names = broker->AssociatorNames(source, association, resultClass, role, resultRole);
    const auto instances = broker->Associators(source, association, resultClass, role, resultRole);
    EXPECT_TRUE(names.Ok()) << source.ToString() << ' ' << association << ": " << names.status.rc;
    EXPECT_TRUE(instances.Ok()) << source.ToString() << ' ' << association << ": " << instances.status.rc;
    std::vector<cim::ObjectPath> paths;
    for (const cim::Instance &instance : instances.value) paths.push_back(instance.path);
    EXPECT_EQ(ShortNames(paths), ShortNames(names.value));
    return ShortNames(names.value);
}

} // namespace vendor
