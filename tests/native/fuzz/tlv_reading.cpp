// Any bytes as a tagged stream: the items found are inside the stream and consecutive, and the stream classes agree.
#include <algorithm>
#include <cstring>

#include "fuzz.h"
#include "tlv_memory.h"

using namespace fendrel;

namespace {

void walk(std::span<const std::byte> stream) {
  std::size_t offset = 0;
  for (;;) {
    const TlvItem item = tlvItemAt(stream, offset);
    if (item.finding == TlvFinding::cutValue)
      require(item.value.data() + item.value.size() == stream.data() + stream.size(),
              "a cut value ends with the stream");
    if (item.finding != TlvFinding::item) break;
    require(item.header.isWellFormed(), "an item's header is well-formed");
    require(item.value.data() == stream.data() + offset + tlvHeaderSize, "a value follows its header");
    require(item.value.size() == item.header.length, "a value has its length");
    offset += tlvHeaderSize + item.value.size();
    require(offset <= stream.size(), "an item ends inside the stream");
  }
  tlvItemAt(stream, offset + 1);
  tlvItemAt(stream, SIZE_MAX);
}

void readAll(MemoryBlock& block, std::uint16_t sought) {
  const std::size_t size = BlockSize(block);
  const std::span<const std::byte> bytes{block.get(), size};
  std::unique_ptr<TLVMemory> stream;
  require(OpenTLVMemory(block, stream) == fileSuccess, "a stream opens");
  // After 65,535 bytes the position wraps; the loop ends there.
  for (std::size_t offset = 0; offset == stream->position();) {
    const TlvItem item = tlvItemAt(bytes, offset);
    std::uint16_t tag = 0, length = 0;
    MemoryBlock value;
    const FileCode code = stream->ReadItem(tag, length, value);
    if (item.finding != TlvFinding::item) {
      require(code == (item.finding == TlvFinding::end ? fileEnd : fileMalformed),
              "the end and a fault are told apart");
      require(stream->position() == offset, "the position is before what cannot be read");
      break;
    }
    require(code == fileSuccess && tag == item.header.tag && length == item.header.length, "an item is read");
    require(BlockSize(value) == length && std::ranges::equal(item.value, std::span(value.get(), length)),
            "a value is read");
    offset += tlvHeaderSize + length;
  }
  require(OpenTLVMemory(block, stream) == fileSuccess, "a stream opens");
  const FileCode found = stream->FindTag(sought);
  std::uint16_t tag = 0, length = 0;
  if (found == fileSuccess)
    require(stream->PeekItem(tag, length) == fileSuccess && tag == sought, "the position is before the tag");
  stream.reset();
  require(BlockSize(block) == size, "a reader's block keeps its size");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  walk(bytesOf(data, size));
  MemoryBlock block;
  require(BlockAlloc(block, static_cast<std::uint32_t>(size)), "there is memory");
  if (size != 0) std::memcpy(block.get(), data, size);
  readAll(block, size == 0 ? 0 : data[size - 1]);
  return 0;
}
