#include "node.h"

#include <memory>

namespace fendrel {

bool isNameLess(const CNODE& left, const CNODE& right) noexcept {
  return lstrcmpiW(left.GetName(), right.GetName()) < 0;
}

// Iterative: a folder may have tens of thousands of siblings.
CNODE::~CNODE() {
  while (firstChild) {
    const std::unique_ptr<CNODE> child(firstChild);
    firstChild = child->nextSibling;
  }
}

void CNODE::AddChild(CNODE* child) noexcept {
  child->parent = this;
  child->depth = depth + 1;
  CNODE** place = &firstChild;
  while (*place && isNameLess(**place, *child)) place = &(*place)->nextSibling;
  child->nextSibling = *place;
  *place = child;
}

}  // namespace fendrel
