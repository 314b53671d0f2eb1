#include "mapi_memory.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>
#include <unordered_set>

namespace fendrel::utility {
namespace {

// Precedes each block's bytes.
struct alignas(16) BlockHead {
  BlockHead* next;  // the next block of the chain, the latest first
};

// The live top blocks, so that freeing a block twice or a foreign block is detected without accessing it.
struct LivingBlocks {
  std::mutex mutex;
  std::unordered_set<void*> tops;
};

LivingBlocks& living() {
  // Never destroyed: clients may free blocks while the process ends.
  static LivingBlocks& blocks = *new LivingBlocks;
  return blocks;
}

BlockHead* headOf(void* block) { return static_cast<BlockHead*>(block) - 1; }

BlockHead* newBlock(std::size_t size) {
  if (size > std::numeric_limits<ULONG>::max() - sizeof(BlockHead)) throw std::bad_alloc();
  // A multiple of 8 bytes: some heaps align a block by its size.
  auto* head = static_cast<BlockHead*>(std::calloc((sizeof(BlockHead) + size + 7) / 8, 8));
  if (!head) throw std::bad_alloc();
  return head;
}

}  // namespace

void* allocateTop(std::size_t size) {
  BlockHead* head = newBlock(size);
  try {
    std::lock_guard lock(living().mutex);
    living().tops.insert(head + 1);
  } catch (...) {
    std::free(head);
    throw;
  }
  return head + 1;
}

HRESULT allocateBelow(void* top, std::size_t size, void*& block) {
  BlockHead* head = newBlock(size);
  std::lock_guard lock(living().mutex);
  if (!living().tops.contains(top)) {
    std::free(head);
    return MAPI_E_INVALID_PARAMETER;
  }
  head->next = headOf(top)->next;
  headOf(top)->next = head;
  block = head + 1;
  return S_OK;
}

bool freeChain(void* top) noexcept {
  if (!top) return true;
  {
    std::lock_guard lock(living().mutex);
    if (living().tops.erase(top) == 0) return false;
  }
  for (BlockHead* head = headOf(top); head;) {
    BlockHead* next = head->next;
    std::free(head);
    head = next;
  }
  return true;
}

void freeRows(SRowSet* rows) noexcept {
  if (!rows) return;
  for (ULONG row = 0; row < rows->cRows; ++row) freeChain(rows->aRow[row].lpProps);
  freeChain(rows);
}

}  // namespace fendrel::utility
