#include "stream_content.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "status_codes.h"

namespace fendrel::provider {
namespace {

constexpr std::uint64_t mostInMemory = 1u << 30;

}  // namespace

store::Bytes streamBytes(ULONG type, const PropertyValue& value) {
  const auto copy = [](const void* bytes, std::size_t count) {
    const auto* begin = static_cast<const std::byte*>(bytes);
    return store::Bytes(begin, begin + count);
  };
  if (const auto* bytes = std::get_if<store::Bytes>(&value)) return *bytes;
  const auto* text = std::get_if<std::u16string>(&value);
  if (!text) return {};
  if (type == PT_UNICODE) return copy(text->data(), text->size() * sizeof(char16_t));
  const std::string ansi = toAnsi(*text);
  return copy(ansi.data(), ansi.size());
}

PropertyValue valueOfStream(ULONG type, std::span<const std::byte> bytes) {
  if (type == PT_STRING8) return fromAnsi({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (type == PT_UNICODE) {
    std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(char16_t));
    return text;
  }
  return store::Bytes(bytes.begin(), bytes.end());
}

HRESULT loadContent(store::ContentReader& reader, PropertyTag tag, PropertyValue& value) {
  if (reader.size() > mostInMemory) return MAPI_E_NOT_ENOUGH_MEMORY;
  store::Bytes bytes(static_cast<std::size_t>(reader.size()));
  std::size_t count = 0;
  if (const auto status = reader.read(0, bytes, count); status != store::Status::Ok) return toResult(status);
  value = valueOfStream(PROP_TYPE(tag), bytes);
  return S_OK;
}

HRESULT SavedContent::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  return toResult(reader_->read(position, into, count));
}

WideContent::WideContent(std::shared_ptr<store::Engine> engine, const store::Id& folder)
    : engine_(std::move(engine)), folder_(folder), writer_(engine_->createContent(folder_)) {}

HRESULT WideContent::makeOwn() {
  if (writer_.use_count() == 1) return S_OK;
  auto copy = engine_->createContent(folder_);
  if (const auto status = copy->copyFrom(*writer_); status != store::Status::Ok) return toResult(status);
  writer_ = std::move(copy);
  return S_OK;
}

HRESULT WideContent::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  return toResult(writer_->read(position, into, count));
}

HRESULT WideContent::write(std::uint64_t position, std::span<const std::byte> bytes) {
  if (const HRESULT result = makeOwn(); FAILED(result)) return result;
  return toResult(writer_->write(position, bytes));
}

HRESULT WideContent::resize(std::uint64_t size) {
  if (const HRESULT result = makeOwn(); FAILED(result)) return result;
  return toResult(writer_->resize(size));
}

HRESULT WideContent::copyFrom(store::ContentReader& reader) {
  writer_ = engine_->createContent(folder_);
  return toResult(writer_->copyFrom(reader));
}

HRESULT WideContent::writer(std::shared_ptr<store::ContentWriter>& writer) {
  writer = writer_;
  return S_OK;
}

HRESULT WideContent::value(PropertyTag tag, PropertyValue& value) {
  if (writer_->size() > mostInMemory) return MAPI_E_NOT_ENOUGH_MEMORY;
  store::Bytes bytes(static_cast<std::size_t>(writer_->size()));
  std::size_t count = 0;
  if (const auto status = writer_->read(0, bytes, count); status != store::Status::Ok) return toResult(status);
  value = valueOfStream(PROP_TYPE(tag), bytes);
  return S_OK;
}

MemoryContent::~MemoryContent() {
  // A stream that is released without Commit is committed.
  try {
    commit();
  } catch (...) {
  }
}

HRESULT MemoryContent::read(std::uint64_t position, std::span<std::byte> into, std::size_t& count) {
  count = 0;
  if (position >= bytes_.size()) return S_OK;
  count = std::min<std::size_t>(into.size(), bytes_.size() - static_cast<std::size_t>(position));
  std::memcpy(into.data(), bytes_.data() + position, count);
  return S_OK;
}

HRESULT MemoryContent::write(std::uint64_t position, std::span<const std::byte> bytes) {
  if (bytes.empty()) return S_OK;
  if (position + bytes.size() > mostInMemory) return MAPI_E_NOT_ENOUGH_MEMORY;
  if (position + bytes.size() > bytes_.size()) bytes_.resize(static_cast<std::size_t>(position) + bytes.size());
  std::memcpy(bytes_.data() + position, bytes.data(), bytes.size());
  changed_ = true;
  return S_OK;
}

HRESULT MemoryContent::resize(std::uint64_t size) {
  if (size > mostInMemory) return MAPI_E_NOT_ENOUGH_MEMORY;
  bytes_.resize(static_cast<std::size_t>(size));
  changed_ = true;
  return S_OK;
}

HRESULT MemoryContent::commit() {
  if (!changed_ || !commit_) return S_OK;
  const HRESULT result = commit_(bytes_);
  if (SUCCEEDED(result)) changed_ = false;
  return result;
}

AnsiContent::AnsiContent(std::shared_ptr<store::Engine> engine, std::u16string_view text)
    : engine_(std::move(engine)), content_(streamBytes(PT_STRING8, PropertyValue(std::u16string(text))), {}) {}

HRESULT AnsiContent::writer(std::shared_ptr<store::ContentWriter>& writer) {
  const PropertyValue text = valueOfStream(PT_STRING8, content_.bytes());
  writer = engine_->createContent({});
  return toResult(writer->write(0, streamBytes(PT_UNICODE, text)));
}

HRESULT AnsiContent::value(PropertyTag, PropertyValue& value) {
  value = valueOfStream(PT_STRING8, content_.bytes());
  return S_OK;
}

}  // namespace fendrel::provider
