#include "property_order.h"

#include <bit>
#include <cstring>
#include <limits>

namespace fendrel::provider {
namespace {

using store::Bytes;

void appendBigEndian(std::string& key, std::uint64_t value) {
  for (int shift = 56; shift >= 0; shift -= 8) key += static_cast<char>(value >> shift & 0xFF);
}

// Flipping it gives two's complement the order of unsigned numbers.
constexpr std::uint64_t signBit = std::uint64_t{1} << 63;

struct KeyWriter {
  std::string& key;

  void integer(std::int64_t value) const { appendBigEndian(key, static_cast<std::uint64_t>(value) ^ signBit); }
  void operator()(std::monostate) const {}
  void operator()(const store::UnloadedValue&) const {}
  void operator()(std::int16_t value) const { integer(value); }
  void operator()(std::int32_t value) const { integer(value); }
  void operator()(std::int64_t value) const { integer(value); }
  void operator()(bool value) const { key += static_cast<char>(value); }
  void operator()(float value) const { (*this)(static_cast<double>(value)); }
  void operator()(double value) const {
    const auto bits = std::bit_cast<std::uint64_t>(value == 0 ? 0.0 : value);
    appendBigEndian(key, bits & signBit ? ~bits : bits | signBit);
  }
  void operator()(store::FileTime value) const { appendBigEndian(key, value.ticks); }
  void operator()(const store::Guid& value) const {
    key.append(reinterpret_cast<const char*>(value.bytes), sizeof value.bytes);
  }
  void operator()(const std::u16string& text) const {
    if (text.size() < static_cast<std::size_t>(std::numeric_limits<int>::max() / 8) && !text.empty()) {
      constexpr DWORD how = LCMAP_SORTKEY | NORM_IGNORECASE;
      const int length = static_cast<int>(text.size());
      const int needed = LCMapStringW(LOCALE_USER_DEFAULT, how, systemText(text), length, nullptr, 0);
      const std::size_t begin = key.size();
      key.resize(begin + static_cast<std::size_t>(needed));
      LCMapStringW(LOCALE_USER_DEFAULT, how, systemText(text), length, reinterpret_cast<wchar_t*>(key.data() + begin),
                   needed);
    }
    key += '\0';
    for (const char16_t unit : text) {
      key += static_cast<char>(unit >> 8);
      key += static_cast<char>(unit & 0xFF);
    }
  }
  void operator()(const Bytes& bytes) const { key.append(reinterpret_cast<const char*>(bytes.data()), bytes.size()); }
  template <class Value>
  void operator()(const std::vector<Value>& values) const {
    for (const Value& value : values) (*this)(value);
  }
};

}  // namespace

std::string orderKey(const PropertyValue& value) {
  std::string key;
  if (value.index() == 0) return key;
  key += '\1';
  std::visit(KeyWriter{key}, value);
  return key;
}

std::optional<std::strong_ordering> compareValues(const PropertyValue& left, const PropertyValue& right) {
  if (left.index() != right.index() || left.index() == 0) return std::nullopt;
  if (std::holds_alternative<store::UnloadedValue>(left)) return std::nullopt;
  if (left == right) return std::strong_ordering::equal;
  // std::string compares char as unsigned.
  return orderKey(left) <=> orderKey(right);
}

std::u16string lowerCase(std::u16string_view text) {
  std::u16string lower(text);
  if (text.empty() || text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return lower;
  LCMapStringW(LOCALE_INVARIANT, LCMAP_LOWERCASE, systemText(text), static_cast<int>(text.size()),
               reinterpret_cast<wchar_t*>(lower.data()), static_cast<int>(lower.size()));
  return lower;
}

}  // namespace fendrel::provider
