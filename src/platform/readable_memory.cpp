#include "readable_memory.h"

#include <windows.h>

#include <algorithm>

namespace fendrel {
namespace {

bool isReadable(const MEMORY_BASIC_INFORMATION& pages) noexcept {
  constexpr DWORD readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                             PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  return pages.State == MEM_COMMIT && (pages.Protect & readable) != 0 && (pages.Protect & PAGE_GUARD) == 0;
}

}  // namespace

std::size_t readableBytes(const void* start, std::size_t wanted) noexcept {
  const auto* const first = static_cast<const std::byte*>(start);
  std::size_t count = 0;
  while (count < wanted) {
    MEMORY_BASIC_INFORMATION pages;
    if (VirtualQuery(first + count, &pages, sizeof pages) != sizeof pages || !isReadable(pages)) break;
    const auto* const end = static_cast<const std::byte*>(pages.BaseAddress) + pages.RegionSize;
    count = static_cast<std::size_t>(end - first);
  }
  return std::min(count, wanted);
}

}  // namespace fendrel
