// A failure with the words for the user: what failed, why, the code, the way out.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "exit_codes.h"

namespace fendrel::host {

// True for what a damaged store answers.
bool isDamage(HRESULT code) noexcept;

class Failure : public std::runtime_error {
 public:
  // text: whole sentences in UTF-8. code: the HRESULT behind the failure, S_OK when there is none. A code that means
  // damage decides about the exit code, wherever the damage is met.
  Failure(ExitCode exitCode, const std::string& text, HRESULT code = S_OK)
      : std::runtime_error(text), exit_(isDamage(code) ? ExitCode::damageFound : exitCode), result_(code) {}

  ExitCode exitCode() const noexcept { return exit_; }
  HRESULT code() const noexcept { return result_; }

  // True when the same may go well a little later, though nobody does anything about it: see passesByItself(code).
  bool retryable() const noexcept;
  // Says so of a failure whose code does not.
  Failure& mayPass() noexcept {
    passing_ = true;
    return *this;
  }

 private:
  ExitCode exit_;
  HRESULT result_;
  bool passing_ = false;
};

// "SUBJECT: CAUSE (NAME, 0xCODE). WAY OUT", the cause, the name and, when no way out is given, the way out
// taken from the table of error words.
Failure failureOf(ExitCode exitCode, const std::string& subject, HRESULT code, const std::string& wayOut = {});

// "SUBJECT: WORDS (NAME, 0xCODE)." Where there are no words, as failureOf.
Failure toldFailure(ExitCode exitCode, const std::string& subject, HRESULT code, const std::string& words);

// The same for an error of the system (GetLastError).
Failure systemFailure(ExitCode exitCode, const std::string& subject, DWORD error, const std::string& wayOut = {});

// Throws failureOf() when the code is a failure.
void check(HRESULT code, ExitCode exitCode, const std::string& subject);

}  // namespace fendrel::host
