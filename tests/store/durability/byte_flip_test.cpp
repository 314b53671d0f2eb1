// One byte changes anywhere in the files of a store: what is read is right or refused, never wrong, nothing crashes.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <random>

#include "connection.h"
#include "engine_fixture.h"
#include "page_checksums.h"
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

std::size_t startOf(std::uint32_t page) { return static_cast<std::size_t>(page - 1) * databasePageSize; }

// The numbers of the database's pages by what they are; everything that is nothing else is overflow.
std::map<std::string, std::vector<std::uint32_t>> pagesByKind(const Bytes& file) {
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

// Enough of everything that each kind of page is there.
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
  SimulatedDisk disk(isOld ? storeWithoutChecksums() : storeWithSamples());
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
  }
  return disk.now();
}

struct Reading {
  Status opening = Status::Ok;
  int refused = 0;
  std::vector<std::string> wrong;
  std::vector<std::uint32_t> damaged;
};

Reading readEverything(DiskImage image, const std::vector<Expected>& expected, bool withReport = false) {
  SimulatedDisk disk(std::move(image));
  Reading reading;
  std::unique_ptr<Database> database;
  std::string error;
  reading.opening = openOnDisk(storePath, disk, false, database, error);
  if (reading.opening != Status::Ok) return reading;
  reading.wrong = differences(*database, expected, &reading.refused);
  if (!withReport) return reading;
  try {
    reading.damaged = readEveryPage(database->connection()).damaged;
  } catch (const EngineError& failure) {
    if (failure.status != Status::Corrupt) reading.wrong.push_back(failure.text);
  }
  return reading;
}

void flip(Bytes& file, std::size_t at, std::mt19937_64& random) {
  file[at] ^= static_cast<std::byte>(1 + random() % 255);
}

TEST(ByteFlipTest, EveryKindOfPageIsRightOrRefused) {
  auto random = randomOfRun();
  const DiskImage whole = richStore(false);
  const auto expected = manySamples();
  const auto kinds = pagesByKind(whole.files.at(storePath));
  ASSERT_EQ(kinds.size(), 8u);
  ASSERT_EQ(readEverything(whole, expected).wrong, std::vector<std::string>{});
  for (const auto& [kind, pages] : kinds) {
    constexpr int flips = 12;
    int refused = 0, unopened = 0;
    for (int i = 0; i < flips; ++i) {
      const std::uint32_t page = pages[random() % pages.size()];
      // Half of them in the first bytes, which hold the structure.
      const std::size_t offset = random() % (i % 2 ? databasePageSize : 100);
      DiskImage image = whole;
      flip(image.files[storePath], startOf(page) + offset, random);
      const bool withReport = i < 2;  // it takes its time over damage
      const Reading reading = readEverything(std::move(image), expected, withReport);
      const std::string place = kind + ", page " + std::to_string(page) + ", byte " + std::to_string(offset);
      EXPECT_EQ(reading.wrong, std::vector<std::string>{}) << place;
      if (reading.opening == Status::Ok) {
        if (withReport) {
          EXPECT_EQ(reading.damaged, std::vector<std::uint32_t>{page}) << place;
        }
        refused += reading.refused > 0;
      } else {
        EXPECT_EQ(reading.opening, Status::Corrupt) << place;
        ++unopened;
      }
    }
    std::printf("%s: %zu pages, %d flips; %d stores did not open, %d refused something\n", kind.c_str(), pages.size(),
                flips, unopened, refused);
  }
}

// Its pages are not compared with anything; SQLite finds some of the damage, the contents' checksums all of theirs.
TEST(ByteFlipTest, OldStoreWithoutPageChecksumsDoesNotCrash) {
  auto random = randomOfRun();
  const DiskImage whole = richStore(true);
  ASSERT_EQ(readEverything(whole, manySamples()).wrong, std::vector<std::string>{});
  const std::size_t size = startOf(number(whole.files.at(storePath), 28) + 1);
  int unopened = 0, refused = 0;
  constexpr int flips = 60;
  for (int i = 0; i < flips; ++i) {
    DiskImage image = whole;
    const std::size_t page = random() % (size / databasePageSize);
    flip(image.files[storePath], page * databasePageSize + random() % (i % 2 ? databasePageSize : 100), random);
    const Reading reading = readEverything(std::move(image), manySamples());
    unopened += reading.opening != Status::Ok;
    refused += reading.refused > 0;
    for (const std::string& wrong : reading.wrong) {
      EXPECT_EQ(wrong.find("has other bytes"), std::string::npos) << wrong;
    }
  }
  std::printf("%d flips; %d stores did not open, %d refused something\n", flips, unopened, refused);
}

// A log that a crash left: recovery ends at the damage, so that later messages may be gone, but whole ones only.
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

// While programs use the log nothing is recovered from it.
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
    EXPECT_EQ(differences(*database, expected, &refused), std::vector<std::string>{}) << "byte " << at;
    refusedCount += refused > 0;
    log[at] = before;
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

// The index of the log is made anew by the first program that opens the store.
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
