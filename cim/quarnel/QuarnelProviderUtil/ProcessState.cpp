// What the factory leaves for everybody.
#include "../QuarnelProvider.h"

Relaxed<const CMPIBroker *> Broker;
Relaxed<time_t> InitCompleteTime;
