#include "local_engine.h"

#include "folders.h"
#include "messages.h"
#include "stores.h"
#include "unicode.h"

namespace fendrel::store {

Status LocalEngine::open(const std::shared_ptr<Database>& database, const Id& mailbox,
                         std::shared_ptr<Engine>& engine) {
  StoreInfo publicStore;
  const Status status = findPublicStore(*database, publicStore);
  if (status == Status::Ok) engine = std::make_shared<LocalEngine>(database, mailbox, publicStore.id);
  return status;
}

LocalEngine::LocalEngine(std::shared_ptr<Database> database, const Id& mailbox, const Id& publicStore)
    : OnDatabase(std::move(database)), mailbox_(mailbox), publicStore_(publicStore) {}

std::string LocalEngine::place() const { return toUtf8(database().path()); }

// All stores of a database share the identifiers of property names; its one public store identifies it.
Bytes LocalEngine::mappingSignature() const {
  const auto bytes = publicStore_.bytes();
  return {bytes.begin(), bytes.end()};
}

Status LocalEngine::listStores(std::vector<StoreInfo>& stores) {
  std::vector<StoreInfo> all(2);
  Status status = store::findStore(database(), mailbox_, all[0]);
  if (status == Status::Ok) status = store::findStore(database(), publicStore_, all[1]);
  if (status == Status::Ok) stores = std::move(all);
  return status;
}

Status LocalEngine::findStore(const Id& store, StoreInfo& found) {
  // Another profile's mailbox requires that profile's password.
  return store == mailbox_ || store == publicStore_ ? store::findStore(database(), store, found) : Status::NotFound;
}

Status LocalEngine::readStoreProperties(const Id& store, std::span<const PropertyTag> tags,
                                        std::vector<Property>& properties) {
  return store::readStoreProperties(database(), store, tags, properties);
}

Status LocalEngine::changeStoreProperties(const Id& store, std::span<const Property> set,
                                          std::span<const PropertyTag> remove) {
  return store::changeStoreProperties(database(), store, set, remove);
}

Status LocalEngine::createFolder(const Id& parent, const std::u16string& name, std::span<const Property> properties,
                                 IfExists ifExists, FolderInfo& folder) {
  return store::createFolder(database(), parent, name, properties, ifExists, folder);
}

Status LocalEngine::findFolder(const Id& folder, FolderInfo& found) {
  return store::findFolder(database(), folder, found);
}

Status LocalEngine::checkFolder(const Id& folder) { return store::checkFolder(database(), folder); }

Status LocalEngine::renameFolder(const Id& folder, const std::u16string& newName) {
  return store::renameFolder(database(), folder, newName);
}

Status LocalEngine::moveFolder(const Id& folder, const Id& newParent, const std::u16string& newName) {
  return store::moveFolder(database(), folder, newParent, newName);
}

Status LocalEngine::deleteFolder(const Id& folder, DeleteFolderOptions options) {
  return store::deleteFolder(database(), folder, std::move(options));
}

Status LocalEngine::readFolderProperties(const Id& folder, std::span<const PropertyTag> tags,
                                         std::vector<Property>& properties) {
  return store::readFolderProperties(database(), folder, tags, properties);
}

Status LocalEngine::changeFolderProperties(const Id& folder, std::span<const Property> set,
                                           std::span<const PropertyTag> remove) {
  return store::changeFolderProperties(database(), folder, set, remove);
}

Status LocalEngine::readFolderRows(const Id& folder, Depth depth, std::span<const PropertyTag> columns,
                                   const FolderRowSink& sink) {
  return store::readFolderRows(database(), folder, depth, columns, sink);
}

std::shared_ptr<ContentWriter> LocalEngine::createContent(const Id&) { return store::createContent(database()); }

Status LocalEngine::saveMessage(const MessageDraft& draft, MessageInfo& saved) {
  return store::saveMessage(database(), draft, saved);
}

Status LocalEngine::findMessage(const Id& message, MessageInfo& found) {
  return store::findMessage(database(), message, found);
}

Status LocalEngine::readMessageProperties(const Id& message, std::span<const PropertyTag> tags,
                                          std::vector<Property>& properties, std::uint64_t valueLimit) {
  return store::readMessageProperties(database(), message, tags, properties, valueLimit);
}

Status LocalEngine::readAttachmentProperties(const Id& message, std::uint32_t number, std::span<const PropertyTag> tags,
                                             std::vector<Property>& properties, std::uint64_t valueLimit) {
  return store::readAttachmentProperties(database(), message, number, tags, properties, valueLimit);
}

Status LocalEngine::openContent(const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag,
                                std::shared_ptr<ContentReader>& reader) {
  return store::openContent(database(), message, attachment, tag, reader);
}

Status LocalEngine::setRead(const Id& message, bool isRead, const Id& in) {
  return store::setRead(database(), message, isRead, in);
}

Status LocalEngine::setStatus(const Id& message, std::uint32_t status, std::uint32_t mask, std::uint32_t& before,
                              const Id& in) {
  return store::setStatus(database(), message, status, mask, before, in);
}

Status LocalEngine::deleteMessages(std::span<const Id> messages, const Id& in, std::size_t* deleted) {
  return store::deleteMessages(database(), messages, in, deleted);
}

Status LocalEngine::moveMessage(const Id& message, const Id& newFolder, const Id& in) {
  return store::moveMessage(database(), message, newFolder, in);
}

Status LocalEngine::copyMessage(const Id& message, const Id& newFolder, const Id& in) {
  MessageInfo copy;
  return store::copyMessage(database(), message, newFolder, copy, in);
}

Status LocalEngine::listMessages(const Id& folder, MessageKind kind, std::vector<Id>& messages) {
  std::vector<Id> all;
  const Status status = store::readMessageRows(database(), folder, kind, {}, [&](MessageRow&& row) {
    all.push_back(row.message.id);
    return true;
  });
  if (status == Status::Ok) messages = std::move(all);
  return status;
}

Status LocalEngine::readMessageRows(const Id& folder, MessageKind kind, std::span<const PropertyTag> columns,
                                    const MessageRowSink& sink) {
  return store::readMessageRows(database(), folder, kind, columns, sink);
}

Status LocalEngine::readMessageRowsOf(const Id& folder, std::span<const Id> messages,
                                      std::span<const PropertyTag> columns, const MessageRowSink& sink) {
  return store::readMessageRowsOf(database(), folder, messages, columns, sink);
}

Status LocalEngine::readAttachmentRows(const Id& message, std::span<const PropertyTag> columns,
                                       std::vector<AttachmentRow>& rows) {
  return store::readAttachmentRows(database(), message, columns, rows);
}

}  // namespace fendrel::store
