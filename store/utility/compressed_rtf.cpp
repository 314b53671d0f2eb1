#include "compressed_rtf.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

namespace fendrel::utility {
namespace {

constexpr std::uint32_t compressedMark = 0x75465A4C, plainMark = 0x414C454D;
constexpr std::size_t headSize = 16, ringSize = 4096, longestMatch = 17, shortestMatch = 2;

constexpr std::string_view usualWords =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript \\fdecor "
    "MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0\r\n\\par "
    "\\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
static_assert(usualWords.size() == 207);

std::uint32_t numberAt(std::span<const std::byte> bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
  return number;
}

void putNumber(RtfBytes& bytes, std::uint32_t number) {
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<std::byte>(number >> 8 * i));
}

// The usual 32-bit CRC, starting with 0 and not inverted.
std::uint32_t checksum(std::span<const std::byte> bytes) {
  static const auto table = [] {
    std::array<std::uint32_t, 256> made{};
    for (std::uint32_t i = 0; i < made.size(); ++i) {
      made[i] = i;
      for (int bit = 0; bit < 8; ++bit) made[i] = made[i] >> 1 ^ (made[i] & 1 ? 0xEDB88320u : 0);
    }
    return made;
  }();
  std::uint32_t sum = 0;
  for (const std::byte byte : bytes) sum = table[(sum ^ std::to_integer<std::uint32_t>(byte)) & 0xFF] ^ sum >> 8;
  return sum;
}

class Ring {
 public:
  Ring() {
    std::ranges::transform(usualWords, bytes_.begin(), [](char c) { return static_cast<std::byte>(c); });
  }

  std::size_t next() const noexcept { return next_; }
  // The number of bytes written to it.
  std::size_t filled() const noexcept { return filled_; }
  std::byte operator[](std::size_t place) const noexcept { return bytes_[place % ringSize]; }
  void put(std::byte byte) noexcept {
    bytes_[next_] = byte;
    next_ = (next_ + 1) % ringSize;
    filled_ = std::max(filled_, next_ == 0 ? ringSize : next_);
  }

 private:
  std::array<std::byte, ringSize> bytes_{};
  std::size_t next_ = usualWords.size(), filled_ = usualWords.size();
};

RtfBytes withHead(std::uint32_t mark, std::uint32_t sum, std::size_t textSize, std::span<const std::byte> body) {
  RtfBytes stored;
  stored.reserve(headSize + body.size());
  putNumber(stored, static_cast<std::uint32_t>(body.size() + headSize - 4));
  putNumber(stored, static_cast<std::uint32_t>(textSize));
  putNumber(stored, mark);
  putNumber(stored, sum);
  stored.insert(stored.end(), body.begin(), body.end());
  return stored;
}

// The end marker may be missing: then the text must have its stated length.
std::optional<RtfBytes> expand(std::span<const std::byte> body, std::size_t textSize) {
  Ring ring;
  RtfBytes text;
  const auto put = [&](std::byte byte) {
    ring.put(byte);
    text.push_back(byte);
  };
  for (std::size_t at = 0; at < body.size();) {
    const auto control = std::to_integer<unsigned>(body[at++]);
    for (int bit = 0; bit < 8 && at < body.size(); ++bit) {
      if (!(control >> bit & 1)) {
        put(body[at++]);
        continue;
      }
      if (at + 2 > body.size()) return std::nullopt;
      const auto reference = std::to_integer<unsigned>(body[at]) << 8 | std::to_integer<unsigned>(body[at + 1]);
      at += 2;
      const std::size_t place = reference >> 4, length = (reference & 0xF) + shortestMatch;
      if (place == ring.next()) return text;
      for (std::size_t i = 0; i < length; ++i) put(ring[place + i]);
    }
  }
  return text.size() == textSize ? std::optional(std::move(text)) : std::nullopt;
}

struct Match {
  std::size_t place = 0, length = 0;
};

// Finds the longest run in the ring that matches the text. A match may overlap the bytes that it writes.
class Matcher {
 public:
  explicit Matcher(const Ring& ring) : ring_(ring) {
    heads_.fill(nowhere);
    before_.fill(nowhere);
    for (std::size_t place = 0; place + 1 < ring.filled(); ++place) note(place);
  }

