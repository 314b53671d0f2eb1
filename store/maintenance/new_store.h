// The files of a store that is being made. For store/maintenance only.
#pragma once

#include <memory>
#include <string>

#include "disk.h"

namespace fendrel::store {

// Its database has a name of its own until finish() is called; without that, its end deletes everything that was made.
class NewStore {
 public:
  // Throws EngineError: AlreadyExists if the file, its log or its folder of content files is there.
  NewStore(const std::wstring& path, Disk& disk);
  ~NewStore();
  NewStore(const NewStore&) = delete;
  NewStore& operator=(const NewStore&) = delete;

  std::wstring database() const { return path_ + L".part"; }
  std::wstring contentFolder() const { return path_ + L".files"; }

  // A place for what the work needs meanwhile, in a folder that is its owner's alone.
  std::wstring workFile(const wchar_t* name);

  // A new content file; its folder is made when missing.
  std::unique_ptr<DiskFile> createContent(const std::string& name);
  void removeContent(const std::string& name);

  // Gives the database its name. Nobody has it open, and nothing is in its log.
  void finish();

 private:
  std::wstring workFolder() const { return path_ + L".work"; }

  std::wstring path_;
  Disk& disk_;
  bool hasFolder_ = false, isFinished_ = false;
};

}  // namespace fendrel::store
