#include "store_place.h"

#include <windows.h>

#include <shlobj.h>

#include <memory>

namespace fendrel::store {
namespace {

struct CoTaskFree {
  void operator()(wchar_t* text) const noexcept { CoTaskMemFree(text); }
};

std::wstring environmentVariable(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  if (!value.empty()) value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

}  // namespace

std::wstring storeInUse() {
  if (std::wstring chosen = environmentVariable(L"FENDREL_STORE"); !chosen.empty()) return chosen;
  wchar_t* found = nullptr;
  const HRESULT result = SHGetKnownFolderPath(FOLDERID_RoamingAppData, KF_FLAG_CREATE, nullptr, &found);
  const std::unique_ptr<wchar_t, CoTaskFree> folder(found);
  if (FAILED(result) || !folder) return {};
  const std::wstring own = std::wstring(folder.get()) + L"\\Fendrel";
  CreateDirectoryW(own.c_str(), nullptr);
  return own + L"\\store.db";
}

}  // namespace fendrel::store
