// Database::open on a given disk, for fault injection.
#pragma once

#include "database.h"
#include "disk.h"

namespace fendrel::store {

// The disk must outlive the database and everything opened from it.
Status openOnDisk(const std::wstring& path, Disk& disk, bool mayCreate, std::unique_ptr<Database>& opened,
                  std::string& error);

// The full path, with the prefix against the length limit if it or the files beside it may need it. Throws EngineError.
std::wstring fullStorePath(const std::wstring& path);

}  // namespace fendrel::store
