// A disk in memory, under SQLite and under the engine's own files, whose power can be cut and whose calls can fail.
//
// It promises no more than systems do: bytes are safe once their file was flushed, names once their folder was.
// Everything else may be there after a cut or not, in any combination; of the write that was going on, any sectors.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>

#include "disk.h"
#include "engine_error.h"

struct sqlite3_vfs;

namespace fendrel::store {

// What is on a disk: folders, and files by full path.
struct DiskImage {
  std::set<std::wstring> folders;
  std::map<std::wstring, Bytes> files;
};

// What a cut leaves of that which was not flushed.
enum class Unflushed { Lost, Kept, Some };

class SimulatedDisk final : public Disk {
 public:
  // Read, Look and Lock change nothing and are not places for a cut.
  enum class Call { Write, Resize, Flush, FlushFolder, Create, Rename, Remove, CreateFolder, Open, Read, Look, Lock };

  // Until its end SQLite finds this disk under the name that sqliteLayer() gives.
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

  // Asked before every call: a status makes it fail.
  std::function<std::optional<Status>(Call, bool isSqlite)> onCall;
  int calls() const noexcept { return calls_; }

  // What the next start of the machine finds.
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
    Bytes flushed;  // as it is on the disk for sure
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

  // Counts a call; throws the EngineError of one that is to fail.
  void reach(Call call, bool isSqlite);

 private:
  // One name that appears or disappears; a folder's name has no node.
  struct NameChange {
    std::wstring path;
    NodePointer node;
    bool appears;
  };

  bool change(Call call, bool isSqlite);  // false: the power fails in the middle of it
  static void apply(std::map<std::wstring, NodePointer>& names, const NameChange& change);
  void changeName(const std::wstring& path, NodePointer node, bool appears);

  std::map<std::wstring, NodePointer> names_, flushedNames_;
  std::vector<NameChange> unflushedNames_;
  int calls_ = 0, changes_ = 0, cutAt_ = 0;
  bool cut_ = false;
  SimulatedDisk* previous_;
};

}  // namespace fendrel::store
