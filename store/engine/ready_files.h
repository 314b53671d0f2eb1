// Content files that wait to be written. For the engine's own files only.
//
// A content file has its final name from the beginning, and the name is on the disk for sure before the file is taken:
// who saves a message flushes the file and commits the row that names it, nothing more. Until then the file is held open
// so that nobody can take it for a left-over; what is not needed is deleted at the end, or after a crash by a
// later opening. A program that takes a second one gets more made ahead in the background, several at a time, since one
// flush of the folder serves them all: twice as many as it took, 8 at most, whenever few are left. They are filled with
// zeros to the size of the last content, 1 MiB at most: the system then has their pages in its cache, and writing over
// them is quick. Who saves cuts the file to its size. Without a background nothing is filled, and files are made when
// there are none: 1, 1, 2, 4, then 8.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "disk.h"
#include "light_mutex.h"

namespace fendrel::store {

class Connection;

class ReadyFiles {
public:
  struct File {
    std::unique_ptr<DiskFile> file;  // empty, or all zeros
    std::wstring name;               // within the content folder
    std::wstring path;               // the whole
    bool isFilled = false;
  };

  explicit ReadyFiles(Connection& connection) : connection_(connection) {}
  ReadyFiles(const ReadyFiles&) = delete;
  ReadyFiles& operator=(const ReadyFiles&) = delete;

  // Any thread. Throws EngineError.
  File take();

  // How long the content of one file became.
  void noteSize(std::uint64_t size) noexcept { lastSize_ = size; }

  // Returns when nothing is made in the background any more.
  void settle() noexcept;

  // Deletes those that nobody took. The last call.
  void clear() noexcept;

  // Deletes one that was taken and belongs to no message. A file that cannot be deleted stays for a later opening.
  void remove(File file) noexcept;

private:
  std::vector<File> make(std::size_t count);
  void remove(std::vector<File>& files) noexcept;
  bool worksInBackground();
  void makeInBackground();
  std::size_t taken();
  void add(std::vector<File> files);
  void fill(File& file);
  bool fillOne();
  static void CALLBACK background(PTP_CALLBACK_INSTANCE, void* self, PTP_WORK);

  Connection& connection_;
  LightMutex mutex_;
  std::vector<File> files_;
  std::size_t taken_ = 0;
  PTP_WORK work_ = nullptr;
  bool isMaking_ = false;  // in the background
  std::atomic<std::uint64_t> lastSize_ = 0;
};

}  // namespace fendrel::store
