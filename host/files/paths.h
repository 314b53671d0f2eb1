// Converts file names and paths between the user's form and the system's.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fendrel::host {

// Whether the start script of a Unix shell started this program; it sets FENDREL_SHELL.
bool startedFromUnixShell();

// The full path of a file given in UTF-8, relative to the current directory, of any length. Started from a Unix
// shell, a path that begins with '/' is on drive Z:, where Wine keeps the Unix files. Throws Failure(wrongUsage) for a
// path that the system refuses.
std::wstring fullPath(std::string_view given);

// A full path for display: a Unix path if started from a Unix shell.
std::string displayPath(const std::wstring& full);

// The same path, in the form without a length limit if it is long.
std::wstring longPath(const std::wstring& full);

// Whether this full path is an existing file, not a directory.
bool fileExists(const std::wstring& full);

// The part after the last separator.
std::wstring fileNameOf(std::wstring_view path);

// DIRECTORY and NAME joined for display.
std::string joinedForDisplay(std::string_view directory, std::string_view name);

// A name that is safe to create in a directory: no separators or reserved characters, no device name, not empty.
std::wstring safeFileName(std::wstring_view name);

// "report.pdf" with number 2 is "report (2).pdf".
std::wstring numberedFileName(const std::wstring& name, unsigned number);

// The files that match a pattern with '*' or '?' in its last part, sorted; the word itself if it is not a pattern, or
// if a file has exactly this name. For shells that do not expand patterns.
std::vector<std::string> expandPattern(const std::string& given);

// A path that the system can open: for a Unix file whose name is invalid on Windows, the short name that Wine gives it.
std::wstring readablePath(const std::wstring& full);

// The folder of this program, without a final separator.
std::wstring programFolder();

}  // namespace fendrel::host
