// A log for people and other programs: one line per event, with fields separated by tabs.
//   2026-11-22T03:00:01Z  info  posted  sales.pdf  sales.pdf -> Public Folders@Reports@Daily, 48,213 bytes
// The file is reopened for every line, so that another program may move or truncate it at any time.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::host {

class LogFile {
 public:
  // Throws Failure(failed) if no line can be appended.
  explicit LogFile(std::string file);

  // False if the line could not be written.
  bool append(std::string_view level, std::string_view event, std::string_view file, std::string_view words) const;

 private:
  std::string given_;
  std::wstring path_;
};

}  // namespace fendrel::host
