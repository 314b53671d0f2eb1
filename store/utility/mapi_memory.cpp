#include "mapi_memory.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>
#include <unordered_set>

namespace fendrel::utility {
namespace {

// Stands before each block. The caller's bytes follow.
struct alignas(16) BlockHead {
  BlockHead* next;  // the block that was chained last, before this one's successors
};

// The living top blocks, so that a block freed twice, or one of somebody else's, is recognised without touching it.
struct LivingBlocks {
  std::mutex mutex;
  std::unordered_set<void*> tops;
};

LivingBlocks& living() {
  // Never destroyed: a client may free a block while the process ends.
  static LivingBlocks& blocks = *new LivingBlocks;
  return blocks;
}

BlockHead* headOf(void* block) { return static_cast<BlockHead*>(block) - 1; }

BlockHead* newBlock(std::size_t size) {
  if (size > std::numeric_limits<ULONG>::max() - sizeof(BlockHead)) throw std::bad_alloc();
  // Whole units of 8 bytes: some heaps align a block by its size only.
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
