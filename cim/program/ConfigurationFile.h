// Options of a subcommand that are read from a file, by CLI11's reader of TOML and INI.
#pragma once

#include <CLI/CLI.hpp>

namespace cim {

// --config FILE: each long option of the command may be a key there, `port = 5980`. What the command line says has
// precedence. A mistake in the file names the file and the key.
void AddConfigurationFile(CLI::App &program, CLI::App &command);

} // namespace cim
