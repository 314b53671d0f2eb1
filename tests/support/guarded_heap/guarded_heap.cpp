#include "guarded_heap.h"

#include <windows.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <utility>

#include "running_case.h"

namespace {

constexpr std::size_t pageSize = 4096;
constexpr std::uint64_t headerMagic = 0x9D3A'6C51'E8F2'07B4;

struct Header {
  std::uint64_t magic;
  std::byte* block;
  std::size_t size;
  bool freed;
};

std::atomic<std::size_t> g_liveBlocks;
std::atomic<std::size_t> g_untilFailure;  // allocations up to and with the one that fails; 0: none fails

std::size_t roundToPages(std::size_t size) { return (size + pageSize - 1) / pageSize * pageSize; }

std::size_t alignmentFor(std::size_t size) {
  const std::size_t lowestBit = size & (~size + 1);
  return size == 0 || lowestBit > 16 ? 16 : lowestBit;
}

// The header of the reservation that contains `address`, or null if it is not this heap's.
Header* headerOf(const void* address) {
  MEMORY_BASIC_INFORMATION pages;
  if (VirtualQuery(address, &pages, sizeof pages) != sizeof pages || pages.State == MEM_FREE) return nullptr;
  auto* const header = static_cast<Header*>(pages.AllocationBase);
  MEMORY_BASIC_INFORMATION first;
  if (VirtualQuery(header, &first, sizeof first) != sizeof first || first.State != MEM_COMMIT ||
      (first.Protect & (PAGE_READWRITE | PAGE_READONLY | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE)) == 0)
    return nullptr;
  return header->magic == headerMagic ? header : nullptr;
}

[[noreturn]] void stop(const char* what, const Header* header, const void* address, const void* code) {
  char text[700];
  char name[200];
  char module[MAX_PATH] = "?";
  HMODULE handle = nullptr;
  if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const char*>(code), &handle))
    GetModuleFileNameA(handle, module, sizeof module);
  const int length = std::snprintf(
      text, sizeof text, "GUARDED HEAP in %s: %s: %lld bytes from the start of a %s block of %zu bytes, by %s+0x%llx\n",
      runningCase(name), what, static_cast<long long>(static_cast<const std::byte*>(address) - header->block),
      header->freed ? "freed" : "live", header->size, module,
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
  if (const Header* const header = headerOf(address))
    stop(record.ExceptionInformation[0] == 0 ? "read out of bounds" : "write out of bounds", header, address,
         record.ExceptionAddress);
  return EXCEPTION_CONTINUE_SEARCH;
}

// Freed blocks whose addresses are kept out of use.
void* g_kept[8192];

// Ends with the module, as do the kept blocks: a handler in a library that is gone would end the process at the next exception, of which
// the system raises one for every text that a failing test sends to a debugger.
struct Watch {
  ~Watch() {
    if (handler) RemoveVectoredExceptionHandler(handler);
    for (void*& base : g_kept)
      if (void* const kept = std::exchange(base, nullptr)) VirtualFree(kept, 0, MEM_RELEASE);
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
  const std::size_t data = roundToPages(size == 0 ? 1 : size);
  auto* const base =
      static_cast<std::byte*>(VirtualAlloc(nullptr, pageSize + pageSize + data + pageSize, MEM_RESERVE, PAGE_NOACCESS));
  if (!base || !VirtualAlloc(base, pageSize, MEM_COMMIT, PAGE_READWRITE) ||
      !VirtualAlloc(base + 2 * pageSize, data, MEM_COMMIT, PAGE_READWRITE)) {
    errno = ENOMEM;
    return nullptr;
  }
  std::byte* const end = base + 2 * pageSize + data;
  const std::size_t alignment = alignmentFor(size);
  auto* const block = end - (size + alignment - 1) / alignment * alignment;
  std::memset(base + 2 * pageSize, 0xCD, data);
  *reinterpret_cast<Header*>(base) = {headerMagic, block, size, false};
  ++g_liveBlocks;
  return block;
}

using Free = void(__cdecl*)(void*);

// Blocks that the C runtime's functions allocated are freed by the runtime.
void freeForeign(void* block) {
  static const auto runtimeFree = reinterpret_cast<Free>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "free"));
  if (runtimeFree) runtimeFree(block);
}

// Keeps the address of a freed block unused until many others have been freed; not for ever, because the system limits
// mappings.
void keepFreed(void* base) noexcept {
  static SRWLOCK lock = SRWLOCK_INIT;
  static std::size_t next;
  AcquireSRWLockExclusive(&lock);
  std::swap(base, g_kept[next]);
  next = (next + 1) % std::size(g_kept);
  ReleaseSRWLockExclusive(&lock);
  if (base) VirtualFree(base, 0, MEM_RELEASE);
}

void release(void* block, const void* caller) noexcept {
  if (!block) return;
  Header* const header = headerOf(block);
  if (!header) return freeForeign(block);
  if (header->freed) stop("freed twice", header, block, caller);
  if (header->block != block) stop("free of an address inside", header, block, caller);
  header->freed = true;
  --g_liveBlocks;
  auto* const base = reinterpret_cast<std::byte*>(header);
  VirtualFree(base + 2 * pageSize, roundToPages(header->size == 0 ? 1 : header->size), MEM_DECOMMIT);
  keepFreed(base);
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
  const Header* const header = headerOf(block);
  static const Header none{};
  if (!header || header->block != block || header->freed)
    stop("realloc of no live block", header ? header : &none, block, __builtin_return_address(0));
  void* const moved = allocate(size);
  if (!moved) return nullptr;
  std::memcpy(moved, block, header->size < size ? header->size : size);
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
