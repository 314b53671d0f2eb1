// Saved content.
#pragma once

#include <memory>

#include "content.h"

namespace fendrel::store {

class ContentSource;

// Reads the bytes of the moment when it was opened, whatever happens to the message, also after the Database is
// destroyed. Every block is compared with its checksum before any byte of it is returned. Uses about contentBlockSize
// of memory.
class StoredContent final : public ContentReader {
 public:
  explicit StoredContent(std::unique_ptr<ContentSource> source);
  ~StoredContent() override;

  std::uint64_t size() const noexcept override;
  Status read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) override;

 private:
  std::unique_ptr<ContentSource> source_;
};

}  // namespace fendrel::store
