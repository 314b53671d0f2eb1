// Messages.
#include <algorithm>
#include <cstring>
#include <set>

#include "content_blocks.h"
#include "deliver.h"
#include "mail_headers.h"
#include "mail_tags.h"
#include "mail_text.h"
#include "property_list.h"
#include "remote_content.h"
#include "server_engine.h"
#include "spooled_content.h"
#include "stored_content.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

constexpr std::size_t rowsAtOnce = 500, wholeRowsAtOnce = 50, idsAtOnce = 5000;
constexpr std::uint64_t smallestMail = 1000;  // headers and properties of our messages
constexpr std::uint64_t longestRowValue = 64 << 10, longestWholeValue = 1 << 20;

[[noreturn]] void failNoMessage() { fail(Status::NotFound, "The message does not exist, or exists no longer."); }

std::chrono::sys_seconds currentSecond() {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

jmap::EmailSelection selectionFor(bool isWhole, bool isForRows) {
  jmap::EmailSelection selection;
  selection.properties = viewProperties(isWhole);
  if (!isWhole) return selection;
  selection.bodyProperties = mime::wholeBodyProperties();
  selection.fetchAllValues = true;
  selection.longestValue = isForRows ? longestRowValue : longestWholeValue;
  return selection;
}

// Throws the first failure, if any.
void throwFirst(const jmap::MailAccount::Failures& failures) {
  if (!failures.empty()) throw failures.begin()->second;
}

const ViewedAttachment& attachmentOf(const MailView& view, std::uint32_t number) {
  if (number >= view.attachments.size()) {
    fail(Status::NotFound, "The message has no attachment number " + std::to_string(number) + ".");
  }
  return view.attachments[number];
}

bool isIn(const MailView& view, const Id& folder) { return folder.empty() || view.info.folder == folder; }

std::vector<std::string> objectsOf(std::span<const Id> ids) {
  std::vector<std::string> objects;
  for (const Id& id : ids) objects.push_back(mailId(id).object);
  return objects;
}

std::uint64_t sizeOf(std::span<const Property> properties) {
  std::uint64_t size = 0;
  for (const Property& property : properties) size += valueSize(property.value);
  return size;
}

// Discards the spool files of the saved contents.
void release(const std::vector<ContentChange>& contents) noexcept {
  for (const ContentChange& change : contents) {
    if (auto* own = dynamic_cast<SpooledContent*>(change.content.get())) own->spool().discard();
  }
}

// All identifiers that a query finds, in its order.
std::vector<std::string> allOf(jmap::MailAccount& from, const jmap::EmailQuery& query) {
  std::vector<std::string> order;
  std::set<std::string> seen;
  for (std::uint64_t position = 0;;) {
    const jmap::EmailPage page = from.query(query, position, idsAtOnce);
    for (const std::string& one : page.ids) {
      if (seen.insert(one).second) order.push_back(one);
    }
    position += page.ids.size();
    if (page.ids.empty() || position >= page.total) return order;
  }
}

bool changesNothingButReadState(const MessageDraft& draft) {
  return draft.isRead && draft.set.empty() && draft.remove.empty() && draft.contents.empty() &&
         draft.attachments.empty();
}

}  // namespace

std::shared_ptr<ContentWriter> ServerEngine::createContent(const Id& folder) {
  SpooledContent::SizeCheck checkSize;
  if (!folder.empty()) {
    checkSize = [this, account = mailId(folder).account](std::uint64_t size) { checkRoom(account, size); };
  }
  return std::make_shared<SpooledContent>(
      spools_, [this](EngineError&& error) { note(std::move(error)); }, std::move(checkSize));
}

// A caller may check each write but not the save, so report here what is known to fail.
void ServerEngine::checkRoom(const std::string& accountId, std::uint64_t contentSize) {
  const std::uint64_t least = mime::base64LinesLength(contentSize) + smallestMail;
  const Status status = asking([&] {
    const std::uint64_t most = server_.session().limits.maxSizeUpload;
    if (most > 0 && least > most) {
      fail(Status::TooLarge, "A message has more than " + std::to_string(least) + " bytes with this content, and " +
                                 server_.name() + " takes " + std::to_string(most) + " at most. Nothing was sent.");
    }
    if (roomIn(accountId, false) >= least || roomIn(accountId, true) >= least) return;
    fail(Status::NotEnoughDisk, "The account is full at " + server_.name() +
                                    ": a message with this content has more than " + std::to_string(least) +
                                    " bytes. Delete something, or ask its administrator for room.");
  });
  if (status != Status::Ok) throw lastFailure();
}

