// Power cuts at every write, flush, rename and deletion. After each cut the store opens normally, holds all
// acknowledged messages with all bytes, and otherwise only whole messages.
#include <gtest/gtest.h>

#include <functional>

#include "compact.h"
#include "connection.h"
#include "engine_fixture.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

// The state of one run: samples whose save returned must be found, one whose save was cut may be found.
class Course {
 public:
  explicit Course(std::vector<Expected> expected) : expected_(std::move(expected)) {}

  void post(Database& database, const Sample& sample) {
    expected_.push_back({sample, Fate::Either});
    if (store::post(database, sample) == Status::Ok) expected_.back().fate = Fate::Present;
  }

  void remove(Database& database, const std::u16string& subject) {
    auto& expected = *std::ranges::find(expected_, subject, [](const Expected& one) { return one.sample.subject; });
    expected.fate = Fate::Either;
    if (removeSamples(database, subject) == Status::Ok) expected.fate = Fate::Absent;
  }

  const std::vector<Expected>& expected() const { return expected_; }

 private:
  std::vector<Expected> expected_;
};

struct Scenario {
  const char* name;
  DiskImage (*start)();
  std::vector<Expected> (*before)();
  void (*run)(Database&, Course&);
};

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) { return out << scenario.name; }

// A store whose last program died: a file that no row names, one that was being written, the mark.
DiskImage storeWithLeftovers() {
  DiskImage image = storeWithSamples();
  const std::wstring name = L"\\0123456789abcdef0123456789abcdef";
  image.files[contentPath + name + L".content"] = pattern(1000);
  image.files[contentPath + L"\\tmp" + name + L".tmp"] = pattern(1000);
  image.files[contentPath + L"\\tmp" + name + L".open"] = {};
  return image;
}

void postSmall(Database& database, Course& course) { course.post(database, {u"new small", {smallSize}}); }
void postBlob(Database& database, Course& course) { course.post(database, {u"new blob", {contentBlockSize}}); }
void postFile(Database& database, Course& course) { course.post(database, {u"new file", {fileSize}}); }
void postSeveral(Database& database, Course& course) {
  course.post(database, {u"several", {fileSize, smallSize, contentBlockSize + 1, blobSize}});
}
void postManyWithCheckpoints(Database& database, Course& course) {
  sqlite3_wal_autocheckpoint(database.connection().handle(), 12);  // so that the log restarts between them
  for (int i = 0; i < 4; ++i) course.post(database, {u"many " + std::u16string(1, char16_t(u'0' + i)), {smallSize}});
  course.post(database, {u"two files", {fileSize, fileSize}});
  course.post(database, {u"one more file", {fileSize}});
}
void removeAll(Database& database, Course& course) {
  for (const Expected& sample : oldSamples()) course.remove(database, sample.sample.subject);
  course.post(database, {u"after removing", {blobSize}});
}
void openOnly(Database&, Course&) {}

// With free pages before used ones, and a second round after the first.
DiskImage storeWithGaps() {
  static const DiskImage image = [] {
    SimulatedDisk disk(emptyDisk());
    {
      const auto database = openOn(disk);
      for (int i = 0; i < 6; ++i) EXPECT_EQ(post(*database, {u"goes", {blobSize}}), Status::Ok);
      for (const Expected& sample : oldSamples()) EXPECT_EQ(post(*database, sample.sample), Status::Ok);
      EXPECT_EQ(removeSamples(*database, u"goes"), Status::Ok);
    }
    return disk.now();
  }();
  return image;
}
void compactTwice(Database& database, Course& course) {
  try {
    for (int i = 0; i < 2; ++i) {
      compact(database.connection());
      course.post(database, {u"compacted " + std::u16string(1, char16_t(u'0' + i)), {blobSize}});
    }
  } catch (const EngineError&) {  // the power is off
  }
}

struct Tally {
  int cuts = 0, states = 0, losses = 0;
  std::string first;
};

enum class Lie { None, SqliteFlushes, OwnFlushes };

Tally cutEverywhere(const Scenario& scenario, std::uint64_t seed, Lie lie = Lie::None) {
  Tally tally;
  for (int cut = 1;; ++cut) {
    SimulatedDisk disk(scenario.start());
    disk.ignoreSqliteFlushes = lie == Lie::SqliteFlushes;
    disk.ignoreOwnFlushes = lie == Lie::OwnFlushes;
    disk.cutAt(cut);
    Course course(scenario.before());
    {
      std::unique_ptr<Database> database = openOn(disk);
      if (database) scenario.run(*database, course);
    }
    ++tally.cuts;
    const std::pair<Unflushed, std::uint64_t> fates[] = {{Unflushed::Lost, 0},
                                                         {Unflushed::Kept, seed},
                                                         {Unflushed::Some, seed + static_cast<std::uint64_t>(cut)},
                                                         {Unflushed::Some, seed * 31 + static_cast<unsigned>(cut)}};
    for (const auto& [unflushed, fateSeed] : fates) {
      ++tally.states;
      const auto wrong = judge(disk.afterCut(unflushed, fateSeed), course.expected(), unflushed == Unflushed::Some);
      if (wrong.empty()) continue;
      ++tally.losses;
      if (tally.first.empty()) {
        tally.first = "cut " + std::to_string(cut) + ", fate " + std::to_string(static_cast<int>(unflushed)) +
                      ", seed " + std::to_string(fateSeed) + ": " + wrong[0];
      }
    }
    if (!disk.isCut()) break;  // the run was completed and checked
  }
  return tally;
}

