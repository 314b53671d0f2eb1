// The same numbers from the same seed with every compiler and standard library.
#pragma once

#include <cstdint>
#include <iterator>

#include "mapi_client.h"

namespace model {

using client::Bytes;
using client::Value;

class Random {
 public:
  // Neighbouring seeds begin far from each other.
  explicit Random(std::uint64_t seed) : state_(seed) { state_ = next(); }

  std::uint64_t next() {
    std::uint64_t mixed = state_ += 0x9E3779B97F4A7C15u;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
  }
  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(next() % limit); }
  bool oneIn(std::size_t count) { return below(count) == 0; }

  template <class List>
  auto& of(List&& list) {
    return *std::next(std::begin(list), static_cast<std::ptrdiff_t>(below(std::size(list))));
  }

  // Mostly small, else at a length where the storage of values changes.
  std::size_t length(std::size_t unit);
  Bytes bytes(std::size_t size);
  std::wstring text(std::size_t length);

  // A value of any type that a message can keep, for this identifier.
  Value value(ULONG id);
  // A message's or attachment's own identifiers, few enough to be met again.
  ULONG propertyId();

 private:
  std::uint64_t state_;
};

}  // namespace model
