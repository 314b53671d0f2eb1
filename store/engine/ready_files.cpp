#include "ready_files.h"

#include <algorithm>

#include "connection.h"
#include "content_spool.h"

namespace fendrel::store {

namespace {
constexpr std::size_t mostAtOnce = 8;
}

ReadyFiles::File ReadyFiles::take() {
  const std::lock_guard lock(mutex_);
  if (files_.empty()) make(std::clamp<std::size_t>(taken_, 1, mostAtOnce));
  File file = std::move(files_.back());
  files_.pop_back();
  ++taken_;
  return file;
}

void ReadyFiles::make(std::size_t count) {
  connection_.prepareContentFolders();
  files_.reserve(count);
  Disk& disk = connection_.disk();
  try {
    while (files_.size() < count) {
      std::wstring name = hexText(newGuid()) + contentEnding;
      std::wstring path = connection_.contentFolder() + L"\\" + name;
      auto file = disk.create(path);
      files_.push_back({std::move(file), std::move(name), std::move(path)});
    }
  } catch (const EngineError&) {
    if (files_.empty()) throw;  // what could be made will do
  }
  try {
    disk.flushFolder(connection_.contentFolder());
  } catch (...) {
    clear();
    throw;
  }
}

void ReadyFiles::clear() noexcept {
  while (!files_.empty()) {
    remove(std::move(files_.back()));
    files_.pop_back();
  }
}

void ReadyFiles::remove(File file) noexcept {
  file.file.reset();
  connection_.noteContentFileWentAway();
  try {
    if (!connection_.disk().remove(file.path)) connection_.noteLeftover();
  } catch (...) {
    connection_.noteLeftover();
  }
}

}  // namespace fendrel::store
