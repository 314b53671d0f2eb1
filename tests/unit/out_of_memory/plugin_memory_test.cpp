// The built plug-in through its exports, with every one of its allocations failing in turn: no crash, nothing left,
// code 2 wherever the failure matters.
#include "abi_test.h"
#include "failing_memory.h"

namespace fendrel::test {
namespace {

constexpr int noLimit = 2000;

class PluginMemory : public PluginTest {
 protected:
  template <class Call>
  FailingMemory::Outcome without(int nth, Call call) {
    return withFailingAllocation(nth, call, plugin().module());
  }

  void expectNoObjects() {
    const RecordingCounts counts = mapi.counts();
    EXPECT_EQ(counts.interfaces, 0u) << mapi.liveObjects();
    EXPECT_EQ(counts.buffers, 0u) << mapi.liveObjects();
    EXPECT_EQ(counts.sessions, 0u);
    EXPECT_EQ(counts.faults, 0u);
  }
};

TEST_F(PluginMemory, StartFailsWithItsCodeOrDoesWithoutALanguage) {
  int failures = 0, nth = 1;
  for (; nth < noLimit; ++nth) {
    SCOPED_TRACE(nth);
    std::uint32_t code = 0;
    const auto outcome = without(nth, [&] { code = plugin().initialize(); });
    if (code == 0) plugin().terminate();
    if (!outcome.failed) break;
    EXPECT_TRUE(code == 0 || code == 2) << code;
    failures += code == 2;
  }
  EXPECT_LT(nth, noLimit);
  EXPECT_GT(failures, 0);
}

class JobMemory : public PluginMemory {
 protected:
  void SetUp() override {
    PluginMemory::SetUp();
    ASSERT_EQ(plugin().initialize(), 0u);
    // Permanent allocations, also of the first exception, come before the count.
    ASSERT_EQ(openJob(), 0u);
    endJob();
    without(1, [&] { EXPECT_EQ(openJob(), 2u); });
    mapi.reset(world);
  }
  void TearDown() override {
    plugin().terminate();
    unmatchedInitialisations = mapi.counts().initialised;  // of every set-up that failed
    PluginMemory::TearDown();
  }

  std::uint32_t openJob() {
    return plugin().initExportDestination(nullptr, 0, &options, files.record(), &job, &result);
  }
  void endJob() {
    plugin().termExportDestination(job);
    job = 0;
  }

  DestinationOptions options = [] {
    DestinationOptions made = unpackedOptions(L"Default", L"", L"Public Folders@Reports@Daily");
    made.version = 2;
    return made;
  }();
  FileList files{L"a.rpt", L"a longer name of a report.with a longer extension"};
  FendrelJob job = 0;
  FendrelResult* result = nullptr;
};

TEST_F(JobMemory, SetUpFailsWithItsCodeAndLeavesNoJob) {
  int failures = 0, withoutVersion = 0, nth = 1;
  for (; nth < noLimit; ++nth) {
    SCOPED_TRACE(nth);
    options.version = 2;
    std::uint32_t code = 0;
    const auto outcome = without(nth, [&] { code = openJob(); });
    // Only if the record's working copy cannot be allocated, the version is left at 1.
    if (options.version != 2) {
      EXPECT_EQ(options.version, 1u);
      ++withoutVersion;
    }
    if (code == 0) {
      EXPECT_NE(job, 0u);
      endJob();  // a missing sender is not a failure
    } else {
      EXPECT_EQ(code, 2u);
      EXPECT_EQ(job, 0u);
      EXPECT_EQ(outcome.blocks, 0);
      ++failures;
    }
    expectNoObjects();
    if (!outcome.failed) break;
  }
  EXPECT_LT(nth, noLimit);
  EXPECT_GT(failures, 5);
  EXPECT_EQ(withoutVersion, 1);
}

TEST_F(JobMemory, ExportFailsWithACodeOfItsOwnAndLeavesNothing) {
  TempFolder folder;
  const auto file = [&](const wchar_t* name) {
    const std::wstring path = folder.file(name);
    CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    return path;
  };
  FilePaths paths({file(L"1.bin"), file(L"2.bin")});
  int failures = 0, nth = 1;
  for (; nth < noLimit; ++nth) {
    SCOPED_TRACE(nth);
    ASSERT_EQ(openJob(), 0u);
    std::uint32_t code = 0;
    const auto outcome = without(nth, [&] { code = plugin().exportToDestination(job, paths.record()); });
    // The copy buffer has its own code, and the first file's failure has no effect.
    if (code == FENDREL_FAILED)
      EXPECT_STREQ(plugin().getErrorText(job), L"MAPI_E_INVALID_PARAMETER");
    else
      EXPECT_TRUE(code == 0 || code == 2) << code;
    EXPECT_EQ(outcome.blocks, 0);
    failures += code == 2;
    endJob();
    expectNoObjects();
    if (!outcome.failed) break;
  }
  EXPECT_LT(nth, noLimit);
  EXPECT_GT(failures, 3);
}

TEST_F(JobMemory, EncodingAndDecodingFailWithTheirCode) {
  ASSERT_EQ(openJob(), 0u);
  DestinationOptions* block = reinterpret_cast<DestinationOptions*>(1);
  std::uint16_t size = 0;
  std::uint32_t code = 0;
  EXPECT_TRUE(without(1, [&] { code = plugin().encodeOptions(job, &block, &size); }).failed);
  EXPECT_EQ(code, 2u);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(size, 48 + 2 * (8 + 1 + 29) - 30) << "told although the block cannot be had";
  block = reinterpret_cast<DestinationOptions*>(1);
  EXPECT_TRUE(without(2, [&] { code = plugin().decodeOptions(job, &block); }).failed);
  EXPECT_EQ(code, 2u);
  EXPECT_EQ(block, nullptr);
  endJob();
}

}  // namespace
}  // namespace fendrel::test
