// Ctrl+C in the program's console, as the wish to give up what is waited for.
#pragma once

#include <cstdint>
#include <optional>

namespace fendrel::store {

// While one lives, the console's interrupts are counted. The program's own handlers run all the same, and a program
// without a console has none.
class ConsoleInterrupts {
 public:
  ConsoleInterrupts() noexcept;
  ~ConsoleInterrupts();
  ConsoleInterrupts(const ConsoleInterrupts&) = delete;
  ConsoleInterrupts& operator=(const ConsoleInterrupts&) = delete;
};

// While the outermost one of its thread lives, an interrupt ends what that thread waits for.
class InterruptibleCall {
 public:
  InterruptibleCall() noexcept;
  ~InterruptibleCall();
  InterruptibleCall(const InterruptibleCall&) = delete;
  InterruptibleCall& operator=(const InterruptibleCall&) = delete;

 private:
  const std::optional<std::uint32_t> before_;
};

// Whether one came since this thread's call began.
bool isInterrupted() noexcept;

}  // namespace fendrel::store
