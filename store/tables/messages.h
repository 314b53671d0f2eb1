// Messages and their attachments.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "content_reader.h"
#include "content_writer.h"
#include "database.h"

namespace fendrel::store {

enum class MessageKind { Ordinary = 0, Associated = 1 };

// What the engine computes and keeps right by itself; none of it need be set as a property.
// Left to the caller: every other property, among them flags other than "read", class, subject, display lists.
struct MessageInfo {
  Guid id{};             // for the entry id and record key; kept by a move, never used again after a delete
  Guid folder{};
  MessageKind kind = MessageKind::Ordinary;
  bool isRead = false;
  bool hasAttachments = false;
  std::uint64_t size = 0;      // bytes of all values, attachments included; text counts two a code unit
  FileTime created{};
  FileTime modified{};         // of the last save
  Guid searchKey{};            // given once, equal in copies
  std::uint64_t revision = 0;  // grows with each save, from 1
  std::uint32_t status = 0;    // bits that programs keep for themselves; changed without a save
};

// A long value on its way in. The tag's type is binary or text; text is UTF-16LE without a terminator
// (an odd size is Invalid). The writer must be of the same Database.
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
  std::optional<Guid> message;  // to change; empty: a new message in `folder`
  Guid folder{};                // new messages only, as are the next three
  MessageKind kind = MessageKind::Ordinary;
  std::optional<Guid> searchKey;    // else a new one
  std::optional<FileTime> created;  // else now
  std::optional<bool> isRead;       // else unchanged; new: not read
  std::optional<std::uint64_t> expectedRevision;  // a change of another revision is Changed; empty: not checked
  std::vector<Property> set;
  std::vector<PropertyTag> remove;
  std::vector<ContentChange> contents;
  std::vector<AttachmentChange> attachments;
};

// Saves all of it in one transaction. Ok: everything is on disk and the writers are saved. Otherwise nothing is
// visible to anyone, the writers keep their content, and the same draft can be saved again.
// NotFound (folder, message or attachment), AlreadyExists (number of a new attachment), Changed, Invalid,
// NotEnoughDisk, Busy, NoAccess, Corrupt, Failed.
Status saveMessage(Database& database, const MessageDraft& draft, MessageInfo& saved);

// Opens a message: all of its rows are compared with its checksum. NotFound, Corrupt.
Status findMessage(Database& database, const Guid& message, MessageInfo& found);

// `tags` empty: all. A tag of type `unspecified` finds any type; otherwise the type must be equal.
// Only what is there comes back, in the order of property identifiers; a value of more than `valueLimit` bytes
// comes as UnloadedValue. NotFound (the message), Corrupt.
constexpr std::uint64_t defaultValueLimit = 32 * 1024;
Status readMessageProperties(Database& database, const Guid& message, std::span<const PropertyTag> tags,
                             std::vector<Property>& properties, std::uint64_t valueLimit = defaultValueLimit);

// The same for one attachment. NotFound (message or attachment).
Status readAttachmentProperties(Database& database, const Guid& message, std::uint32_t number,
                                std::span<const PropertyTag> tags, std::vector<Property>& properties,
                                std::uint64_t valueLimit = defaultValueLimit);

// Opens any binary or text value, however it was set, of the message or (with a number) of an attachment.
// NotFound, Invalid (other type), Corrupt (its file is missing or has another size).
Status openContent(Database& database, const Guid& message, std::optional<std::uint32_t> attachment,
                   PropertyTag tag, std::shared_ptr<ContentReader>& reader);

// Where a folder `in` is named, a message of another folder is NotFound for those that follow.

// Counts nothing as changed but the read state and the unread count. NotFound.
Status setRead(Database& database, const Guid& message, bool isRead, std::optional<Guid> in = {});

// Sets the bits of `mask` as they are in `status`; `before` is what all were. Counts nothing as changed. NotFound.
Status setStatus(Database& database, const Guid& message, std::uint32_t status, std::uint32_t mask,
                 std::uint32_t& before, std::optional<Guid> in = {});

// NotFound.
Status deleteMessage(Database& database, const Guid& message);

// All or none in one transaction. A message that is not there is passed over: `deleted` counts the others.
Status deleteMessages(Database& database, std::span<const Guid> messages, std::optional<Guid> in = {},
                      std::size_t* deleted = nullptr);

// Into another folder of any store of the database; the identifier is kept. NotFound.
Status moveMessage(Database& database, const Guid& message, const Guid& newFolder, std::optional<Guid> in = {});

// A whole copy with an identifier of its own; the search key and creation time are kept. NotFound, and as saveMessage.
Status copyMessage(Database& database, const Guid& message, const Guid& newFolder, MessageInfo& copy,
                   std::optional<Guid> in = {});

struct MessageRow {
  MessageInfo message;
  // One for each column asked for, in that order: the stored tag and value, or tag 0 and std::monostate.
  // A value of more than defaultValueLimit bytes is an UnloadedValue.
  std::vector<Property> values;
};

// Called once a row; false ends the reading. Runs inside the database's lock: it must not call the engine.
using MessageRowSink = std::function<bool(MessageRow&&)>;

// The folder's messages of one kind in the order in which they came into the store, all of one moment. The time
// is linear in rows and columns; attachments and contents are not touched. NotFound (the folder), Corrupt.
Status readMessageRows(Database& database, const Guid& folder, MessageKind kind,
                       std::span<const PropertyTag> columns, const MessageRowSink& sink);

// The rows of these messages alone, in the order asked for: what a table shows of a long folder at a time.
// A message that is not there (any more) or is in another folder gives no row. NotFound (the folder), Corrupt.
Status readMessageRowsOf(Database& database, const Guid& folder, std::span<const Guid> messages,
                         std::span<const PropertyTag> columns, const MessageRowSink& sink);

struct AttachmentRow {
  std::uint32_t number = 0;
  std::uint64_t size = 0;  // bytes of all its values
  std::vector<Property> values;  // as in MessageRow
};

// In the order of numbers. NotFound (the message).
Status readAttachmentRows(Database& database, const Guid& message, std::span<const PropertyTag> columns,
                          std::vector<AttachmentRow>& rows);

}  // namespace fendrel::store
