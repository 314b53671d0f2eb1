// post_bench plugin|direct|table FOLDER COUNT SIZE: posts COUNT files of SIZE bytes, written to FOLDER first, into a
// store in FOLDER, and prints the seconds of posting and the process's peak memory in MiB. "plugin" uses FENDREL.DLL,
// with one export of one job; "direct" makes the same MAPI calls itself; "table" inserts into a plain table of SQLite.
//
// post_bench share FOLDER COUNT SIZE ROUNDS: posts the files both ways in turn, ROUNDS times each, and prints the
// median of the rounds' ratios, plug-in to direct. One process, one store, and close in time, so that the disk and the
// machine are the same for both.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "direct_client.h"
#include "fendrel/fendrel.h"
#include "plain_table.h"
#include "timing.h"

// after windows.h
#include <psapi.h>

namespace fendrel::bench {
namespace {

std::wstring buildFolder() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  for (int level = 0; level < 2; ++level) path.resize(path.find_last_of(L'\\'));
  return path;
}

// Incompressible bytes, the same in every run.
void writeInput(const std::wstring& path, std::size_t size) {
  std::mt19937_64 random(size);
  std::vector<std::uint64_t> block(8192);
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  require(file == INVALID_HANDLE_VALUE ? MAPI_E_NO_ACCESS : S_OK, "writing an input file");
  for (std::size_t left = size; left != 0;) {
    for (auto& word : block) word = random();
    const auto count = static_cast<DWORD>(std::min(left, block.size() * sizeof block[0]));
    DWORD written = 0;
    require(WriteFile(file, block.data(), count, &written, nullptr) ? S_OK : MAPI_E_NOT_ENOUGH_DISK, "WriteFile");
    left -= count;
  }
  // Posting is timed, not writing the files to post.
  FlushFileBuffers(file);
  CloseHandle(file);
}

// Writes as much as posting will write, in small and in large pieces, for which systems use different memory; then
// deletes it. Memory that a virtual machine's host must provide first is then available for every way. The pieces of
// the way itself, here the store's large ones, come last: memory used last is reused first.
void touchMemory(const std::wstring& folder, std::uint64_t size) {
  const std::vector<char> bytes(128 * 1024);
  std::vector<HANDLE> files;
  for (const DWORD piece : {DWORD{4096}, DWORD{128 * 1024}}) {
    const HANDLE file = CreateFileW((folder + L"\\scratch" + std::to_wstring(piece)).c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    require(file == INVALID_HANDLE_VALUE ? MAPI_E_NO_ACCESS : S_OK, "writing a scratch file");
    for (std::uint64_t done = 0; done < size + (64 << 20); done += piece) {
      DWORD written = 0;
      require(WriteFile(file, bytes.data(), piece, &written, nullptr) ? S_OK : MAPI_E_NOT_ENOUGH_DISK, "WriteFile");
    }
    files.push_back(file);
  }
  for (const HANDLE file : files) CloseHandle(file);
}

double mostMemory() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return static_cast<double>(counters.PeakWorkingSetSize) / (1024 * 1024);
}

// FENDREL.DLL's entry points for one export.
class Plugin {
 public:
  explicit Plugin(const std::wstring& path) : module_(LoadLibraryW(path.c_str())) {
    require(module_ ? S_OK : MAPI_E_NOT_FOUND, "loading FENDREL.DLL");
    require(entry<decltype(&NRVInitializeW)>("NRVInitializeW")() == FENDREL_SUCCESS ? S_OK : MAPI_E_CALL_FAILED,
            "NRVInitializeW");
  }

  void post(const std::vector<std::wstring>& files, const std::vector<std::wstring>& names) const {
    std::vector<FendrelFileDescription> descriptions(files.size());
    std::vector<const FendrelFileDescription*> described;
    std::vector<const wchar_t*> paths;
    for (std::size_t file = 0; file < files.size(); ++file) {
      descriptions[file].size = sizeof descriptions[file];
      descriptions[file].nameGiven = 1;
      descriptions[file].givenName = names[file].c_str();
      described.push_back(&descriptions[file]);
      paths.push_back(files[file].c_str());
    }
    const auto count = static_cast<std::uint16_t>(files.size());
    FendrelFileList list{};
    list.size = sizeof list;
    list.fileCount = count;
    list.files = described.data();
    std::wstring profile = profileName, path = std::wstring(storeName) + L"@" + folderName, password;
    DestinationOptions options{};
    options.version = FENDREL_OPTIONS_VERSION;
    options.profileName = profile.data();
    options.profilePassword = password.data();
    options.folderPath = path.data();
    options.destinationType = FENDREL_REPORT_INSTANCE;

    FendrelJob job = 0;
    FendrelResult* result = nullptr;
    check(entry<decltype(&NRVInitExportDestinationW)>("NRVInitExportDestinationW")(nullptr, 0, &options, &list, &job,
                                                                                   &result),
          "set-up", job);
    FendrelExportDescription description{};
    description.size = sizeof description;
    description.fileCount = count;
    description.filePaths = paths.data();
    check(entry<decltype(&NRVExportToDestinationW)>("NRVExportToDestinationW")(job, &description), "export", job);
    entry<decltype(&NRVTermExportDestinationW)>("NRVTermExportDestinationW")(job);
  }

