// Rows as SQLite's published file format stores them. Portable: no system header, no SQLite. What is read is not
// trusted: nothing outside the given bytes is looked at. For store/maintenance only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace fendrel::store {

// Numbers are stored with the high byte first.
std::uint64_t bigEndian(std::span<const std::byte> bytes) noexcept;

// A number of one to nine bytes at `at`, which moves behind it. False: the bytes end before it does.
bool readVarint(std::span<const std::byte> bytes, std::size_t& at, std::uint64_t& value) noexcept;

struct RecordValue {
  enum Kind { null, integer, real, text, blob };
  Kind kind = null;
  std::int64_t number = 0;
  double fraction = 0;
  std::span<const std::byte> bytes;  // of text and blob
};

// A record: a header with the type of each value, then the values.
class Record {
public:
  static constexpr std::size_t mostColumns = 16;  // our tables have fewer

  // Reads the header of a record of `size` bytes, of which `first` are the first ones. Nothing: it is none, its header
  // is not in them, or its values do not fill it to the byte.
  static std::optional<Record> read(std::span<const std::byte> first, std::uint64_t size) noexcept;

  std::size_t columns() const noexcept { return columns_; }
  RecordValue::Kind kind(std::size_t column) const noexcept;
  std::uint64_t size(std::size_t column) const noexcept;

  // A value out of the record's bytes. Nothing: it does not end in them.
  std::optional<RecordValue> value(std::size_t column, std::span<const std::byte> record) const noexcept;

private:
  std::size_t columns_ = 0;
  std::array<std::uint64_t, mostColumns> types_{}, starts_{};
};

}  // namespace fendrel::store
