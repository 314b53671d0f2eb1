// Packed options records under construction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "destination.h"
#include "destination_options.h"
#include "options_encoding.h"

// Header and strings in one block. Its storage has the exact size of the record, rounded up to the alignment.
template <class Options, class Character>
class PackedRecord {
 public:
  PackedRecord() { bytes_.resize(48); }

  // Appends `text` with its terminator; its offset.
  std::uint32_t append(const std::basic_string<Character>& text) {
    const std::size_t offset = bytes_.size();
    bytes_.resize(offset + (text.size() + 1) * sizeof(Character));
    std::memcpy(bytes_.data() + offset, text.c_str(), (text.size() + 1) * sizeof(Character));
    return static_cast<std::uint32_t>(offset);
  }

  // With all three strings, the stated size that of the block.
  static PackedRecord complete(const std::basic_string<Character>& name, const std::basic_string<Character>& password,
                               const std::basic_string<Character>& path) {
    PackedRecord record;
    const auto nameAt = record.append(name), passwordAt = record.append(password), pathAt = record.append(path);
    record->version = 2;
    record->profileNameOffset = nameAt;
    record->profilePasswordOffset = passwordAt;
    record->folderPathOffset = pathAt;
    record->destinationType = FENDREL_REPORT_INSTANCE;
    record->packedSize = static_cast<std::uint16_t>(record.bytes_.size());
    return record;
  }

  Options* operator->() { return get(); }
  Options* get() { return reinterpret_cast<Options*>(bytes_.data()); }
  std::span<const std::byte> bytes() const { return bytes_; }

 private:
  std::vector<std::byte> bytes_;
};

using WidePackedRecord = PackedRecord<DestinationOptions, wchar_t>;
using AnsiPackedRecord = PackedRecord<DestinationOptionsA, char>;

// The plug-in's block as hosts hand it back: version 2, the stated size thirty bytes too small.
inline std::vector<std::byte> encodedRecord(const fendrel::Destination& destination) {
  fendrel::EncodedOptions encoded;
  std::uint16_t size = 0;
  fendrel::encodeDestination(destination, encoded, size);
  encoded->version = 2;
  const auto* const start = reinterpret_cast<const std::byte*>(encoded.get());
  return {start, start + size + 30};
}

// A string of a packed result.
inline std::wstring textAt(const DestinationOptions* block, std::uint64_t offset) {
  return reinterpret_cast<const wchar_t*>(reinterpret_cast<const std::byte*>(block) + offset);
}
inline std::string textAt(const DestinationOptionsA* block, std::uint64_t offset) {
  return reinterpret_cast<const char*>(reinterpret_cast<const std::byte*>(block) + offset);
}
