// Asks the system which memory may be read.
#pragma once

#include <cstddef>

namespace fendrel {

// The number of bytes from `start` on, at most `wanted`, that lie in committed, readable pages.
std::size_t readableBytes(const void* start, std::size_t wanted) noexcept;

}  // namespace fendrel
