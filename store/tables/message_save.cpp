// saveMessage first checks the draft and flushes its contents without locking the database; then one short transaction
// inserts the rows, which name the content files, and commits.
#include <algorithm>

#include "folder_table.h"
#include "message_table.h"
#include "property_table.h"
#include "spooled_content.h"

namespace fendrel::store {

namespace {

ContentSpool& spoolOf(ContentWriter& content) {
  auto* own = dynamic_cast<SpooledContent*>(&content);
  if (!own) fail(Status::Invalid, "A content to save belongs to another engine.");
  return own->spool();
}

// The contents of one save. Until the commit their writers keep them.
class Contents {
 public:
  explicit Contents(Connection& connection) : connection_(connection) {}

  void add(const ContentChange& change) {
    if (!change.content) fail(Status::Invalid, "A content to save is missing.");
    ContentSpool& spool = spoolOf(*change.content);
    const auto type = propertyType(change.tag);
    if (propertyId(change.tag) == 0 || (type != PropertyType::binary && type != PropertyType::text) ||
        (type == PropertyType::text && spool.size() % 2 != 0)) {
      fail(Status::Invalid, "A content to save is neither binary nor text.");
    }
    if (&spool.folder() != &connection_.contents())
      fail(Status::Invalid, "A content to save belongs to another store.");
    if (spool.isSaved() || std::ranges::find(spools_, &spool) != spools_.end()) {
      fail(Status::Invalid, "A content was saved already.");
    }
    spools_.push_back(&spool);
  }

  // Adds a value that is too long for its row.
  ContentSpool& addValue(const PropertyValue& value) {
    auto& spool = owned_.emplace_back(std::make_unique<ContentSpool>(connection_.contents()));
    spool->write(0, contentOfValue(value));
    spools_.push_back(spool.get());
    return *spool;
  }

  // Returns when everything but the rows is on the disk.
  void prepare() {
    bool haveFiles = false;
    for (ContentSpool* spool : spools_) {
      spool->prepare();
      haveFiles = haveFiles || spool->isFile();
    }
    if (haveFiles) connection_.contents().flushNames();
  }

  void handOver() noexcept {
    for (ContentSpool* spool : spools_) spool->handOver();
  }

  void finish() noexcept {
    for (ContentSpool* spool : spools_) spool->finish();
  }

