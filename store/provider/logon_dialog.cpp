#include "logon_dialog.h"

#include <algorithm>
#include <exception>
#include <vector>

#include "resource.h"
#include "status_codes.h"
#include "text.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace fendrel::provider {
namespace {

class ChooseProfile {
 public:
  ChooseProfile(std::vector<store::Profile> profiles, std::u16string refused, const LogonAttempt& attempt)
      : profiles_(std::move(profiles)), refused_(std::move(refused)), attempt_(attempt) {}

  HRESULT show(HWND parent) {
    const INT_PTR answer =
        DialogBoxParamW(reinterpret_cast<HINSTANCE>(&__ImageBase), MAKEINTRESOURCEW(IDD_CHOOSE_PROFILE), parent,
                        &ChooseProfile::procedure, reinterpret_cast<LPARAM>(this));
    if (FAILED(failure_)) return failure_;
    if (answer == IDOK) return S_OK;
    return answer == IDCANCEL ? MAPI_E_USER_CANCEL : MAPI_E_CALL_FAILED;
  }

 private:
  static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) SetWindowLongPtrW(window, DWLP_USER, lParam);
    auto* dialog = reinterpret_cast<ChooseProfile*>(GetWindowLongPtrW(window, DWLP_USER));
    if (!dialog) return FALSE;
    // Exceptions must not pass through the system's window code.
    const HRESULT result =
        guardedMessage([&] { return dialog->handle(window, message, LOWORD(wParam), HIWORD(wParam)); });
    if (FAILED(result)) {
      dialog->failure_ = result;
      EndDialog(window, IDABORT);
    }
    return result == S_OK;
  }

  template <class Call>
  static HRESULT guardedMessage(Call&& call) noexcept {
    try {
      return call();
    } catch (const std::bad_alloc&) {
      return MAPI_E_NOT_ENOUGH_MEMORY;
    } catch (...) {
      return MAPI_E_CALL_FAILED;
    }
  }

  // S_OK: handled, S_FALSE: left to the system.
  HRESULT handle(HWND window, UINT message, WORD control, WORD notification) {
    if (message == WM_INITDIALOG) {
      fill(window);
      return S_OK;
    }
    if (message != WM_COMMAND) return S_FALSE;
    if (control == IDC_PROFILE && notification == CBN_SELCHANGE) {
      showPasswordField(window);
      return S_OK;
    }
    if (control == IDCANCEL) {
      EndDialog(window, IDCANCEL);
      return S_OK;
    }
    return control == IDOK ? accept(window) : S_FALSE;
  }

  void fill(HWND window) {
    const HWND list = GetDlgItem(window, IDC_PROFILE);
    std::size_t initial = 0;
    for (std::size_t i = 0; i < profiles_.size(); ++i) {
      SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(profiles_[i].name.c_str()));
      if (refused_.empty() ? profiles_[i].isDefault : profiles_[i].name == refused_) initial = i;
    }
    SendMessageW(list, CB_SETCURSEL, initial, 0);
    SendDlgItemMessageW(window, IDC_PASSWORD, EM_LIMITTEXT, longestPassword, 0);
    showPasswordField(window);
    if (!refused_.empty()) sayRefused(window);
  }

  void sayRefused(HWND window) {
    SetDlgItemTextW(window, IDC_STATUS, L"The password is wrong. Type it again, or choose another profile.");
    SetDlgItemTextW(window, IDC_PASSWORD, L"");
    SetFocus(GetDlgItem(window, IDC_PASSWORD));
  }

  std::size_t selected(HWND window) const {
    const LRESULT index = SendDlgItemMessageW(window, IDC_PROFILE, CB_GETCURSEL, 0, 0);
    return index < 0 ? profiles_.size() : static_cast<std::size_t>(index);
  }

  void showPasswordField(HWND window) {
    const std::size_t index = selected(window);
    const bool isKnown = index < profiles_.size();
    const bool asks = isKnown && !profiles_[index].password.empty();
    const bool isOnServer = isKnown && profiles_[index].server;
    EnableWindow(GetDlgItem(window, IDC_PASSWORD), asks || isOnServer);
    EnableWindow(GetDlgItem(window, IDC_PASSWORD_LABEL), asks || isOnServer);
    SetDlgItemTextW(window, IDC_PASSWORD, L"");
    SetDlgItemTextW(window, IDC_STATUS,
                    asks         ? L"This profile asks for a password."
                    : isOnServer ? L"Leave the password empty to use the stored one."
                                 : L"");
  }

  HRESULT accept(HWND window) {
    const std::size_t index = selected(window);
    if (index >= profiles_.size()) return S_OK;
    wchar_t password[longestPassword + 1] = {};
    GetDlgItemTextW(window, IDC_PASSWORD, password, longestPassword + 1);
    const HRESULT result = attempt_(profiles_[index], fromWide(password));
    SecureZeroMemory(password, sizeof password);
    if (FAILED(result) && result != MAPI_E_LOGON_FAILED) return result;
    if (FAILED(result))
      sayRefused(window);
    else
      EndDialog(window, IDOK);
    return S_OK;
  }

  static constexpr int longestPassword = 256;
  std::vector<store::Profile> profiles_;
  const std::u16string refused_;
  const LogonAttempt& attempt_;
  HRESULT failure_ = S_OK;
};

}  // namespace

HRESULT logOnByDialog(store::ProfileBook& profiles, ULONG_PTR window, const store::Profile* refused,
                      const LogonAttempt& attempt) {
  std::vector<store::Profile> all;
  if (const auto status = profiles.list(all); status != store::Status::Ok) return toResult(status);
  if (all.empty()) return MAPI_E_LOGON_FAILED;
  // Window handles fit into 32 bits, and callers may have truncated theirs.
  const auto parent = reinterpret_cast<HWND>(static_cast<LONG_PTR>(static_cast<LONG>(window)));
  ChooseProfile dialog(std::move(all), refused ? refused->name : std::u16string(), attempt);
  return dialog.show(IsWindow(parent) ? parent : nullptr);
}

}  // namespace fendrel::provider
