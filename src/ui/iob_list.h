// An ordered list of borrowed objects.
#pragma once

#include <list>

#include "iobject.h"

namespace fendrel {

class CIObList {
 public:
  using Position = std::list<CIObject*>::const_iterator;

  CIObList() = default;
  virtual ~CIObList() = default;
  CIObList(const CIObList&) = delete;
  CIObList& operator=(const CIObList&) = delete;

  // False without memory.
  bool AddTail(CIObject* object) noexcept;

  // Removes the first entry of `object`, if any.
  void Remove(CIObject* object) noexcept;

  Position GetHeadPosition() const noexcept { return objects_.begin(); }

  // The object at `position`, which is advanced; null at the end.
  CIObject* GetNext(Position& position) const noexcept;

 private:
  std::list<CIObject*> objects_;
};

}  // namespace fendrel
