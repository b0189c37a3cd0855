#include "tests/support/BuildTree.h"

#include <filesystem>

namespace support {

std::string BuildFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path().string();
}

cim::BrokerConfig ServerConfig(const std::string &libraries) {
    const std::string schema = BuildFolder() + "/share/quarnel/schema/";
    cim::BrokerConfig config;
    for (const char *file :
         {"CIM_Subset", "CIM_SASSATAPort", "OMC_UnitaryComputerSystem", "Zembra_Quarnel", "Sim_HHRC"})
        config.mofFiles.push_back(schema + file + ".mof");
    for (const char *file : {"QuarnelProvider", "HostSystemProvider", "SimHHRCProvider"})
        config.registrationFiles.push_back(schema + file + ".reg");
    config.libraryFolders = {libraries};
    return config;
}

} // namespace support
