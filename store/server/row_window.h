// The rows that tables have read ahead: a request for hundreds of rows costs as much as one for a single row.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "mail_view.h"

namespace fendrel::store {

// Keeps a limited number of rows, of one folder at a time, with the account's state when they were read (RFC 8620,
// 5.2). With the state, the server can be asked which of them have changed since.
// Threads: any number at once.
class RowWindow {
 public:
  // Sets the folder and the order of its messages, in which tables will read rows.
  void begin(const Id& folder, std::vector<std::string> order);

  // The state of the folder's rows; empty if there are none.
  std::string stateOf(const Id& folder);
  // Removes the rows that have changed between the two states.
  void follow(const std::string& from, const std::string& to, std::span<const std::string> changed);
  // Notes that we may have changed rows. isInDoubt() is true until the next follow().
  void doubt();
  bool isInDoubt();

  // The row, if it is here, and whole if isWhole.
  std::optional<MailView> find(const Id& folder, const std::string& message, bool isWhole);

  // Which rows to read if `wanted` are wanted and the first of them is not here: the missing ones of `wanted`, then the
  // missing ones that follow the first in the folder's order; `most` at most.
  std::vector<std::string> ahead(const Id& folder, std::span<const std::string> wanted, std::size_t most, bool isWhole);

  // Adds rows that were read at `state`. `since`: stateOf() before the read. If the rows here were followed to another
  // state meanwhile, the new ones are not kept.
  void put(const Id& folder, std::map<std::string, MailView> rows, const std::string& state, const std::string& since);
  void clear();

 private:
  void use(const Id& folder);
  bool has(const std::string& message, bool isWhole) const;

  std::mutex mutex_;
  Id folder_;
  std::vector<std::string> order_;
  std::map<std::string, MailView> rows_;
  std::string state_;  // of the oldest row
  bool isInDoubt_ = false;
};

}  // namespace fendrel::store
