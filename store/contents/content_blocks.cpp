#include "content_blocks.h"

#include <algorithm>
#include <cstring>

#include "checksum.h"
#include "engine_error.h"

namespace fendrel::store {

namespace {

std::vector<std::uint64_t> unpacked(std::span<const std::byte> checksums, std::uint64_t size) {
  if (checksums.size() % 8 != 0 || checksums.size() / 8 != blocksOf(size)) {
    fail(Status::Corrupt, "The store is damaged: a content's checksums do not match its size.");
  }
  std::vector<std::uint64_t> sums(checksums.size() / 8);
  if (!sums.empty()) std::memcpy(sums.data(), checksums.data(), checksums.size());
  return sums;
}

}  // namespace

ContentSource::ContentSource(Bytes bytes) : size_(bytes.size()), block_(std::move(bytes)) {}

ContentSource::ContentSource(Bytes bytes, std::span<const std::byte> checksums)
    : size_(bytes.size()), checksums_(unpacked(checksums, size_)), block_(std::move(bytes)) {
  if (checksums_.empty()) return;
  if (checksums_.size() > 1 || checksum(block_) != checksums_[0]) {
    fail(Status::Corrupt, "The store is damaged: a content does not match its checksum.");
  }
}

ContentSource::ContentSource(std::unique_ptr<DiskFile> file, std::string name, std::uint64_t size,
                             std::span<const std::byte> checksums)
    : file_(std::move(file)), name_(std::move(name)), size_(size), checksums_(unpacked(checksums, size)) {
  if (const std::uint64_t found = file_->size(); found != size) {
    fail(Status::Corrupt, "The content file '" + name_ + "' has " + std::to_string(found) + " bytes instead of " +
                              std::to_string(size) + ".");
  }
}

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

void ContentSource::readAll(const std::function<void(std::span<const std::byte>)>& take) {
  if (!file_) {
    if (size_ > 0) take(block_);
    return;
  }
  for (std::uint64_t block = 0; block < blocksOf(size_); ++block) {
    load(block);
    take(block_);
  }
}

void ContentSource::load(std::uint64_t block) {
  const std::uint64_t start = block * contentBlockSize;
  loaded_ = ~std::uint64_t{0};
  block_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(contentBlockSize, size_ - start)));
  if (file_->read(start, block_) != block_.size() || checksum(block_) != checksums_[static_cast<std::size_t>(block)]) {
    fail(Status::Corrupt,
         "The content file '" + name_ + "' is damaged in the 128 KiB from byte " + std::to_string(start) + " on.");
  }
  loaded_ = block;
}

}  // namespace fendrel::store
