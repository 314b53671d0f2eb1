// The power is cut, or the program killed, at every call of a backup that changes something: the store is as it was, and
// where the copy has its name it is whole.
#include <gtest/gtest.h>

#include "backup.h"
#include "check.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

const std::wstring copyPath = L"C:\\simulated\\reports\\copy.db";

std::string firstDamage(const DiskImage& image) {
  SimulatedDisk disk(image);
  try {
    const CheckResult result = checkOnDisk(copyPath, disk, {});
    if (!result.damage.empty()) return result.damage[0].what;
    return result.messages == oldSamples().size() ? "" : "messages are missing";
  } catch (const MaintenanceFailure& failure) {
    return failure.what();
  }
}

TEST(BackupCutTest, LeavesTheStoreAndNoHalfOfACopyUnderItsName) {
  int copies = 0, states = 0;
  bool isCut = true;
  for (int cut = 1; isCut; ++cut) {
    SimulatedDisk disk(storeWithSamples());
    disk.cutAt(cut);
    try {
      backupOnDisk(storePath, copyPath, disk, {});
    } catch (const MaintenanceFailure&) {  // the power is off
    }
    isCut = disk.isCut();
    // A killed program leaves everything that it wrote.
    for (const Unflushed unflushed : {Unflushed::Kept, Unflushed::Lost, Unflushed::Some, Unflushed::Some}) {
      const DiskImage image = disk.afterCut(unflushed, seedOfRun() + static_cast<unsigned>(++states));
      ASSERT_EQ(judge(image, oldSamples(), false), std::vector<std::string>{}) << "cut " << cut;
      if (!image.files.contains(copyPath)) continue;
      ++copies;
      ASSERT_EQ(firstDamage(image), "") << "cut " << cut << ", fate " << static_cast<int>(unflushed);
    }
  }
  std::printf("%d states of the disk, in %d of them a copy\n", states, copies);
  EXPECT_GT(copies, 0);
  EXPECT_LT(copies, states);
}

}  // namespace
}  // namespace fendrel::store
