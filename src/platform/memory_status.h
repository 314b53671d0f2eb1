// What the system says about memory.
#pragma once

#include <cstddef>

namespace fendrel {

// Compacts the process heap; the largest free block of it, in bytes.
std::size_t CompactHeap() noexcept;

// Physical memory that is free, in bytes.
std::size_t AvailablePhysicalMemory() noexcept;

}  // namespace fendrel
