#include "guarded_heap.h"

#include <windows.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <utility>

#include "running_case.h"

namespace {

constexpr std::size_t pageSize = 4096;
constexpr std::size_t pageCount = 1 << 18;  // of the reservation, 1 GiB

// A block with its pages and the unreadable page on either side; described at its first page.
struct Slot {
  std::size_t pages;  // 0: no slot begins here
  std::size_t size;   // of the block
  bool freed;
};

SRWLOCK g_lock = SRWLOCK_INIT;  // for what follows
std::byte* g_pages;             // the reservation
std::size_t g_next;             // the page where the search for room begins
Slot g_slots[pageCount];
std::uint32_t g_firstPages[pageCount];  // of the slot that has the page

std::atomic<std::size_t> g_liveBlocks;
std::atomic<std::size_t> g_untilFailure;  // allocations up to and with the one that fails; 0: none fails

class Locked {
 public:
  Locked() { AcquireSRWLockExclusive(&g_lock); }
  ~Locked() { ReleaseSRWLockExclusive(&g_lock); }
  Locked(const Locked&) = delete;
};

std::size_t alignmentFor(std::size_t size) {
  const std::size_t lowestBit = size & (~size + 1);
  return size == 0 || lowestBit > 16 ? 16 : lowestBit;
}

std::size_t dataPages(std::size_t size) { return size == 0 ? 1 : (size + pageSize - 1) / pageSize; }
std::byte* dataOf(const Slot& slot) { return g_pages + (&slot - g_slots + 1) * pageSize; }

std::byte* blockOf(const Slot& slot) {
  const std::size_t alignment = alignmentFor(slot.size);
  return dataOf(slot) + dataPages(slot.size) * pageSize - (slot.size + alignment - 1) / alignment * alignment;
}

// The slot that contains `address`, or null.
Slot* slotOf(const void* address) {
  const auto offset = reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(g_pages);
  if (!g_pages || offset >= pageCount * pageSize) return nullptr;
  const std::size_t page = offset / pageSize;
  Slot& slot = g_slots[g_firstPages[page]];
  return page < g_firstPages[page] + slot.pages ? &slot : nullptr;
}

// Takes the next `pages` pages without a live block. Freed slots in them end.
Slot* takeSlot(std::size_t pages, std::size_t size) {
  if (!g_pages)
    g_pages = static_cast<std::byte*>(VirtualAlloc(nullptr, pageCount * pageSize, MEM_RESERVE, PAGE_NOACCESS));
  if (!g_pages || pages > pageCount) return nullptr;
  std::size_t first = g_next;
  bool wrapped = false;
  for (std::size_t page = first; page < first + pages;) {
    if (first + pages > pageCount) {
      if (std::exchange(wrapped, true)) return nullptr;
      page = first = 0;
    }
    Slot* const slot = slotOf(g_pages + page * pageSize);
    page = slot ? slot - g_slots + slot->pages : page + 1;
    if (slot && !slot->freed) first = page;
    if (slot && slot->freed) slot->pages = 0;
  }
  g_next = first + pages;
  for (std::size_t page = first; page < g_next; ++page) g_firstPages[page] = static_cast<std::uint32_t>(first);
  g_slots[first] = {pages, size, false};
  return &g_slots[first];
}

[[noreturn]] void stop(const char* what, const Slot* slot, const void* address, const void* code) {
  char text[700];
  char name[200];
  char module[MAX_PATH] = "?";
  HMODULE handle = nullptr;
  if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const char*>(code), &handle))
    GetModuleFileNameA(handle, module, sizeof module);
  const int length = std::snprintf(
      text, sizeof text, "GUARDED HEAP in %s: %s: %lld bytes from the start of a %s block of %zu bytes, by %s+0x%llx\n",
      runningCase(name), what, static_cast<long long>(static_cast<const std::byte*>(address) - blockOf(*slot)),
      slot->freed ? "freed" : "live", slot->size, module,
      static_cast<unsigned long long>(static_cast<const char*>(code) - reinterpret_cast<const char*>(handle)));
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
  TerminateProcess(GetCurrentProcess(), guardedHeapExitCode);
  for (;;) Sleep(INFINITE);
}

