// Makes a store's tree of folders whole again. For store/maintenance only.
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
  // `mended` is told what was made anew, with its path. Folders made anew get numbers above `highestUsed`, so that none
  // gets messages of a lost one.
  using Mended = std::function<void(std::string folder, std::string what)>;
  TreeMending(FolderMap& folders, std::int64_t highestUsed, Mended mended);

  // A store without public folders, or without the folders that everything hangs from, cannot be opened.
  void run();

  // The folder that people see as the top of the public folders.
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
  std::map<std::int64_t, std::int64_t> tops_;  // of each store: the folder that people see as its top
  std::int64_t publicTop_ = 0;
};

}  // namespace fendrel::store
