// The engine that keeps messages in the database.
#pragma once

#include "engine.h"
#include "on_database.h"

namespace fendrel::store {

// It has two stores: one mailbox, and the public store.
class LocalEngine final : public OnDatabase<Engine> {
 public:
  // Fails like reading the public store.
  static Status open(const std::shared_ptr<Database>& database, const Id& mailbox, std::shared_ptr<Engine>& engine);

  LocalEngine(std::shared_ptr<Database> database, const Id& mailbox, const Id& publicStore);

  std::string place() const override;
  Bytes mappingSignature() const override;

  Id defaultStore() override { return mailbox_; }
  Status listStores(std::vector<StoreInfo>& stores) override;
  Status findStore(const Id& store, StoreInfo& found) override;
  Status readStoreProperties(const Id& store, std::span<const PropertyTag> tags,
                             std::vector<Property>& properties) override;
  Status changeStoreProperties(const Id& store, std::span<const Property> set,
                               std::span<const PropertyTag> remove) override;

  Status createFolder(const Id& parent, const std::u16string& name, std::span<const Property> properties,
                      IfExists ifExists, FolderInfo& folder) override;
  Status findFolder(const Id& folder, FolderInfo& found) override;
  Status checkFolder(const Id& folder) override;
  Status renameFolder(const Id& folder, const std::u16string& newName) override;
  Status moveFolder(const Id& folder, const Id& newParent, const std::u16string& newName) override;
  Status deleteFolder(const Id& folder, DeleteFolderOptions options) override;
  Status readFolderProperties(const Id& folder, std::span<const PropertyTag> tags,
                              std::vector<Property>& properties) override;
  Status changeFolderProperties(const Id& folder, std::span<const Property> set,
                                std::span<const PropertyTag> remove) override;
  Status readFolderRows(const Id& folder, Depth depth, std::span<const PropertyTag> columns,
                        const FolderRowSink& sink) override;

  std::shared_ptr<ContentWriter> createContent(const Id& folder) override;
  Status saveMessage(const MessageDraft& draft, MessageInfo& saved) override;
  Status findMessage(const Id& message, MessageInfo& found) override;
  Status readMessageProperties(const Id& message, std::span<const PropertyTag> tags, std::vector<Property>& properties,
                               std::uint64_t valueLimit) override;
  Status readAttachmentProperties(const Id& message, std::uint32_t number, std::span<const PropertyTag> tags,
                                  std::vector<Property>& properties, std::uint64_t valueLimit) override;
  Status openContent(const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag,
                     std::shared_ptr<ContentReader>& reader) override;
  Status setRead(const Id& message, bool isRead, const Id& in) override;
  Status setStatus(const Id& message, std::uint32_t status, std::uint32_t mask, std::uint32_t& before,
                   const Id& in) override;
  Status deleteMessages(std::span<const Id> messages, const Id& in, std::size_t* deleted) override;
  Status moveMessage(const Id& message, const Id& newFolder, const Id& in) override;
  Status copyMessage(const Id& message, const Id& newFolder, const Id& in) override;
  Status listMessages(const Id& folder, MessageKind kind, std::vector<Id>& messages) override;
  Status readMessageRows(const Id& folder, MessageKind kind, std::span<const PropertyTag> columns,
                         const MessageRowSink& sink) override;
  Status readMessageRowsOf(const Id& folder, std::span<const Id> messages, std::span<const PropertyTag> columns,
                           const MessageRowSink& sink) override;
  Status readAttachmentRows(const Id& message, std::span<const PropertyTag> columns,
                            std::vector<AttachmentRow>& rows) override;

 private:
  Id mailbox_, publicStore_;
};

}  // namespace fendrel::store
