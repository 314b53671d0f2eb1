// A process that posts into a store and reports on its output when each save has returned.
//   posting_child post STORE NAME COUNT     mixed messages NAME 0, NAME 1, ...; at the end the
//                                         longest time of one
//   posting_child small STORE NAME COUNT    the same, nearly all of them small
//   posting_child stream STORE NAME BYTES   one message with a long attachment, written in small pieces
//   posting_child backup STORE COPY 0       copies the store
//   posting_child salvage STORE COPY 0      makes a new store from its undamaged data
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "maintenance.h"
#include "posting_child.h"

namespace fendrel::store {
namespace {

// At once, whatever becomes of this process.
void say(const std::string& line) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

int postSamples(Database& database, const std::u16string& name, int count, int every) {
  ULONGLONG longest = 0;
  for (int i = 0; i < count; ++i) {
    const ULONGLONG start = GetTickCount64();
    if (post(database, childSample(name, i, every)) != Status::Ok) {
      say("failed: " + database.lastError() + "\n");
      return 1;
    }
    longest = std::max(longest, GetTickCount64() - start);
    say("saved\n");
  }
  say("longest " + std::to_string(longest) + "\n");
  return 0;
}

}  // namespace
}  // namespace fendrel::store

int wmain(int count, wchar_t** arguments) {
  using namespace fendrel::store;
  if (count != 5) return 2;
  const std::wstring action = arguments[1];
  if (action == L"backup" || action == L"salvage") {
    try {
      action == L"backup" ? void(backupStore(arguments[2], arguments[3], {}))
                          : void(salvageStore(arguments[2], arguments[3], {}));
    } catch (const StatusFailure& failure) {
      say(std::string("failed: ") + failure.what() + "\n");
      return 1;
    }
    say("copied\n");
    return 0;
  }
  std::unique_ptr<Database> database;
  std::string error;
  if (Database::open(arguments[2], database, error) != Status::Ok) {
    say("failed: " + error + "\n");
    return 1;
  }
  const std::wstring wideName = arguments[3];
  const std::u16string name(wideName.begin(), wideName.end());
  const int number = std::stoi(arguments[4]);
  if (action == L"post") return postSamples(*database, name, number, mixedEvery);
  if (action == L"small") return postSamples(*database, name, number, smallEvery);
  if (post(*database, {name, {static_cast<std::size_t>(number)}}, 4096) != Status::Ok) {
    say("failed: " + database->lastError() + "\n");
    return 1;
  }
  say("saved\n");
  return 0;
}
