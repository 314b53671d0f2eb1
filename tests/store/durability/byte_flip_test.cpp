// One byte changes anywhere in the files of a store: reading a message gives the right data or an error; if a message
// is missing, `check` reports damage; nothing crashes.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <random>

#include "check.h"
#include "connection.h"
#include "engine_fixture.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

std::mt19937_64 randomOfRun() {
  std::printf("seed %llu\n", static_cast<unsigned long long>(seedOfRun()));
  return std::mt19937_64(seedOfRun());
}

std::uint32_t number(const Bytes& file, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = at; i < at + 4; ++i) value = value << 8 | std::to_integer<std::uint32_t>(file[i]);
  return value;
}

std::size_t pageSizeOf(const Bytes& file) { return number(file, 14) & 0xFFFF; }

// The numbers of the database's pages by kind; all others are overflow pages.
std::map<std::string, std::vector<std::uint32_t>> pagesByKind(const Bytes& file) {
  const auto startOf = [size = pageSizeOf(file)](std::uint32_t page) { return (page - 1) * size; };
  std::map<std::uint32_t, std::string> kinds;
  for (std::uint32_t trunk = number(file, 32); trunk != 0; trunk = number(file, startOf(trunk))) {
    kinds[trunk] = "list of free pages";
    const std::uint32_t count = number(file, startOf(trunk) + 4);
    for (std::uint32_t i = 0; i < count; ++i) kinds[number(file, startOf(trunk) + 8 + i * 4)] = "free";
  }
  std::map<std::string, std::vector<std::uint32_t>> pages;
  for (std::uint32_t page = 1; page <= number(file, 28); ++page) {
    std::string kind = "overflow";
    switch (std::to_integer<int>(file[startOf(page) + (page == 1 ? 100 : 0)])) {
      case 0x02: kind = "inside of an index"; break;
      case 0x05: kind = "inside of a table"; break;
      case 0x0A: kind = "leaf of an index"; break;
      case 0x0D: kind = "leaf of a table"; break;
      default: break;
    }
    if (page == 1) kind = "first page";
    if (kinds.contains(page)) kind = kinds[page];
    pages[kind].push_back(page);
  }
  return pages;
}

// Enough messages for every kind of page.
std::vector<Expected> manySamples() {
  auto expected = oldSamples();
  for (int i = 0; i < 190; ++i) {
    expected.push_back({{u"message " + std::u16string(1, char16_t(0x4E00 + i)), {smallSize}}, Fate::Present});
  }
  for (int i = 0; i < 6; ++i) {
    expected.push_back({{u"blob " + std::u16string(1, char16_t(0x4E00 + i)), {blobSize}}, Fate::Present});
    if (i < 3) expected.back().fate = Fate::Absent;
  }
  return expected;
}

DiskImage richStore(bool isOld) {
  SimulatedDisk disk(isOld ? storeOfVersion1() : storeWithSamples());
  {
    const auto database = openOn(disk);
    for (const Expected& one : manySamples()) {
      if (isOld || one.sample.subject.starts_with(u"message") || one.sample.subject.starts_with(u"blob")) {
        EXPECT_EQ(post(*database, one.sample), Status::Ok);
      }
    }
    for (const Expected& one : manySamples()) {
      if (one.fate == Fate::Absent) {
        EXPECT_EQ(removeSamples(*database, one.sample.subject), Status::Ok);
      }
    }
    // Otherwise pages would be read from the log instead of the file.
    sqlite3_wal_checkpoint_v2(database->connection().handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  }
  return disk.now();
}

struct Reading {
  Status opening = Status::Ok;
  int refused = 0;
  std::vector<std::string> wrong;    // data that differs from what was saved
  std::vector<std::string> missing;  // messages that are not found
};

Reading readEverything(DiskImage image, const std::vector<Expected>& expected) {
  SimulatedDisk disk(std::move(image));
  Reading reading;
  std::unique_ptr<Database> database;
  std::string error;
  reading.opening = openOnDisk(storePath, disk, false, database, error);
  if (reading.opening != Status::Ok) return reading;
  for (std::string& difference : differences(*database, expected, &reading.refused)) {
    const bool isWrong =
        difference.find("has other") != std::string::npos || difference.find("nobody posted") != std::string::npos;
    (isWrong ? reading.wrong : reading.missing).push_back(std::move(difference));
  }
  return reading;
}

bool isFoundDamaged(DiskImage image) {
  SimulatedDisk disk(std::move(image));
  try {
    return !checkOnDisk(storePath, disk, {}).damage.empty();
  } catch (const StatusFailure& failure) {
    return failure.status() == Status::Corrupt;
  }
}

void flip(Bytes& file, std::size_t at, std::mt19937_64& random) {
  file[at] ^= static_cast<std::byte>(1 + random() % 255);
}

class EveryKindOfPageTest : public testing::TestWithParam<bool> {};

TEST_P(EveryKindOfPageTest, IsRightOrRefusedAndWhatIsMissingIsFound) {
  auto random = randomOfRun();
  const bool isOld = GetParam();
  const DiskImage whole = richStore(isOld);
  const auto expected = manySamples();
  const Bytes& file = whole.files.at(storePath);
  const std::size_t pageSize = pageSizeOf(file);
  const auto kinds = pagesByKind(file);
  ASSERT_EQ(kinds.size(), 8u);
  ASSERT_EQ(readEverything(whole, expected).wrong, std::vector<std::string>{});
  for (const auto& [kind, pages] : kinds) {
    constexpr int flips = 12;
    int refused = 0, unopened = 0, missing = 0;
    for (int i = 0; i < flips; ++i) {
      const std::uint32_t page = pages[random() % pages.size()];
      // Half of them in the first bytes, which hold the structure.
      const std::size_t offset = random() % (i % 2 ? pageSize : 100);
      DiskImage image = whole;
      flip(image.files[storePath], (page - 1) * pageSize + offset, random);
      const Reading reading = readEverything(image, expected);
      const std::string place = kind + ", page " + std::to_string(page) + ", byte " + std::to_string(offset);
      EXPECT_EQ(reading.wrong, std::vector<std::string>{}) << place;
      refused += reading.refused > 0;
      missing += !reading.missing.empty();
      unopened += reading.opening != Status::Ok;
      if (reading.refused > 0 || !reading.missing.empty()) {
        EXPECT_TRUE(isFoundDamaged(std::move(image))) << place;
      }
    }
    std::printf("%s: %zu pages, %d flips; %d stores did not open, %d refused something, %d missed something\n",
                kind.c_str(), pages.size(), flips, unopened, refused, missing);
  }
}

INSTANTIATE_TEST_SUITE_P(ByteFlipTest, EveryKindOfPageTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "OfAStoreOfVersion1" : "OfAStore"; });

