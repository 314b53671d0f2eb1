// The ANSI set as a whole: what is forwarded, the list of destinations, and modules that lack an export.
#include <mutex>
#include <thread>

#include "ansi_test.h"
#include "build_paths.h"
#include "pe_image.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

TEST_F(AnsiPluginTest, VersionAndThreadAnswersAreTheWideOnes) {
  EXPECT_EQ(host().getVersion(), plugin().getVersion());
  EXPECT_EQ(host().getVersion(), 0x0100);
  EXPECT_EQ(host().isThreadSafe(), 0u);
  EXPECT_EQ(host().initPerThread(), 0u);
  EXPECT_EQ(host().uninitPerThread(), 0u);
}

TEST_F(AnsiPluginTest, InitialisationsOfBothSetsAreCountedTogether) {
  EXPECT_EQ(host().initialize(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  EXPECT_EQ(host().terminate(), FENDREL_SUCCESS);
  EXPECT_NE(plugin().getExportDestinations()->destinations[0]->name, nullptr);
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().getExportDestinations()->destinations[0]->name, nullptr);
}

TEST_F(AnsiPluginTest, DestinationListHasItsSizesAndItsName) {
  ASSERT_EQ(host().initialize(), FENDREL_SUCCESS);
  const FendrelDestinationListA* const list = host().getExportDestinations();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->size, 16);
  EXPECT_EQ(list->count, 1);
  const FendrelDestinationA& destination = *list->destinations[0];
  EXPECT_EQ(destination.size, 24);
  EXPECT_STREQ(destination.name, "Exchange Folder");
  EXPECT_EQ(destination.reserved, 0u);
  host().terminate();
}

TEST_F(AnsiPluginTest, DestinationListIsBuiltOnceAndOutlivesTerminate) {
  ASSERT_EQ(host().initialize(), FENDREL_SUCCESS);
  const FendrelDestinationListA* const list = host().getExportDestinations();
  EXPECT_EQ(host().getExportDestinations(), list);
  host().terminate();
  EXPECT_EQ(host().getExportDestinations(), list);
  EXPECT_STREQ(list->destinations[0]->name, "Exchange Folder");
}

TEST_F(AnsiPluginTest, DestinationListAskedForBeforeInitialiseIsAnsweredAndNotCached) {
  const FendrelDestinationListA* const before = host().getExportDestinations();
  ASSERT_NE(before, nullptr);
  EXPECT_EQ(before->size, 16);
  EXPECT_EQ(before->destinations[0]->name, nullptr);
  EXPECT_EQ(host().getExportDestinations()->destinations[0]->name, nullptr);
  ASSERT_EQ(host().initialize(), FENDREL_SUCCESS);
  EXPECT_STREQ(host().getExportDestinations()->destinations[0]->name, "Exchange Folder");
  EXPECT_EQ(before->destinations[0]->name, nullptr) << "what the host holds stays as it was";
  host().terminate();
}

TEST_F(AnsiPluginTest, DestinationListIsTheSameForThreadsThatAskAtOnce) {
  ASSERT_EQ(host().initialize(), FENDREL_SUCCESS);
  std::vector<const FendrelDestinationListA*> lists(8);
  std::vector<std::thread> threads;
  for (auto& list : lists) threads.emplace_back([&] { list = host().getExportDestinations(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(lists, testing::Each(lists[0]));
  host().terminate();
}

TEST_F(AnsiPluginTest, EveryExportIsThereUndecorated) {
  for (const char* const name :
       {"NRVInitialize", "NRVTerminate", "NRVGetVersion", "NRVGetExportDestinations", "NRVInitExportDestination",
        "NRVTermExportDestination", "NRVEncodeDestinationOptions", "NRVDecodeDestinationOptions",
        "NRVFreeDestinationOptions", "NRVExportToDestination", "NRVGetErrorText", "IsThreadSafe", "InitPerThread",
        "UninitPerThread", "NRVFreeDestinationOptionsA", "NRVDestinationOptionsA2W", "NRVDestinationOptionsW2A",
        "NRVA2WDestinationOptions"})
    EXPECT_NE(GetProcAddress(host().module(), name), nullptr) << name;
}

// A copy of the module without each export that the ANSI set cannot do without.
class LacksExport : public testing::TestWithParam<const char*> {};

TEST_P(LacksExport, AndDoesNotLoad) {
  const TempFolder folder;
  const std::wstring copy = folder.file(L"FENDREL.DLL");
  copyWithoutExport(buildFile(L"bin/FENDREL.DLL"), GetParam(), copy);
  SetLastError(0);
  const HMODULE module = LoadLibraryW(copy.c_str());
  EXPECT_EQ(module, nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_DLL_INIT_FAILED});
}

// The method of copying also makes copies that load.
TEST(OptionalExport, IsNotNeededForLoading) {
  const TempFolder folder;
  const std::wstring copy = folder.file(L"FENDREL.DLL");
  copyWithoutExport(buildFile(L"bin/FENDREL.DLL"), "NRVA2WDestinationOptions", copy);
  const HMODULE module = LoadLibraryW(copy.c_str());
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(GetProcAddress(module, "NRVA2WDestinationOptions"), nullptr);
  EXPECT_NE(GetProcAddress(module, "NRVDestinationOptionsA2W"), nullptr);
  FreeLibrary(module);
}

INSTANTIATE_TEST_SUITE_P(Required, LacksExport,
                         testing::Values("NRVInitializeW", "NRVTerminateW", "NRVGetVersionW",
                                         "NRVGetExportDestinationsW", "NRVInitExportDestinationW",
                                         "NRVTermExportDestinationW", "NRVEncodeDestinationOptionsW",
                                         "NRVDecodeDestinationOptionsW", "NRVFreeDestinationOptionsW",
                                         "NRVExportToDestinationW", "NRVGetErrorTextW", "IsThreadSafeW",
                                         "InitPerThreadW", "UninitPerThreadW"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace
}  // namespace fendrel::test
