#include "failing_memory.h"

#include <cstddef>
#include <cwchar>
#include <optional>

#include "import_hook.h"

namespace {

constexpr const char* runtime = "msvcrt.dll";

// The runtime's functions, regardless of a module's import table.
struct Runtime {
  template <class Function>
  static Function of(const char* name) {
    return reinterpret_cast<Function>(GetProcAddress(GetModuleHandleA(runtime), name));
  }
  void* (*allocate)(std::size_t) = of<decltype(allocate)>("malloc");
  void* (*allocateZeroed)(std::size_t, std::size_t) = of<decltype(allocateZeroed)>("calloc");
  void* (*reallocate)(void*, std::size_t) = of<decltype(reallocate)>("realloc");
  wchar_t* (*duplicate)(const wchar_t*) = of<decltype(duplicate)>("_wcsdup");
  char* (*duplicateBytes)(const char*) = of<decltype(duplicateBytes)>("_strdup");
  void (*release)(void*) = of<decltype(release)>("free");
};

struct State {
  Runtime original;
  int untilFailure = 0;
  bool failed = false;
  long blocks = 0;

  bool fails() {
    if (untilFailure == 0 || --untilFailure != 0) return false;
    failed = true;
    return true;
  }
  template <class Block>
  Block* counted(Block* block) {
    if (block) ++blocks;
    return block;
  }
};
State* state;

void* allocate(std::size_t size) { return state->fails() ? nullptr : state->counted(state->original.allocate(size)); }
void* allocateZeroed(std::size_t count, std::size_t size) {
  return state->fails() ? nullptr : state->counted(state->original.allocateZeroed(count, size));
}
void* reallocate(void* block, std::size_t size) {
  if (state->fails()) return nullptr;
  void* const moved = state->original.reallocate(block, size);
  return block ? moved : state->counted(moved);
}
wchar_t* duplicate(const wchar_t* text) {
  return state->fails() ? nullptr : state->counted(state->original.duplicate(text));
}
char* duplicateBytes(const char* text) {
  return state->fails() ? nullptr : state->counted(state->original.duplicateBytes(text));
}
void release(void* block) {
  if (block) --state->blocks;
  state->original.release(block);
}

// A function that the module may lack.
class OptionalHook {
 public:
  template <class Function>
  OptionalHook(HMODULE module, const char* name, Function* replacement) {
    if (fendrel::test::ImportHook::isImported(runtime, name, module)) hook_.emplace(runtime, name, replacement, module);
  }

 private:
  std::optional<fendrel::test::ImportHook> hook_;
};

}  // namespace

struct FailingMemory::Hooks {
  explicit Hooks(HMODULE module)
      : allocateHook(module, "malloc", allocate),
        allocateZeroedHook(module, "calloc", allocateZeroed),
        reallocateHook(module, "realloc", reallocate),
        duplicateHook(module, "_wcsdup", duplicate),
        duplicateBytesHook(module, "_strdup", duplicateBytes),
        releaseHook(module, "free", release) {}

  OptionalHook allocateHook, allocateZeroedHook, reallocateHook, duplicateHook, duplicateBytesHook, releaseHook;
};

bool allocatesInTheRuntime(HMODULE module) { return fendrel::test::ImportHook::isImported(runtime, "malloc", module); }

FailingMemory::FailingMemory(int nth, HMODULE module) {
  state = new State;
  hooks_ = new Hooks(module);
  // Counts from now on, without the hooks' own allocations.
  state->blocks = 0;
  state->failed = false;
  state->untilFailure = nth;
}

FailingMemory::~FailingMemory() { end(); }

FailingMemory::Outcome FailingMemory::end() {
  if (!hooks_) return {};
  const Outcome outcome{state->failed, state->blocks};
  state->untilFailure = 0;
  delete hooks_;
  delete state;
  hooks_ = nullptr;
  return outcome;
}
