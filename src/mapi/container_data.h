// A tree node that represents a MAPI container.
#pragma once

#include <cstddef>
#include <memory>

#include "mapi_row.h"
#include "mapi_table.h"
#include "node.h"
#include "text_conversion.h"

namespace fendrel {

// Names, identifies and labels the container; the derived class knows its kind and how to open it.
class CContainerData : public CNODE {
 public:
  // Copies identifier and name; valid only if there is a name and it could be copied. The session is borrowed and
  // outlives the node.
  CContainerData(IMAPISession* session, BinaryView entryId, const wchar_t* displayName, bool hasSubfolders) noexcept;
  ~CContainerData() override = default;

  const wchar_t* GetName() const noexcept override { return displayName.get(); }
  bool Expand() noexcept override = 0;
  bool HasChildren() const noexcept override { return hasSubfolders != 0; }

  // The container's folder, or null.
  virtual ComPtr<IMAPIFolder> OpenFolder() noexcept = 0;

  // Opens `hierarchy` on the container's folder, if it may have children.
  virtual void OpenHierarchyTable() noexcept = 0;

  // Adds a child for every usable row of `hierarchy`.
  virtual void ReadChildren() noexcept = 0;

  // The display names from the store to this container, joined by '@'; set when the container is added to a parent,
  // null for the root.
  void setLabel(const CContainerData& parentContainer) noexcept;

  BinaryView entryIdBytes() const noexcept { return {entryId.get(), entryIdSize}; }

  ULONG entryIdSize = 0;  // bytes
  std::unique_ptr<std::byte[], HeapFree> entryId;
  HeapText displayName;
  HeapText label;
  DWORD hasSubfolders;  // as the row says; after expansion, whether there is a child
  DWORD reserved = 0;
  CMAPITable hierarchy;
  IMAPISession* session;
};

}  // namespace fendrel
