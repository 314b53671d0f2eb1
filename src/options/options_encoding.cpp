#include "options_encoding.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "destination_options.h"
#include "packed_options.h"

namespace fendrel {
namespace {

std::size_t bytesOf(const std::optional<std::wstring>& text) noexcept {
  return text ? (text->size() + 1) * sizeof(wchar_t) : 0;
}

wchar_t* heapCopy(const std::wstring& text) noexcept { return _wcsdup(text.c_str()); }

// Appends `text` to the block and moves the end; returns the offset, or 0 without text.
std::uint64_t append(DestinationOptions* block, std::size_t& end, const std::optional<std::wstring>& text) noexcept {
  if (!text) return 0;
  const std::size_t offset = end;
  std::memcpy(reinterpret_cast<std::byte*>(block) + offset, text->c_str(), bytesOf(text));
  end += bytesOf(text);
  return offset;
}

}  // namespace

std::uint32_t encodeDestination(const Destination& destination, EncodedOptions& encoded, std::uint16_t& size) noexcept {
  size = 0;
  if (!destination.profileName) return FENDREL_INVALID_ARGUMENT;
  const std::size_t blockSize = optionsHeaderSize + bytesOf(destination.profileName) +
                                bytesOf(destination.profilePassword) + bytesOf(destination.folderPath);
  size = static_cast<std::uint16_t>(blockSize - packedSizeShortfall);  // modulo 65,536

  // The new block is allocated before the old one is freed, so that a host never gets the same address twice.
  EncodedOptions block(static_cast<DestinationOptions*>(std::calloc(1, blockSize)));
  encoded.reset();
  if (!block) return FENDREL_OUT_OF_MEMORY;
  block->version = 1;
  block->destinationType = destination.type;
  block->packedSize = size;
  std::size_t end = optionsHeaderSize;
  block->profileNameOffset = append(block.get(), end, destination.profileName);
  block->profilePasswordOffset = append(block.get(), end, destination.profilePassword);
  block->folderPathOffset = append(block.get(), end, destination.folderPath);
  encoded = std::move(block);
  return FENDREL_SUCCESS;
}

std::uint32_t decodeDestination(const Destination& destination, DestinationOptions*& options) noexcept {
  options = nullptr;
  auto* const record = static_cast<DestinationOptions*>(std::calloc(1, optionsHeaderSize));
  if (!record) return FENDREL_OUT_OF_MEMORY;
  const auto copy = [](const std::optional<std::wstring>& text, wchar_t*& field) {
    return !text || (field = heapCopy(*text)) != nullptr;
  };
  if (!copy(destination.profileName, record->profileName) ||
      !copy(destination.profilePassword, record->profilePassword) ||
      !copy(destination.folderPath, record->folderPath)) {
    freeOptions(record);
    return FENDREL_OUT_OF_MEMORY;
  }
  record->version = 1;
  record->destinationType = destination.type;
  options = record;
  return FENDREL_SUCCESS;
}

}  // namespace fendrel
