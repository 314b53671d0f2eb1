// MAPI's memory for tests: every block is counted, misuse fails the test.
#pragma once

#include <windows.h>

#include <mapix.h>

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

// A block from allocate and those chained to it by allocateMore are freed together. Freed blocks are overwritten. A
// block that is not freed before the heap's destructor fails the test.
class MapiHeap {
 public:
  MapiHeap() = default;
  ~MapiHeap();
  MapiHeap(const MapiHeap&) = delete;
  MapiHeap& operator=(const MapiHeap&) = delete;

  SCODE allocate(ULONG size, void** block);
  SCODE allocateMore(ULONG size, void* top, void** block);
  ULONG free(void* block);

  // A zero-filled array that cannot fail; of its own, or chained to `top`.
  template <class T>
  T* make(std::size_t count = 1, void* top = nullptr) {
    return static_cast<T*>(makeBytes(count * sizeof(T), top));
  }

  // The nth allocation from now on (1: the next) answers MAPI_E_NOT_ENOUGH_MEMORY; make is not counted.
  void failAllocation(int nth) { untilFailure_ = nth; }

  std::size_t liveBlocks() const { return blocks_.size(); }

  // The sizes requested from allocate, in order.
  const std::vector<ULONG>& allocations() const { return allocations_; }

 private:
  struct Bytes {
    std::unique_ptr<std::byte[]> start;
    std::size_t size;
  };

  void* makeBytes(std::size_t size, void* top);

  std::map<void*, std::vector<Bytes>> blocks_;
  std::vector<ULONG> allocations_;
  int untilFailure_ = 0;
};
