// A disk in memory, under SQLite and the engine's files, whose power can be cut and whose calls can fail.
// It guarantees no more than real systems: bytes are safe after a flush of their file, names after a flush of their
// folder. Everything else may survive a cut or not, in any combination; of an unfinished write, any sectors.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>

#include "disk.h"
#include "engine_error.h"

struct sqlite3_vfs;

namespace fendrel::store {

// The content of a disk: folders, and files by full path.
struct DiskImage {
  std::set<std::wstring> folders;
  std::map<std::wstring, Bytes> files;
};

// What a cut leaves of unflushed data.
enum class Unflushed { Lost, Kept, Some };

class SimulatedDisk final : public Disk {
 public:
  // Read, Look and Lock change nothing, so no cut happens there.
  enum class Call { Write, Resize, Flush, FlushFolder, Create, Rename, Remove, CreateFolder, Open, Read, Look, Lock };

  // During its lifetime SQLite uses this disk under the name sqliteLayer().
  explicit SimulatedDisk(DiskImage image = {});
  ~SimulatedDisk() override;
  SimulatedDisk(const SimulatedDisk&) = delete;
  SimulatedDisk& operator=(const SimulatedDisk&) = delete;

  // The power fails in the nth changing call from now (from 1); that call and all later ones fail.
  void cutAt(int call) { cutAt_ = changes_ + call; }
  bool isCut() const noexcept { return cut_; }
  int changes() const noexcept { return changes_; }

  // Disks that lie: the flush returns at once.
  bool ignoreSqliteFlushes = false;
  bool ignoreOwnFlushes = false;

  // Called before every call: a status makes it fail.
  std::function<std::optional<Status>(Call, bool isSqlite)> onCall;
  int calls() const noexcept { return calls_; }

  // The content after a cut.
  DiskImage afterCut(Unflushed unflushed, std::uint64_t seed) const;
  DiskImage now() const;

  std::unique_ptr<DiskFile> create(const std::wstring& path) override;
  std::unique_ptr<DiskFile> openAlone(const std::wstring& path) override;
  std::unique_ptr<DiskFile> open(const std::wstring& path) override;
  bool remove(const std::wstring& path) override;
  bool exists(const std::wstring& path) override;
  bool isAbandoned(const std::wstring& path) override;
  void createPrivateFile(const std::wstring& path) override;
  void createFolder(const std::wstring& path, bool isPrivate) override;
  void removeFolder(const std::wstring& path) override;
  std::vector<Entry> list(const std::wstring& folder) override;
  void flushFolder(const std::wstring& folder) override;
  const char* sqliteLayer() override;

  // For SQLite's side and for open files.
  struct Write {
    std::uint64_t at;
    Bytes bytes;
    bool isResize;
  };
  struct Node {
    Bytes bytes;    // as programs see it
    Bytes flushed;  // as flushed to the disk
    std::vector<Write> unflushed;
    bool isHeld = false;  // open as create() does
    std::vector<std::unique_ptr<Bytes>> sharedMemory;
    int mappings = 0;
  };
  using NodePointer = std::shared_ptr<Node>;

  static SimulatedDisk* current();
  NodePointer find(const std::wstring& path) const;
  NodePointer add(const std::wstring& path);
  void writeNode(Node& node, std::uint64_t at, std::span<const std::byte> bytes, bool isSqlite);
  void resizeNode(Node& node, std::uint64_t size, bool isSqlite);
  void flushNode(Node& node, bool isSqlite);
  void renameNode(const std::wstring& from, const std::wstring& to);
  void removeNode(const std::wstring& path, bool isSqlite);

  // Counts a call; throws EngineError if it must fail.
  void reach(Call call, bool isSqlite);

 private:
  // One name that appears or disappears; a folder's name has no node.
  struct NameChange {
    std::wstring path;
    NodePointer node;
    bool appears;
  };

  bool change(Call call, bool isSqlite);  // false: the power fails during it
  static void apply(std::map<std::wstring, NodePointer>& names, const NameChange& change);
  void changeName(const std::wstring& path, NodePointer node, bool appears);

  std::map<std::wstring, NodePointer> names_, flushedNames_;
  std::vector<NameChange> unflushedNames_;
  int calls_ = 0, changes_ = 0, cutAt_ = 0;
  bool cut_ = false;
  SimulatedDisk* previous_;
};

}  // namespace fendrel::store
