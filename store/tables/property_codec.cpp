#include "property_codec.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "engine_error.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

using std::holds_alternative;

bool fits(std::uint16_t type, const PropertyValue& value) {
  switch (type) {
    case PropertyType::int16: return holds_alternative<std::int16_t>(value);
    case PropertyType::int32: return holds_alternative<std::int32_t>(value);
    case PropertyType::float32: return holds_alternative<float>(value);
    case PropertyType::float64:
    case PropertyType::appTime: return holds_alternative<double>(value);
    case PropertyType::currency:
    case PropertyType::int64: return holds_alternative<std::int64_t>(value);
    case PropertyType::boolean: return holds_alternative<bool>(value);
    case PropertyType::text: return holds_alternative<std::u16string>(value);
    case PropertyType::time: return holds_alternative<FileTime>(value);
    case PropertyType::guid: return holds_alternative<Guid>(value);
    case PropertyType::binary: return holds_alternative<Bytes>(value);
    case PropertyType::manyInt16: return holds_alternative<std::vector<std::int16_t>>(value);
    case PropertyType::manyInt32: return holds_alternative<std::vector<std::int32_t>>(value);
    case PropertyType::manyFloat32: return holds_alternative<std::vector<float>>(value);
    case PropertyType::manyFloat64:
    case PropertyType::manyAppTime: return holds_alternative<std::vector<double>>(value);
    case PropertyType::manyCurrency:
    case PropertyType::manyInt64: return holds_alternative<std::vector<std::int64_t>>(value);
    case PropertyType::manyTime: return holds_alternative<std::vector<FileTime>>(value);
    case PropertyType::manyGuid: return holds_alternative<std::vector<Guid>>(value);
    case PropertyType::manyText: return holds_alternative<std::vector<std::u16string>>(value);
    case PropertyType::manyBinary: return holds_alternative<std::vector<Bytes>>(value);
    default: return false;
  }
}

[[noreturn]] void damaged() {
  fail(Status::Corrupt, "The store is damaged: a property's value does not match its type.");
}

void appendCounted(Bytes& bytes, const void* from, std::size_t size) {
  if (size > std::numeric_limits<std::uint32_t>::max()) fail(Status::Invalid, "A value of a list is too long.");
  const auto length = static_cast<std::uint32_t>(size);
  append(bytes, &length, sizeof length);
  append(bytes, from, size);
}

// Calls take(bytes) for each counted piece.
template <class Take>
void splitCounted(std::span<const std::byte> bytes, Take take) {
  while (!bytes.empty()) {
    std::uint32_t length;
    if (bytes.size() < sizeof length) damaged();
    std::memcpy(&length, bytes.data(), sizeof length);
    bytes = bytes.subspan(sizeof length);
    if (bytes.size() < length) damaged();
    take(bytes.first(length));
    bytes = bytes.subspan(length);
  }
}

struct Binder {
  Statement& statement;
  int parameter;
  Bytes& scratch;

  void operator()(std::monostate) const { fail(Status::Invalid, "A property without a value cannot be set."); }
  void operator()(const UnloadedValue&) const { fail(Status::Invalid, "A value that was not loaded cannot be set."); }
  void operator()(std::int16_t value) const { statement.bind(parameter, value); }
  void operator()(std::int32_t value) const { statement.bind(parameter, value); }
  void operator()(std::int64_t value) const { statement.bind(parameter, value); }
  void operator()(bool value) const { statement.bind(parameter, std::int64_t{value}); }
  void operator()(float value) const { statement.bind(parameter, static_cast<double>(value)); }
  void operator()(double value) const { statement.bind(parameter, value); }
  void operator()(FileTime value) const { statement.bind(parameter, static_cast<std::int64_t>(value.ticks)); }
  void operator()(const Guid& value) const { statement.bind(parameter, value); }
  void operator()(const Bytes& value) const { statement.bind(parameter, std::span<const std::byte>(value)); }
  void operator()(const std::u16string& value) const { statement.bindOwned(parameter, toUtf8(value)); }
  template <class Fixed>
  void operator()(const std::vector<Fixed>& values) const {
    append(scratch, values.data(), values.size() * sizeof(Fixed));
    bindScratch();
  }
  void operator()(const std::vector<std::u16string>& values) const {
    for (const auto& value : values) {
      const std::string utf8 = toUtf8(value);
      appendCounted(scratch, utf8.data(), utf8.size());
    }
    bindScratch();
  }
  void operator()(const std::vector<Bytes>& values) const {
    for (const auto& value : values) appendCounted(scratch, value.data(), value.size());
    bindScratch();
  }
  void bindScratch() const { statement.bind(parameter, std::span<const std::byte>(scratch)); }
};

