// Long values in the database: the table `content` and the files that it names. Called inside a transaction.
#pragma once

#include <memory>

#include "content_blocks.h"
#include "content_folder.h"
#include "sqlite_statement.h"

namespace fendrel::store {

class Connection;
class ContentSpool;

// Inserts a prepared spool's content and returns its row number.
std::int64_t insertContent(Connection& connection, ContentSpool& spool);

// The columns that contentAt reads.
constexpr const char* selectContent = "SELECT size, checksums, data, file FROM content WHERE id = ?";

// Opens the content of a row of selectContent. Throws Corrupt if its bytes or its file are missing or of another size.
std::unique_ptr<ContentSource> contentAt(const Statement& row, const ContentFolder& folder);

// Opens the content with this row number. Throws Corrupt also if there is none.
std::unique_ptr<ContentSource> openContentRow(Connection& connection, std::int64_t row);

}  // namespace fendrel::store
