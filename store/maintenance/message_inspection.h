// Looks at every byte of one message. For store/maintenance only.
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

// Where a value too long for its row is.
struct ContentUse {
  std::int64_t content = 0;  // content.id
  std::int64_t part = 0;     // of the message: 0 itself, n + 1 its attachment number n
  std::uint64_t size = 0;    // as the property has it
  std::string file;          // name in the folder of content files; empty for what is in the database
};

struct MessageProblem {
  std::string attachment;  // its name; empty: the message itself
  std::string what;        // one sentence
};

struct InspectedMessage {
  std::int64_t id = 0;
  bool hasRow = false;  // the members up to `searchKey` are right
  Guid guid{};
  std::int64_t folder = 0;  // 0: not known
  bool isAssociated = false, isRead = false;
  std::string subject;
  std::uint64_t attachments = 0;
  std::vector<ContentUse> contents;
  std::vector<MessageProblem> problems;

  bool isWhole() const noexcept { return hasRow && problems.empty(); }
};

// `read` is called with the bytes of content that were read, now and then.
InspectedMessage inspectMessage(ReadingConnection& connection, std::int64_t message,
                                const std::function<void(std::uint64_t)>& read);

// A problem as it is shown. Of a mailbox that has a password, which our programs ask for before they show what is in
// it, neither subjects nor names of attachments.
Finding findingOf(const FolderMap& folders, const InspectedMessage& message, const MessageProblem& problem);

// The numbers of all messages of which any trace is found in the tables of `rows` and in the indexes of `indexes`, and
// which of these could not be read through.
struct MessageNumbers {
  std::set<std::int64_t> numbers;
  std::vector<std::string> damage;
};
MessageNumbers findMessageNumbers(ReadingConnection& rows, ReadingConnection* indexes);

}  // namespace fendrel::store
