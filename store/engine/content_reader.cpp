#include "content_reader.h"

#include <algorithm>
#include <cstring>

#include "checksum.h"
#include "content_source.h"
#include "content_writer.h"
#include "engine_error.h"

namespace fendrel::store {

ContentSource::ContentSource(Bytes bytes) : size_(bytes.size()), block_(std::move(bytes)) {}

ContentSource::ContentSource(std::unique_ptr<DiskFile> file, std::uint64_t size, std::vector<std::uint64_t> checksums)
    : file_(std::move(file)), size_(size), checksums_(std::move(checksums)) {}

std::size_t ContentSource::read(std::uint64_t position, std::span<std::byte> into) {
  std::size_t total = 0;
  while (total < into.size() && position < size_) {
    const std::uint64_t block = file_ ? position / contentBlockSize : 0;
    if (file_ && block != loaded_) load(block);
    const auto offset = static_cast<std::size_t>(position - block * contentBlockSize);
    const std::size_t count = std::min(into.size() - total, block_.size() - offset);
    std::memcpy(into.data() + total, block_.data() + offset, count);
    total += count;
    position += count;
  }
  return total;
}

void ContentSource::load(std::uint64_t block) {
  const std::uint64_t start = block * contentBlockSize;
  loaded_ = ~std::uint64_t{0};
  block_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(contentBlockSize, size_ - start)));
  if (file_->read(start, block_) != block_.size() || checksum(block_) != checksums_[static_cast<std::size_t>(block)]) {
    fail(Status::Corrupt, "A content file of the store is damaged.");
  }
  loaded_ = block;
}

ContentReader::ContentReader(std::unique_ptr<ContentSource> source) : source_(std::move(source)) {}
ContentReader::~ContentReader() = default;

std::uint64_t ContentReader::size() const noexcept { return source_->size(); }

Status ContentReader::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  count = 0;
  try {
    count = source_->read(position, into);
    return Status::Ok;
  } catch (const EngineError& error) {
    return error.status;
  }
}

}  // namespace fendrel::store
