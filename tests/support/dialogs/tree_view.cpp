#include "tree_view.h"

#include <gtest/gtest.h>

namespace fendrel::test {

HTREEITEM TreeView::next(UINT relation, HTREEITEM item) const {
  return reinterpret_cast<HTREEITEM>(SendMessageW(window_, TVM_GETNEXTITEM, relation, reinterpret_cast<LPARAM>(item)));
}

std::vector<HTREEITEM> TreeView::children(HTREEITEM item) const {
  std::vector<HTREEITEM> found;
  for (HTREEITEM child = next(TVGN_CHILD, item); child; child = next(TVGN_NEXT, child)) found.push_back(child);
  return found;
}

std::vector<std::wstring> TreeView::childTexts(HTREEITEM item) const {
  std::vector<std::wstring> texts;
  for (HTREEITEM child : children(item)) texts.push_back(text(child));
  return texts;
}

std::wstring TreeView::text(HTREEITEM item) const {
  wchar_t buffer[300] = {};
  TVITEMW state = {};
  state.mask = TVIF_TEXT;
  state.hItem = item;
  state.pszText = buffer;
  state.cchTextMax = 300;
  SendMessageW(window_, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&state));
  return state.pszText;
}

TVITEMW TreeView::state(HTREEITEM item) const {
  TVITEMW state = {};
  state.mask = TVIF_CHILDREN | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE | TVIF_PARAM;
  state.stateMask = TVIS_EXPANDED;
  state.hItem = item;
  SendMessageW(window_, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&state));
  return state;
}

HTREEITEM TreeView::childNamed(HTREEITEM parent, const std::wstring& name) const {
  for (HTREEITEM child : children(parent))
    if (text(child) == name) return child;
  ADD_FAILURE() << "no item '" << std::string(name.begin(), name.end()) << "'";
  return nullptr;
}

HTREEITEM TreeView::item(std::initializer_list<const wchar_t*> path) const {
  HTREEITEM found = root();
  for (const wchar_t* name : path) {
    found = childNamed(found, name);
    if (!found) return nullptr;
  }
  return found;
}

void TreeView::expand(HTREEITEM item) const {
  SendMessageW(window_, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(item));
}

void TreeView::select(HTREEITEM item) const {
  SendMessageW(window_, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(item));
}

HTREEITEM TreeView::open(std::initializer_list<const wchar_t*> path) const {
  HTREEITEM found = root();
  for (const wchar_t* name : path) {
    expand(found);
    found = childNamed(found, name);
    if (!found) return nullptr;
  }
  select(found);
  return found;
}

}  // namespace fendrel::test
