// The walks from a controller to its devices, as the broker's log of calls shows them.
#pragma once

#include "tests/provider/Linked.h"

namespace support {

const std::string kPools = "associators CIM_HostedStoragePool CIM_StoragePool",
                  kDisks = "associators CIM_SystemDevice CIM_DiskDrive",
                  kVolumes = "associators CIM_SystemDevice CIM_StorageVolume",
                  kPorts = "associators CIM_SystemDevice CIM_SASSATAPort",
                  kBatteries = "associators CIM_SystemDevice CIM_Battery",
                  kAllChassis = "associators CIM_SystemPackaging CIM_Chassis";

// Those of all the provider's up-calls since the last time.
inline std::vector<std::string> Walks(LinkedBench &bench) {
    std::vector<std::string> walks;
    for (const std::string &upcall : bench.Upcalls())
        for (const std::string &walk : {kPools, kDisks, kVolumes, kPorts, kBatteries, kAllChassis})
            if (upcall == walk) walks.push_back(upcall);
    return walks;
}

// A controller c0 with the ports named.
inline Hardware Ports(const std::vector<std::string> &ids) {
    Hardware hardware = Hardware().WithController("c0");
    for (const std::string &id : ids) hardware.WithPort(id, {{"name", "Port " + id}});
    return hardware;
}

} // namespace support
