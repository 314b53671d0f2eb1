#include "message_inspection.h"

#include <functional>
#include <map>

#include "content_table.h"
#include "message_checksum.h"
#include "property_codec.h"

namespace fendrel::store {
namespace {

constexpr std::int64_t subjectId = 0x0037, longNameId = 0x3707, shortNameId = 0x3704, displayNameId = 0x3001;

class Inspection {
 public:
  Inspection(ReadingConnection& connection, std::int64_t message) : connection_(connection) { result_.id = message; }

  InspectedMessage run(const std::function<void(std::uint64_t)>& read) {
    attempt("Its row cannot be read", [&] { readRow(); });
    attempt("The list of its attachments cannot be read", [&] { readAttachments(); });
    attempt("Some of its properties cannot be read", [&] { readProperties(); });
    if (result_.subject.empty()) attemptSubject();
    compareSums();
    for (ContentUse& use : result_.contents) verify(use, read);
    if (result_.isWhole()) compareChecksum();
    return std::move(result_);
  }

 private:
  struct Part {
    std::string longName, shortName, displayName;
    std::uint64_t size = 0;               // sum of its values
    std::optional<std::int64_t> rowSize;  // from the attachment's row
    const std::string& name() const {
      return !longName.empty() ? longName : !shortName.empty() ? shortName : displayName;
    }
  };

  template <class Work>
  void attempt(const char* otherwise, Work work) {
    try {
      connection_.keepMoment();
      work();
    } catch (const EngineError& error) {
      if (!isDamage(error)) throw;
      isIncomplete_ = true;
      problem(0, std::string(otherwise) + ": " + error.text);
    }
  }

  void problem(std::int64_t part, const std::string& what) { result_.problems.push_back({nameOf(part), what}); }

  std::string nameOf(std::int64_t part) {
    if (part == 0) return {};
    const std::string& name = parts_[part].name();
    return name.empty() ? "attachment number " + std::to_string(part - 1) : name;
  }

  void readRow() {
    Statement row = connection_.statement(
        "SELECT guid, folder, associated, is_read, size, attachment_count FROM message WHERE id = ?");
    row.bind(1, result_.id);
    if (!row.step()) {
      problem(0, "It has no row in the table of messages.");
      return;
    }
    result_.folder = row.integer(1);
    result_.guid = row.guid(0);
    result_.isAssociated = row.integer(2) != 0;
    result_.isRead = row.integer(3) != 0;
    size_ = row.integer(4);
    attachmentCount_ = row.integer(5);
    result_.hasRow = true;
  }

  void readAttachments() {
    Statement rows = connection_.statement("SELECT number, size FROM attachment WHERE message = ?");
    rows.bind(1, result_.id);
    while (rows.step()) {
      parts_[rows.integer(0) + 1].rowSize = rows.integer(1);
      ++result_.attachments;
    }
  }

  void readProperties() {
    Statement rows = connection_.statement(
        "SELECT part, id, type, size, value, content FROM message_property WHERE message = ? ORDER BY part, id");
    rows.bind(1, result_.id);
    while (rows.step()) readProperty(rows);
  }

  void readProperty(const Statement& row) {
    const std::int64_t part = row.integer(0), id = row.integer(1), type = row.integer(2), size = row.integer(3);
    parts_[part].size += static_cast<std::uint64_t>(size);
    noteName(part, id, row);
    if (id <= 0 || id > 0xFFFF || type <= 0 || type > 0xFFFF || size < 0) {
      problem(part, "A property has an invalid number.");
      return;
    }
    if (!row.isNull(5)) {
      const bool isLong = type == PropertyType::text || type == PropertyType::binary;
      if (!row.isNull(4) || !isLong) problem(part, propertyName(id) + " has a content but must not have one.");
      result_.contents.push_back({row.integer(5), part, static_cast<std::uint64_t>(size), {}});
      return;
    }
    try {
      const PropertyValue value = readValue(row, 4, static_cast<std::uint16_t>(type));
      const bool fits = valueSize(value) == static_cast<std::uint64_t>(size);
      if (!fits) problem(part, propertyName(id) + " has the wrong size.");
    } catch (const EngineError&) {
      problem(part, propertyName(id) + " has a value that does not match its type.");
    }
  }

  static std::string propertyName(std::int64_t id) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text = "The property 0x";
    for (int shift = 12; shift >= 0; shift -= 4) text += digits[id >> shift & 15];
    return text;
  }

