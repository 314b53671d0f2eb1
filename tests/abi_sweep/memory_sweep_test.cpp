// An interactive set-up in which every allocation of the plug-in fails in turn: no crash, nothing left, a code that the
// header names.
#include "dialog_driver.h"
#include "failing_memory.h"
#include "scenarios.h"

namespace fendrel::test {
namespace {

class InteractiveMemory : public ::testing::Test {
 protected:
  // Asks for profile and folder; returns the code.
  uint32_t setUp() {
    const DialogDriver driver;
    return host.wide().initExportDestination(nullptr, 0, nullptr, files.record(), &job, &result);
  }
  void end() {
    if (job == 0) return;
    EXPECT_EQ(host.wide().termExportDestination(job), FENDREL_SUCCESS);
    job = 0;
  }

  RecordingMapi mapi;
  ScenarioHost host{mapi};
  FileList files{L"one.txt"};
  FendrelJob job = 0;
  FendrelResult* result = nullptr;
};

TEST_F(InteractiveMemory, IsACodeWhereverItRunsOut) {
  constexpr int noLimit = 2000;
  // One-time allocations come before the first failure.
  ASSERT_EQ(setUp(), FENDREL_SUCCESS);
  end();
  int outOfMemory = 0, nth = 1;
  for (; nth < noLimit; ++nth) {
    SCOPED_TRACE(nth);
    uint32_t code = 0;
    const auto outcome = withFailingAllocation(
        nth, [&] { code = setUp(); }, host.wide().module());
    ScenarioHost::expectDocumented(code, "NRVInitExportDestinationW");
    EXPECT_EQ(job != 0, code == FENDREL_SUCCESS);
    outOfMemory += code == FENDREL_OUT_OF_MEMORY;
    end();
    const RecordingCounts counts = mapi.counts();
    EXPECT_EQ(counts.interfaces + counts.buffers + counts.sessions, 0u) << mapi.liveObjects();
    EXPECT_THAT(mapi.faults(), ::testing::IsEmpty());
    if (!outcome.failed) break;
  }
  EXPECT_LT(nth, noLimit);
  EXPECT_GT(outOfMemory, 3);
  std::printf("%d allocations, %d of them code 2\n", nth - 1, outOfMemory);
}

}  // namespace
}  // namespace fendrel::test
