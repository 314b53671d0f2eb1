// Standard output and standard error in UTF-8, and what is known about the terminal behind them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fendrel::host {

// Writes one line to standard output; the line's end is added. False when it cannot be written,
// for example because the program that read it has ended.
bool printLine(std::string_view utf8);

// Writes one line to standard error, clearing a progress line that stands there.
void printError(std::string_view utf8);

// Shows this text in the progress line on standard error; an empty text takes the line away.
void showProgress(std::string_view utf8);

// True when a person sees standard error come by. Under Wine the start script, which alone can know, says so in
// FENDREL_TERMINAL.
bool errorIsTerminal();

// Columns of the terminal that standard output goes to; 0 where it goes elsewhere, for example into a pipe. Under Wine
// the start script says so in FENDREL_COLUMNS.
std::size_t outputWidth();

// True when a person sits at standard input and can be asked.
bool inputIsTerminal();

// A line was to be written to standard output and could not be.
bool outputIsLost();

// Ctrl+C, the closing of the terminal and the end of the system's session then end the work at the next safe place,
// and the person is told so at once; a second Ctrl+C ends the process where it stands, with exit code 8. What the store
// holds stays whole then: a message that is not saved yet was never there.
void watchForCancel();
bool cancelRequested();

// While one lives, what the first Ctrl+C is answered with: "stopping after this file".
class CancelWords {
 public:
  explicit CancelWords(const char* words);
  ~CancelWords();
  CancelWords(const CancelWords&) = delete;
  CancelWords& operator=(const CancelWords&) = delete;

 private:
  const char* before_;
};

// False when the wait was ended by the wish to cancel.
bool waitUnlessCancelled(std::uint32_t milliseconds);

}  // namespace fendrel::host
