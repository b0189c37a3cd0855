// What outlives lives: what the factory was given, and which life is there.
#include "cim/quarnel/QuarnelProvider.h"

Relaxed<const CMPIBroker *> Broker;
Relaxed<time_t> InitCompleteTime;
std::atomic<Life_t *> CurrentLife;
Life_t NoLife;
__thread Here_t Here;
