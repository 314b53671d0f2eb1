// Standard output and standard error in UTF-8, and what is known about the terminal behind them.
#pragma once

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

// Ctrl+C and the closing of the terminal then end the work at the next safe place.
void watchForCancel();
bool cancelRequested();

}  // namespace fendrel::host
