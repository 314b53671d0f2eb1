// Content on its way into the store: attachment data, or any long binary or text value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "content_blocks.h"
#include "database.h"

namespace fendrel::store {

class Connection;
class ContentReader;
class ContentSpool;

// A sequence of bytes that can be written, read back and resized at random. Nothing of it is in the store before
// saveMessage takes it. Memory: about contentBlockSize, whatever the size. Small writes one after
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
  explicit ContentWriter(Connection& connection);
  template <class Work>
  Status spooling(Work&& work);

  Connection& connection_;
  std::unique_ptr<ContentSpool> spool_;
};

}  // namespace fendrel::store
