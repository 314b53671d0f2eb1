// Owners of what MAPI allocates: nobody frees a block or a row set by hand. For the plug-in and its host, each of which
// finds MAPI's functions in its own way and names the one that frees a block: FreeBlock, a function object.
#pragma once

#include <mapidefs.h>

#include <memory>

namespace fendrel {

// Each row has its own property array, allocated separately.
template <class FreeBlock>
struct RowSetFree {
  void operator()(SRowSet* rows) const noexcept {
    for (ULONG row = 0; row < rows->cRows; ++row) {
      if (rows->aRow[row].lpProps) FreeBlock{}(rows->aRow[row].lpProps);
    }
    FreeBlock{}(rows);
  }
};

// Turns an owner into a C out-parameter: empties it, and takes the written value at the end of the expression.
template <class Owner>
class Receiver {
 public:
  explicit Receiver(Owner& owner) noexcept : owner_(owner) { owner_.reset(); }
  ~Receiver() { owner_.reset(pointer_); }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  operator typename Owner::pointer *() noexcept { return &pointer_; }

 private:
  Owner& owner_;
  typename Owner::pointer pointer_ = nullptr;
};

template <class Owner>
Receiver<Owner> receive(Owner& owner) noexcept {
  return Receiver<Owner>(owner);
}

}  // namespace fendrel