  // Call after the byte following `place` was written.
  void note(std::size_t place) {
    const std::size_t key = keyOf(ring_[place], ring_[place + 1]);
    before_[place] = heads_[key];
    heads_[key] = static_cast<std::uint16_t>(place);
  }

  Match longest(std::span<const std::byte> text) const {
    Match best;
    if (text.size() < shortestMatch) return best;
    const std::size_t most = std::min(longestMatch, text.size());
    std::size_t tries = mostTries;
    for (std::uint16_t place = heads_[keyOf(text[0], text[1])]; place != nowhere && tries-- > 0;
         place = before_[place]) {
      const std::size_t length = lengthAt(place, text.first(most));
      if (length >= best.length) best = {place, length};  // of equal matches the oldest, like other writers
    }
    return best;
  }

 private:
  static constexpr std::uint16_t nowhere = 0xFFFF;
  static constexpr std::size_t mostTries = 256;

  static std::size_t keyOf(std::byte first, std::byte second) {
    return std::to_integer<std::size_t>(first) << 8 | std::to_integer<std::size_t>(second);
  }

  // No match may start at the write position: that means the end. Bytes past the write position come from the text.
  std::size_t lengthAt(std::size_t place, std::span<const std::byte> text) const {
    if (place == ring_.next()) return 0;
    const std::size_t untilNext = (ring_.next() + ringSize - place) % ringSize;
    std::size_t length = 0;
    while (length < text.size()) {
      const std::byte there = length < untilNext ? ring_[place + length] : text[length - untilNext];
      if (there != text[length]) break;
      ++length;
    }
    return length;
  }

  const Ring& ring_;
  std::array<std::uint16_t, 65536> heads_;
  std::array<std::uint16_t, ringSize> before_;
};

}  // namespace

std::optional<RtfBytes> uncompressRtf(std::span<const std::byte> stored) {
  if (stored.size() < headSize) return std::nullopt;
  const std::size_t size = numberAt(stored, 0), textSize = numberAt(stored, 4);
  if (size < headSize - 4 || size > stored.size() - 4) return std::nullopt;
  const std::span<const std::byte> body = stored.subspan(headSize, size + 4 - headSize);
  switch (numberAt(stored, 8)) {
    case plainMark:
      if (textSize > body.size()) return std::nullopt;
      return RtfBytes(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(textSize));
    case compressedMark:
      if (checksum(body) != numberAt(stored, 12)) return std::nullopt;
      return expand(body, textSize);
    default: return std::nullopt;
  }
}

RtfBytes compressRtf(std::span<const std::byte> text) {
  const std::size_t textSize = text.size();
  Ring ring;
  const auto matcher = std::make_unique<Matcher>(ring);
  RtfBytes body;
  std::size_t control = 0;
  int things = 8;
  const auto begin = [&] {
    if (things < 8) return;
    control = body.size();
    body.push_back(std::byte{0});
    things = 0;
  };
  const auto refer = [&](std::size_t place, std::size_t length) {
    begin();
    body[control] |= static_cast<std::byte>(1 << things++);
    const std::size_t reference = place << 4 | (length - shortestMatch);
    body.push_back(static_cast<std::byte>(reference >> 8));
    body.push_back(static_cast<std::byte>(reference));
  };
  const auto advance = [&](std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t written = ring.next();
      ring.put(text[i]);
      matcher->note((written + ringSize - 1) % ringSize);
    }
    text = text.subspan(count);
  };
  while (!text.empty()) {
    const Match match = matcher->longest(text);
    if (match.length < shortestMatch) {
      begin();
      ++things;
      body.push_back(text[0]);
      advance(1);
    } else {
      refer(match.place, match.length);
      advance(match.length);
    }
  }
  refer(ring.next(), shortestMatch);
  return withHead(compressedMark, checksum(body), textSize, body);
}

RtfBytes wrapRtf(std::span<const std::byte> text) { return withHead(plainMark, 0, text.size(), text); }

}  // namespace fendrel::utility
