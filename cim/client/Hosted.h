// The broker in this program, asked as a server elsewhere is.
#pragma once

#include "cim/client/Connection.h"

#include <memory>

namespace cim {

// The broker must outlive what is returned, which any number of threads may use at once.
std::unique_ptr<Connection> Hosted(Broker &broker);

} // namespace cim
