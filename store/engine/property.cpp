#include "property.h"

namespace fendrel::store {

namespace {

struct Measure {
  template <class Fixed>
  std::uint64_t operator()(const Fixed&) const {
    return sizeof(Fixed);
  }
  std::uint64_t operator()(std::monostate) const { return 0; }
  std::uint64_t operator()(const UnloadedValue& value) const { return value.size; }
  std::uint64_t operator()(bool) const { return 2; }
  std::uint64_t operator()(const std::u16string& value) const { return value.size() * 2; }
  std::uint64_t operator()(const Bytes& value) const { return value.size(); }
  template <class Item>
  std::uint64_t operator()(const std::vector<Item>& values) const {
    std::uint64_t total = 0;
    for (const auto& value : values) total += (*this)(value);
    return total;
  }
};

}  // namespace

std::uint64_t valueSize(const PropertyValue& value) { return std::visit(Measure{}, value); }

}  // namespace fendrel::store
