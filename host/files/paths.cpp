#include "paths.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "failure.h"
#include "file_handle.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Some system functions refuse longer paths without the prefix.
constexpr std::size_t longestPlainPath = 240;
// Windows allows 255 characters; room is left for a number.
constexpr std::size_t longestFileName = 240;

bool isSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

}  // namespace

bool startedFromUnixShell() { return environmentText(L"FENDREL_SHELL") == "unix"; }

std::wstring fullPath(std::string_view given) {
  std::wstring path = toWide(given);
  if (path.empty()) throw Failure(ExitCode::wrongUsage, "A file name is empty.");
  if (path.starts_with(L"\\\\?\\")) return path;
  if (path[0] == L'/' && startedFromUnixShell()) path.insert(0, L"Z:");
  std::wstring full(path.size() + MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0)
      throw systemFailure(ExitCode::wrongUsage, "'" + printable(given) + "' is not a path", GetLastError());
    const bool whole = length < full.size();
    full.resize(length);
    if (whole) return full;
  }
}

std::string displayPath(const std::wstring& full) {
  std::string path = toUtf8(full);
  const bool isUnixFile = path.size() > 2 && (path[0] == 'Z' || path[0] == 'z') && path[1] == ':' && path[2] == '\\';
  if (!isUnixFile || !startedFromUnixShell()) return path;
  path.erase(0, 2);
  std::ranges::replace(path, '\\', '/');
  return path;
}

std::wstring longPath(const std::wstring& full) {
  if (full.size() < longestPlainPath || full.starts_with(L"\\\\?\\")) return full;
  if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC\\" + full.substr(2);
  return L"\\\\?\\" + full;
}

bool fileExists(const std::wstring& full) {
  const DWORD attributes = GetFileAttributesW(longPath(full).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::wstring fileNameOf(std::wstring_view path) {
  const std::size_t separator = path.find_last_of(L"\\/:");
  return std::wstring(separator == std::wstring_view::npos ? path : path.substr(separator + 1));
}

std::string joinedForDisplay(std::string_view directory, std::string_view name) {
  std::string joined(directory);
  if (!joined.empty() && joined.back() != '/' && joined.back() != '\\')
    joined += startedFromUnixShell() || joined.find('/') != std::string::npos ? '/' : '\\';
  return joined += name;
}

std::wstring safeFileName(std::wstring_view name) {
  std::wstring safe;
  for (const wchar_t c : name) safe += c < 0x20 || std::wstring_view(L"<>:\"/\\|?*").find(c) < 9 ? L'_' : c;
  if (safe.size() > longestFileName) {
    // Keeps the extension, which determines the type.
    const std::size_t dot = safe.find_last_of(L'.');
    const std::wstring extension = dot == std::wstring::npos || safe.size() - dot > 32 ? L"" : safe.substr(dot);
    safe = safe.substr(0, longestFileName - extension.size()) + extension;
  }
  while (!safe.empty() && (safe.back() == L'.' || safe.back() == L' ')) safe.pop_back();
  if (safe.empty()) return L"attachment";
  std::wstring stem = safe.substr(0, safe.find(L'.'));
  while (!stem.empty() && stem.back() == L' ') stem.pop_back();
  CharUpperBuffW(stem.data(), static_cast<DWORD>(stem.size()));
  static constexpr std::array devices = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};
  const bool port =
      stem.size() == 4 && (stem.starts_with(L"COM") || stem.starts_with(L"LPT")) &&
      ((stem[3] >= L'0' && stem[3] <= L'9') || stem[3] == L'\u00B9' || stem[3] == L'\u00B2' || stem[3] == L'\u00B3');
  if (port || std::ranges::find(devices, stem) != devices.end()) safe.insert(0, 1, L'_');
  return safe;
}

std::wstring numberedFileName(const std::wstring& name, unsigned number) {
  const std::size_t dot = name.find_last_of(L'.');
  const std::size_t place = dot == std::wstring::npos || dot == 0 ? name.size() : dot;
  return name.substr(0, place) + L" (" + std::to_wstring(number) + L")" + name.substr(place);
}

std::vector<std::string> expandPattern(const std::string& given) {
  const std::wstring pattern = toWide(given);
  const std::wstring last = fileNameOf(pattern);
  if (last.find_first_of(L"*?") == std::wstring::npos) return {given};
  const std::string folder = toUtf8(std::wstring_view(pattern).substr(0, pattern.size() - last.size()));
  WIN32_FIND_DATAW found;
  std::vector<std::string> files;
  if (const FindHandle search = findFirst(longPath(fullPath(given)), found)) {
    do {
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
      if (found.cFileName == last) return {given};  // a Unix file may have this name
      files.push_back(folder + toUtf8(found.cFileName));
    } while (FindNextFileW(search.get(), &found));
  }
  std::ranges::sort(files);
  return files;
}

std::wstring readablePath(const std::wstring& full) {
  const std::wstring last = fileNameOf(full);
  if (last.find_first_of(L"*?<>|\"") == std::wstring::npos) return full;
  WIN32_FIND_DATAW found;
  if (const FindHandle search = findFirst(longPath(full), found)) {
    do {
      if (found.cFileName == last && found.cAlternateFileName[0] != 0)
        return full.substr(0, full.size() - last.size()) + found.cAlternateFileName;
    } while (FindNextFileW(search.get(), &found));
  }
  return full;
}

std::wstring programFolder() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      break;
    }
    path.resize(path.size() * 2);
  }
  const auto separator = std::find_if(path.rbegin(), path.rend(), isSeparator);
  path.erase(separator == path.rend() ? path.begin() : separator.base() - 1, path.end());
  return path;
}

}  // namespace fendrel::host
