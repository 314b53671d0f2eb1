#include "progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <utility>

#include "console.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Fewer files are done before anybody could read the bar.
constexpr std::uint64_t manyFiles = 20;
constexpr std::uint64_t manyBytes = 8u << 20;

// Seconds are shown for a file that takes longer than this, in milliseconds.
constexpr ULONGLONG longFile = 2000;

constexpr auto redrawEvery = std::chrono::milliseconds(200);

std::size_t terminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) && info.dwSize.X > 20)
    return static_cast<std::size_t>(info.dwSize.X) - 1;
  return 79;
}

}  // namespace

std::uint64_t bytesReadByProcess() {
  IO_COUNTERS counters{};
  return GetProcessIoCounters(GetCurrentProcess(), &counters) ? counters.ReadTransferCount : 0;
}

Progress::Progress(std::string verb, std::uint64_t fileCount, std::uint64_t byteCount, std::uint64_t (*bytesRead)())
    : what_(std::move(verb)),
      files_(fileCount),
      bytes_(byteCount),
      bytesRead_(bytesRead),
      startTicks_(GetTickCount64()) {
  if ((files_ < manyFiles && bytes_ < manyBytes) || !errorIsTerminal()) return;
  painter_ = std::jthread([this](std::stop_token stop) {
    std::mutex sleeping;
    std::condition_variable_any wake;
    std::unique_lock lock(sleeping);
    while (!wake.wait_for(lock, stop, redrawEvery, [&] { return stop.stop_requested(); })) showProgress(text());
    showProgress({});
  });
}

Progress::~Progress() {
  if (!painter_.joinable()) return;
  painter_.request_stop();
  painter_.join();
}

void Progress::startFile(const std::string& name) {
  const std::scoped_lock lock(guard_);
  current_ = printable(name);
  currentTicks_ = GetTickCount64();
}

void Progress::startUntoldFile(const std::string& name, std::uint64_t size) {
  startFile(name);
  const std::scoped_lock lock(guard_);
  untold_ = size;
  readBefore_ = bytesRead_();
}

void Progress::addBytes(std::uint64_t more) {
  const std::scoped_lock lock(guard_);
  bytesDone_ += more;
}

void Progress::endFile() {
  const std::scoped_lock lock(guard_);
  ++filesDone_;
  bytesDone_ += std::exchange(untold_, 0);
  current_.clear();
}

std::string Progress::text() {
  const std::scoped_lock lock(guard_);
  const ULONGLONG now = GetTickCount64();
  const double seconds = static_cast<double>(now - startTicks_) / 1000;
  std::string name = current_;
  if (!name.empty() && now - currentTicks_ >= longFile) name += fmt::format(", {} s", (now - currentTicks_) / 1000);
  const std::uint64_t inside = untold_ > 0 ? std::min(untold_, bytesRead_() - readBefore_) : 0;
  return render(what_, filesDone_, files_, bytesDone_ + inside, bytes_, seconds, name, terminalWidth());
}

std::string Progress::render(const std::string& what, std::uint64_t filesDone, std::uint64_t files,
                             std::uint64_t bytesDone, std::uint64_t bytes, double seconds, const std::string& name,
                             std::size_t width) {
  const double share = bytes > 0   ? std::min(1.0, static_cast<double>(bytesDone) / static_cast<double>(bytes))
                       : files > 0 ? static_cast<double>(filesDone) / static_cast<double>(files)
                                   : 1.0;
  constexpr std::size_t cells = 20;
  const auto full = static_cast<std::size_t>(share * cells);
  std::string text =
      fmt::format("[{}{}] {:3.0f} %  {} of {} {}", std::string(full, '#'), std::string(cells - full, '.'), share * 100,
                  withThousands(filesDone), counted(files, "file"), what);
  if (bytesDone > 0) {
    text += ", " + shortSize(bytesDone);
    if (seconds >= 0.5) {
      const double rate = static_cast<double>(bytesDone) / seconds;
      text += fmt::format(", {}/s", shortSize(static_cast<std::uint64_t>(rate)));
      if (bytesDone < bytes) {
        const auto left = static_cast<std::uint64_t>(static_cast<double>(bytes - bytesDone) / rate + 0.5);
        text += fmt::format(", {}:{:02} left", left / 60, left % 60);
      }
    }
  }
  if (!name.empty()) text += "  " + name;
  return clipped(text, width);
}

Share::~Share() { showProgress({}); }

void Share::show(std::uint64_t done, std::uint64_t total) {
  constexpr ULONGLONG redrawAfter = 200;  // milliseconds
  const ULONGLONG now = GetTickCount64();
  if (!errorIsTerminal() || now - shown_ < redrawAfter || now - start_ < redrawAfter) return;
  shown_ = now;
  const double share = total == 0 ? 1 : static_cast<double>(done) / static_cast<double>(total);
  showProgress(fmt::format("{} {:3.0f} %", doing_, 100 * std::min(share, 1.0)));
}

}  // namespace fendrel::host
