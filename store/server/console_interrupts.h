// Ctrl+C in the program's console cancels a wait.
#pragma once

#include <cstdint>
#include <optional>

namespace fendrel::store {

// Counts the console's interrupts while it lives. The program's own handlers still run. A program without a console
// gets no interrupts.
class ConsoleInterrupts {
 public:
  ConsoleInterrupts() noexcept;
  ~ConsoleInterrupts();
  ConsoleInterrupts(const ConsoleInterrupts&) = delete;
  ConsoleInterrupts& operator=(const ConsoleInterrupts&) = delete;
};

// While one lives, an interrupt ends what its thread waits for. May be nested.
class InterruptibleCall {
 public:
  InterruptibleCall() noexcept;
  ~InterruptibleCall();
  InterruptibleCall(const InterruptibleCall&) = delete;
  InterruptibleCall& operator=(const InterruptibleCall&) = delete;

 private:
  const std::optional<std::uint32_t> before_;
};

// Whether an interrupt came since this thread's outermost InterruptibleCall began.
bool isInterrupted() noexcept;

}  // namespace fendrel::store
