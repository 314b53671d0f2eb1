#include "posting.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "console.h"
#include "error_words.h"
#include "present_reports.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Milliseconds between looks into the folder while many files are posted; after a single file it looks at once. In a
// large folder, where looks are slow, the distance is a multiple of a look's duration.
constexpr ULONGLONG lookEvery = 500;
constexpr ULONGLONG lookShare = 8;
// The longest wait, in seconds.
constexpr std::uint64_t longestWait = 3600;

using State = PostedFile::State;

std::string shortTime(const FILETIME& time) {
  const std::string whole = localTime(time);
  return whole.substr(0, whole.rfind(':'));  // without seconds
}

}  // namespace

std::string shownName(const InputFile& file) { return printable(file.name.empty() ? toWide(file.given) : file.name); }

std::string totalsWords(const PostTotals& totals, double seconds) {
  std::string words = fmt::format("{} posted", withThousands(totals.posted));
  const auto add = [&](std::uint64_t count, const char* what) {
    if (count > 0) words += fmt::format(", {} {}", withThousands(count), what);
  };
  add(totals.leftOut, "left out");
  add(totals.failed, "failed");
  add(totals.open, "not tried");
  return words + fmt::format(", {} in {:.1f} s", shortSize(totals.bytes), seconds);
}

Posting::Posting(CommandContext& running, const PostRequest& chosen, std::vector<InputFile> inputs)
    : context_(running), request_(chosen), files_(std::move(inputs)), states_(files_.size()) {}

void Posting::fail(std::size_t file, Failure failure) {
  // If another pass follows, the failure is not final.
  const bool again = triesLeft_ && failure.retryable();
  if (again)
    context_.tell({Level::notice, "tried", files_[file].given, failure.what(), {{"error", jsonError(failure)}}});
  else
    context_.tell("failed", files_[file].given, failure);
  states_[file].state = again ? State::open : State::failed;
  states_[file].failure = std::move(failure);
}

void Posting::takeProblems() {
  for (std::size_t file = 0; file < files_.size(); ++file)
    if (files_[file].problem) fail(file, *files_[file].problem);
}

void Posting::leaveOutRepeated() {
  std::set<std::wstring> seen;
  for (std::size_t file = 0; file < files_.size(); ++file) {
    if (states_[file].state != State::open || seen.insert(files_[file].identity).second) continue;
    states_[file].state = State::leftOut;
    context_.tell({Level::notice, "left out", files_[file].given,
                   fmt::format("'{}' is named twice and is posted once.", printable(files_[file].given))});
  }
}

void Posting::open() {
  context_.endSession();
  target_ = openTarget(context_, request_.target);
  for (const std::wstring& path : target_.created) {
    created_.push_back(path);
    context_.tell(
        {Level::info, "folder made", {}, fmt::format("Made folder {}", printable(path)), {{"folder", toUtf8(path)}}});
  }
  if (target_.missing)
    context_.tell({Level::info,
                   "folder missing",
                   {},
                   fmt::format("Folder {} would be made", printable(target_.path)),
                   {{"folder", toUtf8(target_.path)}}});
  if (!request_.dryRun && !plugin_) plugin_.emplace();
  if (posted_ || target_.missing) return;
  std::set<std::wstring> names;
  for (const InputFile& file : files_)
    if (!file.problem) names.insert(file.name);
  const std::vector<MessageRow> rows = messagesNamed(target_.folder, names);
  if (request_.skipExisting) leaveOutPresent(rows);
  posted_.emplace(rows);
}

void Posting::leaveOutPresent(const std::vector<MessageRow>& rows) {
  PresentReports present(target_.folder, rows);
  for (std::size_t file = 0; file < files_.size(); ++file) {
    if (states_[file].state != State::open) continue;
    if (cancelRequested()) return;
    const std::optional<MessageRow> there = present.take(files_[file]);
    if (!there) continue;
    states_[file].state = State::leftOut;
    context_.tell(
        {Level::info,
         "left out",
         files_[file].given,
         fmt::format("{} is there already, message of {}", shownName(files_[file]), shortTime(there->delivered)),
         {{"delivered", jsonTime(there->delivered)}}});
  }
}

