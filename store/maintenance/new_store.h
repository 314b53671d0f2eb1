// The files of a store that is being made. For store/maintenance only.
#pragma once

#include <memory>
#include <string>

#include "disk.h"

namespace fendrel::store {

// Until keep() is called, its end deletes everything that was made.
class NewStore {
public:
  // Throws EngineError: AlreadyExists if the file, its log or its folder of content files is there.
  NewStore(const std::wstring& path, Disk& disk);
  ~NewStore();
  NewStore(const NewStore&) = delete;
  NewStore& operator=(const NewStore&) = delete;

  const std::wstring& path() const noexcept { return path_; }
  std::wstring contentFolder() const { return path_ + L".files"; }

  // A new content file; its folder is made when missing.
  std::unique_ptr<DiskFile> createContent(const std::string& name);
  void removeContent(const std::string& name);

  void keep() noexcept { isKept_ = true; }

private:
  std::wstring path_;
  Disk& disk_;
  bool hasFolder_ = false, isKept_ = false;
};

}  // namespace fendrel::store
