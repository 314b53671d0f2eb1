// MAPI's memory: chains of blocks that are freed with their top block.
#pragma once

#include <cstddef>
#include <memory>

#include "mapi.h"

namespace fendrel::utility {

// A new top block of `size` bytes, zeroed, aligned for any value. Throws std::bad_alloc.
void* allocateTop(std::size_t size);

// A block that is freed with `top`. MAPI_E_INVALID_PARAMETER if `top` is not a live top block. Throws std::bad_alloc.
HRESULT allocateBelow(void* top, std::size_t size, void*& block);

// Frees a chain; null is allowed. False, without any access, if `top` is not a live top block.
bool freeChain(void* top) noexcept;

struct MapiFree {
  void operator()(void* block) const noexcept { freeChain(block); }
};
template <class T>
using MapiBuffer = std::unique_ptr<T, MapiFree>;

template <class T>
MapiBuffer<T> allocateMapi(std::size_t size) {
  return MapiBuffer<T>(static_cast<T*>(allocateTop(size)));
}

// Frees each row's properties, then the set.
void freeRows(SRowSet* rows) noexcept;

struct MapiFreeRows {
  void operator()(SRowSet* rows) const noexcept { freeRows(rows); }
};
using MapiRows = std::unique_ptr<SRowSet, MapiFreeRows>;

}  // namespace fendrel::utility