void Posting::tellPlan() {
  for (std::size_t file = 0; file < files_.size(); ++file)
    if (states_[file].state == State::open)
      context_.tell({Level::info,
                     "would post",
                     files_[file].given,
                     fmt::format("{} would be posted to {}, {}", shownName(files_[file]), printable(target_.path),
                                 counted(files_[file].size, "byte")),
                     {{"folder", toUtf8(target_.path)}, {"size", files_[file].size}}});
}

Failure Posting::refusal(std::size_t file, const ExportAnswer& answer) const {
  const std::string subject = fmt::format("{} was not posted. ", shownName(files_[file]));
  const Destination& destination = target_.destination;
  if (!answer.jobMade) {
    const std::string what =
        fmt::format("{}The plug-in cannot use profile '{}'", subject, printable(destination.profile));
    if (answer.meaning != S_OK) return failureOf(ExitCode::mapiUnusable, what, answer.meaning);
    return Failure(ExitCode::mapiUnusable, fmt::format("{} (plug-in code {}). Check the profile and its password.",
                                                       what, static_cast<std::int32_t>(answer.code)));
  }
  const std::string what = fmt::format("{}Folder '{}' refused the message", subject, printable(target_.path));
  if (answer.meaning != S_OK) return failureOf(folderExitCode(answer.meaning), what, answer.meaning);
  return Failure(ExitCode::failed,
                 fmt::format("{}: {} (plug-in code {}).", what,
                             answer.errorText.empty() ? "no reason was given" : printable(answer.errorText),
                             static_cast<std::int32_t>(answer.code)));
}

Failure Posting::notThere(std::size_t file, const Found& found) const {
  const InputFile& input = files_[file];
  if (!found.there)
    // A store refuses messages earlier; so late it is the disk, a lock or the network that fails.
    return Failure(ExitCode::failed,
                   fmt::format("{} was not posted. The plug-in reported success, but folder '{}' did not keep the "
                               "message. Check the store's free disk space and your rights, and post it again.",
                               shownName(input), printable(target_.path)))
        .mayPass();
  const std::optional<std::uint64_t> now = sizeNow(input);
  return Failure(
      ExitCode::failed,
      fmt::format("{} was not posted whole: its message in '{}' holds {} of {} bytes. {}", shownName(input),
                  printable(target_.path), withThousands(found.attachedBytes), withThousands(input.size),
                  now && *now != input.size ? "The file changed meanwhile; delete the message and post again."
                                            : "Delete the message, check the store and post again."));
}

void Posting::look(const ExportAnswer* together) {
  const ULONGLONG begun = GetTickCount64();
  const std::vector<Found> results = posted_->look(target_.folder);
  lookTicks_ = GetTickCount64() - begun;
  for (const Found& found : results) {
    const InputFile& file = files_[found.file];
    if (found.there && found.attachedBytes == file.size) {
      states_[found.file].state = State::posted;
      states_[found.file].failure.reset();
      states_[found.file].messageClass = found.messageClass;
      context_.tell({Level::info,
                     "posted",
                     file.given,
                     fmt::format("{} -> {}, {}", shownName(file), printable(target_.path), counted(file.size, "byte")),
                     {{"name", toUtf8(file.name)},
                      {"folder", toUtf8(target_.path)},
                      {"size", file.size},
                      {"class", toUtf8(found.messageClass)}}});
    } else if (!found.there && together && together->code != FENDREL_SUCCESS) {
      fail(found.file, refusal(found.file, *together));
    } else {
      fail(found.file, notThere(found.file, found));
    }
  }
}

bool Posting::isToBeTriedAgain() const {
  return std::ranges::any_of(states_, [](const PostedFile& each) { return each.state == State::open && each.failure; });
}

