// The folder of content files beside a store: their names, creation and deletion.
//
//   NAME.files\tmp\ID.tmp     a content that is being written
//   NAME.files\ID.content     a content that a row names or will name
// ID is 32 hexadecimal digits. A file is written under tmp, flushed, and renamed; then its row is inserted.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "disk.h"

namespace fendrel::store {

// Temporary files of this age belong to no running program, and contents deleted this long ago have no readers without
// a reader lock. In 100-nanosecond intervals.
constexpr std::uint64_t graceTime = 60ull * 60 * 10'000'000;

// Converts the file name in a row. Throws Corrupt for any other form, which could point outside the folder.
std::wstring contentFileName(std::string_view stored);

class ContentFolder {
 public:
  struct File {
    std::unique_ptr<DiskFile> file;
    std::wstring name;     // within the folder
    std::wstring path;     // where it is now
    bool isNamed = false;  // it was moved out of tmp
  };

  // `store`: the path of the database. The disk outlives this object.
  ContentFolder(const std::wstring& store, Disk& disk);

  const std::wstring& path() const noexcept { return path_; }
  std::wstring temporaryPath() const { return path_ + L"\\tmp"; }
  Disk& disk() const noexcept { return disk_; }

  // A new file under tmp, which nobody can delete while it is open; creates missing folders.
  File create();

  // Gives it its name, which is durable after flushNames().
  void name(File& file);
  void flushNames() { disk_.flushFolder(path_); }

  // Throws Corrupt if there is no such file, or for an invalid name.
  std::unique_ptr<DiskFile> open(std::string_view stored) const;

  // All content files, named by a row or not, except those that are being saved.
  std::vector<Disk::Entry> files() const;
  std::vector<Disk::Entry> temporaryFiles() const;

  // False: it still exists.
  bool remove(const std::wstring& name) noexcept;

  // Removes those of killed programs: older than graceTime and not open. Files that cannot be deleted stay.
  void removeStaleTemporaryFiles() noexcept;

 private:
  void makeFolders();

  std::wstring path_;
  Disk& disk_;
};

bool isOlderThanGrace(FileTime time) noexcept;

}  // namespace fendrel::store
