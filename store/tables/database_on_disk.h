// Database::open on a disk of the caller's choice: where tests inject faults.
#pragma once

#include "database.h"
#include "disk.h"

namespace fendrel::store {

// The disk must outlive the database and everything opened from it.
Status openOnDisk(const std::wstring& path, Disk& disk, bool mayCreate, std::unique_ptr<Database>& opened,
                  std::string& error);

// The full path, with the prefix that lifts the length limit where it and the files beside it may need it.
// Throws EngineError.
std::wstring fullStorePath(const std::wstring& path);

}  // namespace fendrel::store
