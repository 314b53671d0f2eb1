#include "simulated_disk.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace fendrel::store {

namespace {

constexpr std::size_t sectorSize = 512;

SimulatedDisk* currentDisk = nullptr;

std::wstring folderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\')); }

void writeInto(Bytes& file, std::uint64_t at, std::span<const std::byte> bytes) {
  if (file.size() < at + bytes.size()) file.resize(static_cast<std::size_t>(at) + bytes.size());
  if (!bytes.empty()) std::memcpy(file.data() + at, bytes.data(), bytes.size());
}

void apply(Bytes& file, const SimulatedDisk::Write& write) {
  if (write.isResize) {
    file.resize(static_cast<std::size_t>(write.at));
  } else {
    writeInto(file, write.at, write.bytes);
  }
}

// The sectors of a write reach the disk in any order; one may be torn.
void applyTorn(Bytes& file, const SimulatedDisk::Write& write, std::mt19937_64& random) {
  if (write.isResize) {
    if (random() % 2) apply(file, write);
    return;
  }
  for (std::uint64_t at = write.at; at < write.at + write.bytes.size();) {
    const std::uint64_t end = std::min(write.at + write.bytes.size(), at / sectorSize * sectorSize + sectorSize);
    const auto offset = static_cast<std::size_t>(at - write.at);
    std::size_t length = static_cast<std::size_t>(end - at);
    const auto fate = random() % 4;
    if (fate == 0) length = static_cast<std::size_t>(random() % (length + 1));
    if (fate != 1) writeInto(file, at, std::span(write.bytes).subspan(offset, length));
    at = end;
  }
}

template <class Names>
bool isLostWithFolder(const Names& names, const std::wstring& path) {
  const std::wstring folder = folderOf(path);
  if (folder.find(L'\\') == std::wstring::npos) return false;
  return !names.contains(folder) || isLostWithFolder(names, folder);
}

class OpenFile final : public DiskFile {
 public:
  OpenFile(SimulatedDisk& disk, SimulatedDisk::NodePointer node, std::wstring path, bool holds)
      : disk_(disk), node_(std::move(node)), path_(std::move(path)), holds_(holds) {
    if (holds_) node_->isHeld = true;
  }
  ~OpenFile() override {
    if (holds_) node_->isHeld = false;
  }

  void write(std::uint64_t position, std::span<const std::byte> bytes) override {
    disk_.writeNode(*node_, position, bytes, false);
  }
  std::size_t read(std::uint64_t position, std::span<std::byte> into) override {
    disk_.reach(SimulatedDisk::Call::Read, false);
    if (position >= node_->bytes.size()) return 0;
    const std::size_t count = std::min(into.size(), node_->bytes.size() - static_cast<std::size_t>(position));
    std::memcpy(into.data(), node_->bytes.data() + position, count);
    return count;
  }
  std::uint64_t size() override { return node_->bytes.size(); }
  void resize(std::uint64_t size) override { disk_.resizeNode(*node_, size, false); }
  void flush() override { disk_.flushNode(*node_, false); }
  void rename(const std::wstring& path) override {
    disk_.renameNode(path_, path);
    path_ = path;
  }

 private:
  SimulatedDisk& disk_;
  SimulatedDisk::NodePointer node_;
  std::wstring path_;
  bool holds_;
};

}  // namespace

SimulatedDisk::SimulatedDisk(DiskImage image) : previous_(currentDisk) {
  for (const auto& folder : image.folders) names_[folder] = nullptr;
  for (auto& [path, bytes] : image.files) {
    auto node = std::make_shared<Node>();
    node->flushed = bytes;
    node->bytes = std::move(bytes);
    names_[path] = std::move(node);
  }
  flushedNames_ = names_;
  currentDisk = this;
}

SimulatedDisk::~SimulatedDisk() { currentDisk = previous_; }

SimulatedDisk* SimulatedDisk::current() { return currentDisk; }

