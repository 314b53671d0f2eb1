// 32-bit handles that stand for objects and are never addresses.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace fendrel {

// Owns the objects that the host holds handles of. A handle is not given out again while the table can avoid it, so
// that an ended one stays unknown.
template <class Object>
class HandleTable {
 public:
  // The handles follow `before`, so that tables can keep theirs apart.
  explicit HandleTable(std::uint32_t before = 0) noexcept : last_(before) {}

  std::uint32_t add(std::unique_ptr<Object> object) {
    do ++last_;
    while (last_ == 0 || objects_.contains(last_));
    objects_.emplace(last_, std::move(object));
    return last_;
  }

  // Null for a handle that is 0, unknown or ended.
  Object* find(std::uint32_t handle) const noexcept {
    const auto found = objects_.find(handle);
    return found == objects_.end() ? nullptr : found->second.get();
  }

  // True when there was such an object; it is destroyed.
  bool remove(std::uint32_t handle) noexcept { return objects_.erase(handle) != 0; }

 private:
  std::map<std::uint32_t, std::unique_ptr<Object>> objects_;
  std::uint32_t last_;
};

}  // namespace fendrel
