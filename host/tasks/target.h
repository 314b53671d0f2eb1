// Where a post goes: the choice made on the command line, in a saved choice or in a job, and the folder that it means.
#pragma once

#include <string>
#include <vector>

#include "command_context.h"
#include "plugin.h"

namespace fendrel::host {

struct TargetChoice {
  std::string to;           // a folder's path
  std::string savedChoice;  // or a file of "fendrel choose --save"
  bool personal = false;    // or the personal reports
  std::string type = "instance";
  bool create = false;    // the folders of `to` that are missing are made
  bool lookOnly = false;  // nothing is made: where a folder is missing, `missing` says so
};

struct Target {
  Destination destination;
  OpenFolder folder;  // empty when it is missing
  std::wstring path;
  std::vector<std::wstring> created;
  bool missing = false;  // with lookOnly: it would be made
};

// Logs on and opens the folder. Throws Failure.
Target openTarget(CommandContext& context, const TargetChoice& choice);

// Throws Failure(folderRefused) for a name that the plug-in cannot post to.
void checkPostableName(const std::wstring& name);

}  // namespace fendrel::host
