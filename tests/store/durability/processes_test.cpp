// Real processes: killed at any moment, and several at once.
#include <windows.h>

#include <random>
#include <set>
#include <sstream>

#include "build_paths.h"
#include "connection.h"
#include "engine_fixture.h"
#include "maintenance.h"
#include "posting_child.h"
#include "reclaim.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

struct CloseHandleOwner {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, CloseHandleOwner>;

class Child {
 public:
  Child(const std::wstring& action, const std::wstring& store, const std::wstring& name, int number) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE reading = nullptr, writing = nullptr;
    EXPECT_TRUE(CreatePipe(&reading, &writing, &inherited, 0));
    output_.reset(reading);
    const Handle itsOutput(writing);
    SetHandleInformation(reading, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{sizeof startup};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = writing;
    startup.hStdError = writing;
    std::wstring command = L"\"" + buildFile(L"tests/posting_child.exe") + L"\" " + action + L" \"" + store + L"\" \"" +
                           name + L"\" " + std::to_wstring(number);
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(
        CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started));
    process_.reset(started.hProcess);
    CloseHandle(started.hThread);
  }

  // The next line of its output; empty when it has ended.
  std::string line() {
    std::string text;
    char next = 0;
    DWORD count = 0;
    while (ReadFile(output_.get(), &next, 1, &count, nullptr) && count == 1 && next != '\n') text += next;
    return text;
  }

  void kill() {
    TerminateProcess(process_.get(), 7);
    WaitForSingleObject(process_.get(), INFINITE);
  }

 private:
  Handle process_, output_;
};

class RealProcessesTest : public EngineTest {
 protected:
  std::size_t contentRows() {
    Query query(database->connection().statement("SELECT count(*) FROM content WHERE file IS NOT NULL"));
    return query.step() ? static_cast<std::size_t>(query->integer(0)) : 0;
  }
};

int roundsOfRun() {
  const char* given = std::getenv("FENDREL_TEST_ROUNDS");
  return given ? std::atoi(given) : 50;
}

// A moment of less than four milliseconds: shorter than any sleep.
void waitABit(std::mt19937_64& random) {
  LARGE_INTEGER frequency, start, time;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  const auto ticks = static_cast<LONGLONG>(random() % 4000) * frequency.QuadPart / 1'000'000;
  do {
    QueryPerformanceCounter(&time);
  } while (time.QuadPart - start.QuadPart < ticks);
}

TEST_F(RealProcessesTest, KilledOnesLeaveWholeMessagesAndAllThatWereAcknowledged) {
  const std::uint64_t seed = seedOfRun();
  std::mt19937_64 random(seed);
  std::vector<Expected> expected;
  const int rounds = roundsOfRun();
  int acknowledged = 0, leftovers = 0;
  for (int round = 0; round < rounds; ++round) {
    database.reset();
    const std::wstring wideName = L"round " + std::to_wstring(round);
    const std::u16string name(wideName.begin(), wideName.end());
    Child child(L"post", path(), wideName, 1000);
    const int wanted = static_cast<int>(random() % 7);
    int saved = 0;
    while (saved < wanted && child.line() == "saved") ++saved;
    ASSERT_EQ(saved, wanted) << "round " << round;
    waitABit(random);
    child.kill();
    while (child.line() == "saved") ++saved;  // reported meanwhile
    acknowledged += saved;
    for (int i = 0; i <= saved; ++i) {
      expected.push_back({childSample(name, i, mixedEvery), i < saved ? Fate::Present : Fate::Either});
    }

    makeFilesOld();
    reopen();
    EXPECT_TRUE(spoolFiles().empty()) << "round " << round << ", seed " << seed;
    ASSERT_EQ(differences(*database, expected), std::vector<std::string>{}) << "round " << round << ", seed " << seed;
    ASSERT_EQ(integrityOf(*database), "ok") << "round " << round << ", seed " << seed;
    leftovers += static_cast<int>(reclaimEverything(database->connection()).files);
    ASSERT_EQ(filesIn(contentFolder()).size(), contentRows()) << "round " << round << ", seed " << seed;
    // From now on it exists or does not.
    const auto subjects = subjectsIn(top);
    const bool isThere = std::ranges::find(subjects, expected.back().sample.subject) != subjects.end();
    expected.back().fate = isThere ? Fate::Present : Fate::Absent;
    if (round % 10 == 9) {  // so that reading everything does not take ever longer
      for (Expected& one : expected) {
        if (one.fate != Fate::Present) continue;
        ASSERT_EQ(removeSamples(*database, one.sample.subject), Status::Ok);
      }
      expected.clear();
    }
  }
  std::printf("%d rounds, seed %llu, %d messages acknowledged, %d files reclaimed\n", rounds,
              static_cast<unsigned long long>(seed), acknowledged, leftovers);
}

