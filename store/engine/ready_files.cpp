#include "ready_files.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <span>
#include <utility>

#include "connection.h"
#include "content_spool.h"

namespace fendrel::store {

namespace {
constexpr std::size_t mostAtOnce = 8, few = 4;
constexpr std::uint64_t longestFill = 1024 * 1024;
}

ReadyFiles::File ReadyFiles::take() {
  const std::lock_guard lock(mutex_);
  if (files_.empty()) files_ = make(std::clamp<std::size_t>(taken_, 1, mostAtOnce));
  File file = std::move(files_.back());
  files_.pop_back();
  ++taken_;
  if (taken_ >= mostAtOnce && files_.size() <= few) makeInBackground();
  return file;
}

std::vector<ReadyFiles::File> ReadyFiles::make(std::size_t count) {
  connection_.prepareContentFolders();
  Disk& disk = connection_.disk();
  std::vector<File> files;
  files.reserve(count);
  try {
    while (files.size() < count) {
      std::wstring name = hexText(newGuid()) + contentEnding;
      std::wstring path = connection_.contentFolder() + L"\\" + name;
      auto file = disk.create(path);
      files.push_back({std::move(file), std::move(name), std::move(path)});
    }
  } catch (const EngineError&) {
    if (files.empty()) throw;  // what could be made will do
  } catch (...) {
    remove(files);
    throw;
  }
  try {
    disk.flushFolder(connection_.contentFolder());
  } catch (...) {
    remove(files);
    throw;
  }
  return files;
}

void ReadyFiles::fill(const std::vector<File>& files) {
  const std::uint64_t size = std::min<std::uint64_t>(lastSize_, longestFill);
  const Bytes zeros(static_cast<std::size_t>(std::min<std::uint64_t>(size, contentBlockSize)));
  for (const File& file : files) {
    for (std::uint64_t at = 0; at < size; at += zeros.size()) {
      const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size - at, zeros.size()));
      file.file->write(at, std::span(zeros).first(count));
    }
  }
}

void ReadyFiles::makeInBackground() {
  if (isMaking_ || !connection_.disk().worksInBackground()) return;
  if (!work_) work_ = CreateThreadpoolWork(background, this, nullptr);
  if (!work_) return;  // then the next ones are made when there are none
  isMaking_ = true;
  SubmitThreadpoolWork(work_);
}

void CALLBACK ReadyFiles::background(PTP_CALLBACK_INSTANCE, void* self, PTP_WORK) {
  auto& ready = *static_cast<ReadyFiles*>(self);
  std::vector<File> made;
  try {
    made = ready.make(mostAtOnce);
    ready.fill(made);
    const std::lock_guard lock(ready.mutex_);
    ready.files_.reserve(ready.files_.size() + made.size());
    std::ranges::move(made, std::back_inserter(ready.files_));
    made.clear();
  } catch (...) {  // who needs a file then makes one, and is told why that fails
    ready.remove(made);
  }
  const std::lock_guard lock(ready.mutex_);
  ready.isMaking_ = false;
}

void ReadyFiles::clear() noexcept {
  if (work_) {
    WaitForThreadpoolWorkCallbacks(work_, FALSE);
    CloseThreadpoolWork(std::exchange(work_, nullptr));
  }
  remove(files_);
}

void ReadyFiles::remove(std::vector<File>& files) noexcept {
  while (!files.empty()) {
    remove(std::move(files.back()));
    files.pop_back();
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
