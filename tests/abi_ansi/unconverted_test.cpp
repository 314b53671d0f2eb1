// A module that lacks one of the options conversions: it loads, and options cross unconverted.
#include "ansi_test.h"
#include "build_paths.h"
#include "pe_image.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

class Unconverted : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    mapi.reset(standardWorld());
    const std::wstring copy = folder.file(L"FENDREL.DLL");
    copyWithoutExport(buildFile(L"bin/FENDREL.DLL"), GetParam(), copy);
    host.emplace(copy);
    ASSERT_EQ(host->initialize(), FENDREL_SUCCESS);
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders@Reports");
    AnsiFileList files{L"report.txt"};
    ASSERT_EQ(host->initExportDestination(nullptr, 0, reinterpret_cast<DestinationOptionsA*>(&options), files.get(),
                                          &job, &result),
              FENDREL_SUCCESS)
        << "wide options are taken as they are";
  }
  void TearDown() override {
    host->termExportDestination(job);
    host->terminate();
    EXPECT_EQ(mapi.counts().interfaces, 0u);
  }

  TempFolder folder;
  RecordingMapi mapi;
  std::optional<AnsiPlugin> host;
  FendrelJob job = 0;
  FendrelResultA* result = nullptr;
};

TEST_P(Unconverted, TheEncodedBlockIsTheWideOneAndNoSizeIsWritten) {
  DestinationOptionsA* block = nullptr;
  uint16_t size = 4711;
  EXPECT_EQ(host->encodeOptions(job, &block, &size), FENDREL_SUCCESS);
  EXPECT_EQ(size, 4711);
  ASSERT_NE(block, nullptr);
  EXPECT_STREQ(reinterpret_cast<const wchar_t*>(reinterpret_cast<const char*>(block) + 48), L"Default");
}

TEST_P(Unconverted, TheDecodedRecordIsTheWideOneAndIsFreedAsSuch) {
  DestinationOptionsA* record = nullptr;
  EXPECT_EQ(host->decodeOptions(job, &record), FENDREL_SUCCESS);
  ASSERT_NE(record, nullptr);
  EXPECT_STREQ(reinterpret_cast<const DestinationOptions*>(record)->profileName, L"Default");
  EXPECT_EQ(host->freeOptions(0, record), FENDREL_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(OptionalGroup, Unconverted,
                         testing::Values("NRVFreeDestinationOptionsA", "NRVDestinationOptionsA2W",
                                         "NRVDestinationOptionsW2A"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace
}  // namespace fendrel::test