 private:
  template <class Function>
  Function entry(const char* name) const {
    return reinterpret_cast<Function>(GetProcAddress(module_, name));
  }

  void check(std::uint32_t code, const char* what, FendrelJob job) const {
    if (code == FENDREL_SUCCESS) return;
    const wchar_t* const words = entry<decltype(&NRVGetErrorTextW)>("NRVGetErrorTextW")(job);
    std::fprintf(stderr, "post_bench: %s failed with code %u: %ls\n", what, code, words ? words : L"");
    std::exit(1);
  }

  HMODULE module_;
};

struct Input {
  std::vector<std::wstring> files, names;
};

Input writeInputs(const std::wstring& folder, std::size_t count, std::size_t size) {
  Input input;
  for (std::size_t file = 0; file < count; ++file) {
    input.names.push_back(L"report" + std::to_wstring(file) + L".bin");
    input.files.push_back(folder + L"\\" + input.names.back());
    writeInput(input.files.back(), size);
  }
  return input;
}

int runOneWay(const std::wstring& way, const std::wstring& folder, std::size_t count, std::size_t size) {
  const Input input = writeInputs(folder, count, size);
  const Mapi mapi = openStore(buildFolder(), folder + L"\\bench.db");
  const Plugin plugin(buildFolder() + L"\\bin\\FENDREL.DLL");
  touchMemory(folder, count * size);
  const double milliseconds = way == L"plugin"   ? millisecondsOf([&] { plugin.post(input.files, input.names); })
                              : way == L"direct" ? millisecondsOf([&] { postDirectly(mapi, input.files, input.names); })
                                                 : insertIntoPlainTable(folder + L"\\plain.db", input.files);
  std::printf("%.6f %.1f\n", milliseconds / 1000, mostMemory());
  return 0;
}

int runInTurn(const std::wstring& folder, std::size_t count, std::size_t size, std::size_t rounds) {
  const Input input = writeInputs(folder, count, size);
  const Mapi mapi = openStore(buildFolder(), folder + L"\\bench.db");
  const Plugin plugin(buildFolder() + L"\\bin\\FENDREL.DLL");
  touchMemory(folder, count * size);
  const auto throughPlugin = [&] { plugin.post(input.files, input.names); };
  const auto directly = [&] { postDirectly(mapi, input.files, input.names); };
  throughPlugin();  // the first way would pay for all first uses
  directly();
  std::vector<double> ratios;
  for (std::size_t round = 0; round < rounds; ++round) {
    double one = 0, other = 0;
    if (round % 2 == 0) one = millisecondsOf(throughPlugin);
    other = millisecondsOf(directly);
    if (round % 2 != 0) one = millisecondsOf(throughPlugin);
    ratios.push_back(one / other);
  }
  std::printf("%.4f\n", median(ratios));
  return 0;
}

}  // namespace
}  // namespace fendrel::bench

extern "C" int wmain(int argumentCount, wchar_t** arguments) {
  const std::wstring way = argumentCount > 1 ? arguments[1] : L"";
  const bool isInTurn = way == L"share";
  if (argumentCount != (isInTurn ? 6 : 5)) {
    std::fprintf(stderr,
                 "usage: post_bench plugin|direct|table FOLDER COUNT SIZE\n"
                 "       post_bench share FOLDER COUNT SIZE ROUNDS\n");
    return 2;
  }
  const std::size_t count = std::wcstoull(arguments[3], nullptr, 10), size = std::wcstoull(arguments[4], nullptr, 10);
  if (isInTurn) return fendrel::bench::runInTurn(arguments[2], count, size, std::wcstoull(arguments[5], nullptr, 10));
  return fendrel::bench::runOneWay(way, arguments[2], count, size);
}
