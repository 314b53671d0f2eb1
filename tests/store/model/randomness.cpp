#include "randomness.h"

#include <bit>
#include <limits>

namespace model {

std::size_t Random::length(std::size_t unit) {
  if (!oneIn(8)) return below(40);
  constexpr std::size_t limits[] = {32 * 1024, 128 * 1024, 2 * 128 * 1024};
  const std::size_t around = of(limits) / unit;
  return around + below(5) - 2;
}

Bytes Random::bytes(std::size_t size) {
  Bytes bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(next() >> 32);
  return bytes;
}

// Letters of several scripts, half of a surrogate pair among them, but no character that ends a text.
std::wstring Random::text(std::size_t length) {
  constexpr wchar_t letters[] = {L'a',      L'b',      L'c',      L'X',      L'Y',      L' ',
                                 L'.',      L'7',      L'\'',     L'%',      L'\u00E4', L'\u00DF',
                                 L'\u65E5', L'\u5831', L'\xD83D', L'\xDE00', L'\xFFFF', L'\x1'};
  const bool plain = oneIn(2);
  std::wstring text(length, L'\0');
  for (wchar_t& letter : text) letter = letters[below(plain ? 5 : std::size(letters))];
  return text;
}

ULONG Random::propertyId() { return static_cast<ULONG>(0x6810 + below(12)); }

Value Random::value(ULONG id) {
  constexpr ULONG types[] = {PT_I2,     PT_LONG,    PT_R4,      PT_DOUBLE,     PT_APPTIME,  PT_CURRENCY,
                             PT_I8,     PT_BOOLEAN, PT_SYSTIME, PT_CLSID,      PT_UNICODE,  PT_UNICODE,
                             PT_BINARY, PT_BINARY,  PT_MV_LONG, PT_MV_UNICODE, PT_MV_BINARY};
  Value value;
  const ULONG type = of(types);
  value.tag = PROP_TAG(type, id);
  const auto number = static_cast<std::int64_t>(oneIn(3) ? next() : below(5));
  const auto many = [&](auto make) {
    for (std::size_t count = 1 + below(3); count > 0; --count) {  // a list without values is refused
      value.many.push_back(make());
      value.many.back().tag = value.tag & ~static_cast<ULONG>(MV_FLAG);
    }
  };
  switch (type) {
    case PT_I2: value.number = static_cast<std::int16_t>(number); break;
    case PT_LONG: value.number = static_cast<std::int32_t>(number); break;
    case PT_BOOLEAN: value.number = number & 1; break;
    case PT_SYSTIME: value.number = number & std::numeric_limits<std::int64_t>::max(); break;
    case PT_R4: value.number = std::bit_cast<std::int32_t>(static_cast<float>(number) / 7) & 0xFFFFFFFF; break;
    case PT_DOUBLE:
    case PT_APPTIME: value.number = std::bit_cast<std::int64_t>(static_cast<double>(number) / 3); break;
    case PT_CLSID: value.bytes = bytes(sizeof(GUID)); break;
    case PT_UNICODE: value.text = text(length(sizeof(wchar_t))); break;
    case PT_BINARY: value.bytes = bytes(length(1)); break;
    case PT_MV_LONG: many([&] { return Value{.number = static_cast<std::int32_t>(next())}; }); break;
    case PT_MV_UNICODE: many([&] { return Value{.text = text(below(20))}; }); break;
    case PT_MV_BINARY: many([&] { return Value{.bytes = bytes(below(20))}; }); break;
    default: value.number = number; break;
  }
  return value;
}

}  // namespace model
