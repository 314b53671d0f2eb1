#include "buffers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "recorder.h"

namespace recording {
namespace {

constexpr std::size_t guardSize = 16;
constexpr BYTE guardByte = 0xFB;
constexpr BYTE freshByte = 0xCD;  // new memory is not zero
constexpr BYTE freedByte = 0xDD;

}  // namespace

Buffers& buffers() {
  static Buffers one;
  return one;
}

void* Buffers::add(std::size_t size, void* top, std::string origin) {
  auto memory = std::make_unique<BYTE[]>(size + 2 * guardSize);
  std::memset(memory.get(), guardByte, size + 2 * guardSize);
  BYTE* const start = memory.get() + guardSize;
  std::memset(start, freshByte, size);
  blocks_.emplace(start, Block{std::move(memory), size, top, std::move(origin)});
  return start;
}

void* Buffers::allocate(std::size_t size, std::string origin) { return add(size, nullptr, std::move(origin)); }

void* Buffers::allocateMore(std::size_t size, void* top) {
  const auto known = blocks_.find(top);
  if (known == blocks_.end() || !known->second.live || known->second.top) {
    recorder().fault("memory was chained to something that is not a live block of MAPIAllocateBuffer");
    return nullptr;
  }
  return add(size, top, "chained to " + known->second.origin);
}

bool Buffers::guardsIntact(const Block& block) {
  const auto isGuard = [](BYTE byte) { return byte == guardByte; };
  const BYTE* const start = block.memory.get();
  return std::all_of(start, start + guardSize, isGuard) &&
         std::all_of(start + guardSize + block.size, start + 2 * guardSize + block.size, isGuard);
}

void Buffers::retire(Block& block) {
  if (!guardsIntact(block)) recorder().fault("written past a block: " + block.origin);
  std::memset(block.memory.get() + guardSize, freedByte, block.size);
  block.live = false;
}

bool Buffers::free(void* block) {
  const auto known = blocks_.find(block);
  if (known == blocks_.end()) {
    recorder().fault("MAPIFreeBuffer of an address that was never allocated");
    return false;
  }
  if (known->second.top) {
    recorder().fault("MAPIFreeBuffer of a chained block");
    return false;
  }
  if (!known->second.live) {
    recorder().fault("freed twice: " + known->second.origin);
    return false;
  }
  for (auto& [address, other] : blocks_)
    if (other.top == block && other.live) retire(other);
  retire(known->second);
  return true;
}

uint32_t Buffers::count(bool top) const {
  return static_cast<uint32_t>(std::ranges::count_if(
      blocks_, [&](const auto& entry) { return entry.second.live && (entry.second.top == nullptr) == top; }));
}

std::string Buffers::describeLive() const {
  std::string text;
  for (const auto& [address, block] : blocks_)
    if (block.live) text += fmt::format("{} bytes: {}\n", block.size, block.origin);
  return text;
}

void Buffers::checkFreedBlocks() {
  for (auto& [address, block] : blocks_) {
    if (block.live || block.reported) continue;
    const BYTE* const start = block.memory.get() + guardSize;
    if (std::all_of(start, start + block.size, [](BYTE byte) { return byte == freedByte; })) continue;
    block.reported = true;
    recorder().fault("written after it was freed: " + block.origin);
  }
}

}  // namespace recording
