// Any bytes as a packed options record: every string found is completely inside the block.
//
// Input: the size of a text unit (1 byte: even 1, odd 2), then the block.
#include <initializer_list>
#include <vector>

#include "fuzz.h"
#include "packed_options.h"

using namespace fendrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t unit = data[0] % 2 == 0 ? 1 : 2;
  // In its own block, so that reading one byte too far is detected.
  const std::vector<std::uint8_t> bytes(data + 1, data + size);
  const auto block = bytesOf(bytes.data(), bytes.size());
  const auto strings = findPackedStrings(block, unit);
  if (!strings) return 0;
  require(block.size() >= optionsHeaderSize, "a record has a header");
  require(strings->end >= optionsHeaderSize && strings->end <= block.size(), "the record ends inside the block");
  for (const std::uint32_t start : {strings->profileName, strings->profilePassword, strings->folderPath}) {
    if (start == 0) continue;
    require(start >= optionsHeaderSize && start % unit == 0, "a string lies after the header");
    std::size_t end = start;
    const auto isZero = [&] { return bytes[end] == 0 && (unit == 1 || bytes[end + 1] == 0); };
    while (end + unit <= strings->end && !isZero()) end += unit;
    require(end + unit <= strings->end, "a string ends before the record does");
  }
  return 0;
}
