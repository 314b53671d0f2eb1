#include "folder_properties.h"

#include <algorithm>

namespace fendrel::provider {
namespace {

constexpr PropertyTag folderTags[] = {PR_OBJECT_TYPE,
                                      PR_ENTRYID,
                                      PR_RECORD_KEY,
                                      PR_PARENT_ENTRYID,
                                      PR_STORE_ENTRYID,
                                      PR_DISPLAY_NAME_W,
                                      PR_FOLDER_TYPE,
                                      PR_SUBFOLDERS,
                                      PR_CONTENT_COUNT,
                                      PR_CONTENT_UNREAD,
                                      PR_ASSOC_CONTENT_COUNT,
                                      PR_ACCESS,
                                      PR_ACCESS_LEVEL,
                                      PR_CREATION_TIME,
                                      PR_LAST_MODIFICATION_TIME,
                                      PR_STORE_RECORD_KEY,
                                      PR_MDB_PROVIDER,
                                      PR_MAPPING_SIGNATURE,
                                      PR_STORE_SUPPORT_MASK,
                                      PR_INSTANCE_KEY,
                                      PR_STATUS,
                                      PR_DISPLAY_TYPE};

ULONG accessTo(const StoreScope& scope, const store::FolderInfo& folder) {
  ULONG access = MAPI_ACCESS_READ;
  if (!scope.writable) return access;
  if (folder.rights.mayChange) access |= MAPI_ACCESS_MODIFY;
  if (folder.rights.mayAddFolders) access |= MAPI_ACCESS_CREATE_HIERARCHY;
  if (folder.rights.mayAddMessages) access |= MAPI_ACCESS_CREATE_CONTENTS | MAPI_ACCESS_CREATE_ASSOCIATED;
  if (folder.rights.mayDelete && !folder.isStandard) access |= MAPI_ACCESS_DELETE;
  return access;
}

}  // namespace

std::span<const PropertyTag> computedFolderTags() { return folderTags; }

bool isComputedFolderTag(PropertyTag tag) {
  return std::ranges::any_of(folderTags, [&](PropertyTag one) { return PROP_ID(one) == PROP_ID(tag); });
}

Property storedFolderProperty(const store::FolderInfo& folder, PropertyTag tag, Property stored) {
  const bool isClass = PROP_ID(tag) == PROP_ID(PR_CONTAINER_CLASS_W);
  if (stored.tag != 0 || !isClass || !folder.isStandard) return stored;
  return makeProperty(PR_CONTAINER_CLASS_W, std::u16string(noteFolderClass));
}

Property computedFolderProperty(const StoreScope& scope, const store::FolderInfo& folder, PropertyTag tag,
                                bool writable) {
  const bool isRoot = folder.parent.empty();
  switch (PROP_ID(tag)) {
    case PROP_ID(PR_OBJECT_TYPE): return longProperty(PR_OBJECT_TYPE, MAPI_FOLDER);
    case PROP_ID(PR_ENTRYID): return makeProperty(PR_ENTRYID, scope.folderEntryId(folder.id));
    case PROP_ID(PR_RECORD_KEY): return makeProperty(PR_RECORD_KEY, bytesOf(folder.id));
    case PROP_ID(PR_INSTANCE_KEY): return makeProperty(PR_INSTANCE_KEY, bytesOf(folder.id));
    case PROP_ID(PR_PARENT_ENTRYID):
      // A root is its own parent.
      return makeProperty(PR_PARENT_ENTRYID, scope.folderEntryId(isRoot ? folder.id : folder.parent));
    case PROP_ID(PR_STORE_ENTRYID): return makeProperty(PR_STORE_ENTRYID, scope.storeEntryId());
    case PROP_ID(PR_STORE_RECORD_KEY): return makeProperty(PR_STORE_RECORD_KEY, bytesOf(scope.store.id));
    case PROP_ID(PR_MAPPING_SIGNATURE): return makeProperty(PR_MAPPING_SIGNATURE, scope.mappingSignature());
    case PROP_ID(PR_MDB_PROVIDER): {
      const auto* uid = reinterpret_cast<const std::byte*>(&providerId());
      return makeProperty(PR_MDB_PROVIDER, store::Bytes(uid, uid + sizeof(MAPIUID)));
    }
    case PROP_ID(PR_DISPLAY_NAME_W):
      return makeProperty(PR_DISPLAY_NAME_W, isRoot ? scope.store.displayName : folder.name);
    case PROP_ID(PR_FOLDER_TYPE): return longProperty(PR_FOLDER_TYPE, isRoot ? FOLDER_ROOT : FOLDER_GENERIC);
    case PROP_ID(PR_SUBFOLDERS): return makeProperty(PR_SUBFOLDERS, folder.hasSubfolders);
    case PROP_ID(PR_CONTENT_COUNT): return longProperty(PR_CONTENT_COUNT, folder.messageCount);
    case PROP_ID(PR_CONTENT_UNREAD): return longProperty(PR_CONTENT_UNREAD, folder.unreadCount);
    case PROP_ID(PR_ASSOC_CONTENT_COUNT): return longProperty(PR_ASSOC_CONTENT_COUNT, folder.associatedCount);
    case PROP_ID(PR_ACCESS): return longProperty(PR_ACCESS, accessTo(scope, folder));
    case PROP_ID(PR_ACCESS_LEVEL): return longProperty(PR_ACCESS_LEVEL, writable ? MAPI_MODIFY : 0);
    case PROP_ID(PR_CREATION_TIME): return makeProperty(PR_CREATION_TIME, folder.created);
    case PROP_ID(PR_LAST_MODIFICATION_TIME): return makeProperty(PR_LAST_MODIFICATION_TIME, folder.modified);
    case PROP_ID(PR_STORE_SUPPORT_MASK): return longProperty(PR_STORE_SUPPORT_MASK, storeSupportMask(scope.writable));
    case PROP_ID(PR_STATUS): return longProperty(PR_STATUS, 0);
    case PROP_ID(PR_DISPLAY_TYPE): return longProperty(PR_DISPLAY_TYPE, DT_FOLDER);
    default: return {};
  }
}

}  // namespace fendrel::provider
