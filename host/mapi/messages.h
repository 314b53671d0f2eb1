// The messages of a folder and their attachments.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "session.h"

namespace fendrel::host {

struct MessageRow {
  EntryId id;
  std::wstring subject, messageClass, sender;
  FILETIME submitted{}, delivered{};
  std::uint64_t size = 0;
  bool hasAttachments = false;
};

// A folder's messages in the order of their delivery; the first has number 1.
class MessageTable {
 public:
  // hidden: the folder-associated messages instead of the ordinary ones.
  MessageTable(const OpenFolder& folder, bool hidden);

  std::uint64_t count();
  // Calls `use` for the messages first, first + 1 ..., at most `limit`.
  void read(std::uint64_t first, std::uint64_t limit, const std::function<void(std::uint64_t, const MessageRow&)>& use);
  // The message with this number. Throws Failure(folderRefused) if there is none.
  MessageRow at(std::uint64_t number);

 private:
  std::string subject_;
  ComPtr<IMAPITable> table_;
};

// The folder's messages whose subject is one of these, compared exactly.
std::vector<MessageRow> messagesNamed(const OpenFolder& folder, const std::set<std::wstring>& subjects);

ComPtr<IMessage> openMessage(const OpenFolder& folder, const MessageRow& message);

struct Attachment {
  ULONG number = 0;  // for IMessage::OpenAttach
  std::wstring name;
  bool isFile = false;     // attached by value: it has bytes
  std::uint64_t size = 0;  // of the bytes only
  ComPtr<IAttach> object;
};
// All attachments, opened, in the order of their numbers.
std::vector<Attachment> attachmentsOf(IMessage& message);

// The attachment's bytes.
ComPtr<IStream> openBytes(IAttach& attachment);

}  // namespace fendrel::host
