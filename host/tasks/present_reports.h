// The messages of a folder that are what a post would make: same report name, and an attached file of the same bytes.
// The folder itself is asked, through MAPI; nothing is remembered anywhere else.
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

  // The newest message that is what this file would become; each answers for one file only. Sizes are compared first,
  // then every byte is read back. Throws Failure(cancelled) between two blocks.
  std::optional<MessageRow> take(const InputFile& file);

 private:
  bool holds(const MessageRow& row, const InputFile& file) const;

  const OpenFolder& folder_;
  std::map<std::wstring, std::vector<MessageRow>> byName_;  // the newest last
};

}  // namespace fendrel::host
