#include "console_interrupts.h"

#include <windows.h>

#include <atomic>

namespace fendrel::store {
namespace {

std::atomic<std::uint32_t> interrupts{0};
std::atomic<bool> isConsoleClosing{false};
thread_local std::optional<std::uint32_t> interruptsAtBegin;

// Runs on a thread of the system. FALSE: earlier handlers run next, and finally the system's, which ends the process.
BOOL WINAPI countInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) isConsoleClosing = true;
  ++interrupts;
  return FALSE;
}

}  // namespace

// The system's list may hold a handler several times.
ConsoleInterrupts::ConsoleInterrupts() noexcept { SetConsoleCtrlHandler(countInterrupt, TRUE); }

ConsoleInterrupts::~ConsoleInterrupts() {
  // The system locks the list while it calls the handlers, and the handler of a closing console may never return.
  if (!isConsoleClosing) SetConsoleCtrlHandler(countInterrupt, FALSE);
}

InterruptibleCall::InterruptibleCall() noexcept : before_(interruptsAtBegin) {
  if (!before_) interruptsAtBegin = interrupts;
}

InterruptibleCall::~InterruptibleCall() { interruptsAtBegin = before_; }

bool isInterrupted() noexcept { return interruptsAtBegin && *interruptsAtBegin != interrupts; }

}  // namespace fendrel::store