std::int64_t integerIn(const Statement& statement, int column, std::int64_t least, std::int64_t most) {
  if (statement.type(column) != SQLITE_INTEGER) damaged();
  const std::int64_t value = statement.integer(column);
  if (value < least || value > most) damaged();
  return value;
}

template <class Integer>
Integer integerAs(const Statement& statement, int column) {
  return static_cast<Integer>(
      integerIn(statement, column, std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max()));
}

double realAt(const Statement& statement, int column) {
  if (statement.isNull(column)) return std::numeric_limits<double>::quiet_NaN();
  if (statement.type(column) != SQLITE_FLOAT) damaged();
  return statement.real(column);
}

std::span<const std::byte> blobAt(const Statement& statement, int column) {
  if (statement.type(column) != SQLITE_BLOB) damaged();
  return statement.bytes(column);
}

template <class Fixed>
std::vector<Fixed> manyFixed(std::span<const std::byte> bytes) {
  if (bytes.size() % sizeof(Fixed) != 0) damaged();
  std::vector<Fixed> values(bytes.size() / sizeof(Fixed));
  if (!bytes.empty()) std::memcpy(values.data(), bytes.data(), bytes.size());
  return values;
}

std::vector<std::u16string> manyText(std::span<const std::byte> bytes) {
  std::vector<std::u16string> values;
  splitCounted(bytes, [&](std::span<const std::byte> piece) {
    const std::string_view utf8(reinterpret_cast<const char*>(piece.data()), piece.size());
    if (!fromUtf8(utf8, values.emplace_back())) damaged();
  });
  return values;
}

std::vector<Bytes> manyBinary(std::span<const std::byte> bytes) {
  std::vector<Bytes> values;
  splitCounted(bytes, [&](std::span<const std::byte> piece) { values.emplace_back(piece.begin(), piece.end()); });
  return values;
}

}  // namespace

void checkFits(const Property& property) {
  if (propertyId(property.tag) == 0 || !fits(propertyType(property.tag), property.value)) {
    fail(Status::Invalid, "The value of property " + std::to_string(propertyId(property.tag)) +
                              " does not match its type, or the type cannot be stored.");
  }
}

void bindValue(Statement& statement, int parameter, const PropertyValue& value, Bytes& scratch) {
  scratch.clear();
  std::visit(Binder{statement, parameter, scratch}, value);
}

PropertyValue readValue(const Statement& statement, int column, std::uint16_t type) {
  switch (type) {
    case PropertyType::int16: return integerAs<std::int16_t>(statement, column);
    case PropertyType::int32: return integerAs<std::int32_t>(statement, column);
    case PropertyType::currency:
    case PropertyType::int64: return integerAs<std::int64_t>(statement, column);
    case PropertyType::boolean: return integerIn(statement, column, 0, 1) != 0;
    case PropertyType::time: return FileTime{static_cast<std::uint64_t>(integerAs<std::int64_t>(statement, column))};
    case PropertyType::float32: return static_cast<float>(realAt(statement, column));
    case PropertyType::float64:
    case PropertyType::appTime: return realAt(statement, column);
    case PropertyType::text:
      if (statement.type(column) != SQLITE_TEXT) damaged();
      return statement.wideText(column);
    case PropertyType::guid:
      if (statement.type(column) != SQLITE_BLOB) damaged();
      return statement.guid(column);
    case PropertyType::binary: {
      const auto bytes = blobAt(statement, column);
      return Bytes(bytes.begin(), bytes.end());
    }
    case PropertyType::manyInt16: return manyFixed<std::int16_t>(blobAt(statement, column));
    case PropertyType::manyInt32: return manyFixed<std::int32_t>(blobAt(statement, column));
    case PropertyType::manyFloat32: return manyFixed<float>(blobAt(statement, column));
    case PropertyType::manyFloat64:
    case PropertyType::manyAppTime: return manyFixed<double>(blobAt(statement, column));
    case PropertyType::manyCurrency:
    case PropertyType::manyInt64: return manyFixed<std::int64_t>(blobAt(statement, column));
    case PropertyType::manyTime: return manyFixed<FileTime>(blobAt(statement, column));
    case PropertyType::manyGuid: return manyFixed<Guid>(blobAt(statement, column));
    case PropertyType::manyText: return manyText(blobAt(statement, column));
    case PropertyType::manyBinary: return manyBinary(blobAt(statement, column));
    default: damaged();
  }
}

PropertyValue valueOfContent(std::uint16_t type, Bytes bytes) {
  if (type == PropertyType::binary) return bytes;
  if (type != PropertyType::text || bytes.size() % 2 != 0) damaged();
  std::u16string text(bytes.size() / 2, u'\0');
  if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
  return text;
}

std::span<const std::byte> contentOfValue(const PropertyValue& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) return std::as_bytes(std::span(*text));
  if (const auto* bytes = std::get_if<Bytes>(&value)) return *bytes;
  return {};
}

}  // namespace fendrel::store
