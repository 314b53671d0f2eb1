// The properties of a folder that the store computes.
#pragma once

#include "folder_info.h"
#include "session_context.h"

namespace fendrel::provider {

// PR_ENTRYID and so on, in the folder's order.
std::span<const PropertyTag> computedFolderTags();

bool isComputedFolderTag(PropertyTag tag);

// The default class of folders.
inline constexpr char16_t noteFolderClass[] = u"IPF.Note";

// A folder's stored property, or its default.
Property storedFolderProperty(const store::FolderInfo& folder, PropertyTag tag, Property stored);

// Tag 0 if the folder does not have it.
Property computedFolderProperty(const StoreScope& scope, const store::FolderInfo& folder, PropertyTag tag,
                                bool writable);

}  // namespace fendrel::provider