 private:
  Connection& connection_;
  std::vector<std::unique_ptr<ContentSpool>> owned_;
  std::vector<ContentSpool*> spools_;
};

// The changes of one part: the message itself or an attachment.
struct PartChange {
  std::int64_t part;
  std::vector<std::uint16_t> ids;  // of all properties that are set or removed
  std::vector<const Property*> values;
  std::vector<std::pair<PropertyTag, ContentSpool*>> contents;
};

PartChange planPart(std::int64_t part, std::span<const Property> set, std::span<const PropertyTag> remove,
                    std::span<const ContentChange> contents, Contents& all) {
  PartChange change{part, {}, {}, {}};
  auto& ids = change.ids;
  for (const Property& property : set) {
    checkFits(property);
    ids.push_back(propertyId(property.tag));
    if (isInline(property)) {
      change.values.push_back(&property);
    } else {
      change.contents.emplace_back(property.tag, &all.addValue(property.value));
    }
  }
  for (const ContentChange& content : contents) {
    all.add(content);
    ids.push_back(propertyId(content.tag));
    change.contents.emplace_back(content.tag, &spoolOf(*content.content));
  }
  for (const PropertyTag tag : remove) ids.push_back(propertyId(tag));
  std::ranges::sort(ids);
  if (std::ranges::adjacent_find(ids) != ids.end()) fail(Status::Invalid, "A property is changed twice in one save.");
  return change;
}

// A new part has no properties to remove first.
void applyPart(Connection& connection, std::int64_t message, const PartChange& change, bool isNew) {
  if (!isNew) {
    for (const std::uint16_t id : change.ids) removeProperty(connection, message, change.part, id);
  }
  for (const Property* property : change.values) insertProperty(connection, message, change.part, *property);
  for (const auto& [tag, spool] : change.contents) insertProperty(connection, message, change.part, tag, *spool);
}

std::int64_t insertMessage(Connection& connection, const MessageDraft& draft) {
  const FileTime time = now();
  Query(connection.statement("INSERT INTO message (guid, folder, associated, is_read, size, attachment_count, created, "
                             "modified, search_key, revision) VALUES (?, ?, ?, ?, 0, 0, ?, ?, ?, 1)"),
        newGuid(), folderRow(connection, draft.folder), static_cast<int>(draft.kind), int{draft.isRead.value_or(false)},
        draft.created.value_or(time).ticks, time.ticks, draft.searchKey ? *draft.searchKey : newGuid())
      .run();
  return sqlite3_last_insert_rowid(connection.handle());
}

std::int64_t touchMessage(Connection& connection, const MessageDraft& draft) {
  const std::int64_t row = messageRow(connection, draft.message);
  compareChecksum(connection, row);  // or the new checksum would make damaged data valid
  const MessageInfo info = messageInfo(connection, row);
  if (draft.expectedRevision && *draft.expectedRevision != info.revision) {
    fail(Status::Changed, "The message was changed by someone else meanwhile.");
  }
  Query(connection.statement("UPDATE message SET is_read = ?, modified = ?, revision = revision + 1 WHERE id = ?"),
        int{draft.isRead.value_or(info.isRead)}, now().ticks, row)
      .run();
  return row;
}

void applyAttachment(Connection& connection, std::int64_t message, const AttachmentChange& attachment,
                     const PartChange& change) {
  const bool isNew = attachment.action == AttachmentAction::Add;
  if (isNew) {
    Query query(connection.statement("SELECT 1 FROM attachment WHERE message = ? AND number = ?"), message,
                attachment.number);
    if (query.step()) {
      fail(Status::AlreadyExists,
           "The message already has an attachment number " + std::to_string(attachment.number) + ".");
    }
    Query(connection.statement("INSERT INTO attachment (message, number, size) VALUES (?, ?, 0)"), message,
          attachment.number)
        .run();
  } else {
    checkAttachmentExists(connection, message, attachment.number);
  }
  if (attachment.action == AttachmentAction::Remove) {
    Query(connection.statement("DELETE FROM attachment WHERE message = ? AND number = ?"), message, attachment.number)
        .run();
    return;
  }
  applyPart(connection, message, change, isNew);
}

}  // namespace

void finishMessage(Connection& connection, std::int64_t message) {
  Query(connection.statement("UPDATE attachment SET size = (SELECT coalesce(sum(p.size), 0) FROM message_property p "
                             "WHERE p.message = ?1 AND p.part = number + 1) WHERE message = ?1"),
        message)
      .run();
  Query(connection.statement(
            "UPDATE message SET size = (SELECT coalesce(sum(size), 0) FROM message_property WHERE message = ?1), "
            "attachment_count = (SELECT count(*) FROM attachment WHERE message = ?1) WHERE id = ?1"),
        message)
      .run();
  const auto sum = static_cast<std::int64_t>(connection.messageChecksum().of(message));
  Query(connection.statement("UPDATE message SET checksum = ? WHERE id = ?"), sum, message).run();
}

Status saveMessage(Database& database, const MessageDraft& draft, MessageInfo& saved) {
  Connection& connection = database.connection();
  try {
    Contents contents(connection);
    const PartChange ownChange = planPart(messagePart, draft.set, draft.remove, draft.contents, contents);
    std::vector<PartChange> attachmentChanges;
    for (const AttachmentChange& attachment : draft.attachments) {
      attachmentChanges.push_back(
          planPart(partOf(attachment.number), attachment.set, attachment.remove, attachment.contents, contents));
    }
    contents.prepare();

    const std::lock_guard lock(connection.mutex());
    Transaction transaction(connection, Transaction::Write);
    const std::int64_t row = draft.message.empty() ? insertMessage(connection, draft) : touchMessage(connection, draft);
    applyPart(connection, row, ownChange, draft.message.empty());
    for (std::size_t i = 0; i < draft.attachments.size(); ++i) {
      applyAttachment(connection, row, draft.attachments[i], attachmentChanges[i]);
    }
    finishMessage(connection, row);
    MessageInfo info = messageInfo(connection, row);
    contents.handOver();
    transaction.commit();
    contents.finish();
    saved = std::move(info);
    return Status::Ok;
  } catch (EngineError& error) {
    const Status status = error.status;
    connection.setLastError(std::move(error));
    return status;
  }
}

}  // namespace fendrel::store
