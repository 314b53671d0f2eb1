// 32-bit handles of objects; never addresses.
#pragma once

#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <utility>

namespace fendrel {

// Besides 0, the only handle that no table assigns.
inline constexpr std::uint32_t noHandle = std::numeric_limits<std::uint32_t>::max();

// Owns the objects whose handles the host holds. Handles are reused as late as possible, so that an ended one stays
// unknown.
template <class Object>
class HandleTable {
 public:
  // The first handle is `before` + 1, so that tables can use different ranges.
  explicit HandleTable(std::uint32_t before = 0) noexcept : last_(before) {}

  std::uint32_t add(std::unique_ptr<Object> object) {
    do ++last_;
    while (last_ == 0 || last_ == noHandle || objects_.contains(last_));
    objects_.emplace(last_, std::move(object));
    return last_;
  }

  // Null for a handle that is 0, unknown or ended.
  Object* find(std::uint32_t handle) const noexcept {
    const auto found = objects_.find(handle);
    return found == objects_.end() ? nullptr : found->second.get();
  }

  // Releases the object and forgets its handle; null if there is none.
  std::unique_ptr<Object> take(std::uint32_t handle) noexcept {
    const auto node = objects_.extract(handle);
    return node ? std::move(node.mapped()) : nullptr;
  }

  // The largest known handle; 0 if there is none.
  std::uint32_t newest() const noexcept { return objects_.empty() ? 0 : objects_.rbegin()->first; }
  std::uint32_t newestBefore(std::uint32_t handle) const noexcept {
    const auto next = objects_.lower_bound(handle);
    return next == objects_.begin() ? 0 : std::prev(next)->first;
  }

 private:
  std::map<std::uint32_t, std::unique_ptr<Object>> objects_;
  std::uint32_t last_;
};

}  // namespace fendrel
