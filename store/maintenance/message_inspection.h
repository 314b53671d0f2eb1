// Checks every byte of one message. For store/maintenance only.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "folder_map.h"
#include "property.h"
#include "reading_connection.h"

namespace fendrel::store {

// A long value's content.
struct ContentUse {
  std::int64_t content = 0;  // content.id
  std::int64_t part = 0;     // 0: the message itself, n + 1: its attachment number n
  std::uint64_t size = 0;    // from the property
  std::string file;          // name of the content file; empty: in the database
};

struct MessageProblem {
  std::string attachment;  // its name; empty: the message itself
  std::string what;        // one sentence
};

struct InspectedMessage {
  std::int64_t id = 0;
  bool hasRow = false;  // the members up to `searchKey` are valid
  Guid guid{};
  std::int64_t folder = 0;  // 0: unknown
  bool isAssociated = false, isRead = false;
  std::string subject;
  std::uint64_t attachments = 0;
  std::vector<ContentUse> contents;
  std::vector<MessageProblem> problems;

  bool isWhole() const noexcept { return hasRow && problems.empty(); }
};

// Calls `read` from time to time with the number of content bytes read.
InspectedMessage inspectMessage(ReadingConnection& connection, std::int64_t message,
                                const std::function<void(std::uint64_t)>& read);

// A problem for display; for a mailbox with a password without subjects and attachment names, which require the
// password.
Finding findingOf(const FolderMap& folders, const InspectedMessage& message, const MessageProblem& problem);

// The numbers of all messages with any trace in the tables of `rows` or the indexes of `indexes`, and which of these
// could not be read completely.
struct MessageNumbers {
  std::set<std::int64_t> numbers;
  std::vector<std::string> damage;
};
MessageNumbers findMessageNumbers(ReadingConnection& rows, ReadingConnection* indexes);

}  // namespace fendrel::store
