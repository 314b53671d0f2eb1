// The folder of content files beside a store: their names, how they come and how they go.
//
//   NAME.files\tmp\ID.tmp     a content on its way into the store
//   NAME.files\ID.content     a content that a row names, or is about to name
//
// ID is 32 hexadecimal digits. A file is written under tmp, flushed, and gets its second name; its row comes after that.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "disk.h"

namespace fendrel::store {

// What nobody has touched for so long belongs to no program that still runs, and what was deleted so long ago is read
// by nobody who does not say so: in 100-nanosecond intervals.
constexpr std::uint64_t graceTime = 60ull * 60 * 10'000'000;

// The name of a content file within the folder, as a row has it. Throws Corrupt for one that we did not give: it could
// point out of the folder.
std::wstring contentFileName(std::string_view stored);

class ContentFolder {
 public:
  struct File {
    std::unique_ptr<DiskFile> file;
    std::wstring name;     // within the folder
    std::wstring path;     // where it is now
    bool isNamed = false;  // it has left tmp
  };

  // `store`: the path of the database. The disk outlives this object.
  ContentFolder(const std::wstring& store, Disk& disk);

  const std::wstring& path() const noexcept { return path_; }
  std::wstring temporaryPath() const { return path_ + L"\\tmp"; }
  Disk& disk() const noexcept { return disk_; }

  // A new file under tmp, which nobody can take away while it is open; folders are made when missing.
  File create();

  // Gives it its name, which is on the disk for sure after flushNames().
  void name(File& file);
  void flushNames() { disk_.flushFolder(path_); }

  // Throws Corrupt where there is none of that name, or a strange name.
  std::unique_ptr<DiskFile> open(std::string_view stored) const;

  // Content files, whether a row names them or not, but those that someone is saving.
  std::vector<Disk::Entry> files() const;
  std::vector<Disk::Entry> temporaryFiles() const;

  // False: it is still there.
  bool remove(const std::wstring& name) noexcept;

  // Those that died with their programs: untouched for graceTime, and open nowhere. What cannot be deleted stays.
  void removeStaleTemporaryFiles() noexcept;

 private:
  void makeFolders();

  std::wstring path_;
  Disk& disk_;
};

bool isOlderThanGrace(FileTime time) noexcept;

}  // namespace fendrel::store