TEST_F(RealProcessesTest, FourPostAtOnceWhileAnotherStreamsAndNothingIsLostOrDoubled) {
  constexpr int count = 500, streamed = 48 * 1024 * 1024;
  std::vector<std::unique_ptr<Child>> children;
  for (const wchar_t* name : {L"a", L"b", L"c", L"d"}) {
    children.push_back(std::make_unique<Child>(L"small", path(), name, count));
  }
  Child stream(L"stream", path(), L"long", streamed);
  int longest = 0;
  for (auto& child : children) {
    for (int i = 0; i < count; ++i) ASSERT_EQ(child->line(), "saved");
    int milliseconds = 0;
    std::istringstream last(child->line());
    std::string word;
    ASSERT_TRUE(last >> word >> milliseconds) << word;
    longest = std::max(longest, milliseconds);
  }
  ASSERT_EQ(stream.line(), "saved");
  std::printf("%zu processes, %d messages each, beside a stream of %d MiB; the longest post took %d ms\n",
              children.size(), count, streamed / 1024 / 1024, longest);
  EXPECT_LT(longest, 5000);

  reopen();
  std::vector<Expected> expected = {{{u"long", {streamed}}, Fate::Present}};
  for (const char16_t* name : {u"a", u"b", u"c", u"d"}) {
    for (int i = 0; i < count; ++i) expected.push_back({childSample(name, i, smallEvery), Fate::Present});
  }
  EXPECT_EQ(differences(*database, expected), std::vector<std::string>{});
  EXPECT_EQ(integrityOf(*database), "ok");
  EXPECT_EQ(contentFiles().size(), contentRows());
}

class KilledCopy : public RealProcessesTest, public testing::WithParamInterface<const wchar_t*> {
 protected:
  static constexpr int messages = 10;

  static void expectWhole(const std::wstring& store) {
    const CheckResult result = checkStore(store, {});
    EXPECT_EQ(result.messages, static_cast<std::uint64_t>(messages));
    for (const Finding& finding : result.damage) ADD_FAILURE() << finding.message << ": " << finding.what;
  }
};

TEST_P(KilledCopy, IsAWholeStoreOrNoneAndTheOldOneStaysAsItIs) {
  for (int i = 0; i < messages; ++i) ASSERT_EQ(post(*database, childSample(u"kept", i, mixedEvery)), Status::Ok);
  database.reset();
  const std::uint64_t seed = seedOfRun();
  std::mt19937_64 random(seed);
  const int rounds = roundsOfRun() / 5;
  int finished = 0;
  for (int round = 0; round < rounds; ++round) {
    SCOPED_TRACE("round " + std::to_string(round) + ", seed " + std::to_string(seed));
    const std::wstring copy = temp.file(L"copy " + std::to_wstring(round) + L".db");
    Child child(GetParam(), path(), copy, 0);
    Sleep(static_cast<DWORD>(random() % 300));
    child.kill();
    expectWhole(path());
    if (GetFileAttributesW(copy.c_str()) == INVALID_FILE_ATTRIBUTES) continue;
    ++finished;
    expectWhole(copy);
  }
  Child last(GetParam(), path(), temp.file(L"last.db"), 0);
  ASSERT_EQ(last.line(), "copied");
  last.kill();
  expectWhole(temp.file(L"last.db"));
  std::printf("%d copies killed, seed %llu, %d of them had their name\n", rounds, static_cast<unsigned long long>(seed),
              finished);
}

INSTANTIATE_TEST_SUITE_P(By, KilledCopy, testing::Values(L"backup", L"salvage"), [](const auto& row) {
  return row.param == std::wstring_view(L"backup") ? "Backup" : "Salvage";
});

}  // namespace
}  // namespace fendrel::store
