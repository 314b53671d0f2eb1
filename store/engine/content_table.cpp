#include "content_table.h"

#include <cstring>

#include "checksum.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

std::vector<std::uint64_t> unpackChecksums(std::span<const std::byte> bytes, std::uint64_t size) {
  const std::uint64_t blocks = (size + contentBlockSize - 1) / contentBlockSize;
  if (bytes.size() % 8 != 0 || bytes.size() / 8 != blocks) {
    fail(Status::Corrupt, "The store is damaged: a content's checksums do not fit its size.");
  }
  std::vector<std::uint64_t> checksums(bytes.size() / 8);
  if (!bytes.empty()) std::memcpy(checksums.data(), bytes.data(), bytes.size());
  return checksums;
}

std::wstring wideFileName(std::string_view name) {
  // Names that we gave: anything else could point out of the folder.
  for (const char c : name) {
    const bool allowed = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || c == '.';
    if (!allowed) fail(Status::Corrupt, "The store is damaged: a content file has a strange name.");
  }
  return {name.begin(), name.end()};
}

}  // namespace

std::int64_t insertContent(Connection& connection, ContentSpool& spool) {
  Query query(connection.statement("INSERT INTO content (size, checksums, data, file) VALUES (?, ?, ?, ?)"),
              static_cast<std::int64_t>(spool.size()), std::as_bytes(std::span(spool.checksums())));
  if (spool.isFile()) {
    query->bindNull(3);
    query->bindOwned(4, toUtf8(spool.fileName()));
  } else {
    query->bind(3, spool.data());
    query->bindNull(4);
  }
  query.run();
  return sqlite3_last_insert_rowid(connection.handle());
}

std::unique_ptr<ContentSource> openContentRow(Connection& connection, std::int64_t row) {
  Query query(connection.statement("SELECT size, checksums, data, file FROM content WHERE id = ?"), row);
  if (!query.step()) fail(Status::Corrupt, "The store is damaged: a property's content is missing.");
  const auto size = static_cast<std::uint64_t>(query->integer(0));
  auto checksums = unpackChecksums(query->bytes(1), size);
  if (query->isNull(3)) {
    const auto data = query->bytes(2);
    if (data.size() != size || (size > 0 && (checksums.size() != 1 || checksum(data) != checksums[0]))) {
      fail(Status::Corrupt, "The store is damaged: a content does not match its checksum.");
    }
    return std::make_unique<ContentSource>(Bytes(data.begin(), data.end()));
  }
  const std::wstring path = connection.contentFolder() + L"\\" + wideFileName(query->text(3));
  std::unique_ptr<DiskFile> file;
  try {
    file = connection.disk().open(path);
  } catch (const EngineError& error) {
    if (error.status != Status::NotFound) throw;
    fail(Status::Corrupt, "The content file '" + toUtf8(path) + "' is missing.");
  }
  if (file->size() != size) fail(Status::Corrupt, "The content file '" + toUtf8(path) + "' does not have its size.");
  return std::make_unique<ContentSource>(std::move(file), size, std::move(checksums));
}

}  // namespace fendrel::store
