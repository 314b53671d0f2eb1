// The engine for messages on a JMAP mail server (RFC 8620, 8621): an account is a store, a mailbox a folder. The engine
// caches mailboxes, quotas, the last whole message and the rows that tables have read ahead.
#pragma once

#include <memory>
#include <mutex>

#include "console_interrupts.h"
#include "content_folder.h"
#include "engine.h"
#include "mail_account.h"
#include "mail_view.h"
#include "on_database.h"
#include "outgoing_mail.h"
#include "profile_book.h"
#include "row_window.h"
#include "server_status.h"

namespace fendrel::store {

// Differences from what Engine promises: deleting several messages is not atomic; a changed message is replaced by a
// new one with another identifier; an opened attachment that has not been read is lost if its message is deleted;
// setStatus and changes of folder and store properties are NotSupported; folders have no times.
class ServerEngine final : public OnDatabase<Engine>, public std::enable_shared_from_this<ServerEngine> {
 public:
  // LogonFailed if the server refuses name or secret, Cancelled, Invalid (bad address, unusable file of issuers). An
  // unreachable server is not a failure here: the next call to it fails and says why.
  static Status open(const std::shared_ptr<Database>& database, const Profile& profile, const std::u16string& secret,
                     std::shared_ptr<Engine>& engine);

  ServerEngine(std::shared_ptr<Database> database, const Profile& profile, jmap::Settings settings);

  EngineError lastFailure() const override;
  std::string place() const override;
  Bytes mappingSignature() const override;

  Id defaultStore() override;
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
  // The mailboxes of an account at one moment.
  struct Mailboxes {
    std::vector<jmap::Mailbox> all;
    std::string personal;  // the mailbox of associated messages; empty: does not exist yet
    const jmap::Mailbox* find(std::string_view id) const;
  };
  using MailboxesPointer = std::shared_ptr<const Mailboxes>;

  // Runs work that calls the server. Its exceptions become a Status and the last failure. Ctrl+C cancels it.
  template <class Work>
  Status asking(Work&& work);
  void note(EngineError failure);

  jmap::MailAccount account(const std::string& id) { return {server_, id}; }
  const jmap::MailSession::Account& accountOf(const std::string& id);  // throws NotFound
  bool isPublic(const jmap::MailSession::Account& account) const;
  StoreInfo storeOf(const jmap::MailSession::Account& account);

  // Reads them from the server; returns them as last read.
  MailboxesPointer readMailboxes(const std::string& account);
  MailboxesPointer knownMailboxes(const std::string& account);

  // The whole tree, root first, each parent before its children.
  std::vector<FolderInfo> treeOf(const std::string& account, const Mailboxes& mailboxes);
  FolderInfo folderOf(const MailId& folder);  // throws NotFound
  // The folder's mailbox; empty if it does not exist yet. Throws NotSupported for folders that hold no messages.
  std::string mailboxOf(const MailId& folder, const Mailboxes& mailboxes);
  std::string makePersonalMailbox(const std::string& account);
  // The mailbox of a folder that is to be changed. Throws NotFound, and NoAccess for standard folders.
  jmap::Mailbox changeableMailbox(const MailId& folder);

  MailView view(const Id& message);         // whole; throws NotFound
  MailView currentView(const Id& message);  // read again
  struct Views {
    std::vector<MailView> all;  // in the order of the ids; deleted ones are left out
    std::string state;          // when they were read
  };
  Views views(const std::string& account, const std::vector<std::string>& ids, bool isWhole, const std::string& folder);
  // Removes the folder's rows that have changed on the server from those read ahead.
  void followChanges(const Id& folder);
  // The same view with its texts read whole.
  MailView withAllText(MailView view);
  OutgoingMail outgoingOf(const MailView& view, const std::string& account);
  // Returns the view of the delivered message. `isNew`: its Message-ID is made from its search key, so that a repeated
  // delivery is recognised; else it is a copy and gets its own.
  MailView deliver(OutgoingMail mail, const MailId& folder, bool isRead, bool isNew);
  // Throws EngineError if the server would not accept a message with an attachment of that size.
  void checkRoom(const std::string& account, std::uint64_t contentSize);
  // The bytes left in an account; the largest number if no limit is known. Asks the server once, again if `isAnew`.
  std::uint64_t roomIn(const std::string& account, bool isAnew);
  bool isInDoubt(const Guid& key);
  void noteDoubt(const Guid& key, jmap::FailureKind kind);
  std::uint16_t identifierOf(const PropertyName& name);
  static std::shared_ptr<ContentReader> contentOf(std::span<const std::byte> bytes);
  std::shared_ptr<ContentReader> downloaded(const std::string& account, const std::string& blob);
  void changed();

  ConsoleInterrupts interrupts_;
  std::u16string userName_;
  ServerAccess access_;
  jmap::MailServer server_;
  ContentFolder spools_;
  mutable std::mutex mutex_;  // of the members below
  EngineError lastFailure_{Status::Ok, {}};
  std::map<std::string, MailboxesPointer> mailboxes_;
  std::map<std::string, std::uint64_t> rooms_;  // bytes left in accounts, less what was delivered since
  std::optional<Guid> inDoubt_;                 // key of the last delivery with an unknown outcome
  std::optional<MailView> lastWhole_;           // a message's mailboxes and keywords alone can change
  RowWindow rows_;                              // has its own lock
};

template <class Work>
Status ServerEngine::asking(Work&& work) {
  const InterruptibleCall call;
  try {
    work();
    return Status::Ok;
  } catch (EngineError& error) {
    const Status status = error.status;
    note(std::move(error));
    return status;
  } catch (const jmap::ServerFailure& failure) {
    note({statusOf(failure.kind), failure.text});
    return statusOf(failure.kind);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    note({Status::Failed, server_.name() + " answers what is not to be understood: " + error.what()});
    return Status::Failed;
  }
}

}  // namespace fendrel::store
