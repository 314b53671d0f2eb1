// The tables of a Windows module that a loader reads, taken from its file.
#pragma once

#include <string>
#include <vector>

namespace fendrel::test {

struct PeImage {
  explicit PeImage(const std::wstring& path);

  std::vector<std::string> exports;
  std::vector<std::string> imports;  // file names in lower case
};

}  // namespace fendrel::test
