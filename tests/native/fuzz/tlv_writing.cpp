// Any series of items written to memory: accepted items are read back, and the block is exactly as long.
//
// Input: for each item a tag (2 bytes), a length (2 bytes) and the byte that its value is filled with.
#include <algorithm>
#include <vector>

#include "fuzz.h"
#include "tlv_memory.h"

using namespace fendrel;

namespace {

struct Written {
  std::uint16_t tag, length;
  std::uint8_t fill;
};

std::vector<Written> writeAll(std::span<const std::uint8_t> input, MemoryBlock& block) {
  std::unique_ptr<TLVMemory> stream;
  require(CreateTLVMemory(block, stream) == fileSuccess, "a stream is made");
  std::vector<Written> accepted;
  std::size_t total = 0;
  for (; input.size() >= 5; input = input.subspan(5)) {
    const Written item{static_cast<std::uint16_t>(input[0] | input[1] << 8),
                       static_cast<std::uint16_t>(input[2] | input[3] << 8), input[4]};
    const std::vector<std::uint8_t> value(item.length, item.fill);
    const std::uint32_t size = BlockSize(block);
    const std::uint16_t position = stream->position();
    const FileCode code = stream->WriteItem(item.tag, item.length, value.data());
    if (code == fileSuccess) {
      accepted.push_back(item);
      total += tlvHeaderSize + item.length;
      require(stream->position() == total, "the position is behind the items");
    } else {
      require(code == fileOutOfMemory, "a refused item is 267");
      require(stream->position() == position && BlockSize(block) == size, "a refused item changes nothing");
    }
    require(total <= BlockSize(block), "the items lie inside the block");
  }
  stream.reset();
  require(BlockSize(block) == total, "the block is exactly as long as the items");
  return accepted;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MemoryBlock block;
  const std::vector<Written> written = writeAll({data, size}, block);
  std::size_t offset = 0;
  for (const Written& item : written) {
    const std::span<const std::byte> stream{block.get(), BlockSize(block)};
    const TlvHeader header = readTlvHeader(stream.subspan(offset).first<tlvHeaderSize>());
    require(header.tag == item.tag && header.length == item.length, "a header is read back");
    const auto value = stream.subspan(offset + tlvHeaderSize, item.length);
    require(std::ranges::all_of(value, [&](std::byte b) { return b == std::byte{item.fill}; }), "a value is read back");
    offset += tlvHeaderSize + item.length;
  }
  return 0;
}
