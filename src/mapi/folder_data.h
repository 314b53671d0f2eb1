// The nodes of the folder tree: the profile at its root, its message stores, their folders.
#pragma once

#include <memory>

#include "container_data.h"

namespace fendrel {

// The profile, a message store or a folder. Children are read from MAPI once, when the node is first expanded.
// Failures are not reported: a store or table that does not open shows no children.
class FOLDERDATA : public CContainerData {
 public:
  FOLDERDATA(IMAPISession* session, BinaryView entryId, const wchar_t* displayName, bool hasSubfolders, bool isStore)
  noexcept;

  // The root. Its children are the message stores of the session, whose names begin the labels.
  FOLDERDATA(IMAPISession* session, const wchar_t* displayName) noexcept;

  ~FOLDERDATA() override = default;

  bool Expand() noexcept override;
  ComPtr<IMAPIFolder> OpenFolder() noexcept override;  // a store's IPM subtree
  void OpenHierarchyTable() noexcept override;
  void ReadChildren() noexcept override;

  // Adds `child`, labels it and, unless it is a store, gives it this node's store.
  void AddChildLabelled(std::unique_ptr<FOLDERDATA> child) noexcept;

  // The open store: opened by a store node, shared by the folders below it.
  ComPtr<IMsgStore> store;
  DWORD isStore;

 private:
  using Node = std::unique_ptr<FOLDERDATA>;

  void readStores() noexcept;
  template <class MakeNode>
  void addChildrenFrom(CMAPITable& table, MakeNode makeNode) noexcept;
};

// Makes a node; a store node opens its store, and has none if that fails. Null if the node is not valid.
std::unique_ptr<FOLDERDATA> CreateFolderNode(IMAPISession* session, BinaryView entryId, const wchar_t* displayName,
                                             bool hasSubfolders, bool isStore) noexcept;

}  // namespace fendrel
