// Moves a file away when a job is done with it.
#pragma once

#include <string>

#include "input_files.h"

namespace fendrel::host {

// Moves the file into the directory, also on another disk; creates the directory. If the name is in use, the file
// becomes "name (2).ext". Returns its new name for display. Throws Failure(failed).
std::string moveFileInto(const InputFile& file, const std::string& directory);

// True if the path is inside the directory, at any depth.
bool isBelow(const std::wstring& path, const std::string& directory);

}  // namespace fendrel::host
