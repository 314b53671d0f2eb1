// Every call to the disk fails once, or all from some call on: the status says why, the store stays intact, and the
// action can be repeated.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "check.h"
#include "engine_fixture.h"
#include "failing_memory.h"
#include "reclaim.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

using Call = SimulatedDisk::Call;

const Sample posted{u"posted in spite of all", {smallSize, fileSize, contentBlockSize}};

Status createAFolder(Database& database) {
  StoreInfo store;
  if (const Status status = findPublicStore(database, store); status != Status::Ok) return status;
  FolderInfo folder;
  return createFolder(database, store.ipmSubtree, u"new folder", {}, IfExists::Open, folder);
}

struct Action {
  const char* name;
  Status (*run)(Database&);
  std::vector<Expected> (*after)();
};

std::vector<Expected> withPosted() {
  auto expected = oldSamples();
  expected.push_back({posted, Fate::Present});
  return expected;
}

std::vector<Expected> withoutFile() {
  auto expected = oldSamples();
  expected.back().fate = Fate::Absent;
  return expected;
}

const Action actions[] = {
    {"Posting", [](Database& database) { return post(database, posted); }, withPosted},
    {"Deleting", [](Database& database) { return removeSamples(database, u"with a file"); }, withoutFile},
    {"CreatingAFolder", createAFolder, oldSamples},
};

// A failure, and the calls in which the system reports it.
struct Fault {
  const char* name;
  Status status;
  bool lasts;  // until the action has failed
  std::vector<Call> calls;
};

const std::vector<Call> everyCall = {Call::Write,  Call::Resize, Call::Flush,  Call::FlushFolder,
                                     Call::Create, Call::Rename, Call::Remove, Call::CreateFolder,
                                     Call::Open,   Call::Read,   Call::Look};
const std::vector<Call> growing = {Call::Write, Call::Resize, Call::Create, Call::CreateFolder};
const std::vector<Call> forbidden = {Call::Write, Call::Create, Call::Rename, Call::CreateFolder};

const Fault faults[] = {
    {"ErrorOnce", Status::Failed, false, everyCall},       {"ErrorForAWhile", Status::Failed, true, everyCall},
    {"FullOnce", Status::NotEnoughDisk, false, growing},   {"FullForAWhile", Status::NotEnoughDisk, true, growing},
    {"ForbiddenOnce", Status::NoAccess, false, forbidden}, {"ForbiddenForAWhile", Status::NoAccess, true, forbidden},
    {"LockedOnce", Status::Busy, false, {Call::Lock}},
};

// Makes the fault's nth call fail, and records whether there was one.
class Injection {
 public:
  Injection(SimulatedDisk& disk, const Fault& fault, int nth) : disk_(disk) {
    disk.onCall = [this, &fault, nth](Call call, bool) -> std::optional<Status> {
      if (std::ranges::find(fault.calls, call) == fault.calls.end()) return std::nullopt;
      ++count_;
      reached_ = reached_ || count_ == nth;
      return count_ == nth || (fault.lasts && count_ > nth) ? std::optional(fault.status) : std::nullopt;
    };
  }
  ~Injection() { disk_.onCall = nullptr; }
  bool reached() const noexcept { return reached_; }

 private:
  SimulatedDisk& disk_;
  int count_ = 0;
  bool reached_ = false;
};

class FaultsTest : public testing::TestWithParam<std::tuple<Action, Fault>> {};

TEST_P(FaultsTest, AreAnsweredAndTheActionCanBeRepeated) {
  const auto& [action, fault] = GetParam();
  int nth = 1, failures = 0;
  for (bool reached = true; reached; ++nth) {
    SimulatedDisk disk(storeWithSamples());
    Status status = Status::Ok;
    {
      const auto database = openOn(disk);
      ASSERT_TRUE(database);
      {
        const Injection injection(disk, fault, nth);
        status = action.run(*database);
        reached = injection.reached();
      }
      const std::string place = "call " + std::to_string(nth) + ": " + database->lastError();
      // A failure during clean-up, or one that SQLite handles itself, does not undo the action.
      ASSERT_TRUE(status == Status::Ok || status == fault.status) << name(status) << ", " << place;
      if (status != Status::Ok) {
        ++failures;
        ASSERT_EQ(action.run(*database), Status::Ok) << place << " - then " << database->lastError();
      }
      ASSERT_EQ(integrityOf(*database), "ok") << place;
      ASSERT_EQ(differences(*database, action.after()), std::vector<std::string>{}) << place;
    }
    ASSERT_EQ(judge(disk.now(), action.after(), false), std::vector<std::string>{}) << "call " << nth;
    std::vector<Finding> damage = checkOnDisk(storePath, disk, {}).damage;
    ASSERT_TRUE(damage.empty()) << "call " << nth << ": " << damage[0].what;
  }
  std::printf("%d calls, of which %d made it fail\n", nth - 2, failures);
  EXPECT_GT(nth, 2);
  if (fault.status != Status::Busy) {
    EXPECT_GT(failures, 0);
  }
}

std::string caseName(const testing::TestParamInfo<std::tuple<Action, Fault>>& test) {
  return std::string(std::get<0>(test.param).name) + std::get<1>(test.param).name;
}
INSTANTIATE_TEST_SUITE_P(Each, FaultsTest, testing::Combine(testing::ValuesIn(actions), testing::ValuesIn(faults)),
                         caseName);

class OpeningFaultsTest : public testing::TestWithParam<Fault> {};

