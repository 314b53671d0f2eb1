// Looks into the folder for what was posted. The plug-in does not report a message that the store failed to keep, so a
// file counts as posted only when its message is there with every byte. New is what was not there before: no clock is
// asked, which may be set back while files are posted.
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
  // Call before the first export: the messages of the files' names that are there already answer for no file.
  explicit PostedCheck(const std::vector<MessageRow>& present);

  // Call after an export that may have posted the file.
  void expect(Expected file);

  // How long ago the first file that is not looked for yet was expected, in milliseconds.
  ULONGLONG waiting() const;

  // Looks for all files expected since the last look, in one pass over the folder. After a failure they are still
  // looked for the next time, which may be in a session of its own.
  std::vector<Found> look(const OpenFolder& folder);

 private:
  std::vector<Expected> pending_;
  ULONGLONG sinceTicks_ = 0;
  std::set<std::string>
      taken_;  // entry identifiers of messages that were there before, or answered for an earlier file
};

}  // namespace fendrel::host