void SimulatedDisk::reach(Call call, bool isSqlite) {
  ++calls_;
  if (cut_) fail(Status::Failed, "The power is off.");
  if (!onCall) return;
  if (const auto status = onCall(call, isSqlite)) fail(*status, "The test's disk refuses.");
}

bool SimulatedDisk::change(Call call, bool isSqlite) {
  reach(call, isSqlite);
  cut_ = ++changes_ == cutAt_;
  return !cut_;
}

SimulatedDisk::NodePointer SimulatedDisk::find(const std::wstring& path) const {
  const auto found = names_.find(path);
  return found == names_.end() ? nullptr : found->second;
}

SimulatedDisk::NodePointer SimulatedDisk::add(const std::wstring& path) {
  const bool goesOn = change(Call::Create, false);
  auto node = std::make_shared<Node>();
  changeName(path, node, true);
  if (!goesOn) fail(Status::Failed, "The power fails.");
  return node;
}

void SimulatedDisk::writeNode(Node& node, std::uint64_t at, std::span<const std::byte> bytes, bool isSqlite) {
  const bool goesOn = change(Call::Write, isSqlite);
  node.unflushed.push_back({at, Bytes(bytes.begin(), bytes.end()), false});
  writeInto(node.bytes, at, bytes);
  if (!goesOn) fail(Status::Failed, "The power fails.");
}

void SimulatedDisk::resizeNode(Node& node, std::uint64_t size, bool isSqlite) {
  const bool goesOn = change(Call::Resize, isSqlite);
  node.unflushed.push_back({size, {}, true});
  node.bytes.resize(static_cast<std::size_t>(size));
  if (!goesOn) fail(Status::Failed, "The power fails.");
}

void SimulatedDisk::flushNode(Node& node, bool isSqlite) {
  if (!change(Call::Flush, isSqlite)) fail(Status::Failed, "The power fails.");
  if (isSqlite ? ignoreSqliteFlushes : ignoreOwnFlushes) return;
  for (const Write& write : node.unflushed) store::apply(node.flushed, write);
  node.unflushed.clear();
}

void SimulatedDisk::changeName(const std::wstring& path, NodePointer node, bool appears) {
  unflushedNames_.push_back({path, std::move(node), appears});
  apply(names_, unflushedNames_.back());
}

void SimulatedDisk::apply(std::map<std::wstring, NodePointer>& names, const NameChange& change) {
  if (change.appears) {
    names[change.path] = change.node;
  } else {
    names.erase(change.path);
  }
}

void SimulatedDisk::renameNode(const std::wstring& from, const std::wstring& to) {
  if (names_.contains(to)) fail(Status::AlreadyExists, "There is a file of that name.");
  const bool goesOn = change(Call::Rename, false);
  const NodePointer node = find(from);
  changeName(to, node, true);
  changeName(from, node, false);
  if (!goesOn) fail(Status::Failed, "The power fails.");
}

void SimulatedDisk::removeNode(const std::wstring& path, bool isSqlite) {
  const bool goesOn = change(Call::Remove, isSqlite);
  changeName(path, find(path), false);
  if (!goesOn) fail(Status::Failed, "The power fails.");
}

DiskImage SimulatedDisk::afterCut(Unflushed unflushed, std::uint64_t seed) const {
  std::mt19937_64 random(seed);
  auto names = flushedNames_;
  for (const NameChange& change : unflushedNames_) {
    if (unflushed == Unflushed::Kept || (unflushed == Unflushed::Some && random() % 2)) apply(names, change);
  }
  DiskImage image;
  std::map<const Node*, std::wstring> made;  // a renamed file may exist under both names
  for (const auto& [path, node] : names) {
    if (isLostWithFolder(names, path)) continue;
    if (!node) {
      image.folders.insert(path);
      continue;
    }
    const auto [first, isNew] = made.try_emplace(node.get(), path);
    Bytes& content = image.files[path];
    content = isNew ? node->flushed : image.files[first->second];
    if (!isNew || unflushed == Unflushed::Lost) continue;
    for (const Write& write : node->unflushed) {
      const bool isLast = &write == &node->unflushed.back();
      if (unflushed == Unflushed::Some || (cut_ && isLast)) {
        if (random() % 2 || isLast) applyTorn(content, write, random);
      } else {
        store::apply(content, write);
      }
    }
  }
  return image;
}

