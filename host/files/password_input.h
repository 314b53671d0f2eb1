// Reads passwords from sources other than the command line, which is visible in the list of processes.
#pragma once

#include <string>

namespace fendrel::host {

// The first line of the file. Throws Failure(wrongUsage).
std::string readPasswordFile(const std::string& file);

// The first line of the command's output. The command interpreter is cmd, or sh if the program was started from a Unix
// shell. Throws Failure(wrongUsage).
std::string runPasswordCommand(const std::string& command);

// Asks on the terminal and reads the answer without echo; empty at the end of the input.
std::string askForPassword(const std::string& question);

// Asks on the terminal; true if the answer is y or yes.
bool confirm(const std::string& question);

}  // namespace fendrel::host
