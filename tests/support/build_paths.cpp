#include "build_paths.h"

#include <windows.h>

#include <algorithm>

std::wstring buildFile(std::wstring_view relativePath) {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  // Test programs are in the build folder's tests/.
  for (int level = 0; level < 2; ++level) path.resize(path.find_last_of(L"\\/"));
  path += L'\\';
  path += relativePath;
  std::ranges::replace(path, L'/', L'\\');
  return path;
}
