// Access to the files that the engine keeps beside its database; tests inject faults here.
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

// For one thread at a time.
class DiskFile {
 public:
  virtual ~DiskFile() = default;

  virtual void write(std::uint64_t position, std::span<const std::byte> bytes) = 0;

  // Returns the number of bytes read; less than requested only at the end of the file.
  virtual std::size_t read(std::uint64_t position, std::span<std::byte> into) = 0;

  virtual std::uint64_t size() = 0;

  // Truncates, or extends with zeros.
  virtual void resize(std::uint64_t size) = 0;

  // Returns when everything written is on the disk.
  virtual void flush() = 0;

  // Moves the open file within its volume; AlreadyExists if the name is in use.
  virtual void rename(const std::wstring& path) = 0;
};

class Disk {
 public:
  struct Entry {
    std::wstring name;
    FileTime modified;
  };

  virtual ~Disk() = default;

  // A new file that nobody else can write, rename or delete during this object's lifetime.
  virtual std::unique_ptr<DiskFile> create(const std::wstring& path) = 0;

  // Opens the file exclusively, creating it readable by its owner only if missing: Busy if anyone else has it open.
  virtual std::unique_ptr<DiskFile> openAlone(const std::wstring& path) = 0;

  // For reading; others may delete it meanwhile, and this object can still read it.
  virtual std::unique_ptr<DiskFile> open(const std::wstring& path) = 0;

  // True if it does not exist afterwards; false if someone has it open for writing.
  virtual bool remove(const std::wstring& path) = 0;

  virtual bool exists(const std::wstring& path) = 0;

  // True if the file exists and nobody has it open as create() does.
  virtual bool isAbandoned(const std::wstring& path) = 0;

  // Creates an empty file that only its owner can read, unless it exists.
  virtual void createPrivateFile(const std::wstring& path) = 0;

  // Creates a folder unless it exists. A private one is accessible to its owner only.
  virtual void createFolder(const std::wstring& path, bool isPrivate) = 0;

  // Does nothing if it is not empty.
  virtual void removeFolder(const std::wstring& path) = 0;

  // The files of a folder; none if it does not exist.
  virtual std::vector<Entry> list(const std::wstring& folder) = 0;

  // Returns when the folder's entries are on the disk, if the system can flush them.
  virtual void flushFolder(const std::wstring& folder) = 0;

  // Whether the file is on another machine.
  virtual bool isRemote(const std::wstring& path) {
    (void)path;
    return false;
  }

  // The SQLite file layer for this disk.
  virtual const char* sqliteLayer() = 0;
};

// The machine's disk.
Disk& windowsDisk();

// Disk::remove without exceptions: false if the file still exists.
bool tryRemove(Disk& disk, const std::wstring& path) noexcept;

}  // namespace fendrel::store
