#include "tree_mending.h"

#include <algorithm>
#include <set>
#include <vector>

#include "connection.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

constexpr const char* topName = "Top of Information Store";

template <class Map>
std::int64_t highest(const Map& map) {
  return map.empty() ? 0 : std::max<std::int64_t>(map.rbegin()->first, 0);
}

}  // namespace

bool isText(const std::string& utf8) {
  std::u16string text;
  return fromUtf8(utf8, text);
}

TreeMending::TreeMending(FolderMap& folders, std::int64_t highestUsed, Mended mended)
    : folders_(folders), highestUsed_(highestUsed), mended_(std::move(mended)) {}

std::int64_t TreeMending::nextFolder() const { return std::max(highest(folders_.folders), highestUsed_) + 1; }

// Finds the stores that folders name. The public store is the one without an inbox.
void TreeMending::mendStores() {
  std::map<std::int64_t, bool> lost;
  for (const auto& [number, folder] : folders_.folders) {
    if (folders_.stores.contains(folder.store)) continue;
    bool& isMailbox = lost[folder.store];
    isMailbox = isMailbox || folder.role == "inbox";
  }
  for (const auto& [number, isMailbox] : lost) {
    const bool isPublic = !isMailbox && !hasPublicStore();
    const char* name = isPublic ? "Public Folders" : "Mailbox (recovered)";
    folders_.stores[number] = {newGuid(), isPublic ? 2 : 1, name, true};
    mended_(name, "Its identifier was lost; it has a new one.");
  }
}

bool TreeMending::hasPublicStore() const {
  return std::ranges::any_of(folders_.stores, [](const auto& each) { return each.second.kind == 2; });
}

void TreeMending::run() {
  mendStores();
  if (!hasPublicStore()) {
    folders_.stores[highest(folders_.stores) + 1] = {newGuid(), 2, "Public Folders", true};
    mended_("Public Folders", "They were lost and recreated.");
  }
  for (auto& [number, store] : folders_.stores) {
    if (!isText(store.name)) store.name = "Mailbox (recovered)";
    const std::int64_t root = ownFolder(number, "root", "", std::nullopt);
    const std::int64_t top = ownFolder(number, "ipm_subtree", topName, root);
    ownFolder(number, "common_views", "Common Views", root);
    ownFolder(number, "finder", "Finder", root);
    tops_[number] = top;
    if (store.kind == 2) publicTop_ = top;
  }
  for (auto& [number, folder] : folders_.folders) {
    if (!isText(folder.name) || (folder.name.empty() && folder.parent)) {
      folder.name = "Folder " + std::to_string(number) + " (recovered)";
      mended_(folders_.path(number), "Its name was lost.");
    }
  }
  std::vector<std::int64_t> numbers;
  for (const auto& [number, folder] : folders_.folders) numbers.push_back(number);
  for (const std::int64_t number : numbers) {
    while (folders_.isAstray(number)) hangUp(topOfWay(number));
  }
}

std::int64_t TreeMending::ownFolder(std::int64_t store, const char* role, const char* name,
                                    std::optional<std::int64_t> parent) {
  for (const auto& [number, folder] : folders_.folders) {
    if (folder.store == store && folder.role == role) return number;
  }
  const std::int64_t number = nextFolder();
  FolderRecord folder;
  folder.guid = newGuid();
  folder.store = store;
  folder.parent = parent;
  folder.name = name;
  folder.role = role;
  folder.isMended = true;
  folders_.folders[number] = folder;
  mended_(folders_.path(number), std::string("Its own folder '") + role + "' was lost and recreated.");
  return number;
}

// The last ancestor before the path ends, enters another store, or repeats.
std::int64_t TreeMending::topOfWay(std::int64_t number) const {
  std::set<std::int64_t> seen;
  std::int64_t at = number;
  for (;;) {
    seen.insert(at);
    const FolderRecord& folder = folders_.folders.at(at);
    if (!folder.parent || seen.contains(*folder.parent)) return at;
    const auto parent = folders_.folders.find(*folder.parent);
    if (parent == folders_.folders.end() || parent->second.store != folder.store) return at;
    at = *folder.parent;
  }
}

void TreeMending::hangUp(std::int64_t number) {
  FolderRecord& folder = folders_.folders.at(number);
  if (!tops_.contains(folder.store)) folder.store = folders_.folders.at(publicTop_).store;
  const std::int64_t top = tops_.at(folder.store);
  if (number == top) {
    if (folder.name.empty()) folder.name = topName;
    folder.parent = ownFolder(folder.store, "root", "", std::nullopt);
    return;
  }
  if (folder.role == "root") folder.role.reset();  // duplicate
  folder.parent = top;
  if (folder.name.empty()) folder.name = "Folder " + std::to_string(number) + " (recovered)";
  while (std::ranges::any_of(folders_.folders, [&](const auto& other) {
    return other.first != number && other.second.parent == folder.parent && other.second.name == folder.name;
  })) {
    folder.name += " (recovered)";
  }
  mended_(folders_.path(number), "Its parent folder was lost.");
}

}  // namespace fendrel::store
