// Where messages are kept: the border between MAPI and what is below it.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "folder_info.h"
#include "message_info.h"
#include "origin.h"
#include "store_info.h"

namespace fendrel::store {

// The message stores of one profile. Made by ProfileBook::open.
// Threads: one object may be used by any number of threads at once.
// Every call that changes something is durable when it returns Ok, and without effect otherwise.
// Lifetime: ContentWriters must not outlive their engine, ContentReaders may.
class Engine : public Origin {
 public:
  // Two engines of one place have the same stores, with the same identifiers.
  virtual std::string place() const = 0;

  // Equal where the same identifiers stand for the same names of properties.
  virtual Bytes mappingSignature() const = 0;

  // Stores. Another profile's mailbox is not among them.

  // The profile's own. Empty where that cannot be told now.
  virtual Id defaultStore() = 0;

  // The default comes first. Folders that only some stores have (the inbox and those after it) may be missing here.
  virtual Status listStores(std::vector<StoreInfo>& stores) = 0;

  // NotFound.
  virtual Status findStore(const Id& store, StoreInfo& found) = 0;

  // Properties that callers attach to a store; the members of StoreInfo are not among them.
  // `tags` empty: all. A tag of type `unspecified` finds any type; otherwise the type must be equal.
  // Only what is there comes back, in the order of property identifiers.
  virtual Status readStoreProperties(const Id& store, std::span<const PropertyTag> tags,
                                     std::vector<Property>& properties) = 0;

  // Sets and removes in one. A property is replaced whatever its type was; removing one that is not there is no
  // failure. Invalid (a value that does not fit its tag), NotFound (the store).
  virtual Status changeStoreProperties(const Id& store, std::span<const Property> set,
                                       std::span<const PropertyTag> remove) = 0;

  // Folders

  // Creates a folder with these properties, or with IfExists::Open answers the one of that name (unchanged).
  // The name is not a property: pass it as `name`. AlreadyExists, NotFound (the parent), Invalid (empty name, value
  // that does not fit its tag).
  virtual Status createFolder(const Id& parent, const std::u16string& name, std::span<const Property> properties,
                              IfExists ifExists, FolderInfo& folder) = 0;

  // NotFound.
  virtual Status findFolder(const Id& folder, FolderInfo& found) = 0;

  // Whether it is there: NotFound. Quicker than reading it.
  virtual Status checkFolder(const Id& folder) = 0;

  // AlreadyExists, NotFound, Invalid (empty name), NoAccess (a standard folder).
  virtual Status renameFolder(const Id& folder, const std::u16string& newName) = 0;

  // Gives it another parent in the same store, and a new name unless `newName` is empty. AlreadyExists, NotFound,
  // NoAccess (a standard folder), Invalid (into itself or below, other store).
  virtual Status moveFolder(const Id& folder, const Id& newParent, const std::u16string& newName) = 0;

  // NotFound, NoAccess (a standard folder), HasFolders, HasMessages.
  virtual Status deleteFolder(const Id& folder, DeleteFolderOptions options) = 0;

  // Properties that callers attach to a folder; the members of FolderInfo are not among them. As those of a store;
  // every value is loaded.
  virtual Status readFolderProperties(const Id& folder, std::span<const PropertyTag> tags,
                                      std::vector<Property>& properties) = 0;
  virtual Status changeFolderProperties(const Id& folder, std::span<const Property> set,
                                        std::span<const PropertyTag> remove) = 0;

  // The folders below in a stable order (each parent before its children, siblings by creation), all of one moment.
  // NotFound.
  virtual Status readFolderRows(const Id& folder, Depth depth, std::span<const PropertyTag> columns,
                                const FolderRowSink& sink) = 0;

  // Messages

  // What is written for a later save.
  virtual std::shared_ptr<ContentWriter> createContent() = 0;

  // Saves all of it or nothing. Ok: everything is on disk and the writers are saved. Otherwise nothing is visible to
  // anyone, the writers keep their content, and the same draft can be saved again.
  // NotFound (folder, message or attachment), AlreadyExists (number of a new attachment), Changed, Invalid,
  // NotEnoughDisk, Busy, NoAccess, Corrupt, Failed.
  virtual Status saveMessage(const MessageDraft& draft, MessageInfo& saved) = 0;

  // NotFound, Corrupt (it is not what was saved).
  virtual Status findMessage(const Id& message, MessageInfo& found) = 0;

  // `tags` empty: all. A tag of type `unspecified` finds any type; otherwise the type must be equal.
  // Only what is there comes back, in the order of property identifiers; a value of more than `valueLimit` bytes
  // comes as UnloadedValue. NotFound (the message), Corrupt.
  virtual Status readMessageProperties(const Id& message, std::span<const PropertyTag> tags,
                                       std::vector<Property>& properties, std::uint64_t valueLimit) = 0;

  // The same for one attachment. NotFound (message or attachment).
  virtual Status readAttachmentProperties(const Id& message, std::uint32_t number, std::span<const PropertyTag> tags,
                                          std::vector<Property>& properties, std::uint64_t valueLimit) = 0;

  // Opens any binary or text value, however it was set, of the message or (with a number) of an attachment. The reader
  // goes on reading the bytes of the moment it was opened, whatever happens to the message.
  // NotFound, Invalid (other type), Corrupt.
  virtual Status openContent(const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag,
                             std::shared_ptr<ContentReader>& reader) = 0;

  // Unless `in` is empty, a message of another folder is NotFound for those that follow.

  // Counts nothing as changed but the read state and the unread count. NotFound.
  virtual Status setRead(const Id& message, bool isRead, const Id& in) = 0;

  // Sets the bits of `mask` as they are in `status`; `before` is what all were. Counts nothing as changed. NotFound.
  virtual Status setStatus(const Id& message, std::uint32_t status, std::uint32_t mask, std::uint32_t& before,
                           const Id& in) = 0;

  // All or none. A message that is not there is passed over: `deleted` counts the others, unless it is null.
  virtual Status deleteMessages(std::span<const Id> messages, const Id& in, std::size_t* deleted) = 0;

  // Into another folder of any of the engine's stores. NotFound.
  virtual Status moveMessage(const Id& message, const Id& newFolder, const Id& in) = 0;

  // A whole copy with an identifier of its own; the search key and creation time are kept. NotFound, and as
  // saveMessage.
  virtual Status copyMessage(const Id& message, const Id& newFolder, const Id& in) = 0;

  // The identifiers of the folder's messages of one kind, in the order of readMessageRows. NotFound (the folder).
  virtual Status listMessages(const Id& folder, MessageKind kind, std::vector<Id>& messages) = 0;

  // The folder's messages of one kind in the order in which they came into the store, all of one moment. The time
  // is linear in rows and columns; attachments and contents are not touched. NotFound (the folder), Corrupt.
  virtual Status readMessageRows(const Id& folder, MessageKind kind, std::span<const PropertyTag> columns,
                                 const MessageRowSink& sink) = 0;

  // The rows of these messages alone, in the order asked for: what a table shows of a long folder at a time.
  // A message that is not there (any more) or is in another folder gives no row. NotFound (the folder), Corrupt.
  virtual Status readMessageRowsOf(const Id& folder, std::span<const Id> messages, std::span<const PropertyTag> columns,
                                   const MessageRowSink& sink) = 0;

  // In the order of numbers. NotFound (the message).
  virtual Status readAttachmentRows(const Id& message, std::span<const PropertyTag> columns,
                                    std::vector<AttachmentRow>& rows) = 0;
};

}  // namespace fendrel::store
