// Content that is in the store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "status.h"

namespace fendrel::store {

class ContentSource;

// Random access to one saved value. It goes on reading the bytes of the moment it was opened, whatever happens to
// the message, also after the Database is gone. Every block is compared with its checksum before any byte of it
// is handed out. Memory: about contentBlockSize. One thread at a time.
class ContentReader {
public:
  explicit ContentReader(std::unique_ptr<ContentSource> source);
  ~ContentReader();
  ContentReader(const ContentReader&) = delete;
  ContentReader& operator=(const ContentReader&) = delete;

  std::uint64_t size() const noexcept;

  // Reads up to the end; `count` < into.size() only there. Corrupt (then count is 0), Failed.
  Status read(std::uint64_t position, std::span<std::byte> into, std::size_t& count);

private:
  std::unique_ptr<ContentSource> source_;
};

}  // namespace fendrel::store
