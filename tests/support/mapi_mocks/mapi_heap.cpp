#include "mapi_heap.h"

#include <gtest/gtest.h>

#include <cstring>

MapiHeap::~MapiHeap() { EXPECT_EQ(blocks_.size(), 0u) << "blocks of MAPI were not freed"; }

void* MapiHeap::makeBytes(std::size_t size, void* top) {
  Bytes bytes{std::make_unique<std::byte[]>(size), size};
  void* const start = bytes.start.get();
  const auto chain = blocks_.find(top ? top : start);
  EXPECT_TRUE(!top || chain != blocks_.end()) << "chained to a block that MAPI does not know";
  blocks_[top ? top : start].push_back(std::move(bytes));
  return start;
}

SCODE MapiHeap::allocate(ULONG size, void** block) {
  *block = nullptr;
  allocations_.push_back(size);
  if (untilFailure_ != 0 && --untilFailure_ == 0) return MAPI_E_NOT_ENOUGH_MEMORY;
  *block = makeBytes(size, nullptr);
  return S_OK;
}

SCODE MapiHeap::allocateMore(ULONG size, void* top, void** block) {
  *block = nullptr;
  if (untilFailure_ != 0 && --untilFailure_ == 0) return MAPI_E_NOT_ENOUGH_MEMORY;
  *block = makeBytes(size, top);
  return S_OK;
}

ULONG MapiHeap::free(void* block) {
  if (!block) return 0;
  const auto chain = blocks_.find(block);
  if (chain == blocks_.end()) {
    ADD_FAILURE() << "MAPIFreeBuffer of a block that is not the top of a live chain";
    return 0;
  }
  for (Bytes& bytes : chain->second) std::memset(bytes.start.get(), 0xDD, bytes.size);
  blocks_.erase(chain);
  return 0;
}
