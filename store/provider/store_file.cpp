#include "store_file.h"

#include "status_codes.h"
#include "store_place.h"

namespace fendrel::provider {

std::wstring storeFile() { return store::storeInUse(); }

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
