#include "console.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>

#include "exit_codes.h"
#include "text.h"

namespace fendrel::host {
namespace {

std::atomic<bool> cancel{false}, lost{false};
std::atomic<const char*> cancelWords{"stopping"};
HANDLE cancelEvent = nullptr;  // set together with `cancel`

// Several threads write lines and progress.
std::timed_mutex writing;
std::size_t progressWidth = 0;  // of the progress line shown on standard error

bool isConsole(HANDLE handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != 0;
}

bool writeAll(HANDLE handle, std::string_view utf8) {
  if (isConsole(handle)) {
    // A console accepts UTF-16 in any code page.
    const std::wstring wide = toWide(utf8);
    for (std::size_t done = 0; done < wide.size();) {
      DWORD written = 0;
      const auto length = static_cast<DWORD>(wide.size() - done < 8192 ? wide.size() - done : 8192);
      if (!WriteConsoleW(handle, wide.data() + done, length, &written, nullptr) || written == 0) return false;
      done += written;
    }
    return true;
  }
  while (!utf8.empty()) {
    DWORD written = 0;
    const auto length = static_cast<DWORD>(utf8.size() < 1 << 20 ? utf8.size() : 1 << 20);
    if (!WriteFile(handle, utf8.data(), length, &written, nullptr) || written == 0) return false;
    utf8.remove_prefix(written);
  }
  return true;
}

// Spaces and a carriage return: every terminal supports them.
void replaceProgress(std::string_view utf8) {
  if (utf8.empty() && progressWidth == 0) return;
  const std::size_t width = displayWidth(utf8);
  std::string text = "\r" + padded(utf8, progressWidth);
  if (width < progressWidth) text += "\r" + std::string(utf8);
  writeAll(GetStdHandle(STD_ERROR_HANDLE), text);
  progressWidth = width;
}

// Runs on a system thread. The main thread may be blocked in a write that nobody reads.
void tellFromHandler(std::string_view utf8) {
  const std::unique_lock lock(writing, std::chrono::milliseconds(200));
  if (!lock.owns_lock()) return;
  replaceProgress({});
  writeAll(GetStdHandle(STD_ERROR_HANDLE), std::string(utf8) + "\n");
}

BOOL WINAPI onConsoleEvent(DWORD event) {
  const bool again = cancel.exchange(true);
  SetEvent(cancelEvent);
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
    // The system ends the process when this returns, or some seconds later.
    Sleep(INFINITE);
    return TRUE;
  }
  if (again) {
    tellFromHandler("fendrel: Stopped.");
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitCode::cancelled));
  }
  tellFromHandler(std::string("fendrel: ") + cancelWords.load() + "; Ctrl+C again stops now.");
  return TRUE;
}

}  // namespace

bool printLine(std::string_view utf8) {
  const std::scoped_lock lock(writing);
  replaceProgress({});
  if (writeAll(GetStdHandle(STD_OUTPUT_HANDLE), std::string(utf8) + "\n")) return true;
  lost = true;
  return false;
}

bool outputIsLost() { return lost; }

void printError(std::string_view utf8) {
  const std::scoped_lock lock(writing);
  replaceProgress({});
  writeAll(GetStdHandle(STD_ERROR_HANDLE), std::string(utf8) + "\n");
}

void showProgress(std::string_view utf8) {
  const std::scoped_lock lock(writing);
  replaceProgress(utf8);
}

bool errorIsTerminal() {
  static const bool terminal = [] {
    const std::string hint = environmentText(L"FENDREL_TERMINAL");
    if (hint == "yes") return true;
    if (hint == "no") return false;
    const HANDLE handle = GetStdHandle(STD_ERROR_HANDLE);
    return GetFileType(handle) == FILE_TYPE_CHAR && isConsole(handle);
  }();
  return terminal;
}

std::size_t outputWidth() {
  const std::string hint = environmentText(L"FENDREL_COLUMNS");
  if (!hint.empty()) return std::strtoul(hint.c_str(), nullptr, 10);
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 0;
  return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

bool inputIsTerminal() {
  const HANDLE handle = GetStdHandle(STD_INPUT_HANDLE);
  return GetFileType(handle) == FILE_TYPE_CHAR && isConsole(handle);
}

void watchForCancel() {
  cancelEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

bool cancelRequested() { return cancel; }

CancelWords::CancelWords(const char* words) : before_(cancelWords.exchange(words)) {}

CancelWords::~CancelWords() { cancelWords = before_; }

bool waitUnlessCancelled(std::uint32_t milliseconds) {
  if (cancelEvent) return WaitForSingleObject(cancelEvent, milliseconds) == WAIT_TIMEOUT;
  Sleep(milliseconds);  // cancelling is not set up
  return true;
}

}  // namespace fendrel::host