LONG CALLBACK onAccess(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || record.NumberParameters < 2)
    return EXCEPTION_CONTINUE_SEARCH;
  const auto* const address = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
  if (const Slot* const slot = slotOf(address))
    stop(record.ExceptionInformation[0] == 0 ? "read out of bounds" : "write out of bounds", slot, address,
         record.ExceptionAddress);
  return EXCEPTION_CONTINUE_SEARCH;
}

// Ends with the module: a handler in a library that is gone would end the process at the next exception, of which the
// system raises one for every text that a failing test sends to a debugger.
struct Watch {
  ~Watch() {
    if (handler) RemoveVectoredExceptionHandler(handler);
  }
  void* handler = nullptr;
} g_watch;

void watchOnce() {
  static std::atomic_flag watching = ATOMIC_FLAG_INIT;
  if (!watching.test_and_set()) g_watch.handler = AddVectoredExceptionHandler(1, onAccess);
}

void* allocate(std::size_t size) noexcept {
  watchOnce();
  if (size > SIZE_MAX / 2 || (g_untilFailure != 0 && --g_untilFailure == 0)) {
    errno = ENOMEM;
    return nullptr;
  }
  Slot* slot = nullptr;
  {
    const Locked locked;
    slot = takeSlot(dataPages(size) + 2, size);
  }
  if (!slot || !VirtualAlloc(dataOf(*slot), dataPages(size) * pageSize, MEM_COMMIT, PAGE_READWRITE)) {
    if (slot) slot->freed = true;
    errno = ENOMEM;
    return nullptr;
  }
  std::memset(dataOf(*slot), 0xCD, dataPages(size) * pageSize);
  ++g_liveBlocks;
  return blockOf(*slot);
}

using Free = void(__cdecl*)(void*);

// Blocks that the C runtime's functions allocated are freed by the runtime.
void freeForeign(void* block) {
  static const auto runtimeFree = reinterpret_cast<Free>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "free"));
  if (runtimeFree) runtimeFree(block);
}

void release(void* block, const void* caller) noexcept {
  if (!block) return;
  Slot* const slot = slotOf(block);
  if (!slot) return freeForeign(block);
  if (slot->freed) stop("freed twice", slot, block, caller);
  if (blockOf(*slot) != block) stop("free of an address inside", slot, block, caller);
  VirtualFree(dataOf(*slot), dataPages(slot->size) * pageSize, MEM_DECOMMIT);
  --g_liveBlocks;
  const Locked locked;
  slot->freed = true;
}

}  // namespace

std::size_t guardedHeapLiveBlocks() noexcept { return g_liveBlocks; }
void guardedHeapFail(std::size_t nth) noexcept { g_untilFailure = nth; }

extern "C" {

void* malloc(std::size_t size) { return allocate(size); }

void* calloc(std::size_t count, std::size_t size) {
  if (size != 0 && count > SIZE_MAX / size) {
    errno = ENOMEM;
    return nullptr;
  }
  void* const block = allocate(count * size);
  if (block) std::memset(block, 0, count * size);
  return block;
}

void free(void* block) { release(block, __builtin_return_address(0)); }

void* realloc(void* block, std::size_t size) {
  if (!block) return allocate(size);
  if (size == 0) {
    free(block);
    return nullptr;
  }
  const Slot* const slot = slotOf(block);
  if (!slot || blockOf(*slot) != block || slot->freed)
    stop("realloc of no live block", slot ? slot : g_slots, block, __builtin_return_address(0));
  void* const moved = allocate(size);
  if (!moved) return nullptr;
  std::memcpy(moved, block, slot->size < size ? slot->size : size);
  free(block);
  return moved;
}

wchar_t* _wcsdup(const wchar_t* text) {
  const std::size_t size = (std::wcslen(text) + 1) * sizeof(wchar_t);
  auto* const copy = static_cast<wchar_t*>(allocate(size));
  if (copy) std::memcpy(copy, text, size);
  return copy;
}

char* _strdup(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  auto* const copy = static_cast<char*>(allocate(size));
  if (copy) std::memcpy(copy, text, size);
  return copy;
}

// For calls through the import table.
void* (*__imp_malloc)(std::size_t) = malloc;
void* (*__imp_calloc)(std::size_t, std::size_t) = calloc;
void* (*__imp_realloc)(void*, std::size_t) = realloc;
void (*__imp_free)(void*) = free;
wchar_t* (*__imp__wcsdup)(const wchar_t*) = _wcsdup;
char* (*__imp__strdup)(const char*) = _strdup;

}  // extern "C"
