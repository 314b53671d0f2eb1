// The identifier of an engine's object.
#pragma once

#include <compare>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "property.h"

namespace fendrel::store {

// Identifies a store, folder or message: bytes that only its engine interprets. Unique among all stores of the engine,
// and valid in other processes. Empty: none. Copies share the bytes, because nothing may run out of memory after a
// save.
class Id {
 public:
  Id() = default;
  Id(const Guid& guid) : Id(std::as_bytes(std::span(guid.bytes))) {}
  explicit Id(std::string_view text) : text_(std::make_shared<const std::string>(text)) {}
  explicit Id(std::span<const std::byte> bytes)
      : Id(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())) {}

  bool empty() const noexcept { return text().empty(); }
  std::string_view text() const noexcept { return text_ ? std::string_view(*text_) : std::string_view(); }
  std::span<const std::byte> bytes() const noexcept { return std::as_bytes(std::span(text())); }

  bool operator==(const Id& other) const noexcept { return text() == other.text(); }
  auto operator<=>(const Id& other) const noexcept { return text() <=> other.text(); }

 private:
  std::shared_ptr<const std::string> text_;
};

}  // namespace fendrel::store
