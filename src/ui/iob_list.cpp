#include "iob_list.h"

#include <algorithm>
#include <new>

namespace fendrel {

bool CIObList::AddTail(CIObject* object) noexcept {
  try {
    objects_.push_back(object);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void CIObList::Remove(CIObject* object) noexcept {
  const auto found = std::ranges::find(objects_, object);
  if (found != objects_.end()) objects_.erase(found);
}

CIObject* CIObList::GetNext(Position& position) const noexcept {
  return position == objects_.end() ? nullptr : *position++;
}

}  // namespace fendrel
