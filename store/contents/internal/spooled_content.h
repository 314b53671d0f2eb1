// Content that is being written. For the engine only.
#pragma once

#include <functional>

#include "content.h"
#include "content_spool.h"
#include "engine_error.h"

namespace fendrel::store {

// Uses about contentBlockSize of memory for any size. Holds no lock of the database.
class SpooledContent final : public ContentWriter {
 public:
  using FailureNote = std::function<void(EngineError&&)>;
  // Throws EngineError if a content must not grow to that size.
  using SizeCheck = std::function<void(std::uint64_t)>;

  // The folder and everything that the functions use must outlive this object.
  SpooledContent(ContentFolder& folder, FailureNote noteFailure, SizeCheck checkSize = {})
      : spool_(folder), noteFailure_(std::move(noteFailure)), checkSize_(std::move(checkSize)) {}

  std::uint64_t size() const noexcept override { return spool_.size(); }
  Status write(std::uint64_t position, std::span<const std::byte> bytes) override;
  Status read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) override;
  Status resize(std::uint64_t size) override;
  Status copyFrom(ContentReader& reader) override;
  bool saved() const noexcept override { return spool_.isSaved(); }

  // For saveMessage.
  ContentSpool& spool() noexcept { return spool_; }

 private:
  template <class Work>
  Status spooling(Work&& work);
  void admit(std::uint64_t size);

  ContentSpool spool_;
  FailureNote noteFailure_;
  SizeCheck checkSize_;
};

}  // namespace fendrel::store
