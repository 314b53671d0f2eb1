// The host's owners of MAPI's memory.
#pragma once

#include <mapix.h>

#include <memory>
#include <vector>

#include "mapi_library.h"
#include "owners.h"

namespace fendrel::host {

struct MapiFree {
  void operator()(void* block) const noexcept { mapi().freeBuffer(block); }
};
// The top block; the blocks chained to it are freed with it.
template <class T>
using MapiBuffer = std::unique_ptr<T, MapiFree>;

using RowSet = std::unique_ptr<SRowSet, RowSetFree<MapiFree>>;

// A property tag array, with its count before the tags.
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
