#include "report_names.h"

#include <string_view>

#include "path_parts.h"

namespace fendrel {
namespace {

constexpr std::wstring_view defaultName = L"untitled";
constexpr std::wstring_view defaultExtension = L".txt";

std::wstring join(std::wstring_view name, std::wstring_view extension) {
  std::wstring joined(name);
  joined += extension;
  if (joined.size() > maxReportNameLength) joined.resize(maxReportNameLength);
  return joined;
}

std::wstring_view orDefault(std::wstring_view part, std::wstring_view fallback) {
  const bool usable = !part.empty() && part.find_first_of(L"*?") == part.npos;
  return usable ? part : fallback;
}

}  // namespace

std::wstring reportName(const FendrelFileDescription* file) {
  if (!file) return join(defaultName, defaultExtension);
  if (file->nameGiven != 0) {
    const auto parts = splitPath(std::wstring_view(file->givenName ? file->givenName : L""));
    return join(parts.name, parts.extension);
  }
  if (!file->fileNameTemplate) return join(defaultName, defaultExtension);
  const auto parts = splitPath(std::wstring_view(file->fileNameTemplate));
  return join(orDefault(parts.name, defaultName), orDefault(parts.extension, defaultExtension));
}

}  // namespace fendrel
