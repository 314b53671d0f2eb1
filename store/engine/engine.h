// An engine keeps messages: the interface between MAPI and what is below it.
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
  // Engines with equal places have the same stores, with the same identifiers.
  virtual std::string place() const = 0;

  // Equal if the same identifiers mean the same property names.
  virtual Bytes mappingSignature() const = 0;

  // Stores. Another profile's mailbox is not among them.

  // The profile's own store. Empty if that is currently unknown.
  virtual Id defaultStore() = 0;

  // The default store first. Optional folders (the inbox and those after it) may be missing here.
  virtual Status listStores(std::vector<StoreInfo>& stores) = 0;

  // NotFound.
  virtual Status findStore(const Id& store, StoreInfo& found) = 0;

  // Properties that callers set on a store, without the members of StoreInfo. `tags` empty: all. A tag of type
  // `unspecified` finds any type; otherwise the type must be equal. Returns existing properties in the order of their
  // identifiers.
  virtual Status readStoreProperties(const Id& store, std::span<const PropertyTag> tags,
                                     std::vector<Property>& properties) = 0;

  // Sets and removes in one transaction. A property is replaced whatever its type was; removing a missing one succeeds.
  // Invalid (a value that does not match its tag), NotFound (the store).
  virtual Status changeStoreProperties(const Id& store, std::span<const Property> set,
                                       std::span<const PropertyTag> remove) = 0;

  // Folders

  // Creates a folder with these properties, or with IfExists::Open returns the one of that name (unchanged). The name
  // is not a property: pass it as `name`. AlreadyExists, NotFound (the parent), Invalid (empty name, value that does
  // not match its tag).
  virtual Status createFolder(const Id& parent, const std::u16string& name, std::span<const Property> properties,
                              IfExists ifExists, FolderInfo& folder) = 0;

  // NotFound.
  virtual Status findFolder(const Id& folder, FolderInfo& found) = 0;

  // Only checks that it exists: NotFound. Faster than findFolder.
  virtual Status checkFolder(const Id& folder) = 0;

  // AlreadyExists, NotFound, Invalid (empty name), NoAccess (a standard folder).
  virtual Status renameFolder(const Id& folder, const std::u16string& newName) = 0;

  // Moves it to another parent in the same store, with a new name unless `newName` is empty. AlreadyExists, NotFound,
  // NoAccess (a standard folder), Invalid (into itself or below, other store).
  virtual Status moveFolder(const Id& folder, const Id& newParent, const std::u16string& newName) = 0;

  // NotFound, NoAccess (a standard folder), HasFolders, HasMessages.
  virtual Status deleteFolder(const Id& folder, DeleteFolderOptions options) = 0;

  // Properties that callers set on a folder, without the members of FolderInfo. Like those of a store; every value is
  // loaded.
  virtual Status readFolderProperties(const Id& folder, std::span<const PropertyTag> tags,
                                      std::vector<Property>& properties) = 0;
  virtual Status changeFolderProperties(const Id& folder, std::span<const Property> set,
                                        std::span<const PropertyTag> remove) = 0;

  // The subfolders in a stable order (each parent before its children, siblings by creation), as one snapshot.
  // NotFound.
  virtual Status readFolderRows(const Id& folder, Depth depth, std::span<const PropertyTag> columns,
                                const FolderRowSink& sink) = 0;

  // Messages

  // A writer for a later save. With the `folder` of the message, writing may fail early with NotEnoughDisk or TooLarge,
  // if the engine knows that the folder does not take so much.
  virtual std::shared_ptr<ContentWriter> createContent(const Id& folder) = 0;

  // Saves everything or nothing. Ok: everything is on disk and the writers are saved. Otherwise nothing is visible to
  // anyone, the writers keep their content, and the same draft can be saved again. NotFound (folder, message or
  // attachment), AlreadyExists (number of a new attachment), Changed, Invalid, NotEnoughDisk, Busy, NoAccess, Corrupt,
  // Failed.
  virtual Status saveMessage(const MessageDraft& draft, MessageInfo& saved) = 0;

  // NotFound, Corrupt (it differs from what was saved).
  virtual Status findMessage(const Id& message, MessageInfo& found) = 0;

  // `tags` empty: all. A tag of type `unspecified` finds any type; otherwise the type must be equal.
  // Returns existing properties in the order of their identifiers; a value of more than `valueLimit` bytes as
  // UnloadedValue. NotFound (the message), Corrupt.
  virtual Status readMessageProperties(const Id& message, std::span<const PropertyTag> tags,
                                       std::vector<Property>& properties, std::uint64_t valueLimit) = 0;

  // The same for one attachment. NotFound (message or attachment).
  virtual Status readAttachmentProperties(const Id& message, std::uint32_t number, std::span<const PropertyTag> tags,
                                          std::vector<Property>& properties, std::uint64_t valueLimit) = 0;

  // Opens any binary or text value, however it was set, of the message or (with a number) of an attachment. The reader
  // reads the bytes of the moment when it was opened, whatever happens to the message. NotFound, Invalid (other type),
  // Corrupt.
  virtual Status openContent(const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag,
                             std::shared_ptr<ContentReader>& reader) = 0;

  // In the following calls a message outside the folder `in` is NotFound, unless `in` is empty.

  // Changes only the read state and the unread count, not the revision. NotFound.
  virtual Status setRead(const Id& message, bool isRead, const Id& in) = 0;

  // Sets the bits of `mask` to those of `status`; `before` receives the previous status. Does not change the revision.
  // NotFound.
  virtual Status setStatus(const Id& message, std::uint32_t status, std::uint32_t mask, std::uint32_t& before,
                           const Id& in) = 0;

  // All or none. Missing messages are ignored: `deleted` counts the others, unless it is null.
  virtual Status deleteMessages(std::span<const Id> messages, const Id& in, std::size_t* deleted) = 0;

  // To another folder in any of the engine's stores. NotFound.
  virtual Status moveMessage(const Id& message, const Id& newFolder, const Id& in) = 0;

  // A complete copy with a new identifier; keeps search key and creation time. NotFound, and like saveMessage.
  virtual Status copyMessage(const Id& message, const Id& newFolder, const Id& in) = 0;

  // The identifiers of the folder's messages of one kind, in the order of readMessageRows. NotFound (the folder).
  virtual Status listMessages(const Id& folder, MessageKind kind, std::vector<Id>& messages) = 0;

  // The folder's messages of one kind in the order of their arrival in the store, as one snapshot. Time is linear in
  // rows and columns; attachments and contents are not read. NotFound (the folder), Corrupt.
  virtual Status readMessageRows(const Id& folder, MessageKind kind, std::span<const PropertyTag> columns,
                                 const MessageRowSink& sink) = 0;

  // The rows of only these messages, in this order: the part of a long folder that a table shows. A message that is
  // missing or in another folder gives no row. NotFound (the folder), Corrupt.
  virtual Status readMessageRowsOf(const Id& folder, std::span<const Id> messages, std::span<const PropertyTag> columns,
                                   const MessageRowSink& sink) = 0;

  // In the order of numbers. NotFound (the message).
  virtual Status readAttachmentRows(const Id& message, std::span<const PropertyTag> columns,
                                    std::vector<AttachmentRow>& rows) = 0;
};

}  // namespace fendrel::store
