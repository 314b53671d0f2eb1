// The blocks of a content and their checksums: the only place that verifies saved bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "disk.h"

namespace fendrel::store {

// Content of up to this many bytes is in the database, longer content in a file. Also the unit of checksums.
constexpr std::size_t contentBlockSize = 128 * 1024;

constexpr std::uint64_t blocksOf(std::uint64_t size) {
  return size / contentBlockSize + (size % contentBlockSize != 0);
}

// Saved content, from memory or from a file. Every block is compared with its checksum before a byte of it is returned;
// a mismatch is Corrupt. One thread at a time.
class ContentSource {
 public:
  // A short value from its row, which its message's checksum covers.
  explicit ContentSource(Bytes bytes);

  // `checksums`: from the row. Throws Corrupt if a size is wrong.
  ContentSource(Bytes bytes, std::span<const std::byte> checksums);
  ContentSource(std::unique_ptr<DiskFile> file, std::string name, std::uint64_t size,
                std::span<const std::byte> checksums);

  std::uint64_t size() const noexcept { return size_; }
  const std::string& fileName() const noexcept { return name_; }  // empty: in the database

  // Returns the number of bytes read; less than requested only at the end.
  std::size_t read(std::uint64_t position, std::span<std::byte> into);

  // Calls take(block) for all blocks in order.
  void readAll(const std::function<void(std::span<const std::byte>)>& take);

 private:
  void load(std::uint64_t block);

  std::unique_ptr<DiskFile> file_;
  std::string name_;
  std::uint64_t size_;
  std::vector<std::uint64_t> checksums_;
  Bytes block_;  // the loaded block, or all bytes without a file
  std::uint64_t loaded_ = ~std::uint64_t{0};
};

}  // namespace fendrel::store
