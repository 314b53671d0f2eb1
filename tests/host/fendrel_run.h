// Runs the built fendrel.exe on the test's store and captures its output.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "temp_folder.h"

namespace fendrel::test {

// The folder that most tests post into.
inline constexpr const char* daily = "Public Folders@Reports@Daily";

struct Outcome {
  int exitCode = -1;
  std::string out, err;  // UTF-8 as written

  // Standard output as one JSON document; a test failure if it is not one.
  nlohmann::json json() const;
};

// The user's actions in a running program's windows; `threadId` is its first thread.
using Use = std::function<void(DWORD threadId)>;

// Starts a program with arguments in UTF-8 in a working directory and waits for its end, at most a minute. Its standard
// input is the file of that path, or empty; its standard output goes to `output`, or is caught.
Outcome runProgram(const std::wstring& program, const std::vector<std::string>& arguments,
                   const std::wstring& workingDirectory = {}, const Use& use = {}, const std::wstring& input = L"NUL",
                   HANDLE output = nullptr);

// Copies the built program with its libraries into a new folder, where files may be put beside it; answers its path.
std::wstring copyProgram(const std::filesystem::path& folder);

// A test with an empty store, which FENDREL_STORE names, and a folder for its files.
class FendrelTest : public testing::Test {
 protected:
  FendrelTest();
  ~FendrelTest() override;

  Outcome fendrel(std::initializer_list<std::string> arguments, const Use& use = {}) const;
  Outcome fendrel(const std::vector<std::string>& arguments, const Use& use = {}) const;
  // With that on its standard input.
  Outcome fendrelReading(const std::string& input, const std::vector<std::string>& arguments) const;
  // Adds the profile "jane" of Jane Doe. A new store with this profile is made once and copied for each later test.
  void addJane() const;
  // The full path in UTF-8 of a new file.
  std::string newFile(std::wstring_view name, std::string_view content) const;
  // The full path in UTF-8 of a file that holds a password.
  std::string secret(std::string_view password, std::wstring_view name = L"password") const;
  // The full path in UTF-8 of a file that may be there or not.
  std::string inFolder(std::wstring_view name) const;

  TempFolder folder;
};

// The message with that subject in the output of `fendrel list --json`; a test failure if there is none. The order of
// messages is that of their times, so it depends on the clock.
nlohmann::json withSubject(const nlohmann::json& messages, const std::string& subject);

std::string readFile(const std::wstring& path);
std::string utf8(std::wstring_view text);

}  // namespace fendrel::test