std::uint64_t ServerEngine::roomIn(const std::string& accountId, bool isAnew) {
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = rooms_.find(accountId); known != rooms_.end() && !isAnew) return known->second;
  }
  std::uint64_t room = ~std::uint64_t{0};
  try {
    for (const jmap::Quota& quota : account(accountId).quotas()) {
      room = std::min(room, quota.limit - std::min(quota.limit, quota.used));
    }
  } catch (const jmap::ServerFailure& failure) {
    using jmap::FailureKind;
    // Some servers do not report the quotas of other users' accounts.
    const bool isNotTold = failure.kind == FailureKind::failed || failure.kind == FailureKind::noAccess ||
                           failure.kind == FailureKind::notFound;
    if (!isNotTold) throw;
  }
  const std::lock_guard lock(mutex_);
  return rooms_[accountId] = room;
}

ServerEngine::Views ServerEngine::views(const std::string& accountId, const std::vector<std::string>& ids, bool isWhole,
                                        const std::string& folder) {
  const auto mailboxes = knownMailboxes(accountId);
  const auto toIdentifier = [this](const PropertyName& name) { return identifierOf(name); };
  const auto selection = selectionFor(isWhole, ids.size() > 1);
  Views found;
  const std::size_t batch = isWhole ? wholeRowsAtOnce : rowsAtOnce;
  const jmap::EmailList list = account(accountId).emails(ids, selection, batch);
  for (const jmap::Json& email : list.emails) {
    found.all.push_back(viewOf(email, isWhole, accountId, folder, mailboxes->personal, toIdentifier));
  }
  found.state = list.state;
  return found;
}

MailView ServerEngine::currentView(const Id& message) {
  const MailId id = mailId(message);
  accountOf(id.account);
  std::vector<MailView> found = views(id.account, {id.object}, true, {}).all;
  if (found.empty()) failNoMessage();
  if (const auto known = knownMailboxes(id.account);
      !found.front().mailboxes.empty() && !known->find(found.front().mailboxes.front())) {
    readMailboxes(id.account);  // its folder is new, and the message's kind depends on the folder
    found = views(id.account, {id.object}, true, {}).all;
    if (found.empty()) failNoMessage();
  }
  const std::lock_guard lock(mutex_);
  lastWhole_ = found.front();
  return std::move(found.front());
}

MailView ServerEngine::view(const Id& message) {
  {
    const std::lock_guard lock(mutex_);
    if (lastWhole_ && lastWhole_->info.id == message) return *lastWhole_;
  }
  return currentView(message);
}

Status ServerEngine::findMessage(const Id& message, MessageInfo& found) {
  return asking([&] { found = currentView(message).info; });
}

Status ServerEngine::readMessageProperties(const Id& message, std::span<const PropertyTag> tags,
                                           std::vector<Property>& properties, std::uint64_t valueLimit) {
  return asking([&] {
    MailView whole = view(message);
    properties = chosenProperties(whole.properties, tags, valueLimit);
    for (Property& property : properties) {
      // The rest is on the server.
      const bool isText = property.tag == tags::body || property.tag == tags::html;
      if (whole.isTextCut && isText && !std::holds_alternative<UnloadedValue>(property.value))
        property.value = UnloadedValue{valueSize(property.value)};
    }
  });
}

Status ServerEngine::readAttachmentProperties(const Id& message, std::uint32_t number,
                                              std::span<const PropertyTag> tags, std::vector<Property>& properties,
                                              std::uint64_t valueLimit) {
  return asking([&] {
    const MailView whole = view(message);
    properties = chosenProperties(attachmentOf(whole, number).properties, tags, valueLimit);
  });
}

