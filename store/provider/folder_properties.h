// The properties of a folder that the store keeps right by itself.
#pragma once

#include "folder_info.h"
#include "session_context.h"

namespace fendrel::provider {

// PR_ENTRYID and so on, in the order in which a folder lists them.
std::span<const PropertyTag> computedFolderTags();

bool isComputedFolderTag(PropertyTag tag);

// The class of folders that nobody has given another.
inline constexpr char16_t noteFolderClass[] = u"IPF.Note";

// A property that is kept for a folder, or what stands in for it.
Property storedFolderProperty(const store::FolderInfo& folder, PropertyTag tag, Property stored);

// Tag 0 where the folder has none of it.
Property computedFolderProperty(const StoreScope& scope, const store::FolderInfo& folder, PropertyTag tag,
                                bool writable);

}  // namespace fendrel::provider
