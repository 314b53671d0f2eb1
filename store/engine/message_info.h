// What an engine says of messages, and what it is given to save.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "content.h"
#include "id.h"
#include "property.h"

namespace fendrel::store {

enum class MessageKind { Ordinary = 0, Associated = 1 };

// What the engine computes and keeps right by itself; none of it need be set as a property.
// Left to the caller: every other property, among them flags other than "read", class, subject, display lists.
struct MessageInfo {
  Id id;  // for the entry id and record key; kept by a move within a store, else never used again
  Id folder;
  MessageKind kind = MessageKind::Ordinary;
  bool isRead = false;
  bool hasAttachments = false;
  std::uint64_t size = 0;  // bytes of all values, attachments included; text counts two a code unit
  FileTime created{};
  FileTime modified{};         // of the last save
  Guid searchKey{};            // given once, equal in copies
  std::uint64_t revision = 0;  // grows with each save, from 1
  std::uint32_t status = 0;    // bits that programs keep for themselves; changed without a save
};

// A long value on its way in. The tag's type is binary or text; text is UTF-16LE without a terminator
// (an odd size is Invalid). The writer is of the engine that saves.
struct ContentChange {
  PropertyTag tag;
  std::shared_ptr<ContentWriter> content;
};

enum class AttachmentAction { Add, Change, Remove };

// Numbers are the caller's: unique within the message, for a new one usually the highest so far plus one.
struct AttachmentChange {
  AttachmentAction action = AttachmentAction::Add;
  std::uint32_t number = 0;
  std::vector<Property> set;
  std::vector<PropertyTag> remove;
  std::vector<ContentChange> contents;
};

// Everything that one save does. Within `set`, `contents` and `remove` a property identifier occurs once.
// Applied: removals, then values, then contents; a property is replaced whatever its type was.
struct MessageDraft {
  Id message;  // to change; empty: a new message in `folder`
  Id folder;   // new messages only, as are the next three
  MessageKind kind = MessageKind::Ordinary;
  std::optional<Guid> searchKey;    // else a new one; the same in each try to save, which tells that it is the same
  std::optional<FileTime> created;  // else now
  std::optional<bool> isRead;       // else unchanged; new: not read
  std::optional<std::uint64_t> expectedRevision;  // a change of another revision is Changed; empty: not checked
  std::vector<Property> set;
  std::vector<PropertyTag> remove;
  std::vector<ContentChange> contents;
  std::vector<AttachmentChange> attachments;
};

// Longer values are read with openContent.
constexpr std::uint64_t defaultValueLimit = 32 * 1024;

struct MessageRow {
  MessageInfo message;
  // One for each column asked for, in that order: the stored tag and value, or tag 0 and std::monostate.
  // A value of more than defaultValueLimit bytes is an UnloadedValue.
  std::vector<Property> values;
};

// Called once a row; false ends the reading. Runs inside the engine's lock: it must not call the engine.
using MessageRowSink = std::function<bool(MessageRow&&)>;

struct AttachmentRow {
  std::uint32_t number = 0;
  std::uint64_t size = 0;        // bytes of all its values
  std::vector<Property> values;  // as in MessageRow
};

}  // namespace fendrel::store
