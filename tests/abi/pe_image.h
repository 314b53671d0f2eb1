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

// Writes a copy of a module in which the export `name` is renamed, like a build without that export.
void copyWithoutExport(const std::wstring& module, const std::string& name, const std::wstring& copy);

}  // namespace fendrel::test
