// Long values on their way out of an engine and into it.
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

// A sequence of bytes that can be written, read back and resized at random. Nothing of it is in a store before
// saveMessage takes it. Small writes one after another are cheap: they are gathered. A writer that is destroyed unsaved
// leaves nothing.
class ContentWriter : public ContentReader {
 public:
  // Writes all of `bytes`; a gap between the end and `position` is filled with zeros.
  // NotEnoughDisk and Failed leave the size as it was, or cut it to what was written; Invalid after a save.
  virtual Status write(std::uint64_t position, std::span<const std::byte> bytes) = 0;

  // Cuts off, or fills up with zeros.
  virtual Status resize(std::uint64_t size) = 0;

  // Replaces everything by what the reader has. Corrupt (the reader's content is damaged).
  virtual Status copyFrom(ContentReader& reader) = 0;

  // True once saveMessage has taken the content over; every other call but size() is then Invalid.
  // A save that failed leaves the content here, ready to be saved again.
  virtual bool saved() const noexcept = 0;
};

}  // namespace fendrel::store
