// A user of the "Choose Profile" dialog.
#pragma once

#include <windows.h>

#include <atomic>
#include <string>
#include <thread>

// Does something to the "Choose Profile" dialog of this process as soon as it is there.
class DialogUser {
 public:
  template <class Act>
  explicit DialogUser(Act act)
      : thread_([this, act] {
          for (int tries = 0; tries < 1500 && !stop_; ++tries) {
            Sleep(10);
            const HWND window = FindWindowW(L"#32770", L"Choose Profile");
            DWORD process = 0;
            if (!window || !GetWindowThreadProcessId(window, &process) || process != GetCurrentProcessId()) continue;
            if (!IsWindowVisible(window)) continue;
            act(window);
            return;
          }
        }) {}
  ~DialogUser() {
    stop_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

inline constexpr int profileList = 1001, passwordField = 1002, statusLine = 1004;

inline void press(HWND window, int button) { SendMessageW(GetDlgItem(window, button), BM_CLICK, 0, 0); }

inline void choose(HWND window, const wchar_t* profile) {
  const HWND list = GetDlgItem(window, profileList);
  const LRESULT index =
      SendMessageW(list, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(profile));
  SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
  SendMessageW(window, WM_COMMAND, MAKEWPARAM(profileList, CBN_SELCHANGE), reinterpret_cast<LPARAM>(list));
}

inline std::wstring itemText(HWND window, int item) {
  wchar_t text[256] = {};
  GetDlgItemTextW(window, item, text, 256);
  return text;
}
