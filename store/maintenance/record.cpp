#include "record.h"

#include <bit>

namespace fendrel::store {
namespace {

// Types 8 and 9 are the numbers 0 and 1 without bytes; 10 and 11 are never stored.
constexpr std::uint64_t doubleType = 7, zeroType = 8, oneType = 9, firstLongType = 12;
constexpr std::array<std::uint64_t, 10> sizes = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0};

std::uint64_t sizeOf(std::uint64_t type) noexcept {
  return type < firstLongType ? sizes[static_cast<std::size_t>(type)] : (type - firstLongType) / 2;
}

std::int64_t signedNumber(std::span<const std::byte> bytes) noexcept {
  const unsigned unused = static_cast<unsigned>(64 - bytes.size() * 8);
  return static_cast<std::int64_t>(bigEndian(bytes) << unused) >> unused;
}

}  // namespace

std::uint64_t bigEndian(std::span<const std::byte> bytes) noexcept {
  std::uint64_t value = 0;
  for (const std::byte byte : bytes) value = value << 8 | std::to_integer<std::uint64_t>(byte);
  return value;
}

bool readVarint(std::span<const std::byte> bytes, std::size_t& at, std::uint64_t& value) noexcept {
  value = 0;
  for (int count = 1; at < bytes.size(); ++count) {
    const auto byte = std::to_integer<std::uint64_t>(bytes[at++]);
    if (count == 9) {  // the last one has eight bits of the number
      value = value << 8 | byte;
      return true;
    }
    value = value << 7 | (byte & 0x7F);
    if (byte < 0x80) return true;
  }
  return false;
}

std::optional<Record> Record::read(std::span<const std::byte> first, std::uint64_t size) noexcept {
  Record record;
  std::size_t at = 0;
  std::uint64_t headerSize = 0;
  if (!readVarint(first, at, headerSize) || headerSize < at) return {};
  if (headerSize > first.size() || headerSize > size) return {};
  const auto header = first.first(static_cast<std::size_t>(headerSize));
  std::uint64_t start = headerSize;
  while (at < header.size()) {
    std::uint64_t type = 0;
    if (record.columns_ == mostColumns || !readVarint(header, at, type)) return {};
    if (type == 10 || type == 11 || sizeOf(type) > size - start) return {};
    record.types_[record.columns_] = type;
    record.starts_[record.columns_] = start;
    start += sizeOf(type);
    ++record.columns_;
  }
  if (start != size) return {};
  return record;
}

RecordValue::Kind Record::kind(std::size_t column) const noexcept {
  const std::uint64_t type = types_[column];
  if (type == 0) return RecordValue::null;
  if (type == doubleType) return RecordValue::real;
  if (type < firstLongType) return RecordValue::integer;
  return type % 2 == 0 ? RecordValue::blob : RecordValue::text;
}

std::uint64_t Record::size(std::size_t column) const noexcept { return sizeOf(types_[column]); }

std::optional<RecordValue> Record::value(std::size_t column, std::span<const std::byte> record) const noexcept {
  const std::uint64_t start = starts_[column], length = size(column);
  if (start > record.size() || length > record.size() - start) return {};
  const auto bytes = record.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(length));
  RecordValue value{.kind = kind(column)};
  switch (value.kind) {
    case RecordValue::null: break;
    case RecordValue::integer:
      if (types_[column] == oneType) value.number = 1;
      else if (types_[column] != zeroType) value.number = signedNumber(bytes);
      break;
    case RecordValue::real: value.fraction = std::bit_cast<double>(bigEndian(bytes)); break;
    default: value.bytes = bytes;
  }
  return value;
}

}  // namespace fendrel::store
