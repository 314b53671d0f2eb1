// Where a password comes from, so that it stands on no command line and in no list of processes.
#pragma once

#include <string>

namespace fendrel::host {

// The first line of the file. Throws Failure(wrongUsage).
std::string readPasswordFile(const std::string& file);

// The first line that the command writes, which the system's command interpreter runs: cmd, or where the program was
// started from a Unix shell, sh. Throws Failure(wrongUsage).
std::string runPasswordCommand(const std::string& command);

// What a person types after the question, unseen; empty at the end of the input.
std::string askForPassword(const std::string& question);

// The question, and true when a person answers it with y or yes.
bool confirm(const std::string& question);

}  // namespace fendrel::host
