// A tree control of this process, seen and used from a test.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

namespace fendrel::test {

class TreeView {
 public:
  explicit TreeView(HWND window) : window_(window) {}

  HWND window() const { return window_; }
  HTREEITEM root() const { return next(TVGN_ROOT, nullptr); }
  HTREEITEM selected() const { return next(TVGN_CARET, nullptr); }
  std::vector<HTREEITEM> children(HTREEITEM item) const;
  std::vector<std::wstring> childTexts(HTREEITEM item) const;
  std::wstring text(HTREEITEM item) const;

  // The item reached from the root through these texts; fails the test and answers null when there is none.
  HTREEITEM item(std::initializer_list<const wchar_t*> path) const;

  TVITEMW state(HTREEITEM item) const;  // images, children count, state, parameter
  bool hasButton(HTREEITEM item) const { return state(item).cChildren != 0; }
  bool isExpanded(HTREEITEM item) const { return (state(item).state & TVIS_EXPANDED) != 0; }

  void expand(HTREEITEM item) const;
  void select(HTREEITEM item) const;

  // Expands each item on the way to the last and selects that.
  HTREEITEM open(std::initializer_list<const wchar_t*> path) const;

 private:
  HTREEITEM next(UINT relation, HTREEITEM item) const;
  HTREEITEM childNamed(HTREEITEM parent, const std::wstring& text) const;

  HWND window_;
};

}  // namespace fendrel::test
