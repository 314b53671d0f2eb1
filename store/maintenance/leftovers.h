// Files in a store's folder that no row names. For store/maintenance only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disk.h"
#include "sqlite_statement.h"

namespace fendrel::store {

struct LeftoverFile {
  std::wstring path;
  std::uint64_t bytes = 0;
};

// Content files that the database behind `handle` does not name, as it is when asked, and that no living program holds:
// outside a transaction, or inside the write transaction that keeps others from naming files meanwhile.
std::vector<LeftoverFile> unnamedContentFiles(sqlite3* handle, Disk& disk, const std::wstring& contentFolder);

// Temporary files, left by earlier programs that died.
std::vector<LeftoverFile> temporaryFiles(Disk& disk, const std::wstring& contentFolder);

}  // namespace fendrel::store
