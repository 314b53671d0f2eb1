// The options that name a folder and a message in it.
#pragma once

#include <cstdint>
#include <string>

#include "commands.h"
#include "message_filter.h"
#include "messages.h"

namespace fendrel::host {

// Options for a folder: PATH, or --personal; --hidden selects its folder-associated messages. With --personal the
// following words (a number, a directory) are parsed one position earlier.
struct MessagePlace {
  std::string path;
  bool personal = false;
  bool hidden = false;

  void addOptions(CLI::App& command);
  OpenFolder open(Session& session) const;
};

// Parses a message's number; throws Failure(wrongUsage) if it is not one.
std::uint64_t messageNumber(const std::string& given);

}  // namespace fendrel::host