TEST_P(OpeningFaultsTest, AreAnsweredAndTheStoreOpensAfterwards) {
  const Fault& fault = GetParam();
  for (const auto& [start, expected] : {std::pair(&storeWithSamples, &oldSamples), std::pair(&emptyDisk, &noSamples),
                                        std::pair(&oldStore, &oldSamples)}) {
    int nth = 1;
    for (bool reached = true; reached; ++nth) {
      SimulatedDisk disk(start());
      {
        const Injection injection(disk, fault, nth);
        std::unique_ptr<Database> database;
        std::string error;
        const Status status = openOnDisk(storePath, disk, true, database, error);
        // SQLite does not say why it could not open a file.
        const bool couldNotOpen = status == Status::NoAccess && fault.status == Status::Failed;
        ASSERT_TRUE(status == Status::Ok || status == fault.status || couldNotOpen)
            << name(status) << ", call " << nth << ": " << error;
        reached = injection.reached();
      }
      ASSERT_EQ(judge(disk.now(), expected(), true), std::vector<std::string>{}) << "call " << nth;
    }
    std::printf("%d calls\n", nth - 2);
  }
}

INSTANTIATE_TEST_SUITE_P(Each, OpeningFaultsTest, testing::ValuesIn(faults),
                         [](const auto& test) { return std::string(test.param.name); });

// On the machine's disk: the simulated one allocates memory itself.
class NoMemoryTest : public EngineTest {
 protected:
  // Runs the action with its nth allocation failing, for each n (or each `step`th); returns how many there were.
  int failEachAllocation(int step, Status (*run)(Database&), const std::function<void(bool)>& afterEach) {
    for (int nth = 1;; nth += step) {
      bool succeeded = false;
      const auto outcome = withFailingAllocation(nth, [&] {
        try {
          succeeded = run(*database) == Status::Ok;
        } catch (const std::bad_alloc&) {
        }
      });
      afterEach(succeeded);
      if (!outcome.failed) {
        EXPECT_TRUE(succeeded) << database->lastError();
        return nth;
      }
    }
  }
};

TEST_F(NoMemoryTest, PostingLeavesNothingOrAllOfIt) {
  std::uint64_t count = 0;
  static const Sample sample{u"s", {smallSize, contentBlockSize * 2}};
  const int allocations = failEachAllocation(
      1, [](Database& into) { return post(into, sample); },
      [&](bool succeeded) {
        count += succeeded;
        ASSERT_EQ(folderNow(top).messageCount, count);
      });
  std::printf("%d allocations\n", allocations);
  EXPECT_EQ(post(*database, sample), Status::Ok);
  EXPECT_EQ(subjectsIn(top).size(), count + 1);
  // A commit that fails may have reached the disk: its file stays until it is known to have no row.
  makeFilesOld();
  reclaimEverything(database->connection());
  EXPECT_EQ(filesIn(contentFolder()).size(), count + 1);
  EXPECT_EQ(integrityOf(*database), "ok");
}

// The same writer and draft are used again after the failure.
TEST_F(NoMemoryTest, WhatFailedIsRepeatedAndTheContentIsRight) {
  const Bytes bytes = pattern(contentBlockSize * 3 + 5);
  const auto onceMore = [](auto&& call) {
    Status status = Status::Failed;
    for (int attempt = 0; attempt < 2 && status != Status::Ok; ++attempt) {
      try {
        status = call();
      } catch (const std::bad_alloc&) {
      }
    }
    EXPECT_EQ(status, Status::Ok);
  };
  int nth = 0;
  for (bool failed = true; failed;) {
    const auto writer = createContent(*database);
    MessageDraft draft = draftWith(top, u"s");
    draft.contents = {{attachDataTag, writer}};
    MessageInfo saved;
    failed = withFailingAllocation(++nth, [&] {
               onceMore([&] { return writer->write(0, bytes); });
               onceMore([&] { return saveMessage(*database, draft, saved); });
             }).failed;
    Bytes found;
    ASSERT_EQ(readAll(saved.id, std::nullopt, attachDataTag, found), Status::Ok)
        << nth << ": " << database->lastError();
    ASSERT_TRUE(found == bytes) << nth;
  }
  std::printf("%d allocations\n", nth);
}

TEST_F(NoMemoryTest, DeletingLeavesNothingOrAllOfIt) {
  ASSERT_EQ(post(*database, oldSamples()[2].sample), Status::Ok);
  const int allocations = failEachAllocation(
      1, [](Database& in) { return removeSamples(in, u"with a file"); },
      [&](bool succeeded) { ASSERT_EQ(folderNow(top).messageCount, succeeded ? 0u : 1u); });
  std::printf("%d allocations\n", allocations);
  EXPECT_EQ(integrityOf(*database), "ok");
}

TEST_F(NoMemoryTest, OpeningCanBeRepeated) {
  ASSERT_EQ(post(*database, oldSamples()[2].sample), Status::Ok);
  database.reset();
  int nth = 1;
  for (bool failed = true; failed; ++nth) {
    const auto outcome = withFailingAllocation(nth, [&] {
      try {
        std::unique_ptr<Database> opened;
        std::string error;
        EXPECT_EQ(Database::open(path(), opened, error), Status::Ok) << error;
      } catch (const std::bad_alloc&) {
      }
    });
    failed = outcome.failed;
  }
  std::printf("%d allocations\n", nth);
  reopen();
  EXPECT_EQ(differences(*database, {oldSamples()[2]}), std::vector<std::string>{});
}

}  // namespace
}  // namespace fendrel::store
