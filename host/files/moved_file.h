// Puts a file away when a job is done with it.
#pragma once

#include <string>

#include "input_files.h"

namespace fendrel::host {

// Moves the file into the directory, which is made when it is missing, also to another disk. A file of its name that is
// there stays; this one becomes "name (2).ext" then. Answers its new name for display. Throws Failure(failed).
std::string moveFileInto(const InputFile& file, const std::string& directory);

// True when the path is in that directory or below it.
bool isBelow(const std::wstring& path, const std::string& directory);

}  // namespace fendrel::host
