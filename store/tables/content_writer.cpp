#include "content_writer.h"

#include "connection.h"
#include "content_reader.h"
#include "content_spool.h"

namespace fendrel::store {

std::shared_ptr<ContentWriter> ContentWriter::create(Database& database) {
  return std::shared_ptr<ContentWriter>(new ContentWriter(database.connection()));
}

ContentWriter::ContentWriter(Connection& connection)
    : connection_(connection), spool_(std::make_unique<ContentSpool>(connection.contents())) {}
ContentWriter::~ContentWriter() = default;

// Like guarded, without the database's lock: streaming must not keep others from the store.
template <class Work>
Status ContentWriter::spooling(Work&& work) {
  try {
    if (spool_->isSaved()) fail(Status::Invalid, "This content is saved; open it to read it.");
    work();
    return Status::Ok;
  } catch (EngineError& error) {
    const Status status = error.status;
    connection_.setLastError(std::move(error));
    return status;
  }
}

std::uint64_t ContentWriter::size() const noexcept { return spool_->size(); }
bool ContentWriter::saved() const noexcept { return spool_->isSaved(); }

Status ContentWriter::write(std::uint64_t position, std::span<const std::byte> bytes) {
  return spooling([&] { spool_->write(position, bytes); });
}

Status ContentWriter::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  count = 0;
  return spooling([&] { count = spool_->read(position, into); });
}

Status ContentWriter::resize(std::uint64_t size) {
  return spooling([&] { spool_->resize(size); });
}

Status ContentWriter::copyFrom(ContentReader& reader) {
  return spooling([&] {
    spool_->resize(0);
    Bytes piece(contentBlockSize);
    for (std::uint64_t position = 0;;) {
      std::size_t count = 0;
      const Status status = reader.read(position, piece, count);
      if (status != Status::Ok) fail(status, "The content to copy cannot be read.");
      if (count == 0) return;
      spool_->write(position, std::span(piece).first(count));
      position += count;
    }
  });
}

}  // namespace fendrel::store
