// How a store comes into being.
#pragma once

#include <string>

#include "disk.h"

namespace fendrel::store {

// Makes a whole store at `path`, where none is, with the folders above it. Two programs that do so at once end with
// one store. Throws EngineError.
void createStoreFile(const std::wstring& path, Disk& disk);

}  // namespace fendrel::store
