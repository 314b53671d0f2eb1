// IMAPIFolder.
#pragma once

#include "folder_properties.h"
#include "mapi_object.h"
#include "message_info.h"
#include "restriction.h"

namespace fendrel::provider {

// Changes take effect at once; there is no save.
class Folder final : public MapiObject<IMAPIFolder> {
 public:
  Folder(ScopePointer scope, const store::Id& id, bool writable)
      : MapiObject(homeOf(scope->session)), scope_(std::move(scope)), id_(id), writable_(writable) {}

  // IMAPIContainer
  STDMETHODIMP GetContentsTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP GetHierarchyTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenEntry(ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags, ULONG* objectType,
                         LPUNKNOWN* object) override;
  STDMETHODIMP SetSearchCriteria(LPSRestriction restriction, LPENTRYLIST containers, ULONG flags) override;
  STDMETHODIMP GetSearchCriteria(ULONG flags, LPSRestriction* restriction, LPENTRYLIST* containers,
                                 ULONG* state) override;
  // IMAPIFolder
  STDMETHODIMP CreateMessage(LPCIID iid, ULONG flags, LPMESSAGE* message) override;
  STDMETHODIMP CopyMessages(LPENTRYLIST messages, LPCIID iid, LPVOID target, UlongPtr window, LPMAPIPROGRESS progress,
                            ULONG flags) override;
  STDMETHODIMP DeleteMessages(LPENTRYLIST messages, UlongPtr window, LPMAPIPROGRESS progress, ULONG flags) override;
  STDMETHODIMP CreateFolder(ULONG type, LPTSTR name, LPTSTR comment, LPCIID iid, ULONG flags,
                            LPMAPIFOLDER* folder) override;
  STDMETHODIMP CopyFolder(ULONG size, LPENTRYID entryId, LPCIID iid, LPVOID target, LPTSTR newName, UlongPtr window,
                          LPMAPIPROGRESS progress, ULONG flags) override;
  STDMETHODIMP DeleteFolder(ULONG size, LPENTRYID entryId, UlongPtr window, LPMAPIPROGRESS progress,
                            ULONG flags) override;
  STDMETHODIMP SetReadFlags(LPENTRYLIST messages, UlongPtr window, LPMAPIPROGRESS progress, ULONG flags) override;
  STDMETHODIMP GetMessageStatus(ULONG size, LPENTRYID entryId, ULONG flags, ULONG* status) override;
  STDMETHODIMP SetMessageStatus(ULONG size, LPENTRYID entryId, ULONG status, ULONG mask, ULONG* oldStatus) override;
  STDMETHODIMP SaveContentsSort(LPSSortOrderSet order, ULONG flags) override;
  STDMETHODIMP EmptyFolder(UlongPtr window, LPMAPIPROGRESS progress, ULONG flags) override;

 private:
  HRESULT readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) override;
  HRESULT readAllProperties(std::vector<Property>& found) override;
  std::span<const ULONG> objectTags() const override;
  HRESULT checkWritable() const override { return writable_ ? S_OK : MAPI_E_NO_ACCESS; }
  HRESULT checkProperty(PropertyTag tag) const override;
  HRESULT changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) override;
  HRESULT openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) override;

  struct MessageList {
    std::vector<store::Id> ids;
    bool isPart = false;  // the list also had entries that cannot be in this folder
  };
  // The messages of a list; without a list all of this folder.
  HRESULT messagesOf(const ENTRYLIST* list, MessageList& messages) const;
  HRESULT allMessages(store::MessageKind kind, std::vector<store::Id>& messages) const;
  HRESULT messageOf(ULONG size, const void* entryId, store::Id& message) const;
  // MAPI_E_INVALID_ENTRYID for anything but a folder of this store, MAPI_E_NOT_FOUND for one that is not a child.
  HRESULT childOf(ULONG size, const void* entryId, store::FolderInfo& child) const;

  bool isOfSameStores(const Folder& other) const;
  HRESULT copyWithin(const MessageList& list, const store::Id& target, bool move);
  HRESULT copyAcross(const MessageList& list, IMAPIFolder& target, bool move);
  HRESULT checkCycle(const store::Id& folder, const store::Id& place) const;
  HRESULT transferFolder(const store::FolderInfo& child, IMAPIFolder& target, std::u16string name, bool withFolders,
                         bool move);

  ScopePointer scope_;
  store::Id id_;
  bool writable_;
};

}  // namespace fendrel::provider
