// Messages as an engine describes them, and drafts to save.
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

// Maintained by the engine; need not be set as properties. The caller sets all other properties, such as flags other
// than "read", class, subject, display lists.
struct MessageInfo {
  Id id;  // for the entry id and record key; a move within a store keeps it; never reused
  Id folder;
  MessageKind kind = MessageKind::Ordinary;
  bool isRead = false;
  bool hasAttachments = false;
  std::uint64_t size = 0;  // bytes of all values, attachments included; two per code unit of text
  FileTime created{};
  FileTime modified{};         // of the last save
  Guid searchKey{};            // set once, equal in copies
  std::uint64_t revision = 0;  // increases with each save, from 1
  std::uint32_t status = 0;    // bits that programs define for themselves; changed without a save
};

// A long value to save. The tag's type is binary or text; text is UTF-16LE without a terminator (an odd size is
// Invalid). The writer must belong to the saving engine.
struct ContentChange {
  PropertyTag tag;
  std::shared_ptr<ContentWriter> content;
};

enum class AttachmentAction { Add, Change, Remove };

// The caller chooses numbers: unique within the message, usually the highest plus one.
struct AttachmentChange {
  AttachmentAction action = AttachmentAction::Add;
  std::uint32_t number = 0;
  std::vector<Property> set;
  std::vector<PropertyTag> remove;
  std::vector<ContentChange> contents;
};

// Everything that one save does. A property identifier occurs once in `set`, `contents` and `remove`. Applies removals,
// then values, then contents; a property is replaced whatever its type was.
struct MessageDraft {
  Id message;  // to change; empty: a new message in `folder`
  Id folder;   // new messages only, as are the next three
  MessageKind kind = MessageKind::Ordinary;
  std::optional<Guid> searchKey;    // else a new one; equal in each attempt to save, to recognise the draft
  std::optional<FileTime> created;  // else now
  std::optional<bool> isRead;       // else unchanged; new: not read
  std::optional<std::uint64_t> expectedRevision;  // if the revision differs: Changed; empty: not checked
  std::vector<Property> set;
  std::vector<PropertyTag> remove;
  std::vector<ContentChange> contents;
  std::vector<AttachmentChange> attachments;
};

// Read longer values with openContent.
constexpr std::uint64_t defaultValueLimit = 32 * 1024;

struct MessageRow {
  MessageInfo message;
  // One for each requested column, in order: the stored tag and value, or tag 0 and std::monostate. A value of more
  // than defaultValueLimit bytes is an UnloadedValue.
  std::vector<Property> values;
};

// Called for each row; false ends the reading. Runs under the engine's lock: it must not call the engine.
using MessageRowSink = std::function<bool(MessageRow&&)>;

struct AttachmentRow {
  std::uint32_t number = 0;
  std::uint64_t size = 0;        // bytes of all its values
  std::vector<Property> values;  // like in MessageRow
};

}  // namespace fendrel::store
