// The three tables that a broker's handle leads to, as a new broker copies them.
#pragma once

#include <cmpift.h>

namespace cim {

extern const CMPIBrokerFT kBrokerTable;
extern const CMPIBrokerEncFT kEncapsulationTable;
extern const CMPIBrokerMemFT kMemoryTable;

// prepareAttachThread, attachThread, detachThread.
CMPIContext *PrepareAttachThread(const CMPIBroker *broker, const CMPIContext *context);
CMPIStatus AttachThread(const CMPIBroker *broker, const CMPIContext *context);
CMPIStatus DetachThread(const CMPIBroker *broker, const CMPIContext *context);

} // namespace cim
