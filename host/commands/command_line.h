// The command line: options, commands, help, and the exit code of a failure.
#pragma once

#include <string>
#include <vector>

#include "exit_codes.h"

namespace fendrel::host {

// Parses the arguments (without the program's name) and runs the command.
ExitCode run(std::vector<std::string> arguments) noexcept;

}  // namespace fendrel::host
