#include "service_admin.h"

#include "profile_section.h"

namespace fendrel::provider {

STDMETHODIMP ServiceAdmin::GetLastError(HRESULT, ULONG, LPMAPIERROR* error) {
  if (!error) return MAPI_E_INVALID_PARAMETER;
  *error = nullptr;
  return S_OK;
}

STDMETHODIMP ServiceAdmin::OpenProfileSection(LPMAPIUID uid, LPCIID iid, ULONG flags, LPPROFSECT* section) {
  return guarded([&] { return openProfileSection(database_, profile_, uid, iid, flags, section); });
}

STDMETHODIMP ServiceAdmin::GetMsgServiceTable(ULONG, LPMAPITABLE*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::CreateMsgService(LPTSTR, LPTSTR, ULONG_PTR, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::DeleteMsgService(LPMAPIUID) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::CopyMsgService(LPMAPIUID, LPTSTR, LPCIID, LPCIID, LPVOID, ULONG_PTR, ULONG) {
  return MAPI_E_NO_SUPPORT;
}
STDMETHODIMP ServiceAdmin::RenameMsgService(LPMAPIUID, ULONG, LPTSTR) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::ConfigureMsgService(LPMAPIUID, ULONG_PTR, ULONG, ULONG, LPSPropValue) {
  return MAPI_E_NO_SUPPORT;
}
STDMETHODIMP ServiceAdmin::MsgServiceTransportOrder(ULONG, LPMAPIUID, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::AdminProviders(LPMAPIUID, ULONG, LPPROVIDERADMIN*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::SetPrimaryIdentity(LPMAPIUID, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP ServiceAdmin::GetProviderTable(ULONG, LPMAPITABLE*) { return MAPI_E_NO_SUPPORT; }

}  // namespace fendrel::provider
