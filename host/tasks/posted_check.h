// Looks for posted messages in the folder. The plug-in does not report a message that the store failed to save, so a
// file counts as posted only if its message is there with every byte. A message is new if it was not there before;
// times are not compared, because the clock may be set back meanwhile.
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
  bool there = false;               // there is a new message of this name
  std::uint64_t attachedBytes = 0;  // of its attachment
  std::wstring messageClass;
};

class PostedCheck {
 public:
  // Call before the first export: existing messages of the files' names do not count.
  explicit PostedCheck(const std::vector<MessageRow>& present);

  // Call after an export that may have posted the file.
  void expect(Expected file);

  // Milliseconds since the first file was expected that no look has covered yet.
  ULONGLONG waiting() const;

  // Looks for all files expected since the last look, in one pass over the folder. After a failure the next look,
  // possibly in another session, includes them.
  std::vector<Found> look(const OpenFolder& folder);

 private:
  std::vector<Expected> pending_;
  ULONGLONG sinceTicks_ = 0;
  std::set<std::string> taken_;  // entry identifiers of messages that existed before or belong to an earlier file
};

}  // namespace fendrel::host
