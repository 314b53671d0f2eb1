// Power cuts while a store is backed up or salvaged. Afterwards the store is unchanged, and the new one is complete or
// does not exist.
#include <gtest/gtest.h>

#include "backup.h"
#include "connection.h"
#include "salvage.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

const std::wstring copyPath = L"C:\\simulated\\reports\\copy.db";

struct Work {
  const char* name;
  void (*run)(SimulatedDisk& disk);
  int step;  // cut at every nth call
};

std::ostream& operator<<(std::ostream& out, const Work& work) { return out << work.name; }

// The problems of the copy, if it exists.
std::vector<std::string> judgeCopy(DiskImage image, bool mustBeThere) {
  if (!image.files.contains(copyPath)) {
    return mustBeThere ? std::vector<std::string>{"the new store is gone"} : std::vector<std::string>{};
  }
  SimulatedDisk disk(std::move(image));
  std::unique_ptr<Database> database;
  std::string error;
  if (openOnDisk(copyPath, disk, false, database, error) != Status::Ok)
    return {"the new store does not open: " + error};
  auto wrong = differences(*database, oldSamples());
  if (const auto verdict = integrityOf(*database); verdict != "ok") wrong.push_back("integrity_check: " + verdict);
  return wrong;
}

class CopiesCutTest : public testing::TestWithParam<Work> {};

TEST_P(CopiesCutTest, LeavesTheOldStoreAndAWholeNewOneOrNone) {
  const std::uint64_t seed = seedOfRun();
  int cuts = 0, whole = 0;
  for (int cut = 1 + static_cast<int>(seed % static_cast<unsigned>(GetParam().step));; cut += GetParam().step) {
    SimulatedDisk disk(storeWithSamples());
    disk.cutAt(cut);
    bool isDone = false;
    try {
      GetParam().run(disk);
      isDone = true;
    } catch (const StatusFailure& failure) {
      ASSERT_TRUE(disk.isCut()) << failure.what();
    }
    ++cuts;
    for (const Unflushed unflushed : {Unflushed::Lost, Unflushed::Kept, Unflushed::Some}) {
      const DiskImage image = disk.afterCut(unflushed, seed + static_cast<std::uint64_t>(cut));
      SCOPED_TRACE("cut " + std::to_string(cut) + ", fate " + std::to_string(static_cast<int>(unflushed)));
      ASSERT_EQ(image.files.at(storePath), storeWithSamples().files.at(storePath));
      ASSERT_EQ(image.files.at(storePath + L"-wal"), storeWithSamples().files.at(storePath + L"-wal"));
      ASSERT_EQ(judge(image, oldSamples(), false), std::vector<std::string>{});
      ASSERT_EQ(judgeCopy(image, isDone), std::vector<std::string>{});
      whole += image.files.contains(copyPath);
    }
    if (!disk.isCut()) break;
  }
  std::printf("%s: %d cuts, %d whole new stores, seed %llu\n", GetParam().name, cuts, whole,
              static_cast<unsigned long long>(seed));
  EXPECT_GT(cuts, 5);
  EXPECT_GE(whole, 3);
}

INSTANTIATE_TEST_SUITE_P(
    Of, CopiesCutTest,
    testing::Values(Work{"BackingUp", [](SimulatedDisk& disk) { backupOnDisk(storePath, copyPath, disk, {}); }, 1},
                    Work{"Salvaging", [](SimulatedDisk& disk) { salvageOnDisk(storePath, copyPath, disk, {}); }, 3}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace fendrel::store