Status ServerEngine::readAttachmentRows(const Id& message, std::span<const PropertyTag> columns,
                                        std::vector<AttachmentRow>& rows) {
  return asking([&] {
    const MailView whole = view(message);
    std::vector<AttachmentRow> found;
    for (std::size_t i = 0; i < whole.attachments.size(); ++i) {
      const auto& properties = whole.attachments[i].properties;
      found.push_back({static_cast<std::uint32_t>(i), sizeOf(properties), columnValues(properties, columns)});
    }
    rows = std::move(found);
  });
}

std::shared_ptr<ContentReader> ServerEngine::contentOf(std::span<const std::byte> bytes) {
  return std::make_shared<StoredContent>(std::make_unique<ContentSource>(Bytes(bytes.begin(), bytes.end())));
}

std::shared_ptr<ContentReader> ServerEngine::downloaded(const std::string& accountId, const std::string& blob) {
  auto content = std::make_shared<SpooledContent>(spools_, [this](EngineError&& error) { note(std::move(error)); });
  std::uint64_t position = 0;
  server_.download(accountId, blob, [&](std::span<const std::byte> bytes) {
    content->spool().write(position, bytes);
    position += bytes.size();
  });
  return content;
}

Status ServerEngine::openContent(const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag,
                                 std::shared_ptr<ContentReader>& reader) {
  reader.reset();
  return asking([&] {
    MailView whole = view(message);
    const std::string accountId = mailId(message).account;
    if (!attachment && (answersTo(tags::body, tag) || answersTo(tags::html, tag)))
      whole = withAllText(std::move(whole));
    const auto& properties = attachment ? attachmentOf(whole, *attachment).properties : whole.properties;
    const auto found = std::ranges::find_if(properties, [&](const Property& one) { return answersTo(one.tag, tag); });
    if (found == properties.end()) fail(Status::NotFound, "There is no such property.");
    if (const auto* text = std::get_if<std::u16string>(&found->value)) {
      reader = contentOf(std::as_bytes(std::span(*text)));
    } else if (const auto* bytes = std::get_if<Bytes>(&found->value)) {
      reader = contentOf(*bytes);
    } else if (attachment && found->tag == tags::attachData) {
      const mime::MailPart& part = attachmentOf(whole, *attachment).part;
      const auto download = [self = shared_from_this(), accountId, blob = part.blob](auto& content) {
        return self->asking([&] { content = self->downloaded(accountId, blob); });
      };
      reader = std::make_shared<RemoteContent>(part.size, download);
    } else {
      fail(Status::Invalid, "Only binary and text properties can be opened.");
    }
  });
}

MailView ServerEngine::withAllText(MailView view) {
  if (!view.isTextCut) return view;
  const MailId id = mailId(view.info.id);
  auto selection = selectionFor(true, false);
  selection.longestValue = 0;
  const std::vector<std::string> ids = {id.object};
  const auto emails = account(id.account).emails(ids, selection).emails;
  if (emails.empty()) failNoMessage();
  MailView all =
      viewOf(emails.front(), true, id.account, {}, {}, [this](const PropertyName& name) { return identifierOf(name); });
  view.properties = std::move(all.properties);
  view.isTextCut = false;
  return view;
}

OutgoingMail ServerEngine::outgoingOf(const MailView& view, const std::string& accountId) {
  const MailView whole = withAllText(view);
  OutgoingMail mail;
  mail.properties = whole.properties;
  removeFrom(mail.properties, propertyId(tags::internetMessageId));  // the new message gets its own
  mail.searchKey = whole.info.searchKey;
  mail.isAssociated = whole.info.kind == MessageKind::Associated;
  for (std::size_t i = 0; i < whole.attachments.size(); ++i) {
    const ViewedAttachment& from = whole.attachments[i];
    mime::NewAttachment& to = mail.attachments[static_cast<std::uint32_t>(i)];
    to.properties = from.properties;
    removeFrom(to.properties, propertyId(tags::attachData));
    to.size = from.part.size;
    to.content = [this, accountId, blob = from.part.blob](const mime::ByteSink& sink) {
      server_.download(accountId, blob, sink);
    };
  }
  return mail;
}

