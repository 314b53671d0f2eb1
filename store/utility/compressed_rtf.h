// Compressed RTF, the published form of PR_RTF_COMPRESSED.
//
//   offset  size
//        0     4  bytes that follow this number
//        4     4  bytes of the text
//        8     4  "LZFu": compressed, "MELA": uncompressed
//       12     4  checksum of what follows; 0 if uncompressed
//       16        the text
// Compressed text consists of runs of a control byte and eight tokens, lowest bit first: for a bit 0 a byte of text,
// for a bit 1 two bytes: a 12-bit position in a ring of the last 4096 bytes and a 4-bit length minus 2. The ring
// initially contains common words of such texts. A reference to the write position is the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace fendrel::utility {

using RtfBytes = std::vector<std::byte>;

// Nothing if the bytes do not have this form or do not match their checksum.
std::optional<RtfBytes> uncompressRtf(std::span<const std::byte> stored);

RtfBytes compressRtf(std::span<const std::byte> text);

// The same form, uncompressed.
RtfBytes wrapRtf(std::span<const std::byte> text);

}  // namespace fendrel::utility
