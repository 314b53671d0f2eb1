#include "stored_content.h"

#include "content_blocks.h"
#include "engine_error.h"

namespace fendrel::store {

StoredContent::StoredContent(std::unique_ptr<ContentSource> source) : source_(std::move(source)) {}
StoredContent::~StoredContent() = default;

std::uint64_t StoredContent::size() const noexcept { return source_->size(); }

Status StoredContent::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  count = 0;
  try {
    count = source_->read(position, into);
    return Status::Ok;
  } catch (const EngineError& error) {
    return error.status;
  }
}

}  // namespace fendrel::store
