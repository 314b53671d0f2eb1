#include "world_model.h"

#include <mapitags.h>

#include <algorithm>

namespace recording {

WorldModel& world() {
  static WorldModel one;
  return one;
}

Bytes bytesOf(ULONG size, const void* start) {
  const auto* const bytes = static_cast<const BYTE*>(start);
  return bytes ? Bytes(bytes, bytes + size) : Bytes();
}

void WorldModel::build(const RecordingWorld& from) {
  *this = {};
  for (uint32_t index = 0; index < from.profileCount; ++index) {
    const RecordingProfile& profile = from.profiles[index];
    profiles_.push_back(
        {profile.name, profile.password ? std::optional<std::wstring>(profile.password) : std::nullopt});
  }
  if (from.identity) {
    identity_ = bytesOf(from.identity->entryIdSize, from.identity->entryId);
    if (from.identity->name) user_.set(textProperty(PR_DISPLAY_NAME_W, from.identity->name));
    if (from.identity->searchKeyPresent)
      user_.set(binaryProperty(PR_SEARCH_KEY, bytesOf(from.identity->searchKeySize, from.identity->searchKey)));
  }
  if (from.statusRows) {
    statusRows_.emplace();
    for (uint32_t index = 0; index < from.statusRowCount; ++index) {
      PropertyBag& row = statusRows_->emplace_back();
      if (from.statusRows[index].resourceType != 0)
        row.set(numberProperty(PR_RESOURCE_TYPE, from.statusRows[index].resourceType));
      if (from.statusRows[index].displayName)
        row.set(textProperty(PR_DISPLAY_NAME_W, from.statusRows[index].displayName));
    }
  }
  for (uint32_t index = 0; index < from.storeCount; ++index) {
    const RecordingStore& description = from.stores[index];
    Store& store = *stores_.emplace_back(std::make_unique<Store>());
    store.label = description.name ? utf8(description.name) : "(no name)";
    store.entryId = newEntryId();
    store.subtree = &addFolder(nullptr, store.label + " (subtree)", std::nullopt);
    store.commonViews = &addFolder(nullptr, store.label + " (common views)", std::nullopt);
    if (description.name) store.row.set(textProperty(PR_DISPLAY_NAME_W, description.name));
    store.row.set(binaryProperty(PR_ENTRYID, store.entryId));
    if ((description.flags & RECORDING_NO_DEFAULT_COLUMN) == 0)
      store.row.set(numberProperty(PR_DEFAULT_STORE, (description.flags & RECORDING_DEFAULT_STORE) != 0));
    store.properties = store.row;
    if ((description.flags & RECORDING_NO_SUBTREE) == 0)
      store.properties.set(binaryProperty(PR_IPM_SUBTREE_ENTRYID, store.subtree->entryId));
    if ((description.flags & RECORDING_NO_FOLDER_MASK) == 0)
      store.properties.set(numberProperty(PR_VALID_FOLDER_MASK, description.validFolderMask));
    if ((description.flags & RECORDING_NO_COMMON_VIEWS) == 0)
      store.properties.set(binaryProperty(PR_COMMON_VIEWS_ENTRYID, store.commonViews->entryId));
  }
  std::vector<Folder*> described;
  for (uint32_t index = 0; index < from.folderCount; ++index) {
    const RecordingFolder& description = from.folders[index];
    const Store& store = *stores_.at(description.store);
    Folder* const parent = description.parent < 0 ? store.subtree : described.at(description.parent);
    const std::string parentLabel = description.parent < 0 ? store.label : parent->label;
    const auto name = description.name ? std::optional<std::wstring>(description.name) : std::nullopt;
    described.push_back(&addFolder(parent, parentLabel + "@" + (name ? utf8(*name) : "(no name)"), name));
  }
  handsOutProblems_ = (from.options & RECORDING_PROBLEM_ARRAYS) != 0;
}

Bytes WorldModel::newEntryId() {
  if (++lastEntry_[0] == 0) ++lastEntry_[1];
  return {0, 0, 0, 0, 0xF0, 0x0D, lastEntry_[1], lastEntry_[0]};
}

Folder& WorldModel::addFolder(Folder* parent, std::string label, std::optional<std::wstring> name) {
  Folder& folder = *folders_.emplace_back(std::make_unique<Folder>());
  folder.label = std::move(label);
  folder.entryId = newEntryId();
  if (name) folder.properties.set(textProperty(PR_DISPLAY_NAME_W, *name));
  folder.properties.set(binaryProperty(PR_ENTRYID, folder.entryId));
  folder.properties.set(numberProperty(PR_SUBFOLDERS, false));
  folder.properties.set(numberProperty(PR_CONTENT_COUNT, 0));
  if (parent) {
    parent->children.push_back(&folder);
    parent->properties.set(numberProperty(PR_SUBFOLDERS, true));
  }
  return folder;
}

Message& WorldModel::addMessage(Folder& folder, bool associated) {
  Message& message = *messages_.emplace_back(std::make_unique<Message>());
  message.label = folder.label + " message " + std::to_string(messages_.size());
  message.folder = &folder;
  message.associated = associated;
  message.entryId = newEntryId();
  folder.messages.push_back(&message);
  return message;
}

const Profile* WorldModel::findProfile(std::wstring_view name) const {
  const auto known = std::ranges::find(profiles_, name, &Profile::name);
  return known == profiles_.end() ? nullptr : &*known;
}

std::vector<PropertyBag> WorldModel::statusRows(const std::wstring& profileName) const {
  if (statusRows_) return *statusRows_;
  PropertyBag subsystem;
  subsystem.set(numberProperty(PR_RESOURCE_TYPE, MAPI_SUBSYSTEM));
  subsystem.set(textProperty(PR_DISPLAY_NAME_W, profileName));
  return {subsystem};
}

namespace {

template <class Entry>
Entry* findEntry(const std::vector<std::unique_ptr<Entry>>& entries, const Bytes& entryId) {
  const auto known = std::ranges::find(entries, entryId, [](const auto& entry) { return entry->entryId; });
  return known == entries.end() ? nullptr : known->get();
}

}  // namespace

Store* WorldModel::findStore(const Bytes& entryId) const { return findEntry(stores_, entryId); }
Folder* WorldModel::findFolder(const Bytes& entryId) const { return findEntry(folders_, entryId); }
Message* WorldModel::findMessage(const Bytes& entryId) const { return findEntry(messages_, entryId); }

std::string WorldModel::describeEntry(const Bytes& entryId) const {
  if (const Store* const store = findStore(entryId)) return '"' + store->label + '"';
  if (const Folder* const folder = findFolder(entryId)) return '"' + folder->label + '"';
  if (const Message* const message = findMessage(entryId)) return '"' + message->label + '"';
  return hexBytes(entryId);
}

}  // namespace recording
