// large_store FOLDER: times opening and listing a folder of 100,000 messages, in one run.
//
//   open   logging on, opening store and folder; beside the same on an empty store, in turns
//   list   reading every row of the folder's contents table in batches of 50, with 1,000, 10,000 and 100,000 messages
// The messages are copies of a posted one. They are made without syncing, because this measures reading.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_store.h"
#include "direct_client.h"
#include "filled_folder.h"
#include "timing.h"

namespace fendrel::bench {
namespace {

constexpr int openings = 15;
constexpr int sizes[] = {1'000, 10'000, 100'000};

void use(const std::wstring& store) { SetEnvironmentVariableW(L"FENDREL_STORE", store.c_str()); }

void open(const Mapi& mapi) { openFolder(mapi).session->Logoff(0, 0, 0); }

int rowsOf(const Mapi& mapi, const OpenFolder& open) {
  struct {
    ULONG count = 4;
    ULONG tags[4] = {PR_ENTRYID, PR_SUBJECT_W, PR_MESSAGE_CLASS_W, PR_CLIENT_SUBMIT_TIME};
  } columns;
  ComPtr<IMAPITable> table;
  require(open.folder->GetContentsTable(0, &table), "GetContentsTable");
  require(table->SetColumns(reinterpret_cast<SPropTagArray*>(&columns), 0), "SetColumns");
  int rows = 0;
  for (ULONG batch = 1; batch != 0; rows += static_cast<int>(batch)) {
    SRowSet* set = nullptr;
    require(table->QueryRows(50, 0, &set), "QueryRows");
    batch = set->cRows;
    for (ULONG row = 0; row < batch; ++row) mapi.freeBuffer(set->aRow[row].lpProps);
    mapi.freeBuffer(set);
  }
  return rows;
}

double listing(const Mapi& mapi, int expected) {
  const OpenFolder open = openFolder(mapi);
  std::vector<double> times;
  for (int round = 0; round < 3; ++round) {
    times.push_back(millisecondsOf(
        [&] { require(rowsOf(mapi, open) == expected ? S_OK : MAPI_E_CORRUPT_DATA, "reading every row"); }));
  }
  open.session->Logoff(0, 0, 0);
  return median(times);
}

void openingTimes(const Mapi& mapi, const std::wstring& empty, const std::wstring& large) {
  std::vector<double> ofEmpty, ofLarge;
  for (int round = 0; round < openings; ++round) {
    use(empty);
    ofEmpty.push_back(millisecondsOf([&] { open(mapi); }));
    use(large);
    ofLarge.push_back(millisecondsOf([&] { open(mapi); }));
  }
  std::printf("%-34s %10.2f ms\n", "open, empty store", median(ofEmpty));
  std::printf("%-34s %10.2f ms  %6.2fx\n", "open, 100,000 messages", median(ofLarge),
              median(ofLarge) / median(ofEmpty));
}

int run(const std::wstring& folder) {
  std::wstring build(32768, L'\0');
  build.resize(GetModuleFileNameW(nullptr, build.data(), static_cast<DWORD>(build.size())));
  for (int level = 0; level < 2; ++level) build.resize(build.find_last_of(L'\\'));
  const std::wstring empty = folder + L"\\empty.db", large = folder + L"\\large.db", report = folder + L"\\report.csv";
  const HANDLE file = CreateFileW(report.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  DWORD written = 0;
  require(WriteFile(file, "a;b\r\n1;2\r\n", 10, &written, nullptr) ? S_OK : MAPI_E_NOT_ENOUGH_DISK, "writing a report");
  CloseHandle(file);

  openStore(build, empty);
  const Mapi mapi = openStore(build, large);
  postDirectly(mapi, {report}, {L"report.csv"});
  for (const int size : sizes) {
    test::fillWithCopies(large, {u"Bench"}, size);
    const double time = listing(mapi, size);
    std::printf("list, %7d messages             %10.2f ms  %6.2f us a row\n", size, time, time * 1000 / size);
  }
  openingTimes(mapi, empty, large);
  return 0;
}

}  // namespace
}  // namespace fendrel::bench

extern "C" int wmain(int argumentCount, wchar_t** arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "usage: large_store FOLDER\n");
    return 2;
  }
  return fendrel::bench::run(arguments[1]);
}
