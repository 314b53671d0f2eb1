// The system's memory figures.
#pragma once

#include <cstddef>

namespace fendrel {

// Compacts the process heap; returns its largest free block in bytes.
std::size_t CompactHeap() noexcept;

// Free physical memory in bytes.
std::size_t AvailablePhysicalMemory() noexcept;

}  // namespace fendrel
