// The messages of a folder that equal what posting would make: the same report name, and an attached file with the same
// bytes. They are read from the folder through MAPI; nothing is remembered elsewhere.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "input_files.h"
#include "messages.h"

namespace fendrel::host {

class PresentReports {
 public:
  // rows: the folder's messages that have the files' names.
  PresentReports(const OpenFolder& folder, const std::vector<MessageRow>& rows);

  // The newest message that equals this file; each message matches one file only. Sizes are compared first, then every
  // byte. Throws Failure(cancelled) between two blocks.
  std::optional<MessageRow> take(const InputFile& file);

 private:
  bool holds(const MessageRow& row, const InputFile& file) const;

  const OpenFolder& folder_;
  std::map<std::wstring, std::vector<MessageRow>> byName_;  // the newest last
};

}  // namespace fendrel::host