bool ServerEngine::isInDoubt(const Guid& key) {
  const std::lock_guard lock(mutex_);
  return inDoubt_ == key;
}

void ServerEngine::noteDoubt(const Guid& key, jmap::FailureKind kind) {
  using jmap::FailureKind;
  if (kind != FailureKind::lost && kind != FailureKind::timedOut && kind != FailureKind::cancelled) return;
  const std::lock_guard lock(mutex_);
  inDoubt_ = key;
}

MailView ServerEngine::deliver(OutgoingMail mail, const MailId& folder, bool isRead, bool isNew) {
  accountOf(folder.account);
  const bool isPersonal = folder.object == personalFolder;
  if (mail.isAssociated && !isPersonal) {
    fail(Status::NotSupported, "On " + server_.name() + " hidden messages are kept in Common Views alone.");
  }
  const std::string mailbox =
      isPersonal ? makePersonalMailbox(folder.account) : mailboxOf(folder, *knownMailboxes(folder.account));
  const auto now = currentSecond();
  const bool isDated = valueIn<FileTime>(mail.properties, tags::submitTime) != nullptr;

  std::map<std::uint16_t, PropertyName> names;
  const std::vector<std::uint16_t> ids = namedIdentifiers(mail);
  std::vector<std::optional<PropertyName>> found;
  if (!ids.empty() && namesOf(ids, found) == Status::Ok) {
    for (std::size_t i = 0; i < ids.size(); ++i) {
      if (found[i]) names.emplace(ids[i], *found[i]);
    }
  }
  const Guid key = isNew ? mail.searchKey : newGuid();
  jmap::NewMessage message;
  mime::MailMessage written = mailOf(mail, names, mime::messageIdOf(key.bytes));
  message.messageId = written.messageId;
  if (!isDated) written.date = now;
  const mime::MessageWriter writer(written);
  message.content = {"message/rfc822", writer.length(), [&](const jmap::ByteSink& to) { writer.write(to); }};
  message.mailbox = mailbox;
  if (isRead) message.keywords.push_back("$seen");
  message.receivedAt = now;
  jmap::MailAccount target = account(folder.account);
  message.mayBeThere = isInDoubt(key);
  std::string id;
  try {
    id = jmap::deliver(target, message);
  } catch (const jmap::ServerFailure& failure) {
    noteDoubt(key, failure.kind);
    throw;
  }
  changed();
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = rooms_.find(folder.account); known != rooms_.end()) {
      known->second -= std::min(known->second, message.content.length);
    }
  }

  MailView saved;
  saved.info.id = idOf(folder.account, id);
  saved.info.folder = idOf(folder.account, folder.object);
  saved.info.kind = mail.isAssociated ? MessageKind::Associated : MessageKind::Ordinary;
  saved.info.isRead = isRead;
  saved.info.hasAttachments = !mail.attachments.empty();
  saved.info.size = message.content.length;
  saved.info.created = saved.info.modified = mime::fileTimeOf(now);
  saved.info.searchKey = mail.searchKey;
  saved.info.revision = 1;
  return saved;
}

Status ServerEngine::saveMessage(const MessageDraft& draft, MessageInfo& saved) {
  return asking([&] {
    MailView made;
    if (draft.message.empty()) {
      OutgoingMail mail;
      mail.searchKey = draft.searchKey.value_or(newGuid());
      mail.isAssociated = draft.kind == MessageKind::Associated;
      applyDraft(draft, mail);
      made = deliver(std::move(mail), mailId(draft.folder), draft.isRead.value_or(false), true);
    } else if (changesNothingButReadState(draft)) {
      const std::vector<std::string> ids = {mailId(draft.message).object};
      throwFirst(account(mailId(draft.message).account).setKeywords(ids, {{"$seen", *draft.isRead}}));
      changed();
      made = currentView(draft.message);
    } else {
      const MailView before = currentView(draft.message);
      const bool isRead = draft.isRead.value_or(before.info.isRead);
      const MailId old = mailId(draft.message);
      OutgoingMail mail = outgoingOf(before, old.account);
      applyDraft(draft, mail);
      made = deliver(std::move(mail), mailId(before.info.folder), isRead, false);
      // The new one is stored. If the old one cannot be deleted, the save fails and both remain.
      const std::vector<std::string> ids = {old.object};
      throwFirst(account(old.account).destroy(ids));
    }
    release(draft.contents);
    for (const AttachmentChange& attachment : draft.attachments) release(attachment.contents);
    saved = std::move(made.info);
  });
}

