// Reading and writing long values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "status.h"

namespace fendrel::store {

// Random access to one value. One thread at a time.
class ContentReader {
 public:
  virtual ~ContentReader() = default;
  ContentReader(const ContentReader&) = delete;
  ContentReader& operator=(const ContentReader&) = delete;

  virtual std::uint64_t size() const noexcept = 0;

  // Reads up to the end; `count` < into.size() only there. Corrupt (then count is 0), Failed.
  virtual Status read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) = 0;

 protected:
  ContentReader() = default;
};

// A sequence of bytes with random access for writing, reading and resizing. No store contains any of it before
// saveMessage. Sequential small writes are buffered. A writer that is destroyed unsaved leaves nothing behind.
class ContentWriter : public ContentReader {
 public:
  // Writes all of `bytes`; a gap between the end and `position` is filled with zeros.
  // NotEnoughDisk and Failed leave the size unchanged, or truncated to the written bytes; Invalid after a save.
  virtual Status write(std::uint64_t position, std::span<const std::byte> bytes) = 0;

  // Truncates, or extends with zeros.
  virtual Status resize(std::uint64_t size) = 0;

  // Replaces everything by the reader's content. Corrupt (the reader's content is damaged).
  virtual Status copyFrom(ContentReader& reader) = 0;

  // True after a successful saveMessage; every call but size() is then Invalid. After a failed save the content can be
  // saved again.
  virtual bool saved() const noexcept = 0;
};

}  // namespace fendrel::store