void Posting::postEach(bool isLast) {
  for (std::size_t file = 0; file < files_.size(); ++file) {
    if (states_[file].state != State::open) continue;
    // The others would fail now too.
    if (!isLast && isToBeTriedAgain()) break;
    if (cancelRequested()) {
      cancelled_ = true;
      break;
    }
    progress_->startUntoldFile(shownName(files_[file]), files_[file].size);
    context_.tell(
        {Level::detail, "begun", files_[file].given, fmt::format("{} is being posted", shownName(files_[file]))});
    const ExportAnswer answer =
        plugin_->exportFiles(target_.destination, std::span(&files_[file].path, 1), std::span(&files_[file].name, 1));
    if (answer.code == FENDREL_SUCCESS)
      posted_->expect({file, files_[file].name, files_[file].size});
    else
      fail(file, refusal(file, answer));
    progress_->endFile();
    if (posted_->waiting() >= std::max(lookEvery, lookShare * lookTicks_)) look(nullptr);
  }
  look(nullptr);
}

void Posting::postTogether() {
  std::vector<std::wstring> paths, names;
  std::vector<std::size_t> numbers;
  std::uint64_t bytes = 0;
  for (std::size_t file = 0; file < files_.size(); ++file) {
    if (states_[file].state != State::open) continue;
    numbers.push_back(file);
    paths.push_back(files_[file].path);
    names.push_back(files_[file].name);
    bytes += files_[file].size;
  }
  if (numbers.empty()) return;
  progress_->startUntoldFile("all together", bytes);
  const ExportAnswer answer = plugin_->exportFiles(target_.destination, paths, names);
  for (const std::size_t file : numbers) posted_->expect({file, files_[file].name, files_[file].size});
  look(&answer);
  const bool allThere =
      std::ranges::all_of(numbers, [&](std::size_t file) { return states_[file].state == State::posted; });
  if (answer.code != FENDREL_SUCCESS && allThere) {
    whole_ = Failure(
        ExitCode::failed,
        fmt::format("Every file is in folder '{}', but the plug-in reported a failure: {} (code {}).",
                    printable(target_.path), printable(answer.errorText), static_cast<std::int32_t>(answer.code)));
    context_.tell("failed", {}, *whole_);
  }
}

// One attempt to post all files that are not done.
void Posting::pass(bool isLast) {
  triesLeft_ = !isLast;
  open();
  if (request_.dryRun) {
    tellPlan();
    return;
  }
  for (PostedFile& each : states_)
    if (each.state == State::open) each.failure.reset();
  look(nullptr);  // for files in doubt since the last session
  std::uint64_t readable = 0, bytes = 0;
  for (std::size_t file = 0; file < files_.size(); ++file)
    if (states_[file].state == State::open) {
      ++readable;
      bytes += files_[file].size;
    }
  if (readable == 0) return;
  progress_.emplace("posted", readable, bytes);
  request_.together ? postTogether() : postEach(isLast);
  progress_.reset();
}

bool Posting::waitForNextPass(unsigned attempt, const std::string& why) {
  const std::uint64_t seconds = std::min(longestWait, std::uint64_t{request_.wait} << std::min(attempt, 20u));
  context_.tell(
      {Level::notice,
       "waiting",
       {},
       fmt::format("{}Trying again in {} ({} of {}).", why, counted(seconds, "second"), attempt + 1, request_.retries),
       {{"seconds", seconds}, {"try", attempt + 1}, {"tries", request_.retries}}});
  const CancelWords words("stopping");
  cancelled_ = !waitUnlessCancelled(static_cast<std::uint32_t>(seconds * 1000));
  return !cancelled_;
}

