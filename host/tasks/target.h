// The target of a post: chosen on the command line, in a saved choice or in a job; and its folder.
#pragma once

#include <string>
#include <vector>

#include "command_context.h"
#include "plugin.h"

namespace fendrel::host {

struct TargetChoice {
  std::string to;           // a folder's path
  std::string savedChoice;  // or a file from "fendrel choose --save"
  bool personal = false;    // or the personal reports
  std::string type = "instance";
  bool create = false;    // create missing folders of `to`
  bool lookOnly = false;  // create nothing: if a folder is missing, `missing` says so
};

struct Target {
  Destination destination;
  OpenFolder folder;  // empty if it is missing
  std::wstring path;
  std::vector<std::wstring> created;
  bool missing = false;  // with lookOnly: it would be created
};

// Logs on and opens the folder. Throws Failure.
Target openTarget(CommandContext& context, const TargetChoice& choice);

// Throws Failure(folderRefused) for a name that the plug-in cannot post to.
void checkPostableName(const std::wstring& name);

}  // namespace fendrel::host
