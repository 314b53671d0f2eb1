#include "modal_call.h"

#include <gtest/gtest.h>

#include <chrono>

namespace fendrel::test {
namespace {

constexpr auto patience = std::chrono::seconds(10);
constexpr auto pause = std::chrono::milliseconds(2);
constexpr int messageBoxText = 0xFFFF;

struct Search {
  const std::wstring* caption;  // null: any
  HWND found = nullptr;
};

BOOL CALLBACK findDialog(HWND window, LPARAM parameter) {
  auto& search = *reinterpret_cast<Search*>(parameter);
  wchar_t className[32];
  GetClassNameW(window, className, 32);
  if (!IsWindowVisible(window) || std::wstring(className) != L"#32770") return TRUE;
  if (search.caption && textOf(window) != *search.caption) return TRUE;
  search.found = window;
  return FALSE;
}

HWND findDialogOf(DWORD threadId, const std::wstring* caption) {
  Search search{caption};
  EnumThreadWindows(threadId, findDialog, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

}  // namespace

bool waitUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(pause);
  }
  return true;
}

ModalCall::ModalCall(std::function<void()> call)
    : thread_([this, call = std::move(call)] {
        threadId_ = GetCurrentThreadId();
        call();
        returned_ = true;
      }) {
  waitUntil([this] { return threadId_ != 0; });
}

ModalCall::~ModalCall() {
  if (!returned_ && !waitUntil([this] { return returned_ || dialogs().openDialog(); }))
    ADD_FAILURE() << "the call neither returns nor shows a dialog";
  while (!returned_) {
    if (HWND left = dialogs().openDialog()) {
      ADD_FAILURE() << "a dialog was left open";
      PostMessageW(left, WM_COMMAND, IDCANCEL, 0);
    }
    std::this_thread::sleep_for(pause);
  }
  thread_.join();
}

void ModalCall::waitForReturn() {
  EXPECT_TRUE(waitUntil([this] { return returned_.load(); })) << "the call does not return";
}

HWND DialogThread::openDialog() const { return findDialogOf(threadId_, nullptr); }

HWND DialogThread::dialog(const std::wstring& caption) const {
  HWND found = nullptr;
  waitUntil([&] { return (found = findDialogOf(threadId_, &caption)) != nullptr; });
  EXPECT_TRUE(found) << "no dialog appears";
  return found;
}

void DialogThread::waitForClose(HWND window) const {
  EXPECT_TRUE(waitUntil([&] { return !IsWindow(window); })) << "the window stays";
}

HWND DialogThread::focus() const {
  GUITHREADINFO info = {};
  info.cbSize = sizeof info;
  GetGUIThreadInfo(threadId_, &info);
  // Another program's window may be in front: a person would click back.
  if (!info.hwndFocus) SetForegroundWindow(openDialog());
  return info.hwndFocus;
}

void DialogThread::press(WPARAM key) const {
  HWND window = nullptr;
  ASSERT_TRUE(waitUntil([&] { return (window = focus()) != nullptr; })) << "no window has the focus";
  const auto scanCode = static_cast<LPARAM>(MapVirtualKeyW(static_cast<UINT>(key), MAPVK_VK_TO_VSC)) << 16;
  PostMessageW(window, WM_KEYDOWN, key, 1 | scanCode);
  PostMessageW(window, WM_KEYUP, key, 1 | scanCode | 0xC0000000);
}

std::wstring textOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
  text.resize(
      static_cast<std::size_t>(SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return text;
}

std::wstring textOf(HWND dialog, int id) { return textOf(GetDlgItem(dialog, id)); }

void setText(HWND dialog, int id, const std::wstring& text) {
  SendMessageW(GetDlgItem(dialog, id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void click(HWND dialog, int id) { PostMessageW(GetDlgItem(dialog, id), BM_CLICK, 0, 0); }

std::wstring boxText(HWND box) { return textOf(box, messageBoxText); }

// A box with an OK button alone gives it the id of Cancel on some systems.
void closeBox(HWND box) { click(box, GetDlgItem(box, IDOK) ? IDOK : IDCANCEL); }

}  // namespace fendrel::test
