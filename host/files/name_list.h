// Names of files in a file, or from standard input.
#pragma once

#include <string>
#include <vector>

namespace fendrel::host {

// UTF-8, a name a line, or with nulSeparated a name before each 0. Empty lines count for nothing. file: "-" for
// standard input. Throws Failure(failed).
std::vector<std::string> readNameList(const std::string& file, bool nulSeparated);

}  // namespace fendrel::host
