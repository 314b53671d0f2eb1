// Repairs a store's folder tree. For store/maintenance only.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "folder_map.h"

namespace fendrel::store {

bool isText(const std::string& utf8);

class TreeMending {
 public:
  // Calls `mended` for each recreated folder, with its path. Recreated folders get numbers above `highestUsed`, so that
  // none gets messages of a lost one.
  using Mended = std::function<void(std::string folder, std::string what)>;
  TreeMending(FolderMap& folders, std::int64_t highestUsed, Mended mended);

  // Repairs the tree. Without public folders or without root folders a store cannot be opened.
  void run();

  // The root of the public folders that users see.
  std::int64_t publicTop() const noexcept { return publicTop_; }

  std::int64_t nextFolder() const;

 private:
  void mendStores();
  bool hasPublicStore() const;
  std::int64_t ownFolder(std::int64_t store, const char* role, const char* name, std::optional<std::int64_t> parent);
  std::int64_t topOfWay(std::int64_t number) const;
  void hangUp(std::int64_t number);

  FolderMap& folders_;
  std::int64_t highestUsed_;
  Mended mended_;
  std::map<std::int64_t, std::int64_t> tops_;  // for each store: the root of the folders that users see
  std::int64_t publicTop_ = 0;
};

}  // namespace fendrel::store