Status ServerEngine::setRead(const Id& message, bool isRead, const Id& in) {
  return asking([&] {
    const MailId id = mailId(message);
    if (!in.empty() && !isIn(currentView(message), in)) failNoMessage();
    const std::vector<std::string> ids = {id.object};
    throwFirst(account(id.account).setKeywords(ids, {{"$seen", isRead}}));
    changed();
  });
}

Status ServerEngine::setStatus(const Id&, std::uint32_t, std::uint32_t, std::uint32_t&, const Id&) {
  return asking([&] { fail(Status::NotSupported, server_.name() + " keeps no status of messages for programs."); });
}

Status ServerEngine::deleteMessages(std::span<const Id> messages, const Id& in, std::size_t* deleted) {
  return asking([&] {
    if (deleted) *deleted = 0;
    if (messages.empty()) return;
    const MailId folder = mailId(in.empty() ? messages.front() : in);
    const auto mailboxes = knownMailboxes(folder.account);
    const std::string mailbox = in.empty() ? std::string() : mailboxOf(folder, *mailboxes);
    jmap::MailAccount from = account(folder.account);
    jmap::EmailSelection selection;
    selection.properties = {"id", "mailboxIds"};
    std::vector<std::string> gone;
    std::size_t count = 0;
    for (const jmap::Json& email : from.emails(objectsOf(messages), selection, rowsAtOnce).emails) {
      const mime::ReadMail mail = mime::readMail(email);
      const auto place = std::ranges::find(mail.mailboxes, mailbox);
      if (!mailbox.empty() && place == mail.mailboxes.end()) continue;
      ++count;
      if (mailbox.empty() || mail.mailboxes.size() == 1) {
        gone.push_back(mail.id);
        continue;
      }
      // It is in other folders, too.
      std::vector<std::string> others = mail.mailboxes;
      std::erase(others, mailbox);
      const std::vector<std::string> ids = {mail.id};
      throwFirst(from.setMailboxes(ids, others));
    }
    const auto failures = from.destroy(gone);
    changed();
    if (deleted) *deleted = count - failures.size();
    throwFirst(failures);
  });
}

Status ServerEngine::moveMessage(const Id& message, const Id& newFolder, const Id& in) {
  return asking([&] {
    const MailId id = mailId(message), to = mailId(newFolder);
    const MailView before = currentView(message);
    if (!isIn(before, in)) failNoMessage();
    const std::vector<std::string> ids = {id.object};
    if (to.account != id.account || to.object == personalFolder || before.info.kind == MessageKind::Associated) {
      deliver(outgoingOf(before, id.account), to, before.info.isRead, false);
      throwFirst(account(id.account).destroy(ids));
      changed();
      return;
    }
    const auto mailboxes = knownMailboxes(id.account);
    const std::string target = mailboxOf(to, *mailboxes);
    std::set<std::string> places(before.mailboxes.begin(), before.mailboxes.end());
    places.erase(mailId(before.info.folder).object);
    places.insert(target);
    const std::vector<std::string> now(places.begin(), places.end());
    throwFirst(account(id.account).setMailboxes(ids, now));
    changed();
  });
}

Status ServerEngine::copyMessage(const Id& message, const Id& newFolder, const Id& in) {
  return asking([&] {
    const MailView original = currentView(message);
    if (!isIn(original, in)) failNoMessage();
    deliver(outgoingOf(original, mailId(message).account), mailId(newFolder), original.info.isRead, false);
  });
}

