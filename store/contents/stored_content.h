// Content that is in the store.
#pragma once

#include <memory>

#include "content.h"

namespace fendrel::store {

class ContentSource;

// It goes on reading the bytes of the moment it was opened, whatever happens to the message, also after the Database is
// gone. Every block is compared with its checksum before any byte of it is handed out. Memory: about contentBlockSize.
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
