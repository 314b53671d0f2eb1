// Static objects that outlive the module's code. Portable.
#pragma once

#include <cstddef>
#include <new>

namespace fendrel {

// Holds an object and never destroys it: when the process ends, other threads may have been stopped while they held the
// heap, and MAPI may be unloaded already.
template <class Object>
class NeverDestroyed {
 public:
  NeverDestroyed() noexcept(noexcept(Object())) { new (storage_) Object(); }
  explicit NeverDestroyed(auto argument) noexcept(noexcept(Object(argument))) { new (storage_) Object(argument); }

  Object& operator*() noexcept { return *std::launder(reinterpret_cast<Object*>(storage_)); }
  Object* operator->() noexcept { return &**this; }

 private:
  alignas(Object) std::byte storage_[sizeof(Object)];
};

}  // namespace fendrel
