// Long values in the database: the table `content` and the files it names. For the engine's own files only.
#pragma once

#include <memory>

#include "content_spool.h"
#include "content_source.h"

namespace fendrel::store {

// Inside a write transaction: adds a prepared spool's content and returns its row. Publishes its file.
std::int64_t insertContent(Connection& connection, ContentSpool& spool);

// Opens a row's content. Throws Corrupt if its bytes, its file or the row itself are missing or of another size.
std::unique_ptr<ContentSource> openContentRow(Connection& connection, std::int64_t row);

// Deletes what crashed processes left: temporary files that no one holds and that are an hour old, and, where a
// process died, content files that no row names. Costs a look into a nearly empty folder in the usual case.
void reclaimLeftovers(Connection& connection);

}  // namespace fendrel::store
