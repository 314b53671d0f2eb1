// What tables have read ahead: a folder is long, and asking a server costs the same for one row and for hundreds.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "mail_view.h"

namespace fendrel::store {

// Rows stand here with the state of the account that they were read at (RFC 8620, 5.2), so that the server can be asked
// which of them have changed since. One folder at a time, and no more rows than memory has room for.
// Threads: any number at once.
class RowWindow {
 public:
  // The order in which the folder's messages were listed, which is what tables show next.
  void begin(const Id& folder, std::vector<std::string> order);

  // Of the folder's rows; empty: there are none.
  std::string stateOf(const Id& folder);
  // Takes away those that have changed between the two states.
  void follow(const std::string& from, const std::string& to, std::span<const std::string> changed);
  // They may have changed by our own doing. True until they are followed.
  void doubt();
  bool isInDoubt();

  // The row, where it is there and has been read whole if that is asked for.
  std::optional<MailView> find(const Id& folder, const std::string& message, bool isWhole);

  // What to read when these rows are wanted, the first of which is not here: those of them that are not here, and of
  // those that follow the first, `most` at most.
  std::vector<std::string> ahead(const Id& folder, std::span<const std::string> wanted, std::size_t most, bool isWhole);

  // Rows that were read at that state. They are not kept where the others were followed meanwhile, `since` being the
  // state of those before.
  void put(const Id& folder, std::map<std::string, MailView> rows, const std::string& state, const std::string& since);
  void clear();

 private:
  void use(const Id& folder);
  bool has(const std::string& message, bool isWhole) const;

  std::mutex mutex_;
  Id folder_;
  std::vector<std::string> order_;
  std::map<std::string, MailView> rows_;
  std::string state_;  // of the oldest of them
  bool isInDoubt_ = false;
};

}  // namespace fendrel::store
