// The files of a store that is being created. For store/maintenance only.
#pragma once

#include <memory>
#include <string>

#include "disk.h"

namespace fendrel::store {

// Its database has a temporary name until finish(); without finish() the destructor deletes everything.
class NewStore {
 public:
  // Throws EngineError: AlreadyExists if the file, its log or its folder of content files exists.
  NewStore(const std::wstring& path, Disk& disk);
  ~NewStore();
  NewStore(const NewStore&) = delete;
  NewStore& operator=(const NewStore&) = delete;

  std::wstring database() const { return path_ + L".part"; }
  std::wstring contentFolder() const { return path_ + L".files"; }

  // The path of a temporary file in a folder that only its owner can access.
  std::wstring workFile(const wchar_t* name);

  // A new content file; creates its folder if missing.
  std::unique_ptr<DiskFile> createContent(const std::string& name);
  void removeContent(const std::string& name);

  // Gives the database its name. It must not be open, and its log must be empty.
  void finish();

 private:
  std::wstring workFolder() const { return path_ + L".work"; }

  std::wstring path_;
  Disk& disk_;
  bool hasFolder_ = false, isFinished_ = false;
};

}  // namespace fendrel::store
