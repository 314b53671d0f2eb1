// Rows of pages that nothing leads to any more. For store/maintenance only.
#pragma once

struct sqlite3;

namespace fendrel::store {

// Puts the rows of the table lost_and_found, as SQLite's recovery makes it, into the tables that they fit. A row that is
// there already stays. Throws EngineError.
void sortLostRows(sqlite3* database);

}  // namespace fendrel::store
