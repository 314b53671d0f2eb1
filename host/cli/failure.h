// A failure with its message for the user: what failed, why, the code, what to do.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "exit_codes.h"

namespace fendrel::host {

// True for the codes of a damaged store.
bool isDamage(HRESULT code) noexcept;

// The exit code of codes that always have the same one (damage, cancelled), else `otherwise`.
ExitCode exitCodeFor(HRESULT code, ExitCode otherwise) noexcept;

class Failure : public std::runtime_error {
 public:
  // text: complete sentences in UTF-8. code: the cause as an HRESULT, S_OK if there is none; exitCodeFor applies.
  Failure(ExitCode exitCode, const std::string& text, HRESULT code = S_OK)
      : std::runtime_error(text), exit_(exitCodeFor(code, exitCode)), result_(code) {}

  ExitCode exitCode() const noexcept { return exit_; }
  HRESULT code() const noexcept { return result_; }

  // True if trying again later may succeed: see passesByItself(code).
  bool retryable() const noexcept;
  // Marks a failure as retryable whose code does not say so.
  Failure& mayPass() noexcept {
    passing_ = true;
    return *this;
  }

 private:
  ExitCode exit_;
  HRESULT result_;
  bool passing_ = false;
};

// "SUBJECT: CAUSE (NAME, 0xCODE). WAY OUT", with cause, name and, if none is given, way out from the table of error
// words.
Failure failureOf(ExitCode exitCode, const std::string& subject, HRESULT code, const std::string& wayOut = {});

// "SUBJECT: WORDS (NAME, 0xCODE)."; without words like failureOf.
Failure toldFailure(ExitCode exitCode, const std::string& subject, HRESULT code, const std::string& words);

// The same for a system error (GetLastError).
Failure systemFailure(ExitCode exitCode, const std::string& subject, DWORD error, const std::string& wayOut = {});

// Throws failureOf() if the code is a failure.
void check(HRESULT code, ExitCode exitCode, const std::string& subject);

}  // namespace fendrel::host