Status ServerEngine::listMessages(const Id& folder, MessageKind kind, std::vector<Id>& messages) {
  return asking([&] {
    const MailId id = mailId(folder);
    messages.clear();
    const bool isPersonal = id.object == personalFolder;
    if (kind == MessageKind::Associated && !isPersonal) return;
    const auto mailboxes = knownMailboxes(id.account);
    jmap::EmailQuery query;
    query.mailbox = mailboxOf(id, *mailboxes);
    if (query.mailbox.empty()) return;
    jmap::MailAccount from = account(id.account);
    std::vector<std::string> order = allOf(from, query);
    if (isPersonal) {  // the only folder with both kinds
      query.headerName = mime::MailHeader::associated;
      query.headerValue = "yes";
      std::vector<std::string> hidden = allOf(from, query);
      if (kind == MessageKind::Associated) {
        order = std::move(hidden);
      } else {
        const std::set<std::string> leftOut(hidden.begin(), hidden.end());
        std::erase_if(order, [&](const std::string& one) { return leftOut.contains(one); });
      }
    }
    for (const std::string& one : order) messages.push_back(idOf(id.account, one));
    followChanges(folder);
    rows_.begin(folder, std::move(order));
  });
}

void ServerEngine::followChanges(const Id& folder) {
  const std::string from = rows_.stateOf(folder);
  if (from.empty()) return;
  jmap::MailAccount in = account(mailId(folder).account);
  std::vector<std::string> changed;
  try {
    std::string state = from;
    for (bool hasMore = true; hasMore;) {
      const jmap::Changes changes = in.emailChanges(state);
      changed.insert(changed.end(), changes.updated.begin(), changes.updated.end());
      changed.insert(changed.end(), changes.destroyed.begin(), changes.destroyed.end());
      hasMore = changes.hasMore && changes.state != state;
      state = changes.state;
    }
    rows_.follow(from, state, changed);
  } catch (const jmap::ServerFailure& failure) {
    if (failure.kind != jmap::FailureKind::stateTooOld) throw;
    rows_.clear();
  }
}

Status ServerEngine::readMessageRows(const Id& folder, MessageKind kind, std::span<const PropertyTag> columns,
                                     const MessageRowSink& sink) {
  std::vector<Id> messages;
  if (const Status status = listMessages(folder, kind, messages); status != Status::Ok) return status;
  const std::size_t step = std::ranges::all_of(columns, isRowProperty) ? rowsAtOnce : wholeRowsAtOnce;
  bool more = true;
  for (std::size_t i = 0; more && i < messages.size(); i += step) {
    const auto some = std::span(messages).subspan(i, std::min(step, messages.size() - i));
    const Status status = readMessageRowsOf(folder, some, columns, [&](MessageRow&& row) {
      more = sink(std::move(row));
      return more;
    });
    if (status != Status::Ok) return status;
  }
  return Status::Ok;
}

Status ServerEngine::readMessageRowsOf(const Id& folder, std::span<const Id> messages,
                                       std::span<const PropertyTag> columns, const MessageRowSink& sink) {
  return asking([&] {
    const MailId place = mailId(folder);
    const std::string mailbox = mailboxOf(place, *knownMailboxes(place.account));
    const bool isWhole = !std::ranges::all_of(columns, isRowProperty);
    const std::size_t most = isWhole ? wholeRowsAtOnce : rowsAtOnce;
    if (rows_.isInDoubt()) followChanges(folder);
    for (std::size_t i = 0; i < messages.size(); ++i) {
      const std::string object = mailId(messages[i]).object;
      auto row = rows_.find(folder, object, isWhole);
      if (!row) {
        const auto wanted = objectsOf(messages.subspan(i, std::min(most, messages.size() - i)));
        const std::string since = rows_.stateOf(folder);
        Views fresh = views(place.account, rows_.ahead(folder, wanted, most, isWhole), isWhole, mailbox);
        std::map<std::string, MailView> read;
        for (MailView& one : fresh.all) read.emplace(mailId(one.info.id).object, std::move(one));
        const auto found = read.find(object);
        if (found != read.end()) row = found->second;
        rows_.put(folder, std::move(read), fresh.state, since);
      }
      if (!row || !isIn(*row, folder)) continue;
      if (!sink({row->info, columnValues(row->properties, columns)})) return;
    }
  });
}

}  // namespace fendrel::store
