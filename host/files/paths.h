// File names and paths as the user gives them and as the system takes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fendrel::host {

// Whether the start script of a Unix shell started this program, which says so in FENDREL_SHELL.
bool startedFromUnixShell();

// The full path of a file given in UTF-8, relative to the current directory, of any length. Started from a Unix
// shell, a path that begins with '/' is on drive Z:, where Wine keeps the Unix files. Throws Failure(wrongUsage) for a path
// that the system does not take.
std::wstring fullPath(std::string_view given);

// A full path as the user writes it: started from a Unix shell, a Unix path.
std::string displayPath(const std::wstring& full);

// The same path in the form that has no length limit, where the path is long enough to need it.
std::wstring longPath(const std::wstring& full);

// Whether there is a file of this full path; a directory is not one.
bool fileExists(const std::wstring& full);

// What follows the last separator.
std::wstring fileNameOf(std::wstring_view path);

// DIRECTORY and NAME joined as the user writes paths.
std::string joinedForDisplay(std::string_view directory, std::string_view name);

// A name that is safe to create in a directory: no separators or reserved characters, no device name, not empty.
std::wstring safeFileName(std::wstring_view name);

// "report.pdf" with number 2 is "report (2).pdf".
std::wstring numberedFileName(const std::wstring& name, unsigned number);

// Files that a pattern with '*' or '?' in its last part names, sorted; the word itself when it is not a pattern, or is
// the whole name of a file. For shells that leave patterns to the program.
std::vector<std::string> expandPattern(const std::string& given);

// A path that the system opens: a Unix file whose name holds a character that Windows does not take in a name is
// reached by the short name that Wine gives it.
std::wstring readablePath(const std::wstring& full);

// The folder of this program, without a separator at its end.
std::wstring programFolder();

}  // namespace fendrel::host
