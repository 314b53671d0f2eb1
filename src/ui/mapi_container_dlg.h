// The dialog in which the user chooses the folder of an export.
#pragma once

#include "folder_data.h"
#include "tree_dialog.h"

namespace fendrel {

// Shows the message stores and folders of a session. The result is the path in the folder label when the user presses
// OK: display names joined by '@', from the message store on.
class CMAPIContainerDlg : public CTreeDialog {
 public:
  // `hInstance`: the module with dialog, texts and bitmaps.
  explicit CMAPIContainerDlg(HINSTANCE hInstance) noexcept { m_hInstance = hInstance; }
  ~CMAPIContainerDlg() override = default;

  BOOL OnInitDialog(HWND hDlg) noexcept override;
  BOOL OnOK() noexcept override;
  BOOL OnSelectionChanged(CNODE* node) noexcept override;
  void InitImageList() noexcept override;
  void OnDestroyDialog() noexcept override {}
  void GetItemImages(const CNODE& node, int& image, int& selectedImage) const noexcept override;

  // 1 if the user confirmed a folder, else 0. `session` is borrowed; `profileName` is shown above the tree.
  BOOL DoModal(HWND hParent, IMAPISession* session, const wchar_t* profileName) noexcept;

  // The node's path if it has one, else its name.
  static const wchar_t* GetNodeText(const CNODE& node) noexcept;

  void ReleaseFolderPath() noexcept { m_pszFolderPath.reset(); }

  HeapText m_pszFolderPath;  // null until OK, and after it without memory
  HWND m_hFolderLabel = nullptr;
  int m_aImage[5] = {};  // profile, store, opened store, folder, opened folder: indices into the image list
};

}  // namespace fendrel
