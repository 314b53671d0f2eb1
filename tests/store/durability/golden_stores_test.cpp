// A store of every schema version opens in this program and has the content of the listing beside it.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "build_paths.h"
#include "connection.h"
#include "golden_store.h"
#include "migrations.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

std::string contentsOf(const std::wstring& name) {
  std::ifstream file(std::filesystem::path(buildFile(L"tests/stores/" + name)), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

DiskImage goldenStore(int version) {
  const std::string text = contentsOf(L"version-" + std::to_wstring(version) + L".store");
  const auto bytes = std::as_bytes(std::span(text));
  return unpacked(Bytes(bytes.begin(), bytes.end()));
}

std::vector<int> everyVersion() {
  std::vector<int> versions;
  for (const Migration& migration : schemaMigrations()) versions.push_back(migration.version);
  return versions;
}

std::int64_t versionOf(Database& database) {
  Query query(database.connection().statement("PRAGMA user_version"));
  return query.step() ? query->integer(0) : -1;
}

class GoldenStoresTest : public testing::TestWithParam<int> {};

TEST_P(GoldenStoresTest, OpensWithAllItsContents) {
  const std::string expected = contentsOf(L"version-" + std::to_wstring(GetParam()) + L".txt");
  ASSERT_FALSE(expected.empty()) << "tests/data/stores has no store of this version";
  SimulatedDisk disk(goldenStore(GetParam()));
  for (int opening = 0; opening < 2; ++opening) {
    const auto database = openOn(disk);
    ASSERT_TRUE(database);
    EXPECT_EQ(listing(*database), expected);
    EXPECT_EQ(versionOf(*database), everyVersion().back());
    EXPECT_EQ(integrityOf(*database), "ok");
    EXPECT_EQ(post(*database, {u"posted today", {smallSize}}), Status::Ok);
    EXPECT_EQ(removeSamples(*database, u"posted today"), Status::Ok);
  }
}

INSTANTIATE_TEST_SUITE_P(Version, GoldenStoresTest, testing::ValuesIn(everyVersion()),
                         testing::PrintToStringParamName());

TEST(OtherDatabasesTest, StoreOfANewerProgramIsRefusedUntouchedAndSaysWhatToDo) {
  SimulatedDisk disk(storeWithSamples());
  openOn(disk)->connection().execute("PRAGMA user_version = 99");
  const DiskImage before = disk.now();
  std::unique_ptr<Database> opened;
  std::string error;
  EXPECT_EQ(openOnDisk(storePath, disk, true, opened, error), Status::NewerVersion);
  EXPECT_EQ(error,
            "The store was written by a newer version of this program: it has version 99, this program knows "
            "versions up to " +
                std::to_string(everyVersion().back()) + ". Install the newer version.");
  EXPECT_TRUE(disk.now().files.at(storePath) == before.files.at(storePath));
}

}  // namespace
}  // namespace fendrel::store
