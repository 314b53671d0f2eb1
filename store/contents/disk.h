// The files that the engine keeps beside its database, and the place where tests inject faults.
// Failures are thrown as EngineError; paths are full paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "property.h"

namespace fendrel::store {

// One thread at a time uses a file.
class DiskFile {
 public:
  virtual ~DiskFile() = default;

  virtual void write(std::uint64_t position, std::span<const std::byte> bytes) = 0;

  // Returns the number of bytes read; less than asked for only at the end of the file.
  virtual std::size_t read(std::uint64_t position, std::span<std::byte> into) = 0;

  virtual std::uint64_t size() = 0;

  // Cuts off, or extends with zeros.
  virtual void resize(std::uint64_t size) = 0;

  // Returns when everything written is on the disk.
  virtual void flush() = 0;

  // Moves the open file within its volume; AlreadyExists if there is one of that name.
  virtual void rename(const std::wstring& path) = 0;
};

class Disk {
 public:
  struct Entry {
    std::wstring name;
    FileTime modified;
  };

  virtual ~Disk() = default;

  // A new file that no one else can write, rename or delete while this object lives.
  virtual std::unique_ptr<DiskFile> create(const std::wstring& path) = 0;

  // The file, made readable by its owner only when missing, for this object alone: Busy if anyone else has it open.
  virtual std::unique_ptr<DiskFile> openAlone(const std::wstring& path) = 0;

  // For reading; others may delete it meanwhile, this object goes on reading.
  virtual std::unique_ptr<DiskFile> open(const std::wstring& path) = 0;

  // True if it is gone, or never was; false if someone has it open for writing.
  virtual bool remove(const std::wstring& path) = 0;

  virtual bool exists(const std::wstring& path) = 0;

  // True if the file exists and nobody has it open as create() does.
  virtual bool isAbandoned(const std::wstring& path) = 0;

  // Creates an empty file that its owner alone can read; nothing if it exists.
  virtual void createPrivateFile(const std::wstring& path) = 0;

  // Creates a folder; existing is fine. A private one is its owner's alone.
  virtual void createFolder(const std::wstring& path, bool isPrivate) = 0;

  // Nothing if it is not empty.
  virtual void removeFolder(const std::wstring& path) = 0;

  // The files of a folder; none if it does not exist.
  virtual std::vector<Entry> list(const std::wstring& folder) = 0;

  // Returns when the folder's entries are on the disk, where the system offers that.
  virtual void flushFolder(const std::wstring& folder) = 0;

  // Whether the file lies on another machine.
  virtual bool isRemote(const std::wstring& path) {
    (void)path;
    return false;
  }

  // The SQLite file layer that goes with this disk.
  virtual const char* sqliteLayer() = 0;
};

// The machine's own disk.
Disk& windowsDisk();

// The same without a failure: false if it is still there.
bool tryRemove(Disk& disk, const std::wstring& path) noexcept;

}  // namespace fendrel::store
