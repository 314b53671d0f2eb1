#include "readable_memory.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace fendrel {
namespace {

bool isReadable(const MEMORY_BASIC_INFORMATION& pages) noexcept {
  constexpr DWORD readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                             PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  return pages.State == MEM_COMMIT && (pages.Protect & readable) != 0 && (pages.Protect & PAGE_GUARD) == 0;
}

// The end of the region of committed, readable pages that contains `address`; null if there is none.
const std::byte* endOfRegion(const std::byte* address) noexcept {
  MEMORY_BASIC_INFORMATION pages;
  if (VirtualQuery(address, &pages, sizeof pages) != sizeof pages || !isReadable(pages)) return nullptr;
  return static_cast<const std::byte*>(pages.BaseAddress) + pages.RegionSize;
}

// Walks from region to region. A character may cross a boundary, because a host's text may have an odd address.
template <class Character>
bool endsReadable(const Character* text) noexcept {
  const auto* next = reinterpret_cast<const std::byte*>(text);
  for (const std::byte* end = next;; next += sizeof(Character)) {
    while (end < next + sizeof(Character))
      if (end = endOfRegion(end); !end) return false;
    Character character;
    std::memcpy(&character, next, sizeof character);
    if (character == 0) return true;
  }
}

}  // namespace

bool isReadableText(const char* text) noexcept { return endsReadable(text); }
bool isReadableText(const wchar_t* text) noexcept { return endsReadable(text); }

std::size_t readableBytes(const void* start, std::size_t wanted) noexcept {
  const auto* const first = static_cast<const std::byte*>(start);
  std::size_t count = 0;
  while (count < wanted) {
    const std::byte* const end = endOfRegion(first + count);
    if (!end) break;
    count = static_cast<std::size_t>(end - first);
  }
  return std::min(count, wanted);
}

}  // namespace fendrel
