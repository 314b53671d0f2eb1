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

  // The display name; null if it could not be copied.
  virtual const wchar_t* GetName() const noexcept = 0;

  // Reads the children once; always true.
  virtual bool Expand() noexcept = 0;

  virtual bool HasChildren() const noexcept { return firstChild != nullptr; }
  virtual bool IsRoot() const noexcept { return parent == nullptr; }
  virtual bool CanSelect() const noexcept { return true; }

  // Takes ownership of `child` and inserts it before the first child whose name is not less: names ascend ignoring
  // case, and of equal names the later one comes first.
  virtual void AddChild(CNODE* child) noexcept;

  DWORD valid = 0;  // 1 if the name could be copied
  DWORD depth = 0;  // 0 for the root
  CNODE* firstChild = nullptr;
  CNODE* nextSibling = nullptr;
  CNODE* parent = nullptr;
  DWORD expanded = 0;     // 1 once the children have been read
  UINT_PTR viewItem = 0;  // for the view: its handle of the node
};

// The user's order of names, ignoring case.
bool isNameLess(const CNODE& left, const CNODE& right) noexcept;

}  // namespace fendrel
