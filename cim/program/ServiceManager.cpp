#include "cim/program/ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace cim {

// One datagram is the whole protocol, which libsystemd would be a heavy dependency for.
void TellServiceManager(const std::string &state) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment.
    const char *named = std::getenv("NOTIFY_SOCKET");
    const std::string_view path = named != nullptr ? named : "";
    sockaddr_un manager{};
    if (path.empty() || path.size() >= sizeof manager.sun_path) return;
    manager.sun_family = AF_UNIX;
    path.copy(manager.sun_path, path.size());
    if (path.front() == '@') manager.sun_path[0] = '\0'; // a name in the abstract namespace
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return;
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    // A manager that cannot be told is not a reason to stop serving.
    sendto(fd, state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr *>(&manager), size);
    close(fd);
}

} // namespace cim
