// Reads file names from a file or from standard input.
#pragma once

#include <string>
#include <vector>

namespace fendrel::host {

// UTF-8, one name per line, or with nulSeparated one before each 0. Empty lines are ignored. file: "-" for standard
// input. Throws Failure(failed).
std::vector<std::string> readNameList(const std::string& file, bool nulSeparated);

}  // namespace fendrel::host
