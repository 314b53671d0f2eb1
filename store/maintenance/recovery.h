// SQLite's own recovery, and what it found in our tables. For store/maintenance only.
#pragma once

#include <string>

#include "damaged_copy.h"
#include "maintenance.h"

namespace fendrel::store {

// Makes the database `path`, with the tables of the present version, of every row that is found in the copy. Rows of pages that nothing leads
// to any more are told apart by their shape. What is found may be wrong or lack its other rows. Throws EngineError.
void recoverRows(const DamagedCopy& copy, const std::wstring& path, Disk& disk, const Watch& watch);

}  // namespace fendrel::store
