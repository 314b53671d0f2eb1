// SQLite's recovery, with the results in our tables. For store/maintenance only.
#pragma once

#include <string>

#include "damaged_copy.h"
#include "maintenance.h"

namespace fendrel::store {

// Makes the database `path`, with the current version's tables, from every row found in the copy. Rows of unreachable
// pages are recognised by their shape. Rows may be wrong or incomplete. Throws EngineError.
void recoverRows(const DamagedCopy& copy, const std::wstring& path, Disk& disk, const Watch& watch);

}  // namespace fendrel::store