// A log left by a crash: recovery ends at the damage, so later messages may be missing, but only whole messages.
TEST(ByteFlipTest, LogOfACrashedStoreGivesWholeMessages) {
  auto random = randomOfRun();
  auto expected = oldSamples();
  SimulatedDisk disk(storeWithSamples());
  const auto database = openOn(disk);
  sqlite3_wal_autocheckpoint(database->connection().handle(), 0);  // so that all of it stays in the log
  for (const char16_t* subject : {u"first", u"the second", u"and the third one"}) {
    expected.push_back({{subject, {blobSize, smallSize}}, Fate::Either});
    ASSERT_EQ(post(*database, expected.back().sample), Status::Ok);
  }
  const DiskImage crashed = disk.now();
  const std::size_t size = crashed.files.at(storePath + L"-wal").size();
  int unopened = 0;
  constexpr int flips = 100;
  for (int i = 0; i < flips; ++i) {
    DiskImage image = crashed;
    const std::size_t at = i < 32 ? static_cast<std::size_t>(i) : random() % size;
    flip(image.files[storePath + L"-wal"], at, random);
    const Reading reading = readEverything(std::move(image), expected);
    EXPECT_EQ(reading.wrong, std::vector<std::string>{}) << "byte " << at;
    unopened += reading.opening != Status::Ok;
  }
  std::printf("%zu bytes, %d flips, %d stores did not open\n", size, flips, unopened);
}

// While programs use the log, SQLite does not verify its pages; the messages' checksums do.
TEST(ByteFlipTest, LogInUseIsRightOrRefused) {
  auto random = randomOfRun();
  auto expected = oldSamples();
  SimulatedDisk disk(storeWithSamples());
  const auto database = openOn(disk);
  sqlite3_wal_autocheckpoint(database->connection().handle(), 0);  // so that all of it stays in the log
  expected.push_back({{u"in the log", {blobSize, smallSize}}, Fate::Present});
  ASSERT_EQ(post(*database, expected.back().sample), Status::Ok);
  Bytes& log = disk.find(storePath + L"-wal")->bytes;
  int refusedCount = 0;
  constexpr int flips = 100;
  for (int i = 0; i < flips; ++i) {
    const std::size_t at = random() % log.size();
    const std::byte before = log[at];
    flip(log, at, random);
    database->connection().execute("PRAGMA shrink_memory");  // so that pages are read again
    int refused = 0;
    for (const std::string& difference : differences(*database, expected, &refused)) {
      EXPECT_EQ(difference.find("has other"), std::string::npos) << difference << ", byte " << at;
      EXPECT_EQ(difference.find("nobody posted"), std::string::npos) << difference << ", byte " << at;
    }
    refusedCount += refused > 0;
    log[at] = before;
    database->connection().execute("PRAGMA shrink_memory");
    ASSERT_EQ(differences(*database, expected), std::vector<std::string>{}) << "without the damage";
  }
  EXPECT_GT(refusedCount, 0);
  std::printf("%d flips, %d refused something\n", flips, refusedCount);
}

TEST(ByteFlipTest, ContentFileIsRightOrRefused) {
  auto random = randomOfRun();
  const DiskImage whole = storeWithSamples();
  std::wstring path;
  for (const auto& [name, bytes] : whole.files) {
    if (name.ends_with(L".content")) path = name;
  }
  constexpr int flips = 50;
  for (int i = 0; i < flips; ++i) {
    DiskImage image = whole;
    Bytes& file = image.files[path];
    const std::size_t at = i == 0 ? 0 : i == 1 ? file.size() - 1 : random() % file.size();
    flip(file, at, random);
    const Reading reading = readEverything(std::move(image), oldSamples());
    EXPECT_EQ(reading.wrong, std::vector<std::string>{}) << "byte " << at;
    EXPECT_EQ(reading.refused, 1) << "byte " << at;
  }
  std::printf("%d flips\n", flips);
}

using SharedIndexTest = EngineTest;

// The first program that opens the store rebuilds the log's index.
TEST_F(SharedIndexTest, WhatIsInItDoesNotMatter) {
  auto random = randomOfRun();
  ASSERT_EQ(post(*database, oldSamples()[1].sample), Status::Ok);
  for (int i = 0; i < 10; ++i) {
    database.reset();
    Bytes bytes(i == 0 ? 0 : 32768);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
    {
      std::ofstream file(std::filesystem::path(path() + L"-shm"), std::ios::binary);
      file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    reopen();
    ASSERT_EQ(differences(*database, {oldSamples()[1]}), std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace fendrel::store
