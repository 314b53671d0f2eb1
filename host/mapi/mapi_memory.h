// Owners of MAPI's memory: nobody frees a block or a row set by hand.
#pragma once

#include <mapix.h>

#include <memory>
#include <vector>

#include "mapi_library.h"

namespace fendrel::host {

struct MapiFree {
  void operator()(void* block) const noexcept { mapi().freeBuffer(block); }
};
// The top block; what is chained below it dies with it.
template <class T>
using MapiBuffer = std::unique_ptr<T, MapiFree>;

struct RowsFree {
  void operator()(SRowSet* rows) const noexcept { mapi().freeProws(rows); }
};
using RowSet = std::unique_ptr<SRowSet, RowsFree>;

// Lets a C function fill an owner: receive(owner) converts to the out-parameter and empties the owner first.
template <class Owner>
class Receiver {
 public:
  explicit Receiver(Owner& target) : owner_(target) { owner_.reset(); }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  ~Receiver() { owner_.reset(raw_); }
  operator typename Owner::pointer *() noexcept { return &raw_; }

 private:
  Owner& owner_;
  typename Owner::pointer raw_ = nullptr;
};
template <class Owner>
Receiver<Owner> receive(Owner& owner) {
  return Receiver<Owner>(owner);
}

// A property tag array, its count in front of the tags.
class Tags {
 public:
  Tags(std::initializer_list<ULONG> tags) : block_{static_cast<ULONG>(tags.size())} {
    block_.insert(block_.end(), tags.begin(), tags.end());
  }
  operator SPropTagArray*() noexcept { return reinterpret_cast<SPropTagArray*>(block_.data()); }

 private:
  std::vector<ULONG> block_;
};

}  // namespace fendrel::host
