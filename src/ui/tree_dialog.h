// A modal dialog with a tree whose nodes are read when they are expanded.
#pragma once

// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

#include "iwnd.h"
#include "node.h"

namespace fendrel {

// Creates the tree control in the space that the template leaves for it and keeps control and nodes in sync. The
// derived class decides what the nodes are, how they look and which choice is valid.
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

  // Runs the dialog with `rootNode`, which is borrowed. TRUE if it was closed with OK.
  BOOL DoModal(HWND hParent, CNODE* rootNode) noexcept;

  // Shows one node. On failure its item handle stays null.
  void InsertNode(CNODE& node) noexcept;

  CNODE* GetRootNode() const noexcept { return m_pRootNode; }
  CNODE* GetSelectedNode() const noexcept { return m_pSelectedNode; }

 protected:
  HINSTANCE m_hInstance = nullptr;  // module of template and bitmaps, set by the derived class
  CNODE* m_pRootNode = nullptr;
  CNODE* m_pSelectedNode = nullptr;  // null until the first selection
  HWND m_hDialog = nullptr;
  HWND m_hTree = nullptr;

 private:
  void expand(NMTREEVIEWW& notification) noexcept;
};

INT_PTR CALLBACK TreeDialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

}  // namespace fendrel
