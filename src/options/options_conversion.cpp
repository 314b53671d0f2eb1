#include "options_conversion.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>

#include "destination_options.h"
#include "packed_options.h"

namespace fendrel {
namespace {

std::size_t lengthOf(const wchar_t* text) noexcept { return text ? std::wcslen(text) + 1 : 0; }
std::size_t lengthOf(const char* text) noexcept { return text ? std::strlen(text) + 1 : 0; }

// Per-field conversions: copy `length` characters of `source`, terminator included, into a field of 2 * `length` bytes,
// allocated if `allocate` is set. 0 or 2. Text that does not convert is left as the conversion wrote it, but always
// terminated inside the field.
std::uint32_t ConvertWideField(const wchar_t* source, std::size_t length, char*& field, bool allocate) noexcept {
  if (!source) {
    field = nullptr;
    return FENDREL_SUCCESS;
  }
  const std::size_t size = 2 * length;  // room for double-byte characters
  if (allocate && !(field = static_cast<char*>(std::calloc(size, 1)))) return FENDREL_OUT_OF_MEMORY;
  if (WideCharToMultiByte(CP_ACP, 0, source, static_cast<int>(length), field, static_cast<int>(size), nullptr,
                          nullptr) == 0)
    field[size - 1] = 0;
  return FENDREL_SUCCESS;
}

std::uint32_t ConvertNarrowField(const char* source, std::size_t length, wchar_t*& field, bool allocate) noexcept {
  if (!source) {
    field = nullptr;
    return FENDREL_SUCCESS;
  }
  if (allocate && !(field = static_cast<wchar_t*>(std::calloc(length, sizeof(wchar_t))))) return FENDREL_OUT_OF_MEMORY;
  if (MultiByteToWideChar(CP_ACP, 0, source, static_cast<int>(length), field, static_cast<int>(length)) == 0)
    field[length - 1] = 0;
  return FENDREL_SUCCESS;
}

std::uint32_t convertField(const wchar_t* source, char*& field) noexcept {
  return ConvertWideField(source, lengthOf(source), field, true);
}
std::uint32_t convertField(const char* source, wchar_t*& field) noexcept {
  return ConvertNarrowField(source, lengthOf(source), field, true);
}
void convertInPlace(const wchar_t* source, std::size_t length, char* field) noexcept {
  ConvertWideField(source, length, field, false);
}
void convertInPlace(const char* source, std::size_t length, wchar_t* field) noexcept {
  ConvertNarrowField(source, length, field, false);
}

template <class Options>
struct RecordFree {
  void operator()(Options* options) const noexcept { freeOptions(options); }
};

template <class From, class To>
std::uint32_t convertUnpacked(const OptionsCopy<From>& from, To*& result) noexcept {
  std::unique_ptr<To, RecordFree<To>> record(static_cast<To*>(std::calloc(1, optionsHeaderSize)));
  if (!record) return FENDREL_OUT_OF_MEMORY;
  record->version = 1;
  if (const auto code = convertField(from.profileName(), record->profileName)) return code;
  if (const auto code = convertField(from.profilePassword(), record->profilePassword)) return code;
  record->destinationType = from.header().destinationType;
  if (const auto code = convertField(from.folderPath(), record->folderPath)) return code;
  result = record.release();
  return FENDREL_SUCCESS;
}

// The distance of the ANSI strings in bytes is the length of their wide sources in characters, so the next string
// overwrites the end of a long double-byte string (docs/compatibility.md).
template <class From, class To>
std::uint32_t convertPacked(const OptionsCopy<From>& from, To*& result) noexcept {
  using Character = typename OptionsCopy<To>::Character;
  const std::size_t a = lengthOf(from.profileName());
  const std::size_t b = lengthOf(from.profilePassword());
  const std::size_t c = lengthOf(from.folderPath());
  const std::size_t blockSize = (a + b + c + optionsHeaderSize / 2) * 2;
  auto* const block = static_cast<std::byte*>(std::calloc(1, blockSize));
  if (!block) return FENDREL_OUT_OF_MEMORY;
  auto* const record = reinterpret_cast<To*>(block);
  record->version = 1;
  record->destinationType = from.header().destinationType;
  record->packedSize = static_cast<std::uint16_t>(blockSize);  // modulo 65,536; the block itself is whole

  const auto place = [block](const auto* source, std::size_t length, std::size_t offset) -> std::uint64_t {
    if (!source) return 0;
    convertInPlace(source, length, reinterpret_cast<Character*>(block + offset));
    return offset;
  };
  record->profileNameOffset = place(from.profileName(), a, optionsHeaderSize);
  record->profilePasswordOffset = place(from.profilePassword(), b, optionsHeaderSize + a * sizeof(Character));
  record->folderPathOffset = place(from.folderPath(), c, optionsHeaderSize + (a + b) * sizeof(Character));
  result = record;
  return FENDREL_SUCCESS;
}

template <class From, class To>
std::uint32_t convert(From* options, To*& result, std::uint16_t* size) noexcept {
  result = nullptr;
  if (!options) return FENDREL_SUCCESS;
  const std::uint16_t version = options->version;
  if (!CheckOptionsVersion(options)) return FENDREL_INVALID_ARGUMENT;

  if (size && options->packedSize == 0) *size = 0;  // stays set if memory runs out later
  OptionsCopy<From> from;
  std::uint32_t code = from.take(*options);
  if (code == FENDREL_SUCCESS) code = from.isPacked() ? convertPacked(from, result) : convertUnpacked(from, result);
  if (code == FENDREL_OUT_OF_MEMORY) return code;
  options->version = version;
  if (code == FENDREL_SUCCESS && size) *size = result->packedSize;
  return code;
}

}  // namespace

std::uint32_t convertOptions(DestinationOptions* options, DestinationOptionsA*& result, std::uint16_t* size) noexcept {
  return convert(options, result, size);
}

std::uint32_t convertOptions(DestinationOptionsA* options, DestinationOptions*& result, std::uint16_t* size) noexcept {
  return convert(options, result, size);
}

}  // namespace fendrel
