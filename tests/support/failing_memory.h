// Makes an allocation of a module fail.
#pragma once

#include <windows.h>

// While it lives, the nth allocation of the module (from 1; the test program's own, unless another is given) through
// the C runtime fails, and with it operator new. All others go on. One at a time, on one thread.
// Blocks are counted from the start, to find leaks of the module's calls.
class FailingMemory {
 public:
  explicit FailingMemory(int nth, HMODULE module = GetModuleHandleW(nullptr));
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  // The result.
  struct Outcome {
    bool failed;  // there was an nth allocation
    long blocks;  // allocated less freed
  };

  // Ends it and returns the result.
  Outcome end();

 private:
  struct Hooks;
  Hooks* hooks_;
};

// Whether the module allocates in the C runtime: one on the guarded heap does not.
bool allocatesInTheRuntime(HMODULE module = GetModuleHandleW(nullptr));

// Runs `call` with its nth allocation failing.
template <class Call>
FailingMemory::Outcome withFailingAllocation(int nth, Call call, HMODULE module = GetModuleHandleW(nullptr)) {
  FailingMemory memory(nth, module);
  call();
  return memory.end();
}
