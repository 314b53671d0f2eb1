// Checks everything that posting needs, in the order in which posting needs it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "command_context.h"

namespace fendrel::host {

struct DoctorFinding {
  std::string what;  // "Target folder"
  bool isGood = true;
  std::string words;  // with what to do
  ExitCode exit = ExitCode::done;
  Json error;  // of a cross
};

struct DoctorOrder {
  std::string to;       // a folder's path; empty: no folder is checked
  bool create = false;  // a missing folder would be created
};

// Calls `use` for each finding. Steps that depend on a cross are skipped.
void examine(CommandContext& context, const DoctorOrder& order, const std::function<void(const DoctorFinding&)>& use);

}  // namespace fendrel::host
