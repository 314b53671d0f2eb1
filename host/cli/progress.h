// Progress of long work, in a line of standard error; only on a terminal, removed at the end.
#pragma once

#include <windows.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace fendrel::host {

// Bytes that this process has read so far. 0 on systems that do not count them.
std::uint64_t bytesReadByProcess();

// A bar with the rate, for many or large files.
class Progress {
 public:
  // what: "posted" or "saved". Shows nothing for little work, or if standard error is not a terminal.
  Progress(std::string what, std::uint64_t files, std::uint64_t bytes,
           std::uint64_t (*bytesRead)() = bytesReadByProcess);
  ~Progress();  // removes the bar
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void startFile(const std::string& name);
  // The same for a file whose reader reports nothing, as the plug-in does: until endFile(), the bytes that the process
  // reads count as done, at most `size`.
  void startUntoldFile(const std::string& name, std::uint64_t size);
  void addBytes(std::uint64_t bytes);
  void endFile();

  // The bar as it is now.
  std::string text();

  // The bar as text, at most `width` columns.
  static std::string render(const std::string& what, std::uint64_t filesDone, std::uint64_t files,
                            std::uint64_t bytesDone, std::uint64_t bytes, double seconds, const std::string& name,
                            std::size_t width);

 private:
  const std::string what_;
  const std::uint64_t files_, bytes_;
  std::uint64_t (*const bytesRead_)();
  const ULONGLONG startTicks_;
  std::mutex guard_;
  std::uint64_t filesDone_ = 0, bytesDone_ = 0;
  std::string current_;
  ULONGLONG currentTicks_ = 0;  // start of the current file
  std::uint64_t untold_ = 0;    // its size, if its reader reports nothing
  std::uint64_t readBefore_ = 0;
  std::jthread painter_;
};

// A percentage, for work that reports its steps.
class Share {
 public:
  explicit Share(std::string doing) : doing_(std::move(doing)) {}
  ~Share();  // removes it
  Share(const Share&) = delete;
  Share& operator=(const Share&) = delete;

  void show(std::uint64_t done, std::uint64_t total);

 private:
  std::string doing_;
  ULONGLONG start_ = GetTickCount64(), shown_ = 0;
};

}  // namespace fendrel::host
