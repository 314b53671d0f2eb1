// The options with which commands name a folder, and a message in it.
#pragma once

#include <cstdint>
#include <string>

#include "commands.h"
#include "message_filter.h"
#include "messages.h"

namespace fendrel::host {

// Command-line words for a folder: PATH, or --personal; --hidden chooses its folder-associated messages.
// Words after it (a number, a directory) move one place forward with --personal.
struct MessagePlace {
  std::string path;
  bool personal = false;
  bool hidden = false;

  void addOptions(CLI::App& command);
  OpenFolder open(Session& session) const;
};

// A message's number as given; throws Failure(wrongUsage) when it is none.
std::uint64_t messageNumber(const std::string& given);

}  // namespace fendrel::host
