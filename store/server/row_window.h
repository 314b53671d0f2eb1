// What tables have read ahead: a folder is long, and asking a server costs the same for one row and for hundreds.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "mail_view.h"

namespace fendrel::store {

// Rows are shown for half a minute after they were read; a change through the same engine drops them, and so does listing
// the folder anew. One folder at a time, and no more rows than memory has room for. Threads: any number at once.
class RowWindow {
 public:
  // The order in which the folder's messages were listed.
  void begin(const Id& folder, std::vector<std::string> order);

  // The row, where it is there and has been read whole if that is asked for.
  std::optional<MailView> find(const Id& folder, const std::string& message, bool isWhole);

  // What to read when these rows are wanted: they, and those that follow the first of them, `most` at most.
  std::vector<std::string> ahead(const Id& folder, std::span<const std::string> wanted, std::size_t most);

  void put(const Id& folder, std::map<std::string, MailView> rows);
  void clear();

 private:
  void use(const Id& folder);

  std::mutex mutex_;
  Id folder_;
  std::vector<std::string> order_;
  struct Row {
    MailView view;
    std::chrono::steady_clock::time_point read;
  };
  std::map<std::string, Row> rows_;
};

}  // namespace fendrel::store