DiskImage SimulatedDisk::now() const {
  DiskImage image;
  for (const auto& [path, node] : names_) {
    if (node) {
      image.files[path] = node->bytes;
    } else {
      image.folders.insert(path);
    }
  }
  return image;
}

std::unique_ptr<DiskFile> SimulatedDisk::create(const std::wstring& path) {
  if (names_.contains(path)) fail(Status::AlreadyExists, "There is a file of that name.");
  auto node = add(path);
  return std::make_unique<OpenFile>(*this, std::move(node), path, true);
}

std::unique_ptr<DiskFile> SimulatedDisk::openAlone(const std::wstring& path) {
  reach(Call::Open, false);
  auto node = find(path);
  if (node && node->isHeld) fail(Status::Busy, "Someone has the file open.");
  if (!node) node = add(path);
  return std::make_unique<OpenFile>(*this, std::move(node), path, true);
}

std::unique_ptr<DiskFile> SimulatedDisk::open(const std::wstring& path) {
  reach(Call::Open, false);
  auto node = find(path);
  if (!node) fail(Status::NotFound, "There is no such file.");
  return std::make_unique<OpenFile>(*this, std::move(node), path, false);
}

bool SimulatedDisk::remove(const std::wstring& path) {
  const NodePointer node = find(path);
  if (!node) return true;
  if (node->isHeld) return false;
  removeNode(path, false);
  return true;
}

bool SimulatedDisk::exists(const std::wstring& path) {
  const std::wstring name = path.ends_with(L'\\') ? path.substr(0, path.size() - 1) : path;
  return name.find(L'\\') == std::wstring::npos || names_.contains(name);
}

bool SimulatedDisk::isAbandoned(const std::wstring& path) {
  const NodePointer node = find(path);
  return node && !node->isHeld;
}

void SimulatedDisk::createPrivateFile(const std::wstring& path) {
  if (!names_.contains(path)) add(path);
}

void SimulatedDisk::createFolder(const std::wstring& path, bool) {
  if (exists(path)) return;
  const bool goesOn = change(Call::CreateFolder, false);
  changeName(path, nullptr, true);
  if (!goesOn) fail(Status::Failed, "The power fails.");
}

void SimulatedDisk::removeFolder(const std::wstring& path) {
  const bool isEmpty = std::ranges::none_of(names_, [&](const auto& name) { return folderOf(name.first) == path; });
  if (!names_.contains(path) || !isEmpty) return;
  const bool goesOn = change(Call::Remove, false);
  changeName(path, nullptr, false);
  if (!goesOn) fail(Status::Failed, "The power fails.");
}

std::vector<Disk::Entry> SimulatedDisk::list(const std::wstring& folder) {
  reach(Call::Look, false);
  std::vector<Entry> entries;
  for (const auto& [path, node] : names_) {
    // All files are hours old, as if the machine started again much later.
    if (node && folderOf(path) == folder) entries.push_back({path.substr(folder.size() + 1), FileTime{0}});
  }
  return entries;
}

void SimulatedDisk::flushFolder(const std::wstring& folder) {
  if (!change(Call::FlushFolder, false)) fail(Status::Failed, "The power fails.");
  if (ignoreOwnFlushes) return;
  std::erase_if(unflushedNames_, [&](const NameChange& change) {
    if (folderOf(change.path) != folder) return false;
    apply(flushedNames_, change);
    return true;
  });
}

}  // namespace fendrel::store
