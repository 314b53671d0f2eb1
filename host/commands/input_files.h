// The files that a post begins with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "failure.h"

namespace fendrel::host {

struct InputFile {
  std::string given;   // as the user named it
  std::wstring name;   // file name and extension: the report's name
  std::wstring path;   // full, in the form that takes any length
  std::uint64_t size = 0;
  std::optional<Failure> problem;  // why it cannot be read
};

// Looks at every file, patterns expanded: nothing is posted for one that cannot be read.
std::vector<InputFile> lookAtFiles(const std::vector<std::string>& given);

// The size of the file now; absent when it cannot be told.
std::optional<std::uint64_t> sizeNow(const InputFile& file);

}  // namespace fendrel::host