  void noteName(std::int64_t part, std::int64_t id, const Statement& row) {
    if (row.type(4) != SQLITE_TEXT) return;
    if (part == 0 && id == subjectId) result_.subject = row.text(4);
    if (part != 0 && id == longNameId) parts_[part].longName = row.text(4);
    if (part != 0 && id == shortNameId) parts_[part].shortName = row.text(4);
    if (part != 0 && id == displayNameId) parts_[part].displayName = row.text(4);
  }

  void attemptSubject() {
    try {
      connection_.keepMoment();
      Statement row = connection_.statement(
          "SELECT value FROM message_property WHERE message = ? AND part = 0 AND id = 55 AND typeof(value) = 'text'");
      row.bind(1, result_.id);
      if (row.step()) result_.subject = row.text(0);
    } catch (const EngineError& error) {
      if (!isDamage(error)) throw;
    }
  }

  // Sizes and counts are written in the same transaction as the values, so they must agree.
  void compareSums() {
    if (isIncomplete_ || !result_.hasRow) return;
    std::uint64_t total = 0;
    for (const auto& [number, part] : parts_) {
      total += part.size;
      if (number == 0) continue;
      if (!part.rowSize) {
        problem(number, "It has properties but no row in the table of attachments.");
      } else if (*part.rowSize != static_cast<std::int64_t>(part.size)) {
        problem(number, "The size in its row is wrong.");
      }
    }
    if (size_ != static_cast<std::int64_t>(total)) problem(0, "The size in its row is wrong.");
    if (attachmentCount_ != static_cast<std::int64_t>(result_.attachments)) {
      problem(0, "The number of attachments in its row is wrong.");
    }
  }

  // If no other problem was found.
  void compareChecksum() {
    if (connection_.version() < versionWithChecksums) return;
    attempt("Its rows cannot be read", [&] {
      if (!MessageChecksum(connection_.handle()).matches(result_.id)) problem(0, "It does not match its checksum.");
    });
  }

  void verify(ContentUse& use, const std::function<void(std::uint64_t)>& read) {
    try {
      connection_.keepMoment();
      Statement row = connection_.statement(selectContent);
      row.bind(1, use.content);
      if (!row.step()) {
        problem(use.part, "Its content is missing in the database.");
        return;
      }
      if (static_cast<std::uint64_t>(row.integer(0)) != use.size) {
        problem(use.part, "Its content has the wrong size.");
        return;
      }
      const auto source = contentAt(row, connection_.contents());
      use.file = source->fileName();
      source->readAll([&](std::span<const std::byte> block) {
        if (read) read(block.size());
      });
    } catch (const EngineError& error) {
      if (!isDamage(error)) throw;
      problem(use.part, error.text);
    }
  }

  ReadingConnection& connection_;
  InspectedMessage result_;
  std::map<std::int64_t, Part> parts_;
  std::int64_t size_ = 0, attachmentCount_ = 0;
  bool isIncomplete_ = false;
};

}  // namespace

InspectedMessage inspectMessage(ReadingConnection& connection, std::int64_t message,
                                const std::function<void(std::uint64_t)>& read) {
  return Inspection(connection, message).run(read);
}

Finding findingOf(const FolderMap& folders, const InspectedMessage& message, const MessageProblem& problem) {
  Finding finding{message.folder != 0 ? folders.path(message.folder) : std::string(), message.subject,
                  problem.attachment, true, problem.what};
  const bool isProtected = folders.isProtected(message.folder);
  if (isProtected || finding.message.empty()) finding.message = "message number " + std::to_string(message.id);
  if (!isProtected) return finding;
  if (!finding.attachment.empty()) finding.attachment = "one of its attachments";
  return finding;
}

MessageNumbers findMessageNumbers(ReadingConnection& rows, ReadingConnection* indexes) {
  MessageNumbers found;
  const auto read = [&](ReadingConnection& connection, const char* sql, const char* what) {
    std::string why;
    const auto take = [&](const Statement& row) { found.numbers.insert(row.integer(0)); };
    if (!readRows(connection, sql, why, take)) found.damage.push_back(std::string(what) + " is damaged: " + why);
  };
  read(rows, "SELECT id FROM message NOT INDEXED", "The table of messages");
  read(rows, "SELECT message FROM attachment", "The table of attachments");
  read(rows, "SELECT message FROM message_property", "The table of the messages' properties");
  if (!indexes) return found;
  read(*indexes, "SELECT id FROM message INDEXED BY message_by_folder", "The index of messages by folder");
  read(*indexes, "SELECT id FROM message INDEXED BY sqlite_autoindex_message_1", "The index of messages by identifier");
  return found;
}

}  // namespace fendrel::store
