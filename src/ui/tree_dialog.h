// A modal dialog with a tree of nodes that are read when they are expanded.
#pragma once

// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

#include "iwnd.h"
#include "node.h"

namespace fendrel {

// Makes the tree control in the room that the template leaves for it and keeps control and nodes in step. What the
// nodes are, how they look and when a choice is good is the derived class's business.
class CTreeDialog : public CIWnd {
 public:
  ~CTreeDialog() override;
  virtual BOOL CreateTreeControl(HWND hDlg) noexcept;
  virtual BOOL OnInitDialog(HWND hDlg) noexcept;
  virtual BOOL OnDestroy() noexcept;
  virtual BOOL OnCommand(WORD notifyCode, WORD id) noexcept;
  virtual BOOL OnOK() noexcept = 0;  // nonzero closes the dialog
  virtual BOOL OnSelectionChanged(CNODE* node) noexcept;
  virtual void InitImageList() noexcept = 0;
  virtual void OnDestroyDialog() noexcept = 0;
  virtual void GetItemImages(const CNODE& node, int& image, int& selectedImage) const noexcept = 0;
  virtual BOOL OnNotify(NMHDR* notifyHeader) noexcept;

  // Runs the dialog over `rootNode`, which is borrowed. TRUE when it was closed with OK.
  BOOL DoModal(HWND hParent, CNODE* rootNode) noexcept;

  // Shows one node. Its item handle stays null when that fails.
  void InsertNode(CNODE& node) noexcept;

  CNODE* GetRootNode() const noexcept { return m_pRootNode; }
  CNODE* GetSelectedNode() const noexcept { return m_pSelectedNode; }

 protected:
  HINSTANCE m_hInstance = nullptr;  // module of template and bitmaps, set by whoever makes the object
  CNODE* m_pRootNode = nullptr;
  CNODE* m_pSelectedNode = nullptr;  // null until the first selection
  HWND m_hDialog = nullptr;
  HWND m_hTree = nullptr;

 private:
  void expand(NMTREEVIEWW& notification) noexcept;
};

INT_PTR CALLBACK TreeDialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

}  // namespace fendrel
