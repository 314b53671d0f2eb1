// The power is cut at every write, flush, rename and deletion. After each cut the store opens as always, holds whatever
// was acknowledged with all bytes, and nothing of anything else but whole messages.
#include <gtest/gtest.h>

#include <functional>

#include "connection.h"
#include "engine_fixture.h"
#include "migrations.h"
#include "page_checksums.h"
#include "samples.h"
#include "simulated_disk.h"

namespace fendrel::store {
namespace {

const std::wstring storePath = L"C:\\simulated\\reports\\store.db";
const std::wstring contentPath = storePath + L".files";

// What one run did so far: samples whose save returned must be found, one whose save was cut may be.
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

std::unique_ptr<Database> openOn(SimulatedDisk& disk, Status expected = Status::Ok) {
  std::unique_ptr<Database> opened;
  std::string error;
  const Status status = openOnDisk(storePath, disk, true, opened, error);
  if (!disk.isCut()) {
    EXPECT_EQ(status, expected) << error;
  }
  return opened;
}

std::vector<Expected> noSamples() { return {}; }
std::vector<Expected> oldSamples() {
  return {{{u"small", {smallSize}}, Fate::Present},
          {{u"with blob", {blobSize, smallSize}}, Fate::Present},
          {{u"with a file", {fileSize}}, Fate::Present}};
}

DiskImage emptyDisk() { return {{L"C:\\simulated"}, {}}; }

DiskImage storeWithSamples() {
  static const DiskImage image = [] {
    SimulatedDisk disk(emptyDisk());
    {
      const auto database = openOn(disk);
      for (const Expected& sample : oldSamples()) EXPECT_EQ(post(*database, sample.sample), Status::Ok);
    }
    return disk.now();
  }();
  return image;
}

// A store of version 1 with the same messages: the present form of its tables is that of version 1.
DiskImage oldStore() {
  SimulatedDisk disk(storeWithSamples());
  openOn(disk)->connection().execute("PRAGMA user_version = 1");
  return disk.now();
}

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
  sqlite3_wal_autocheckpoint(database.connection().handle(), 12);  // so that the log begins anew between them
  for (int i = 0; i < 4; ++i) course.post(database, {u"many " + std::u16string(1, char16_t(u'0' + i)), {smallSize}});
  course.post(database, {u"two files", {fileSize, fileSize}});
  course.post(database, {u"one more file", {fileSize}});
}
void removeAll(Database& database, Course& course) {
  for (const Expected& sample : oldSamples()) course.remove(database, sample.sample.subject);
  course.post(database, {u"after removing", {blobSize}});
}
void openOnly(Database&, Course&) {}

// Everything that is wrong with what a cut has left.
std::vector<std::string> judge(DiskImage image, const std::vector<Expected>& expected, bool repeat) {
  SimulatedDisk disk(std::move(image));
  std::unique_ptr<Database> database;
  std::string error;
  if (openOnDisk(storePath, disk, true, database, error) != Status::Ok) return {"it does not open: " + error};
  auto wrong = differences(*database, expected);
  Connection& connection = database->connection();
  try {
    Query check(connection.statement("PRAGMA integrity_check"));
    check.step();
    if (check->text(0) != "ok") wrong.push_back("integrity_check: " + std::string(check->text(0)));
    check->reset();
    if (!readEveryPage(connection).damaged.empty()) wrong.push_back("pages are damaged");
    Query files(connection.statement("SELECT count(*) FROM content WHERE file IS NOT NULL"));
    files.step();
    if (static_cast<std::size_t>(files->integer(0)) != disk.list(contentPath).size()) {
      wrong.push_back("files are left over");
    }
  } catch (const EngineError& failure) {
    wrong.push_back(failure.text);
  }
  for (const auto& entry : disk.list(contentPath + L"\\tmp")) {
    if (entry.name.ends_with(L".tmp")) wrong.push_back("a temporary file is left over");
  }
  if (repeat && post(*database, {u"after the cut", {fileSize}}) != Status::Ok) {
    wrong.push_back("posting fails: " + database->lastError());
  }
  return wrong;
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
                                                         {Unflushed::Some, seed * 31 + static_cast<std::uint64_t>(cut)}};
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
    if (!disk.isCut()) break;  // the whole course ran, and its end was judged
  }
  return tally;
}

std::uint64_t seedOfRun() {
  const char* given = std::getenv("FENDREL_TEST_SEED");
  return given ? std::strtoull(given, nullptr, 10) : 20260101;
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

}  // namespace
}  // namespace fendrel::store
