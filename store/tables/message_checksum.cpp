#include "message_checksum.h"

#include "checksum.h"
#include "engine_error.h"

namespace fendrel::store {

namespace {

void appendNumber(Bytes& bytes, std::uint64_t number) { append(bytes, &number, sizeof number); }

void appendValue(Bytes& bytes, const Statement& row, int column) {
  const int type = row.type(column);
  bytes.push_back(static_cast<std::byte>(type));
  switch (type) {
    case SQLITE_INTEGER: appendNumber(bytes, static_cast<std::uint64_t>(row.integer(column))); break;
    case SQLITE_FLOAT: {
      const double number = row.real(column);
      append(bytes, &number, sizeof number);
      break;
    }
    case SQLITE_TEXT: {
      const std::string_view text = row.text(column);
      appendNumber(bytes, text.size());
      append(bytes, text.data(), text.size());
      break;
    }
    case SQLITE_BLOB: {
      const auto blob = row.bytes(column);
      appendNumber(bytes, blob.size());
      append(bytes, blob.data(), blob.size());
      break;
    }
    default: appendNumber(bytes, 0);
  }
}

void appendRow(Bytes& bytes, const Statement& row, int columns) {
  for (int column = 0; column < columns; ++column) appendValue(bytes, row, column);
}

}  // namespace

MessageChecksum::MessageChecksum(sqlite3* database)
    : message_(database,
               "SELECT guid, associated, size, attachment_count, created, modified, search_key, revision, checksum "
               "FROM message WHERE id = ?",
               true),
      attachments_(database, "SELECT number, size FROM attachment WHERE message = ? ORDER BY number", true),
      properties_(database,
                  "SELECT part, id, type, size, value, content FROM message_property WHERE message = ? "
                  "ORDER BY part, id",
                  true) {}

void MessageChecksum::takeRow(std::int64_t message) {
  constexpr int summedColumns = 8;
  bytes_.clear();
  Query row(message_, message);
  if (!row.step()) fail(Status::NotFound, "The message does not exist, or no longer exists.");
  appendRow(bytes_, *row, summedColumns);
  hasSum_ = !row->isNull(summedColumns);
  sum_ = static_cast<std::uint64_t>(row->integer(summedColumns));
}

std::uint64_t MessageChecksum::sumOfAllRows(std::int64_t message) {
  Query attachments(attachments_, message);
  while (attachments.step()) appendRow(bytes_, *attachments, 2);
  Query properties(properties_, message);
  while (properties.step()) appendRow(bytes_, *properties, 6);
  return checksum(bytes_);
}

std::uint64_t MessageChecksum::of(std::int64_t message) {
  takeRow(message);
  return sumOfAllRows(message);
}

bool MessageChecksum::matches(std::int64_t message) {
  takeRow(message);
  return !hasSum_ || sumOfAllRows(message) == sum_;
}

}  // namespace fendrel::store