class PowerCutTest : public testing::TestWithParam<Scenario> {};

TEST_P(PowerCutTest, LosesNothingThatWasAcknowledged) {
  const std::uint64_t seed = seedOfRun();
  const Tally tally = cutEverywhere(GetParam(), seed);
  std::printf("%s: %d cuts, %d states of the disk, seed %llu\n", GetParam().name, tally.cuts, tally.states,
              static_cast<unsigned long long>(seed));
  EXPECT_EQ(tally.losses, 0) << tally.first;
  EXPECT_GT(tally.cuts, 5);
}

INSTANTIATE_TEST_SUITE_P(
    Of, PowerCutTest,
    testing::Values(Scenario{"Creating", emptyDisk, noSamples, openOnly},
                    Scenario{"FirstPosts", emptyDisk, noSamples, postSeveral},
                    Scenario{"PostingSmall", storeWithSamples, oldSamples, postSmall},
                    Scenario{"PostingABlob", storeWithSamples, oldSamples, postBlob},
                    Scenario{"PostingAFile", storeWithSamples, oldSamples, postFile},
                    Scenario{"PostingSeveralAttachments", storeWithSamples, oldSamples, postSeveral},
                    Scenario{"PostingWithCheckpoints", storeWithSamples, oldSamples, postManyWithCheckpoints},
                    Scenario{"Deleting", storeWithSamples, oldSamples, removeAll},
                    Scenario{"Migrating", oldStore, oldSamples, postSmall},
                    Scenario{"Compacting", storeWithGaps, oldSamples, compactTwice},
                    Scenario{"Reclaiming", storeWithLeftovers, oldSamples, postSmall}),
    [](const auto& test) { return std::string(test.param.name); });

// Otherwise the tests above would prove nothing.
TEST(PowerCutItself, LosesMessagesWhereSqlitesFlushesAreIgnored) {
  const Tally tally = cutEverywhere({"", storeWithSamples, oldSamples, postSmall}, 1, Lie::SqliteFlushes);
  EXPECT_GT(tally.losses, 0);
  std::printf("%d of %d states lost something, the first: %s\n", tally.losses, tally.states, tally.first.c_str());
}

TEST(PowerCutItself, LosesContentWhereOurFlushesAreIgnored) {
  const Tally tally = cutEverywhere({"", storeWithSamples, oldSamples, postFile}, 1, Lie::OwnFlushes);
  EXPECT_GT(tally.losses, 0);
  std::printf("%d of %d states lost something, the first: %s\n", tally.losses, tally.states, tally.first.c_str());
}

// The flushes of a durable post: one for its file, one for its name, one for the log.
TEST(FlushesTest, OfAPostAreOneForItsFileOneForItsNameAndOneForTheLog) {
  std::map<std::pair<SimulatedDisk::Call, bool>, int> calls;
  SimulatedDisk disk(storeWithSamples());
  const auto database = openOn(disk);
  sqlite3_wal_autocheckpoint(database->connection().handle(), 0);  // a checkpoint would flush, too
  disk.onCall = [&](SimulatedDisk::Call call, bool isSqlite) {
    ++calls[{call, isSqlite}];
    return std::nullopt;
  };
  for (int i = 0; i < 20; ++i) ASSERT_EQ(post(*database, {u"with a file", {fileSize, smallSize}}), Status::Ok);
  EXPECT_EQ((calls[{SimulatedDisk::Call::Flush, false}]), 20);
  EXPECT_EQ((calls[{SimulatedDisk::Call::FlushFolder, false}]), 20);
  EXPECT_EQ((calls[{SimulatedDisk::Call::Flush, true}]), 20);
  calls.clear();
  ASSERT_EQ(post(*database, {u"small", {4096}}), Status::Ok);
  EXPECT_EQ((calls[{SimulatedDisk::Call::Flush, false}]), 0);
  EXPECT_EQ((calls[{SimulatedDisk::Call::FlushFolder, false}]), 0);
  EXPECT_EQ((calls[{SimulatedDisk::Call::Flush, true}]), 1);
}

}  // namespace
}  // namespace fendrel::store
