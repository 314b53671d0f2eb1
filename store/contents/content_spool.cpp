#include "content_spool.h"

#include <algorithm>
#include <cstring>

#include "checksum.h"
#include "engine_error.h"

namespace fendrel::store {

namespace {

// The longest content; no block has a number as large.
constexpr std::uint64_t longest = std::uint64_t{1} << 62;
constexpr std::uint64_t noBlock = longest / contentBlockSize + 1;

// The checksum of a block that was never written.
std::uint64_t checksumOfZeros() {
  static const std::uint64_t sum = checksum(Bytes(contentBlockSize));
  return sum;
}

}  // namespace

ContentSpool::~ContentSpool() {
  if (!isHandedOver_) dropFile();
}

std::size_t ContentSpool::lengthOf(std::uint64_t block) const noexcept {
  const std::uint64_t start = block * contentBlockSize;
  return start >= size_ ? 0 : static_cast<std::size_t>(std::min<std::uint64_t>(contentBlockSize, size_ - start));
}

void ContentSpool::write(std::uint64_t position, std::span<const std::byte> bytes) {
  if (position > longest || bytes.size() > longest - position) fail(Status::Invalid, "Content is too long.");
  if (bytes.empty()) return;
  if (position > size_) resize(position);
  while (!bytes.empty()) {
    const std::uint64_t block = position / contentBlockSize;
    const auto offset = static_cast<std::size_t>(position % contentBlockSize);
    const std::size_t count = std::min(bytes.size(), contentBlockSize - offset);
    makeCurrent(block);
    if (block_.size() < offset + count) {
      if (block_.capacity() < offset + count) {
        // Grows in steps: a small content stays small, a streamed one is not copied often.
        block_.reserve(std::min(contentBlockSize, std::max<std::size_t>(4096, (offset + count) * 2)));
      }
      block_.resize(offset + count);
    }
    std::memcpy(block_.data() + offset, bytes.data(), count);
    dirty_ = true;
    position += count;
    bytes = bytes.subspan(count);
    size_ = std::max(size_, position);
  }
}

std::size_t ContentSpool::read(std::uint64_t position, std::span<std::byte> into) {
  std::size_t total = 0;
  while (total < into.size() && position < size_) {
    makeCurrent(position / contentBlockSize);
    const auto offset = static_cast<std::size_t>(position % contentBlockSize);
    const std::size_t count = std::min(into.size() - total, block_.size() - offset);
    std::memcpy(into.data() + total, block_.data() + offset, count);
    total += count;
    position += count;
  }
  return total;
}

void ContentSpool::resize(std::uint64_t size) {
  if (size == size_) return;
  if (size > longest) fail(Status::Invalid, "Content is too long.");
  if (size < size_) {
    const std::uint64_t blocks = (size + contentBlockSize - 1) / contentBlockSize;
    if (isFile()) {
      const bool currentStays = current_ * contentBlockSize < size;
      file_.file->resize(std::min(size, file_.file->size()));
      if (!currentStays) {
        block_.clear();
        current_ = blocks;
        dirty_ = false;
      }
    }
    size_ = size;
    block_.resize(lengthOf(current_));
    checksums_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(checksums_.size(), blocks)));
    return;
  }
  // The last block grows to its full size or the new end; all later ones are zeros.
  if (size_ > 0) makeCurrent((size_ - 1) / contentBlockSize);
  if (size_ == 0) current_ = 0;
  block_.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(contentBlockSize, size)));
  if (size > contentBlockSize) {
    openFile();
    checksums_.resize(static_cast<std::size_t>((size + contentBlockSize - 1) / contentBlockSize), checksumOfZeros());
  }
  if (isFile()) file_.file->resize(size);
  size_ = size;
  block_.resize(lengthOf(current_));
  dirty_ = true;
}

// Loads a block, after writing the current one to the file; a block past the end is empty.
void ContentSpool::makeCurrent(std::uint64_t block) {
  if (block == current_) return;
  storeCurrent();
  const std::size_t length = lengthOf(block);
  current_ = noBlock;  // in case reading fails
  block_.clear();
  block_.resize(length);
  if (length > 0 && file_.file->read(block * contentBlockSize, block_) != length) {
    block_.clear();
    fail(Status::Corrupt, "A content file of the store was truncated while it was written.");
  }
  current_ = block;
}

void ContentSpool::storeCurrent() {
  if (!dirty_) return;
  openFile();
  noteChecksum(current_, checksum(block_));
  file_.file->write(current_ * contentBlockSize, block_);
  dirty_ = false;
}

void ContentSpool::noteChecksum(std::uint64_t block, std::uint64_t sum) {
  if (checksums_.size() <= block) checksums_.resize(static_cast<std::size_t>(block + 1), checksumOfZeros());
  checksums_[static_cast<std::size_t>(block)] = sum;
}

void ContentSpool::openFile() {
  if (!isFile()) file_ = folder_.create();
}

void ContentSpool::dropFile() noexcept {
  if (!isFile()) return;
  file_.file.reset();
  tryRemove(folder_.disk(), file_.path);
  file_ = {};
}

void ContentSpool::prepare() {
  if (size_ <= contentBlockSize) {
    if (current_ != 0 && size_ > 0) makeCurrent(0);
    if (size_ == 0) block_.clear();
    dropFile();
    current_ = 0;
    dirty_ = true;
    checksums_.assign(size_ == 0 ? 0 : 1, checksum(block_));
    return;
  }
  makeCurrent(blockCount() - 1);
  dirty_ = true;  // its length may differ
  storeCurrent();
  checksums_.resize(static_cast<std::size_t>(blockCount()));
  file_.file->flush();
  if (!file_.isNamed) folder_.name(file_);
}

void ContentSpool::finish() noexcept {
  isSaved_ = true;
  file_ = {};
  block_ = {};
  checksums_ = {};
}

void ContentSpool::discard() noexcept {
  dropFile();
  finish();
}

}  // namespace fendrel::store
