// Rows of unreachable pages. For store/maintenance only.
#pragma once

struct sqlite3;

namespace fendrel::store {

// Inserts the rows of the recovery's table lost_and_found into the tables whose shape they have. Existing rows stay.
// Throws EngineError.
void sortLostRows(sqlite3* database);

}  // namespace fendrel::store
