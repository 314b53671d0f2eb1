// Posts files: passes them to the plug-in, checks that their messages exist, retries temporary failures.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "input_files.h"
#include "posted_check.h"
#include "progress.h"
#include "target.h"

namespace fendrel::host {

struct PostRequest {
  TargetChoice target;
  bool together = false;      // one export for all files, like a report engine
  bool skipExisting = false;  // skip a file whose message exists already
  bool dryRun = false;        // only report what would be done
  unsigned retries = 0;       // for temporary failures
  unsigned wait = 2;          // seconds before the first retry, doubled for each further one
};

struct PostedFile {
  enum class State { open, posted, leftOut, failed };
  State state = State::open;  // at the end, after cancelling, open: not tried
  std::wstring messageClass;
  std::optional<Failure> failure;
};

struct PostTotals {
  std::uint64_t posted = 0, leftOut = 0, failed = 0, open = 0, bytes = 0;  // bytes: of posted files
};

class Posting {
 public:
  Posting(CommandContext& running, const PostRequest& chosen, std::vector<InputFile> inputs);

  // Reports every event. Throws Failure if nothing could be posted for a reason that concerns no single file.
  ExitCode run();

  const std::vector<InputFile>& inputs() const { return files_; }
  const std::vector<PostedFile>& results() const { return states_; }
  PostTotals totals() const;
  // A failure of the whole run after some files were posted.
  const std::optional<Failure>& wholeFailure() const { return whole_; }
  Json document(ExitCode exit) const;

 private:
  void takeProblems();
  void leaveOutRepeated();
  void pass(bool isLast);
  void open();
  void leaveOutPresent(const std::vector<MessageRow>& rows);
  void tellPlan();
  void postEach(bool isLast);
  void postTogether();
  void look(const ExportAnswer* together);
  void fail(std::size_t file, Failure failure);
  bool isToBeTriedAgain() const;
  bool waitForNextPass(unsigned attempt, const std::string& why);
  Failure refusal(std::size_t file, const ExportAnswer& answer) const;
  Failure notThere(std::size_t file, const Found& found) const;
  ExitCode outcome() const;
  void tellTotals(ExitCode exit);

  CommandContext& context_;
  const PostRequest& request_;
  std::vector<InputFile> files_;
  std::vector<PostedFile> states_;
  Target target_;
  std::vector<std::wstring> created_;
  std::optional<PostedCheck> posted_;
  std::optional<Plugin> plugin_;
  std::optional<Progress> progress_;
  std::optional<Failure> whole_;
  const ULONGLONG startTicks_ = GetTickCount64();
  ULONGLONG lookTicks_ = 0;  // duration of the last look
  bool cancelled_ = false, triesLeft_ = false;
};

// A file's name for display.
std::string shownName(const InputFile& file);

// "198 posted, 2 left out, 1 failed, 51.0 MiB in 5.8 s"
std::string totalsWords(const PostTotals& totals, double seconds);

}  // namespace fendrel::host
