#include "store_file.h"

#include <shlobj.h>

#include "status_codes.h"

namespace fendrel::provider {
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

std::wstring storeFile() {
  if (std::wstring chosen = environmentVariable(L"FENDREL_STORE"); !chosen.empty()) return chosen;
  wchar_t* found = nullptr;
  const HRESULT result = SHGetKnownFolderPath(FOLDERID_RoamingAppData, KF_FLAG_CREATE, nullptr, &found);
  const std::unique_ptr<wchar_t, CoTaskFree> folder(found);
  if (FAILED(result) || !folder) return {};
  const std::wstring own = std::wstring(folder.get()) + L"\\Fendrel";
  CreateDirectoryW(own.c_str(), nullptr);
  return own + L"\\store.db";
}

HRESULT openStoreFile(std::shared_ptr<store::Database>& database) {
  const std::wstring path = storeFile();
  if (path.empty()) return MAPI_E_NOT_FOUND;
  std::unique_ptr<store::Database> opened;
  std::string error;
  const auto status = store::Database::open(path, opened, error);
  if (status != store::Status::Ok) return toResult(status);
  database = std::move(opened);
  return S_OK;
}

}  // namespace fendrel::provider
