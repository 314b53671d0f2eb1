// Encodes a destination for the host: as one packed block to keep as bytes, or as an unpacked record.
#pragma once

#include <cstdint>
#include <memory>

#include "destination.h"
#include "fendrel/fendrel.h"
#include "text_conversion.h"

namespace fendrel {

using EncodedOptions = std::unique_ptr<DestinationOptions, HeapFree>;

// Encodes into a new block that replaces the one in `encoded`. `size` receives the packed size, thirty bytes less than
// the block (docs/compatibility.md). 0, 5 for a destination without profile name, or 2, after which `encoded` is empty.
std::uint32_t encodeDestination(const Destination& destination, EncodedOptions& encoded, std::uint16_t& size) noexcept;

// Makes an unpacked record, to be freed with freeOptions. 0 or 2.
std::uint32_t decodeDestination(const Destination& destination, DestinationOptions*& options) noexcept;

}  // namespace fendrel
