#include "logon_dialog.h"

#include <algorithm>
#include <exception>
#include <vector>

#include "password_gate.h"
#include "resource.h"
#include "status_codes.h"
#include "text.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace fendrel::provider {
namespace {

class ChooseProfile {
 public:
  explicit ChooseProfile(std::vector<store::Profile> profiles) : profiles_(std::move(profiles)) {}

  HRESULT show(HWND parent, store::Profile& profile) {
    const INT_PTR answer =
        DialogBoxParamW(reinterpret_cast<HINSTANCE>(&__ImageBase), MAKEINTRESOURCEW(IDD_CHOOSE_PROFILE), parent,
                        &ChooseProfile::procedure, reinterpret_cast<LPARAM>(this));
    if (FAILED(failure_)) return failure_;
    if (answer == IDOK) {
      profile = profiles_[chosen_];
      return S_OK;
    }
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
      if (profiles_[i].isDefault) initial = i;
    }
    SendMessageW(list, CB_SETCURSEL, initial, 0);
    SendDlgItemMessageW(window, IDC_PASSWORD, EM_LIMITTEXT, longestPassword, 0);
    showPasswordField(window);
  }

  std::size_t selected(HWND window) const {
    const LRESULT index = SendDlgItemMessageW(window, IDC_PROFILE, CB_GETCURSEL, 0, 0);
    return index < 0 ? profiles_.size() : static_cast<std::size_t>(index);
  }

  void showPasswordField(HWND window) {
    const std::size_t index = selected(window);
    const bool asks = index < profiles_.size() && !profiles_[index].password.empty();
    EnableWindow(GetDlgItem(window, IDC_PASSWORD), asks);
    EnableWindow(GetDlgItem(window, IDC_PASSWORD_LABEL), asks);
    SetDlgItemTextW(window, IDC_PASSWORD, L"");
    SetDlgItemTextW(window, IDC_STATUS, asks ? L"This profile asks for a password." : L"");
  }

  HRESULT accept(HWND window) {
    const std::size_t index = selected(window);
    if (index >= profiles_.size()) return S_OK;
    wchar_t password[longestPassword + 1] = {};
    GetDlgItemTextW(window, IDC_PASSWORD, password, longestPassword + 1);
    const HRESULT result = tryPassword(profiles_[index], fromWide(password));
    SecureZeroMemory(password, sizeof password);
    if (result == MAPI_E_LOGON_FAILED) {
      SetDlgItemTextW(window, IDC_STATUS, L"The password is wrong. Type it again, or choose another profile.");
      SetDlgItemTextW(window, IDC_PASSWORD, L"");
      SetFocus(GetDlgItem(window, IDC_PASSWORD));
      return S_OK;
    }
    if (FAILED(result)) return result;
    chosen_ = index;
    EndDialog(window, IDOK);
    return S_OK;
  }

  static constexpr int longestPassword = 256;
  std::vector<store::Profile> profiles_;
  std::size_t chosen_ = 0;
  HRESULT failure_ = S_OK;
};

}  // namespace

HRESULT askForProfile(store::ProfileBook& profiles, ULONG_PTR window, store::Profile& profile) {
  std::vector<store::Profile> all;
  if (const auto status = profiles.list(all); status != store::Status::Ok) return toResult(status);
  if (all.empty()) return MAPI_E_LOGON_FAILED;
  // Window handles fit into 32 bits, and callers may have truncated theirs.
  const auto parent = reinterpret_cast<HWND>(static_cast<LONG_PTR>(static_cast<LONG>(window)));
  return ChooseProfile(std::move(all)).show(IsWindow(parent) ? parent : nullptr, profile);
}

}  // namespace fendrel::provider
