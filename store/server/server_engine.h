// The engine of the messages on a mail server that speaks JMAP (RFC 8620, 8621): an account is a store, a mailbox a
// folder. Nothing of it is kept here but what tables have read ahead, which is followed by its state.
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

// What differs from what Engine promises: several messages are deleted one by one; a message that is changed becomes a
// new one in place of the old, with another identifier; an attachment that is opened and not yet read goes with its
// message; programs' own bits (setStatus), and properties of folders and stores, are NotSupported, and folders have no
// times.
class ServerEngine final : public OnDatabase<Engine>, public std::enable_shared_from_this<ServerEngine> {
 public:
  // LogonFailed where the server refuses name or secret, Cancelled, Invalid (no such address). A server that cannot be
  // asked is no failure here: what asks it next tells why.
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
    std::string personal;  // that of associated messages; empty: not made yet
    const jmap::Mailbox* find(std::string_view id) const;
  };
  using MailboxesPointer = std::shared_ptr<const Mailboxes>;

  // Runs what asks the server; what it throws becomes a Status and the last failure. Ctrl+C ends it.
  template <class Work>
  Status asking(Work&& work);
  void note(EngineError failure);

  jmap::MailAccount account(const std::string& id) { return {server_, id}; }
  const jmap::MailSession::Account& accountOf(const std::string& id);  // throws NotFound
  bool isPublic(const jmap::MailSession::Account& account) const;
  StoreInfo storeOf(const jmap::MailSession::Account& account);

  // As the server has them now; as they were when they were last read.
  MailboxesPointer readMailboxes(const std::string& account);
  MailboxesPointer knownMailboxes(const std::string& account);

  // The whole tree in its order, each parent before its children; root first.
  std::vector<FolderInfo> treeOf(const std::string& account, const Mailboxes& mailboxes);
  FolderInfo folderOf(const MailId& folder);  // throws NotFound
  // The mailbox behind a folder. Throws NotFound, and NotSupported for those that hold no messages; empty: a mailbox
  // that is not made yet.
  std::string mailboxOf(const MailId& folder, const Mailboxes& mailboxes);
  std::string makePersonalMailbox(const std::string& account);
  // The mailbox behind a folder that is to be changed. Throws NoAccess for those that every store has.
  jmap::Mailbox changeableMailbox(const MailId& folder);

  MailView view(const Id& message);         // whole; throws NotFound
  MailView currentView(const Id& message);  // asked for anew
  struct Views {
    std::vector<MailView> all;  // in the order of the ids; without those that are gone
    std::string state;          // that they were read at
  };
  Views views(const std::string& account, const std::vector<std::string>& ids, bool isWhole, const std::string& folder);
  // Takes the rows of the folder that have changed on the server out of those that were read ahead.
  void followChanges(const Id& folder);
  // The same with the texts that are cut in it.
  MailView withAllText(MailView view);
  OutgoingMail outgoingOf(const MailView& view, const std::string& account);
  // Returns the view of what is there then. `isNew`: its Message-ID is its search key's, so that a repeated delivery is
  // known for one; else it is a copy, with one of its own.
  MailView deliver(OutgoingMail mail, const MailId& folder, bool isRead, bool isNew);
  // Throws EngineError where a message with an attachment of that size would not be taken.
  void checkRoom(const std::string& account, std::uint64_t contentSize);
  // Asks, once for each account unless `isAnew`. As far as is known; without a limit: the most there is.
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
  mutable std::mutex mutex_;  // of what follows
  EngineError lastFailure_{Status::Ok, {}};
  std::map<std::string, MailboxesPointer> mailboxes_;
  std::map<std::string, std::uint64_t> rooms_;  // bytes that accounts have left, less what was delivered since
  std::optional<Guid> inDoubt_;                 // the last delivery that nobody knows the end of
  std::optional<MailView> lastWhole_;           // a message never changes, but for its mailboxes and keywords
  RowWindow rows_;                              // has a lock of its own
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
