// A mail server that refuses a password, and the dialog that asks for another.
#include <cstdlib>

#include "contract_test.h"
#include "dialog_user.h"
#include "local_mapi.h"

namespace contract {
namespace {

class ServerLogon : public ContractTest {
 protected:
  static HRESULT logOnWithDialog(const wchar_t* profile, const wchar_t* password) {
    ComPtr<IMAPISession> opened;
    const HRESULT result =
        mapi().logonEx(0, reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(profile)),
                       reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(password)),
                       MAPI_EXTENDED | MAPI_NEW_SESSION | MAPI_UNICODE | MAPI_LOGON_UI, opened.GetAddressOf());
    if (opened) opened->Logoff(0, 0, 0);
    return result;
  }
  static std::wstring rightPassword() {
    wchar_t value[256] = L"";
    GetEnvironmentVariableW(L"FENDREL_MAIL_PASSWORD", value, 256);
    return value;
  }
};

TEST_F(ServerLogon, ARefusedPasswordIsAskedForAgain) {
  std::wstring first, second;
  HRESULT result = E_FAIL;
  {
    DialogUser user([&](HWND window) {
      first = itemText(window, statusLine);
      SetDlgItemTextW(window, passwordField, L"wr0ng as well");
      press(window, IDOK);
      second = itemText(window, statusLine);
      SetDlgItemTextW(window, passwordField, rightPassword().c_str());
      press(window, IDOK);
    });
    result = logOnWithDialog(L"Ada", L"wr0ng");
  }
  EXPECT_EQ(result, S_OK);
  EXPECT_THAT(first, testing::HasSubstr(L"password is wrong"));
  EXPECT_THAT(second, testing::HasSubstr(L"password is wrong"));
}

TEST_F(ServerLogon, TheDialogUsesTheStoredPasswordIfNoneIsTyped) {
  HRESULT result = E_FAIL;
  std::wstring said;
  {
    DialogUser user([&](HWND window) {
      said = itemText(window, statusLine);
      press(window, IDOK);
    });
    result = logOnWithDialog(nullptr, nullptr);
  }
  EXPECT_EQ(result, S_OK);
  EXPECT_THAT(said, testing::HasSubstr(L"stored one"));
}

TEST_F(ServerLogon, CancellingTheDialogIsAUserCancel) {
  DialogUser user([](HWND window) { press(window, IDCANCEL); });
  EXPECT_EQ(logOnWithDialog(L"Ada", L"wr0ng"), MAPI_E_USER_CANCEL);
}

TEST_F(ServerLogon, WithoutADialogARefusedPasswordIsALogonFailure) {
  ComPtr<IMAPISession> refused;
  EXPECT_EQ(logOn(L"Ada", L"wr0ng", refused), MAPI_E_LOGON_FAILED);
}

}  // namespace
}  // namespace contract
