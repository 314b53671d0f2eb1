// What a ContentReader reads from. For the engine's own files only.
#pragma once

#include <memory>
#include <vector>

#include "content_reader.h"
#include "disk.h"

namespace fendrel::store {

class ContentSource {
public:
  // Bytes that are in memory and were checked.
  explicit ContentSource(Bytes bytes);

  // A file whose blocks have these checksums.
  ContentSource(std::unique_ptr<DiskFile> file, std::uint64_t size, std::vector<std::uint64_t> checksums);

  std::uint64_t size() const noexcept { return size_; }

  // Throws EngineError (Corrupt).
  std::size_t read(std::uint64_t position, std::span<std::byte> into);

private:
  void load(std::uint64_t block);

  std::unique_ptr<DiskFile> file_;
  std::uint64_t size_;
  std::vector<std::uint64_t> checksums_;
  Bytes block_;                           // the loaded block, or all bytes without a file
  std::uint64_t loaded_ = ~std::uint64_t{0};
};

}  // namespace fendrel::store
