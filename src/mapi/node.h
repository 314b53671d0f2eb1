// A node of the tree that the folder dialog shows.
#pragma once

#include <windows.h>

namespace fendrel {

// Links of the tree and the order of siblings. A node owns its children.
class CNODE {
 public:
  CNODE() = default;
  virtual ~CNODE();
  CNODE(const CNODE&) = delete;
  CNODE& operator=(const CNODE&) = delete;

  // The display name; null when it could not be copied.
  virtual const wchar_t* GetName() const noexcept = 0;

  // Reads the children unless they have been read; always true.
  virtual bool Expand() noexcept = 0;

  virtual bool HasChildren() const noexcept { return firstChild != nullptr; }
  virtual bool IsRoot() const noexcept { return parent == nullptr; }
  virtual bool CanSelect() const noexcept { return true; }

  // Takes `child` over and puts it before the first child whose name is not less than its own: names ascend without
  // regard to case, and of equal names the one added later stands first.
  virtual void AddChild(CNODE* child) noexcept;

  DWORD valid = 0;  // 1 when the name could be copied
  DWORD depth = 0;  // 0 for the root
  CNODE* firstChild = nullptr;
  CNODE* nextSibling = nullptr;
  CNODE* parent = nullptr;
  DWORD expanded = 0;     // 1 once the children have been read
  UINT_PTR viewItem = 0;  // the view's handle of the node; not used here
};

// The order of names: the user's, without regard to case.
bool isNameLess(const CNODE& left, const CNODE& right) noexcept;

}  // namespace fendrel
