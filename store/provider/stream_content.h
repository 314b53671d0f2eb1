// The bytes of a property's stream.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "engine.h"
#include "mapi_interfaces.h"
#include "property_values.h"

namespace fendrel::provider {

class StreamContent {
 public:
  virtual ~StreamContent() = default;
  virtual std::uint64_t size() const = 0;
  // `count` < into.size() only at the end.
  virtual HRESULT read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) = 0;
  virtual HRESULT write(std::uint64_t position, std::span<const std::byte> bytes) = 0;
  virtual HRESULT resize(std::uint64_t size) = 0;
  virtual HRESULT commit() { return S_OK; }
};

// A saved value, read-only.
class SavedContent final : public StreamContent {
 public:
  explicit SavedContent(std::shared_ptr<store::ContentReader> reader) : reader_(std::move(reader)) {}
  std::uint64_t size() const override { return reader_->size(); }
  HRESULT read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) override;
  HRESULT write(std::uint64_t, std::span<const std::byte>) override { return STG_E_ACCESSDENIED; }
  HRESULT resize(std::uint64_t) override { return STG_E_ACCESSDENIED; }

 private:
  std::shared_ptr<store::ContentReader> reader_;
};

// A value that the next save of its message stores, with everything written until then.
class DraftContent : public StreamContent {
 public:
  // The content in the store's form.
  virtual HRESULT writer(std::shared_ptr<store::ContentWriter>& writer) = 0;
  virtual HRESULT value(PropertyTag tag, PropertyValue& value) = 0;

  // A copy with the same bytes; later writes to one do not affect the other.
  virtual std::shared_ptr<DraftContent> shared() const = 0;
};

// Binary, or text in its wide form: bytes are not converted.
class WideContent final : public DraftContent {
 public:
  // `folder`: as for Engine::createContent.
  WideContent(std::shared_ptr<store::Engine> engine, const store::Id& folder);
  std::uint64_t size() const override { return writer_->size(); }
  HRESULT read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) override;
  HRESULT write(std::uint64_t position, std::span<const std::byte> bytes) override;
  HRESULT resize(std::uint64_t size) override;
  HRESULT writer(std::shared_ptr<store::ContentWriter>& writer) override;
  HRESULT value(PropertyTag tag, PropertyValue& value) override;
  std::shared_ptr<DraftContent> shared() const override { return std::make_shared<WideContent>(*this); }
  HRESULT copyFrom(store::ContentReader& reader);

 private:
  HRESULT makeOwn();

  std::shared_ptr<store::Engine> engine_;  // outlives the writer
  store::Id folder_;
  std::shared_ptr<store::ContentWriter> writer_;  // copied before a change if it is shared
};

// Bytes in memory, which the owner's function stores at Commit or in the destructor.
class MemoryContent final : public StreamContent {
 public:
  using Commit = std::function<HRESULT(std::span<const std::byte>)>;
  MemoryContent(store::Bytes bytes, Commit commit) : bytes_(std::move(bytes)), commit_(std::move(commit)) {}
  ~MemoryContent() override;
  std::uint64_t size() const override { return bytes_.size(); }
  HRESULT read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) override;
  HRESULT write(std::uint64_t position, std::span<const std::byte> bytes) override;
  HRESULT resize(std::uint64_t size) override;
  HRESULT commit() override;
  const store::Bytes& bytes() const noexcept { return bytes_; }

 private:
  store::Bytes bytes_;
  Commit commit_;  // empty: read-only, or committed by a save
  bool changed_ = false;
};

// Text in the client's 8-bit form, kept in memory.
class AnsiContent final : public DraftContent {
 public:
  AnsiContent(std::shared_ptr<store::Engine> engine, std::u16string_view text);
  std::uint64_t size() const override { return content_.size(); }
  HRESULT read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) override {
    return content_.read(position, into, count);
  }
  HRESULT write(std::uint64_t position, std::span<const std::byte> bytes) override {
    return content_.write(position, bytes);
  }
  HRESULT resize(std::uint64_t size) override { return content_.resize(size); }
  HRESULT writer(std::shared_ptr<store::ContentWriter>& writer) override;
  HRESULT value(PropertyTag tag, PropertyValue& value) override;
  std::shared_ptr<DraftContent> shared() const override { return std::make_shared<AnsiContent>(*this); }

 private:
  std::shared_ptr<store::Engine> engine_;
  MemoryContent content_;
};

// Converts a stored value to the bytes of a stream of this type, and back.
store::Bytes streamBytes(ULONG type, const PropertyValue& value);
PropertyValue valueOfStream(ULONG type, std::span<const std::byte> bytes);

// Loads a complete saved value. MAPI_E_NOT_ENOUGH_MEMORY if it is too long for a block.
HRESULT loadContent(store::ContentReader& reader, PropertyTag tag, PropertyValue& value);

}  // namespace fendrel::provider
