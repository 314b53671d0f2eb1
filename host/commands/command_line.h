// The command line: options, commands, help, and the way from a failure to the exit code.
#pragma once

#include <string>
#include <vector>

#include "exit_codes.h"

namespace fendrel::host {

// Parses and does what the arguments (without the program's name) ask. No exception leaves it.
ExitCode run(std::vector<std::string> arguments) noexcept;

}  // namespace fendrel::host
