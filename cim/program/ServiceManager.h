// The service manager that may have started this program (systemd, Type=notify).
#pragma once

#include <string>

namespace cim {

// Tells it something in the words of sd_notify(3), such as "READY=1". Without one, which is when the environment has no
// NOTIFY_SOCKET, nothing happens.
void TellServiceManager(const std::string &state);

} // namespace cim
