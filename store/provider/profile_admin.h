// IProfAdmin: creating, listing and deleting profiles.
#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "mapi_interfaces.h"
#include "profile_book.h"

namespace fendrel::provider {

class ProfileAdmin final : public ComObject<IProfAdmin> {
 public:
  explicit ProfileAdmin(std::shared_ptr<store::ProfileBook> profiles) : profiles_(std::move(profiles)) {}

  STDMETHODIMP GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override;
  STDMETHODIMP GetProfileTable(ULONG flags, LPMAPITABLE* table) override;
  // The user's name is the profile's name until the profile section sets another one.
  STDMETHODIMP CreateProfile(LPTSTR name, LPTSTR password, ULONG_PTR window, ULONG flags) override;
  STDMETHODIMP DeleteProfile(LPTSTR name, ULONG flags) override;
  STDMETHODIMP ChangeProfilePassword(LPTSTR name, LPTSTR oldPassword, LPTSTR newPassword, ULONG flags) override;
  STDMETHODIMP CopyProfile(LPTSTR name, LPTSTR password, LPTSTR newName, ULONG_PTR window, ULONG flags) override;
  STDMETHODIMP RenameProfile(LPTSTR name, LPTSTR password, LPTSTR newName, ULONG_PTR window, ULONG flags) override;
  STDMETHODIMP SetDefaultProfile(LPTSTR name, ULONG flags) override;
  STDMETHODIMP AdminServices(LPTSTR name, LPTSTR password, ULONG_PTR window, ULONG flags,
                             LPSERVICEADMIN* admin) override;

 private:
  void noteMade(const std::u16string& name);
  bool hasMade(const std::u16string& name);

  std::shared_ptr<store::ProfileBook> profiles_;
  std::mutex mutex_;
  std::set<std::u16string> made_;  // profiles created by this object
};

}  // namespace fendrel::provider
