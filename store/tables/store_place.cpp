#include "store_place.h"

#include <windows.h>

#include <shlobj.h>

#include <memory>

namespace fendrel::store {
namespace {

struct CoTaskFree {
  void operator()(wchar_t* text) const noexcept { CoTaskMemFree(text); }
};

// Empty if the user has no such folder.
std::wstring storeIn(REFKNOWNFOLDERID place) {
  wchar_t* found = nullptr;
  const HRESULT result = SHGetKnownFolderPath(place, KF_FLAG_CREATE, nullptr, &found);
  const std::unique_ptr<wchar_t, CoTaskFree> folder(found);
  return FAILED(result) || !folder ? std::wstring() : std::wstring(folder.get()) + L"\\Fendrel\\store.db";
}

bool exists(const std::wstring& path) {
  return !path.empty() && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

std::wstring environmentVariable(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  if (!value.empty()) value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

std::wstring storeInUse() {
  if (std::wstring chosen = environmentVariable(L"FENDREL_STORE"); !chosen.empty()) return chosen;
  std::wstring local = storeIn(FOLDERID_LocalAppData);
  if (exists(local)) return local;
  std::wstring roaming = storeIn(FOLDERID_RoamingAppData);
  if (local.empty() || exists(roaming)) return roaming;
  CreateDirectoryW(local.substr(0, local.find_last_of(L'\\')).c_str(), nullptr);
  return local;
}

}  // namespace fendrel::store
