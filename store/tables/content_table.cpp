#include "content_table.h"

#include "connection.h"
#include "content_spool.h"
#include "unicode.h"

namespace fendrel::store {

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

std::unique_ptr<ContentSource> contentAt(const Statement& row, const ContentFolder& folder) {
  const auto size = static_cast<std::uint64_t>(row.integer(0));
  if (row.isNull(3)) {
    const auto data = row.bytes(2);
    if (data.size() != size) fail(Status::Corrupt, "The store is damaged: a content has the wrong size.");
    return std::make_unique<ContentSource>(Bytes(data.begin(), data.end()), row.bytes(1));
  }
  const std::string_view name = row.text(3);
  return std::make_unique<ContentSource>(folder.open(name), std::string(name), size, row.bytes(1));
}

std::unique_ptr<ContentSource> openContentRow(Connection& connection, std::int64_t row) {
  Query query(connection.statement(selectContent), row);
  if (!query.step()) fail(Status::Corrupt, "The store is damaged: a property's content is missing.");
  return contentAt(*query, connection.contents());
}

}  // namespace fendrel::store
