#include "content_reader.h"

#include "content_blocks.h"
#include "engine_error.h"

namespace fendrel::store {

ContentReader::ContentReader(std::unique_ptr<ContentSource> source) : source_(std::move(source)) {}
ContentReader::~ContentReader() = default;

std::uint64_t ContentReader::size() const noexcept { return source_->size(); }

Status ContentReader::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  count = 0;
  try {
    count = source_->read(position, into);
    return Status::Ok;
  } catch (const EngineError& error) {
    return error.status;
  }
}

}  // namespace fendrel::store
