// Content on its way into the store: attachment data, or any long binary or text value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "database.h"

namespace fendrel::store {

class ContentReader;
class ContentSpool;

// Content up to this many bytes is held in memory and becomes part of the database; longer content is spooled to
// a temporary file beside it and becomes a file of its own. Also the unit of checksums.
constexpr std::size_t contentBlockSize = 128 * 1024;

// A sequence of bytes that can be written, read back and resized at random. Nothing of it is in the store before
// saveMessage takes it. Memory: about contentBlockSize * 3 at most, whatever the size. Small writes one after
// another are cheap: they are gathered into blocks.
// One thread at a time; no lock of the database is held. A writer that is destroyed unsaved leaves nothing.
class ContentWriter {
public:
  static std::shared_ptr<ContentWriter> create(Database& database);
  ~ContentWriter();
  ContentWriter(const ContentWriter&) = delete;
  ContentWriter& operator=(const ContentWriter&) = delete;

  std::uint64_t size() const noexcept;

  // Writes all of `bytes`; a gap between the end and `position` is filled with zeros.
  // NotEnoughDisk and Failed leave the size as it was, or cut it to what was written; Invalid after a save.
  Status write(std::uint64_t position, std::span<const std::byte> bytes);

  // Reads up to the end; `count` < into.size() only there.
  Status read(std::uint64_t position, std::span<std::byte> into, std::size_t& count);

  // Cuts off, or fills up with zeros.
  Status resize(std::uint64_t size);

  // Replaces everything by what the reader has. Corrupt (the reader's content is damaged).
  Status copyFrom(ContentReader& reader);

  // True once saveMessage has taken the content over; every other call but size() is then Invalid.
  // A save that failed leaves the content here, ready to be saved again.
  bool saved() const noexcept;

  // For saveMessage.
  ContentSpool& spool() noexcept { return *spool_; }

private:
  explicit ContentWriter(std::unique_ptr<ContentSpool> spool);
  std::unique_ptr<ContentSpool> spool_;
};

}  // namespace fendrel::store
