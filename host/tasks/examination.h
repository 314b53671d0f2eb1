// Looks at everything that posting needs, in the order in which posting needs it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "command_context.h"

namespace fendrel::host {

struct DoctorFinding {
  std::string what;  // "Target folder"
  bool isGood = true;
  std::string words;  // and what to do
  ExitCode exit = ExitCode::done;
  Json error;  // of a cross
};

struct DoctorOrder {
  std::string to;       // a folder's path; empty: none is looked at
  bool create = false;  // a folder that is missing would be made
};

// Hands every finding to `use` as it comes. What depends on something with a cross is not looked at.
void examine(CommandContext& context, const DoctorOrder& order, const std::function<void(const DoctorFinding&)>& use);

}  // namespace fendrel::host
