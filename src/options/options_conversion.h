// Conversions of the options record between its wide and its ANSI form.
#pragma once

#include <cstdint>

#include "fendrel/fendrel.h"

namespace fendrel {

// Build `result` in the form of `options`, packed or unpacked; `size` (may be null) receives the packed size, or 0
// (also if there is no memory to convert an unpacked record). A null record gives 0 and a null result. 0, 2, or 5
// (version, or a packed record that does not contain its strings). The record's version does not change, except that
// result 2 leaves it at 1 (docs/compatibility.md).
std::uint32_t convertOptions(DestinationOptions* options, DestinationOptionsA*& result, std::uint16_t* size) noexcept;
std::uint32_t convertOptions(DestinationOptionsA* options, DestinationOptions*& result, std::uint16_t* size) noexcept;

}  // namespace fendrel
