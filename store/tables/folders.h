// Folders: the tree of a store. engine.h describes the calls; every change is one transaction.
#pragma once

#include <span>
#include <vector>

#include "database.h"
#include "folder_info.h"

namespace fendrel::store {

Status createFolder(Database& database, const Id& parent, const std::u16string& name,
                    std::span<const Property> properties, IfExists ifExists, FolderInfo& folder);
Status findFolder(Database& database, const Id& folder, FolderInfo& found);
Status checkFolder(Database& database, const Id& folder);

// The child with exactly that name. NotFound.
Status findChild(Database& database, const Id& parent, const std::u16string& name, FolderInfo& found);

Status renameFolder(Database& database, const Id& folder, const std::u16string& newName);
Status moveFolder(Database& database, const Id& folder, const Id& newParent, const std::u16string& newName);
Status deleteFolder(Database& database, const Id& folder, DeleteFolderOptions options);

Status readFolderProperties(Database& database, const Id& folder, std::span<const PropertyTag> tags,
                            std::vector<Property>& properties);
Status changeFolderProperties(Database& database, const Id& folder, std::span<const Property> set,
                              std::span<const PropertyTag> remove);

Status readFolderRows(Database& database, const Id& folder, Depth depth, std::span<const PropertyTag> columns,
                      const FolderRowSink& sink);

}  // namespace fendrel::store
