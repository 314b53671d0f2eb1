// The blocks of a content and their checksums: the one place that says whether bytes are those that were saved.
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

// Content up to this many bytes is part of the database; longer content is a file. Also the unit of checksums.
constexpr std::size_t contentBlockSize = 128 * 1024;

constexpr std::uint64_t blocksOf(std::uint64_t size) {
  return size / contentBlockSize + (size % contentBlockSize != 0);
}

// Saved content, from memory or from a file. Every block is compared with its checksum before a byte of it is handed out;
// what does not match is Corrupt. One thread at a time.
class ContentSource {
 public:
  // A short value out of its row, which its message's checksum covers.
  explicit ContentSource(Bytes bytes);

  // `checksums`: as the row has them. Throws Corrupt if anything is not of its size.
  ContentSource(Bytes bytes, std::span<const std::byte> checksums);
  ContentSource(std::unique_ptr<DiskFile> file, std::string name, std::uint64_t size,
                std::span<const std::byte> checksums);

  std::uint64_t size() const noexcept { return size_; }
  const std::string& fileName() const noexcept { return name_; }  // empty: it is in the database

  // Returns the number of bytes read; less than asked for only at the end.
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