ExitCode Posting::run() {
  const CancelWords words("stopping after this file");
  takeProblems();
  leaveOutRepeated();
  const bool isAnyOpen = std::ranges::any_of(states_, [](const auto& each) { return each.state == State::open; });
  const bool isAnyFailed = std::ranges::any_of(states_, [](const auto& each) { return each.state == State::failed; });
  // With `together` all files are posted or none.
  if (isAnyOpen && request_.together && isAnyFailed)
    printError("fendrel: Nothing was posted: with --together all files are posted or none.");
  else if (isAnyOpen)
    for (unsigned attempt = 0;; ++attempt) {
      const bool isLast = attempt >= request_.retries;
      std::string why;
      try {
        pass(isLast);
        if (cancelled_ || isLast || !isToBeTriedAgain()) break;
      } catch (const Failure& failure) {
        progress_.reset();
        if (failure.exitCode() == ExitCode::cancelled) {
          cancelled_ = true;
          break;
        }
        if (isLast || !failure.retryable()) {
          if (totals().posted == 0) throw;
          whole_ = failure;
          context_.tell("failed", {}, failure);
          break;
        }
        why = std::string(failure.what()) + ' ';
      }
      if (!waitForNextPass(attempt, why)) break;
    }
  if (cancelled_) printError("fendrel: Cancelled; the files listed above are posted, the others are not.");
  const ExitCode exit = outcome();
  tellTotals(exit);
  return exit;
}

PostTotals Posting::totals() const {
  PostTotals totals;
  for (std::size_t file = 0; file < files_.size(); ++file) {
    switch (states_[file].state) {
      case State::posted:
        ++totals.posted;
        totals.bytes += files_[file].size;
        break;
      case State::leftOut: ++totals.leftOut; break;
      case State::failed: ++totals.failed; break;
      case State::open: ++totals.open; break;
    }
  }
  return totals;
}

ExitCode Posting::outcome() const {
  if (cancelled_) return ExitCode::cancelled;
  const PostTotals sums = totals();
  if (whole_) return sums.open + sums.failed > 0 ? ExitCode::somePosted : whole_->exitCode();
  if (sums.failed == 0 && (sums.open == 0 || request_.dryRun)) return ExitCode::done;
  if (sums.posted + sums.leftOut > 0) return ExitCode::somePosted;
  for (const PostedFile& each : states_)
    if (each.failure) return each.failure->exitCode();
  return ExitCode::failed;
}

void Posting::tellTotals(ExitCode exit) {
  if (request_.dryRun) return;
  const PostTotals sums = totals();
  const double seconds = static_cast<double>(GetTickCount64() - startTicks_) / 1000;
  // A single file's own line is enough.
  context_.tell({files_.size() > 1 ? Level::info : Level::record,
                 "total",
                 {},
                 totalsWords(sums, seconds),
                 {{"posted", sums.posted},
                  {"leftOut", sums.leftOut},
                  {"failed", sums.failed},
                  {"notTried", sums.open},
                  {"bytes", sums.bytes},
                  {"seconds", seconds},
                  {"exitCode", static_cast<int>(exit)}}});
}

Json Posting::document(ExitCode exit) const {
  static constexpr const char* names[] = {"not tried", "posted", "left out", "failed"};
  Json list = Json::array();
  for (std::size_t file = 0; file < files_.size(); ++file) {
    const PostedFile& result = states_[file];
    Json item = {{"file", files_[file].given},
                 {"name", toUtf8(files_[file].name)},
                 {"size", files_[file].size},
                 {"posted", result.state == State::posted},
                 {"result", names[static_cast<int>(result.state)]}};
    if (result.state == State::posted) item["class"] = toUtf8(result.messageClass);
    if (result.failure) item["error"] = jsonError(*result.failure);
    list.push_back(item);
  }
  Json made = Json::array();
  for (const std::wstring& path : created_) made.push_back(toUtf8(path));
  const std::wstring& profile = target_.destination.profile;
  const PostTotals sums = totals();
  Json all = {{"folder", target_.path.empty() ? Json(nullptr) : Json(toUtf8(target_.path))},
              {"profile", profile.empty() ? Json(nullptr) : Json(toUtf8(profile))},
              {"created", made},
              {"files", list},
              {"posted", sums.posted},
              {"leftOut", sums.leftOut},
              {"failed", sums.failed},
              {"bytes", sums.bytes},
              {"cancelled", cancelled_},
              {"exitCode", static_cast<int>(exit)}};
  if (request_.dryRun) all["dryRun"] = true;
  if (whole_) all["error"] = jsonError(*whole_);
  return all;
}

}  // namespace fendrel::host
