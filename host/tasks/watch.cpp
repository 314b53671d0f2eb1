#include "watch.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "console.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr DWORD pollEvery = 1000;  // milliseconds
constexpr ULONGLONG houseEvery = 24 * 3600'000;
constexpr ULONGLONG shortestPause = 30'000;  // after a temporary failure
constexpr ULONGLONG longestPause = 900'000;

// The state of a known file.
struct Seen {
  std::uint64_t size = 0;
  FILETIME written{};
  ULONGLONG since = 0;  // first seen with this size and time
  bool isDone = false;  // posted or permanently refused, and not moved away
};

bool isSame(const Seen& seen, const InputFile& file) {
  return seen.size == file.size && CompareFileTime(&seen.written, &file.written) == 0;
}

class Watch {
 public:
  Watch(CommandContext& running, const Job& watched) : context_(running), job_(watched) {
    job_.request.skipExisting = true;  // only the folder shows what an earlier watch has posted
  }

  ExitCode run() {
    const JobLock lock(job_);
    const CancelWords words("stopping after this file");
    context_.tell({Level::info, "watching", {}, fmt::format("Watching for the files of {}", printable(job_.file))});
    while (!cancelRequested()) {
      if (GetTickCount64() >= pauseEnd_) step();
      waitUnlessCancelled(pollEvery);
    }
    context_.tell({Level::info, "stopped", {}, "Stopped watching"});
    return ExitCode::done;
  }

 private:
  void step() {
    try {
      const std::vector<InputFile> ready = completeFiles();
      bool isWhole = true;
      if (!ready.empty()) isWhole = post(ready);
      if (isWhole && !job_.retention.isEmpty() && (!houseKept_ || GetTickCount64() - houseTicks_ >= houseEvery)) {
        applyRetention(context_, job_, false);
        houseKept_ = true;
        houseTicks_ = GetTickCount64();
      }
      context_.endSession();
      if (isWhole) pause_ = 0;
    } catch (const Failure& failure) {
      context_.endSession();
      if (failure.exitCode() == ExitCode::cancelled) return;
      if (!failure.retryable()) throw;
      context_.tell("failed", {}, failure);
      waitLonger();
    }
  }

  void waitLonger() {
    pause_ = std::clamp(pause_ * 2, shortestPause, longestPause);
    pauseEnd_ = GetTickCount64() + pause_;
  }

  // The new and complete files. Forgets files that no longer exist.
  std::vector<InputFile> completeFiles() {
    const InputFiles inputs = jobFiles(job_, Look::later);
    const ULONGLONG now = GetTickCount64();
    std::map<std::wstring, Seen> present;
    std::vector<InputFile> ready;
    for (InputFile file : inputs.files) {
      if (file.problem || !readDirectoryEntry(file)) continue;
      const auto known = seen_.find(file.path);
      Seen entry = known != seen_.end() && isSame(known->second, file) ? known->second
                                                                       : Seen{file.size, file.written, now, false};
      if (!entry.isDone && now - entry.since >= ULONGLONG{job_.settle} * 1000 && isClosedByOthers(file)) {
        InputFile looked = lookAtFile(file.given);
        if (!looked.problem && isSame(entry, looked)) ready.push_back(std::move(looked));
      }
      present.emplace(file.path, entry);
    }
    seen_ = std::move(present);
    return ready;
  }

  // False if some must be retried.
  bool post(const std::vector<InputFile>& ready) {
    const JobOutcome outcome = postForJob(context_, job_, ready);
    bool isAgain = false;
    for (std::size_t file = 0; file < ready.size(); ++file) {
      const PostedFile& result = outcome.results[file];
      const bool passes = result.state == PostedFile::State::open ||
                          (result.failure && result.failure->retryable() && result.state == PostedFile::State::failed);
      isAgain = isAgain || passes;
      if (const auto entry = seen_.find(ready[file].path); entry != seen_.end()) entry->second.isDone = !passes;
    }
    if (isAgain) waitLonger();
    return !isAgain;
  }

  CommandContext& context_;
  Job job_;
  std::map<std::wstring, Seen> seen_;  // by path
  ULONGLONG pause_ = 0, pauseEnd_ = 0, houseTicks_ = 0;
  bool houseKept_ = false;
};

}  // namespace

ExitCode watchJob(CommandContext& context, const Job& job) { return Watch(context, job).run(); }

}  // namespace fendrel::host
