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
constexpr std::size_t mostAtOnce = 8, few = 4, firstOfMany = 2;
constexpr std::uint64_t longestFill = 1024 * 1024;
}

ReadyFiles::File ReadyFiles::take() {
  const std::lock_guard lock(mutex_);
  if (files_.empty()) files_ = make(worksInBackground() ? 1 : std::clamp<std::size_t>(taken_, 1, mostAtOnce));
  auto best = std::ranges::find_if(files_, &File::isFilled);
  if (best == files_.end()) --best;
  File file = std::move(*best);
  files_.erase(best);
  ++taken_;
  if (taken_ >= firstOfMany && files_.size() <= few) makeInBackground();
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

void ReadyFiles::fill(File& file) {
  const std::uint64_t size = std::min<std::uint64_t>(lastSize_, longestFill);
  const Bytes zeros(static_cast<std::size_t>(std::min<std::uint64_t>(size, contentBlockSize)));
  for (std::uint64_t at = 0; at < size; at += zeros.size()) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size - at, zeros.size()));
    file.file->write(at, std::span(zeros).first(count));
  }
  file.isFilled = true;
}

bool ReadyFiles::worksInBackground() {
  if (!work_ && connection_.disk().worksInBackground()) work_ = CreateThreadpoolWork(background, this, nullptr);
  return work_ != nullptr;
}

void ReadyFiles::makeInBackground() {
  if (isMaking_ || !worksInBackground()) return;
  isMaking_ = true;
  SubmitThreadpoolWork(work_);
}

void CALLBACK ReadyFiles::background(PTP_CALLBACK_INSTANCE, void* self, PTP_WORK) {
  auto& ready = *static_cast<ReadyFiles*>(self);
  try {
    ready.add(ready.make(std::min(2 * ready.taken(), mostAtOnce)));
    while (ready.fillOne()) {
    }
  } catch (...) {  // who needs a file then makes one, and is told why that fails
  }
  const std::lock_guard lock(ready.mutex_);
  ready.isMaking_ = false;
}

std::size_t ReadyFiles::taken() {
  const std::lock_guard lock(mutex_);
  return taken_;
}

void ReadyFiles::add(std::vector<File> files) {
  try {
    const std::lock_guard lock(mutex_);
    files_.reserve(files_.size() + files.size());
    std::ranges::move(files, std::back_inserter(files_));
  } catch (...) {
    remove(files);
    throw;
  }
}

// While a file is filled nobody can take it. False when none is left to fill.
bool ReadyFiles::fillOne() {
  File file;
  {
    const std::lock_guard lock(mutex_);
    const auto unfilled = std::ranges::find(files_, false, &File::isFilled);
    if (unfilled == files_.end()) return false;
    file = std::move(*unfilled);
    files_.erase(unfilled);
  }
  try {
    fill(file);
    const std::lock_guard lock(mutex_);
    files_.push_back(std::move(file));
  } catch (...) {
    remove(std::move(file));
    throw;
  }
  return true;
}

void ReadyFiles::settle() noexcept {
  if (work_) WaitForThreadpoolWorkCallbacks(work_, FALSE);
}

void ReadyFiles::clear() noexcept {
  settle();
  if (work_) CloseThreadpoolWork(std::exchange(work_, nullptr));
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
