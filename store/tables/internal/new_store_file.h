// Creates a store.
#pragma once

#include <string>

#include "disk.h"

namespace fendrel::store {

// Creates a store at `path`, which must not exist, with its parent folders. Two programs that do so at once end with
// one store. Throws EngineError.
void createStoreFile(const std::wstring& path, Disk& disk);

}  // namespace fendrel::store
