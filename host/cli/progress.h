// A bar with the rate on standard error, for many or large files, shown to a person only.
#pragma once

#include <windows.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace fendrel::host {

class Progress {
 public:
  // what: "posted" or "saved". Nothing is shown for little work, or when standard error is not a terminal.
  Progress(std::string what, std::uint64_t files, std::uint64_t bytes);
  ~Progress();  // takes the bar away
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void startFile(const std::string& name);
  void addBytes(std::uint64_t bytes);
  void endFile();

  // The bar as text, `width` columns at most.
  static std::string render(const std::string& what, std::uint64_t filesDone, std::uint64_t files,
                            std::uint64_t bytesDone, std::uint64_t bytes, double seconds, const std::string& name,
                            std::size_t width);

 private:
  void draw();

  const std::string what_;
  const std::uint64_t files_, bytes_;
  const ULONGLONG startTicks_;
  std::mutex guard_;
  std::uint64_t filesDone_ = 0, bytesDone_ = 0;
  std::string current_;
  ULONGLONG currentTicks_ = 0;  // when the current file was begun
  std::jthread painter_;
};

}  // namespace fendrel::host
