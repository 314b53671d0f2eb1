// An attachment on the server. Its size is known from the message. All bytes are downloaded at the first read, because
// most callers that open an attachment only need its size.
#pragma once

#include <functional>
#include <memory>

#include "content.h"

namespace fendrel::store {

class RemoteContent final : public ContentReader {
 public:
  using Download = std::function<Status(std::shared_ptr<ContentReader>&)>;

  RemoteContent(std::uint64_t size, Download download) : size_(size), download_(std::move(download)) {}

  std::uint64_t size() const noexcept override { return bytes_ ? bytes_->size() : size_; }

  Status read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) override {
    count = 0;
    if (!bytes_) {
      if (const Status status = download_(bytes_); status != Status::Ok) return status;
    }
    return bytes_->read(position, into, count);
  }

 private:
  std::uint64_t size_;
  Download download_;
  std::shared_ptr<ContentReader> bytes_;
};

}  // namespace fendrel::store
