// Standard output and standard error in UTF-8, and facts about their terminal.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fendrel::host {

// Writes one line to standard output and adds the line end. False if it cannot be written, for example because the
// reading program has ended.
bool printLine(std::string_view utf8);

// Writes one line to standard error, after clearing a progress line.
void printError(std::string_view utf8);

// Shows this text in the progress line on standard error; an empty text removes the line.
void showProgress(std::string_view utf8);

// Whether standard error is a terminal. Under Wine only the start script knows, and says so in FENDREL_TERMINAL.
bool errorIsTerminal();

// Columns of the terminal of standard output; 0 if that is not a terminal. Under Wine the start script says so in
// FENDREL_COLUMNS.
std::size_t outputWidth();

// Whether standard input is a terminal, so that the user can be asked.
bool inputIsTerminal();

// Whether writing a line to standard output has failed.
bool outputIsLost();

// From now on Ctrl+C, closing the terminal and the end of the session end the work at the next safe place, with a
// notice at once. A second Ctrl+C ends the process immediately, with exit code 8. The store stays consistent: an
// unsaved message does not exist in it.
void watchForCancel();
bool cancelRequested();

// During its lifetime, the notice for the first Ctrl+C: "stopping after this file".
class CancelWords {
 public:
  explicit CancelWords(const char* words);
  ~CancelWords();
  CancelWords(const CancelWords&) = delete;
  CancelWords& operator=(const CancelWords&) = delete;

 private:
  const char* before_;
};

// False if cancelling ended the wait.
bool waitUnlessCancelled(std::uint32_t milliseconds);

}  // namespace fendrel::host
