#include "spooled_content.h"

namespace fendrel::store {

template <class Work>
Status SpooledContent::spooling(Work&& work) {
  try {
    if (spool_.isSaved()) fail(Status::Invalid, "This content is saved; open it to read it.");
    work();
    return Status::Ok;
  } catch (EngineError& error) {
    const Status status = error.status;
    noteFailure_(std::move(error));
    return status;
  }
}

void SpooledContent::admit(std::uint64_t size) {
  if (checkSize_ && size > spool_.size()) checkSize_(size);
}

Status SpooledContent::write(std::uint64_t position, std::span<const std::byte> bytes) {
  return spooling([&] {
    admit(position + bytes.size());
    spool_.write(position, bytes);
  });
}

Status SpooledContent::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  count = 0;
  return spooling([&] { count = spool_.read(position, into); });
}

Status SpooledContent::resize(std::uint64_t size) {
  return spooling([&] {
    admit(size);
    spool_.resize(size);
  });
}

Status SpooledContent::copyFrom(ContentReader& reader) {
  return spooling([&] {
    spool_.resize(0);
    Bytes piece(contentBlockSize);
    for (std::uint64_t position = 0;;) {
      std::size_t count = 0;
      const Status status = reader.read(position, piece, count);
      if (status != Status::Ok) fail(status, "The content to copy cannot be read.");
      if (count == 0) return;
      admit(position + count);
      spool_.write(position, std::span(piece).first(count));
      position += count;
    }
  });
}

}  // namespace fendrel::store
