// Bytes that end directly before unreadable memory.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <span>

// A copy of `bytes` whose last byte is the last of a page; the page after has no access.
class AtPageEnd {
 public:
  explicit AtPageEnd(std::span<const std::byte> bytes) {
    constexpr std::size_t page = 4096;
    const std::size_t pages = (bytes.size() + page - 1) / page;
    base_ = static_cast<std::byte*>(VirtualAlloc(nullptr, (pages + 1) * page, MEM_RESERVE, PAGE_NOACCESS));
    VirtualAlloc(base_, pages * page, MEM_COMMIT, PAGE_READWRITE);
    start_ = base_ + pages * page - bytes.size();
    std::memcpy(start_, bytes.data(), bytes.size());
  }
  ~AtPageEnd() { VirtualFree(base_, 0, MEM_RELEASE); }
  AtPageEnd(const AtPageEnd&) = delete;
  AtPageEnd& operator=(const AtPageEnd&) = delete;

  std::byte* get() const noexcept { return start_; }

 private:
  std::byte* base_;
  std::byte* start_;
};
