#include "console.h"

#include <windows.h>

#include <atomic>
#include <mutex>

#include "text.h"

namespace fendrel::host {
namespace {

std::atomic<bool> cancel{false};

// Lines and progress come from two threads.
std::mutex writing;
std::size_t progressWidth = 0;  // of the progress line that stands on standard error

BOOL WINAPI onConsoleEvent(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  cancel = true;
  return TRUE;
}

bool isConsole(HANDLE handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != 0;
}

bool writeAll(HANDLE handle, std::string_view utf8) {
  if (isConsole(handle)) {
    // A console takes UTF-16 whatever its code page is.
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

// Blanks and a carriage return: every terminal knows them.
void replaceProgress(std::string_view utf8) {
  if (utf8.empty() && progressWidth == 0) return;
  const std::size_t width = displayWidth(utf8);
  std::string text = "\r" + padded(utf8, progressWidth);
  if (width < progressWidth) text += "\r" + std::string(utf8);
  writeAll(GetStdHandle(STD_ERROR_HANDLE), text);
  progressWidth = width;
}

}  // namespace

bool printLine(std::string_view utf8) {
  const std::scoped_lock lock(writing);
  replaceProgress({});
  return writeAll(GetStdHandle(STD_OUTPUT_HANDLE), std::string(utf8) + "\n");
}

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

void watchForCancel() { SetConsoleCtrlHandler(onConsoleEvent, TRUE); }

bool cancelRequested() { return cancel; }

}  // namespace fendrel::host
