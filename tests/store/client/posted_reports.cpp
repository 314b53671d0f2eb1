#include "posted_reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "build_paths.h"
#include "temp_folder.h"

namespace client {
namespace {

constexpr DWORD longestRun = 120'000;  // milliseconds

Bytes pattern(std::size_t size, unsigned seed) {
  Bytes bytes(size, '\0');
  for (char& byte : bytes) {
    seed = seed * 1664525 + 1013904223;
    byte = static_cast<char>(seed >> 24);
  }
  return bytes;
}

const std::vector<PostedReport> reports = {
    {L"Public Folders@Reports@Daily", L"empty.txt", pattern(0, 1)},
    {L"Public Folders@Reports@Daily", L"one.bin", pattern(1, 2)},
    {L"Public Folders@Reports@Daily", L"over 32 KiB.csv", pattern(32 * 1024 + 1, 3)},
    {L"Public Folders@Reports@Daily", L"block.bin", pattern(128 * 1024, 4)},
    {L"Public Folders@Reports@Daily", L"over a block.BIN", pattern(128 * 1024 + 1, 5)},
    {L"Public Folders@Reports@Daily", L"mega.pdf", pattern(1024 * 1024, 6)},
    {L"Public Folders@Reports@Daily", L"README", pattern(4096, 7)},
    {L"Public Folders@Reports", L"two.dots.txt", pattern(8192, 8)},
    {L"Public Folders@Büro@Größen@Übersicht@tief", L"売上報告 2024年.xlsx", pattern(4097, 9)},
    {L"Public Folders@Büro@Größen@Übersicht@tief", L"Übersicht für Größe.docx", pattern(70'000, 10)},
    {L"Mailbox - Jane Doe@Inbox", std::wstring(251, L'n') + L".txt", pattern(300, 11)},
    {L"Mailbox - Jane Doe@Archive@2024@05", L"may.rpt", pattern(32 * 1024, 12)},
    {L"Mailbox - Jane Doe@Archive@2024@05", L"MAY.RPT 2", pattern(12, 13)},
    {L"", L"mine.txt", pattern(500, 14)},
    {L"", L"私の報告.rpt", pattern(130'000, 15)}};

// An argument quoted for a command line; none here has quotes or ends with a backslash.
std::wstring quoted(const std::wstring& argument) { return L"\"" + argument + L"\""; }

void runFendrel(const TempFolder& folder, const std::vector<std::wstring>& arguments) {
  const std::wstring program = buildFile(L"bin/fendrel.exe");
  std::wstring command = quoted(program);
  for (const std::wstring& argument : arguments) command += L' ' + quoted(argument);
  const std::wstring said = folder.file(L"said.txt");
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const HANDLE output =
      CreateFileW(said.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = start.hStdError = output;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.path().c_str(),
                      &start, &process))
    throw std::runtime_error("fendrel.exe does not start");
  CloseHandle(output);
  if (WaitForSingleObject(process.hProcess, longestRun) != WAIT_OBJECT_0) TerminateProcess(process.hProcess, 98);
  DWORD code = 1;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  std::ifstream file{std::filesystem::path(said)};
  ASSERT_EQ(code, 0u) << std::string(std::istreambuf_iterator<char>(file), {});
}

class Posting : public testing::Environment {
 public:
  void SetUp() override {
    folder_.emplace();
    SetEnvironmentVariableW(L"FENDREL_STORE", folder_->file(L"store.db").c_str());
    SetEnvironmentVariableW(L"FENDREL_PASSWORD", nullptr);
    runFendrel(*folder_, {L"profile", L"add", profileName, L"--user", userName});
    std::vector<std::wstring> folders = foldersWithReports();
    folders.push_back(L"");
    for (const std::wstring& folder : folders) post(folder);
  }

  void TearDown() override {
    SetEnvironmentVariableW(L"FENDREL_STORE", nullptr);
    folder_.reset();
  }

 private:
  void post(const std::wstring& folder) {
    std::vector<std::wstring> arguments{L"post"};
    if (folder.empty())
      arguments.push_back(L"--personal");
    else
      arguments.insert(arguments.end(), {L"--to", folder, L"--create"});
    for (const PostedReport& report : reportsIn(folder)) {
      const std::filesystem::path path = folder_->path() / report.name;
      std::ofstream(std::filesystem::path(LR"(\\?\)" + path.wstring()), std::ios::binary) << report.content;
      arguments.push_back(report.name);
    }
    runFendrel(*folder_, arguments);
  }

  std::optional<TempFolder> folder_;
};

[[maybe_unused]] testing::Environment* const posting = testing::AddGlobalTestEnvironment(new Posting);

}  // namespace

const std::vector<PostedReport>& postedReports() { return reports; }

std::vector<PostedReport> reportsIn(std::wstring_view folder) {
  std::vector<PostedReport> found;
  for (const PostedReport& report : reports)
    if (report.folder == folder) found.push_back(report);
  return found;
}

std::vector<std::wstring> foldersWithReports() {
  std::vector<std::wstring> folders;
  for (const PostedReport& report : reports)
    if (!report.folder.empty() && std::ranges::find(folders, report.folder) == folders.end())
      folders.push_back(report.folder);
  return folders;
}

std::wstring extensionOf(const std::wstring& name) {
  const std::size_t dot = name.rfind(L'.');
  return dot == std::wstring::npos ? std::wstring() : name.substr(dot + 1);
}

std::wstring upperCase(std::wstring text) {
  CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

std::wstring classOf(const std::wstring& name) { return L"IPM.DOCUMENT.*" + upperCase(extensionOf(name)); }

std::wstring shortNameOf(const std::wstring& name) {
  const std::size_t dot = std::min(name.rfind(L'.'), name.size());
  return name.substr(0, std::min<std::size_t>(dot, 8)) + name.substr(dot);
}

}  // namespace client
