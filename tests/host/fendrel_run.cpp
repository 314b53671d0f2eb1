#include "fendrel_run.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>

#include "build_paths.h"
#include "text.h"

namespace fendrel::test {
namespace {

constexpr DWORD longestRun = 60'000;  // milliseconds

struct HandleCloser {
  void operator()(void* handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

struct Pipe {
  Handle readEnd, writeEnd;

  Pipe() {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE read = nullptr, write = nullptr;
    if (!CreatePipe(&read, &write, &inherited, 0)) throw std::runtime_error("no pipe");
    readEnd.reset(read);
    writeEnd.reset(write);
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
  }
};

std::string readAll(HANDLE handle) {
  std::string text;
  char chunk[4096];
  DWORD read = 0;
  while (ReadFile(handle, chunk, sizeof chunk, &read, nullptr) && read > 0) text.append(chunk, read);
  return text;
}

// An argument quoted for a command line.
std::wstring quoted(const std::wstring& argument) {
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    text.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    text += c;
  }
  text.append(backslashes * 2, L'\\');
  return text + L'"';
}

// The store, its log and its index, as far as they are there.
std::vector<std::filesystem::path> storeFiles(const TempFolder& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& file : std::filesystem::directory_iterator(folder.path()))
    if (file.path().stem() == L"store") files.push_back(file.path());
  return files;
}

void copyStore(const TempFolder& from, const TempFolder& to) {
  for (const auto& file : storeFiles(from)) std::filesystem::copy_file(file, to.path() / file.filename());
}

}  // namespace

nlohmann::json Outcome::json() const {
  nlohmann::json document = nlohmann::json::parse(out, nullptr, false);
  EXPECT_FALSE(document.is_discarded()) << "no JSON: " << out << err;
  return document;
}

Outcome runProgram(const std::wstring& program, const std::vector<std::string>& arguments,
                   const std::wstring& workingDirectory, const Use& use, const std::wstring& input, HANDLE output) {
  std::wstring command = quoted(program);
  for (const std::string& argument : arguments) command += L' ' + quoted(host::toWide(argument));
  Pipe out, err;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const Handle in(CreateFileW(input.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                              OPEN_EXISTING, 0, nullptr));
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = in.get();
  start.hStdOutput = output ? output : out.writeEnd.get();
  if (output) SetHandleInformation(output, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  start.hStdError = err.writeEnd.get();
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                      workingDirectory.empty() ? nullptr : workingDirectory.c_str(), &start, &started))
    throw std::runtime_error("cannot start " + utf8(program));
  const Handle process(started.hProcess), thread(started.hThread);
  out.writeEnd.reset();
  err.writeEnd.reset();
  Outcome run;
  std::jthread errorReader([&] { run.err = readAll(err.readEnd.get()); });
  std::jthread watch([&](std::stop_token) {
    if (WaitForSingleObject(process.get(), longestRun) == WAIT_TIMEOUT) TerminateProcess(process.get(), 98);
  });
  if (use) use(started.dwThreadId);
  run.out = readAll(out.readEnd.get());
  errorReader.join();
  watch.join();
  DWORD code = 0;
  GetExitCodeProcess(process.get(), &code);
  run.exitCode = static_cast<int>(code);
  return run;
}

FendrelTest::FendrelTest() {
  SetEnvironmentVariableW(L"FENDREL_STORE", (folder.path() / L"store.db").c_str());
  SetEnvironmentVariableW(L"FENDREL_PASSWORD", nullptr);
  SetEnvironmentVariableW(L"FENDREL_SHELL", nullptr);
  SetEnvironmentVariableW(L"FENDREL_TERMINAL", nullptr);
}

FendrelTest::~FendrelTest() {
  SetEnvironmentVariableW(L"FENDREL_STORE", nullptr);
  // In the form without a length limit.
  std::error_code ignored;
  std::filesystem::remove_all(LR"(\\?\)" + folder.path().wstring(), ignored);
}

std::wstring copyProgram(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder / "store");
  for (const wchar_t* file : {L"fendrel.exe", L"FENDREL.DLL", L"store/MAPI32.DLL"})
    std::filesystem::copy_file(buildFile(std::wstring(L"bin/") + file), folder / file);
  return (folder / "fendrel.exe").wstring();
}

Outcome FendrelTest::fendrel(std::initializer_list<std::string> arguments, const Use& use) const {
  return runProgram(buildFile(L"bin/fendrel.exe"), arguments, folder.path(), use);
}

Outcome FendrelTest::fendrel(const std::vector<std::string>& arguments, const Use& use) const {
  return runProgram(buildFile(L"bin/fendrel.exe"), arguments, folder.path(), use);
}

Outcome FendrelTest::fendrelReading(const std::string& input, const std::vector<std::string>& arguments) const {
  newFile(L"standard-input", input);
  return runProgram(buildFile(L"bin/fendrel.exe"), arguments, folder.path(), {}, folder.path() / L"standard-input");
}

std::string FendrelTest::secret(std::string_view password, std::wstring_view name) const {
  return newFile(name, password);
}

void FendrelTest::addJane() const {
  static const TempFolder kept;
  const bool isFirst = storeFiles(kept).empty();
  if (!isFirst && storeFiles(folder).empty()) return copyStore(kept, folder);
  const Outcome run = fendrel({"profile", "add", "jane", "--user", "Jane Doe"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  if (isFirst) copyStore(folder, kept);
}

std::string FendrelTest::newFile(std::wstring_view name, std::string_view content) const {
  const std::filesystem::path path = folder.path() / name;
  std::ofstream stream(path, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) throw std::runtime_error("cannot write " + utf8(path.wstring()));
  return utf8(path.wstring());
}

std::string FendrelTest::inFolder(std::wstring_view name) const { return utf8((folder.path() / name).wstring()); }

nlohmann::json withSubject(const nlohmann::json& messages, const std::string& subject) {
  for (const nlohmann::json& message : messages)
    if (message["subject"] == subject) return message;
  ADD_FAILURE() << "no message '" << subject << "' in " << messages.dump();
  return nlohmann::json::object();
}

std::string readFile(const std::wstring& path) {
  std::ifstream stream(std::filesystem::path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string utf8(std::wstring_view text) { return host::toUtf8(text); }

}  // namespace fendrel::test
