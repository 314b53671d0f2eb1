// A call that shows modal dialogs, run on a thread of its own so that the test can use the dialogs as a person does.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace fendrel::test {

// The dialogs of one thread, of this process or another.
class DialogThread {
 public:
  explicit DialogThread(DWORD threadId) : threadId_(threadId) {}

  // Waits for a visible dialog or message box with this caption; fails the test and returns null if none appears.
  HWND dialog(const std::wstring& caption) const;

  // Waits until that window is closed.
  void waitForClose(HWND window) const;

  // The window with the keyboard focus, and pressing a key there, which takes effect a little later.
  HWND focus() const;
  void press(WPARAM key) const;

  // Any dialog that is open now, or null.
  HWND openDialog() const;

 private:
  DWORD threadId_;
};

class ModalCall {
 public:
  explicit ModalCall(std::function<void()> call);

  // Waits; a dialog that is still open is cancelled and fails the test.
  ~ModalCall();
  ModalCall(const ModalCall&) = delete;
  ModalCall& operator=(const ModalCall&) = delete;

  // Waits until the call has returned; fails the test when it does not.
  void waitForReturn();
  bool hasReturned() const { return returned_; }

  DialogThread dialogs() const { return DialogThread(threadId_); }
  HWND dialog(const std::wstring& caption) const { return dialogs().dialog(caption); }
  void waitForClose(HWND window) const { dialogs().waitForClose(window); }
  HWND focus() const { return dialogs().focus(); }
  void press(WPARAM key) const { dialogs().press(key); }

 private:
  std::atomic<DWORD> threadId_ = 0;
  std::atomic<bool> returned_ = false;
  std::thread thread_;
};

// Polls until the condition holds; false after ten seconds.
bool waitUntil(const std::function<bool()>& condition);

std::wstring textOf(HWND window);
std::wstring textOf(HWND dialog, int id);
void setText(HWND dialog, int id, const std::wstring& text);

// Presses a button without waiting for what it does.
void click(HWND dialog, int id);

// A message box: its text, and its OK button.
std::wstring boxText(HWND box);
void closeBox(HWND box);

}  // namespace fendrel::test
