// Looks into the folder for what was posted. The plug-in does not report a message that the store failed to keep, so a
// file counts as posted only when its message is there with every byte.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "messages.h"

namespace fendrel::host {

struct Expected {
  std::size_t file;  // the caller's number for it
  std::wstring name;
  std::uint64_t size;
};

struct Found {
  std::size_t file;
  bool there = false;               // a message of this name came in
  std::uint64_t attachedBytes = 0;  // of its attachment
  std::wstring messageClass;
};

class PostedCheck {
 public:
  explicit PostedCheck(const OpenFolder& where) : folder(where) {}

  // Call before the export of a file.
  void begin();
  // Call after an export that may have posted the file.
  void expect(Expected file);

  // How long ago the first file that is not looked for yet was begun, in milliseconds.
  ULONGLONG waiting() const;

  // Looks for all files expected since the last look, in one pass over the folder.
  std::vector<Found> look();

 private:
  const OpenFolder& folder;
  std::vector<Expected> pending;
  bool begun = false;
  FILETIME since{};
  ULONGLONG sinceTicks = 0;
  std::set<std::string> taken;  // entry identifiers of messages that answered for an earlier file
};

}  // namespace fendrel::host
