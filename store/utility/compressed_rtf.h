// Compressed RTF, the published form of PR_RTF_COMPRESSED.
//
//   offset  size
//        0     4  bytes that follow this number
//        4     4  bytes of the text
//        8     4  "LZFu": compressed, "MELA": as it is
//       12     4  checksum of what follows; of a text as it is, 0
//       16        the text
//
// Compressed, it is runs of a control byte and eight things, lowest bit first: for a bit 0 a byte of text, for a bit 1
// two bytes: 12 bits of a place in a ring of the last 4096 bytes and 4 bits of a length, less 2. The ring begins with
// words that are usual in such texts. A reference to the place where the next byte goes is the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace fendrel::utility {

using RtfBytes = std::vector<std::byte>;

// Nothing for what is not of that form or does not match its checksum.
std::optional<RtfBytes> uncompressRtf(std::span<const std::byte> stored);

RtfBytes compressRtf(std::span<const std::byte> text);

// The same form, with the text as it is.
RtfBytes wrapRtf(std::span<const std::byte> text);

}  // namespace fendrel::utility
