// Start and stop of the module, and its version functions.
#include "abi_test.h"
#include "build_paths.h"

namespace fendrel::test {
namespace {

std::wstring fileOf(HMODULE module) {
  wchar_t path[1024];
  return std::wstring(path, GetModuleFileNameW(module, path, 1024));
}

std::wstring lowered(std::wstring text) {
  CharLowerW(text.data());
  return text;
}

TEST_F(PluginTest, VersionIs256) { EXPECT_EQ(plugin().getVersion(), 0x0100); }

TEST_F(PluginTest, IsNotThreadSafe) { EXPECT_EQ(plugin().isThreadSafe(), 0u); }

TEST_F(PluginTest, PerThreadHooksAnswerZeroAndDoNothing) {
  EXPECT_EQ(plugin().initPerThread(), 0u);
  EXPECT_EQ(plugin().uninitPerThread(), 0u);
  EXPECT_THAT(mapi.everything(), ::testing::IsEmpty());
}

TEST_F(PluginTest, DestinationListHoldsOneDestinationWithoutNameBeforeInitialise) {
  const FendrelDestinationList* const list = plugin().getExportDestinations();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->size, 16);
  EXPECT_EQ(list->count, 1);
  EXPECT_EQ(list->padding, 0u);
  ASSERT_NE(list->destinations, nullptr);
  const FendrelDestination& destination = *list->destinations[0];
  EXPECT_EQ(destination.size, 24);
  EXPECT_THAT(destination.padding, ::testing::Each(0));
  EXPECT_EQ(destination.name, nullptr);
  EXPECT_EQ(destination.reserved, 0u);
}

TEST_F(InitialisedTest, DestinationIsNamedExchangeFolder) {
  EXPECT_STREQ(plugin().getExportDestinations()->destinations[0]->name, L"Exchange Folder");
}

TEST_F(InitialisedTest, DestinationListIsTheSameRecordEveryTime) {
  EXPECT_EQ(plugin().getExportDestinations(), plugin().getExportDestinations());
}

TEST_F(PluginTest, LastTerminateTakesTheDestinationNameAway) {
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().getExportDestinations()->destinations[0]->name, nullptr);
}

TEST_F(InitialisedTest, BindsTheMapiLibraryThatIsLoaded) {
  EXPECT_EQ(GetModuleHandleW(L"MAPI32.DLL"), mapi.module());
  EXPECT_EQ(lowered(fileOf(GetModuleHandleW(L"MAPI32.DLL"))), lowered(RecordingMapi::path()));
}

TEST_F(InitialisedTest, InitialiseCallsNoMapiFunction) { EXPECT_THAT(mapi.everything(), ::testing::IsEmpty()); }

TEST_F(PluginTest, SecondInitialiseOnlyCounts) {
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  const wchar_t* const name = plugin().getExportDestinations()->destinations[0]->name;
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().getExportDestinations()->destinations[0]->name, name);
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().getExportDestinations()->destinations[0]->name, name);
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().getExportDestinations()->destinations[0]->name, nullptr);
}

TEST_F(PluginTest, InitialiseWorksAgainAfterTheLastTerminate) {
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  ASSERT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  EXPECT_STREQ(plugin().getExportDestinations()->destinations[0]->name, L"Exchange Folder");
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
}

TEST_F(PluginTest, TerminateWithoutInitialiseWrapsTheCount) {
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  // The count is not 0 now, so that this call only counts.
  EXPECT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().getExportDestinations()->destinations[0]->name, nullptr);
}

TEST_F(PluginTest, JobsAreRefusedBeforeInitialise) {
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  FendrelJob job = 0;
  FendrelResult* result = nullptr;
  EXPECT_NE(plugin().initExportDestination(nullptr, 0, &options, files.record(), &job, &result), FENDREL_SUCCESS);
  EXPECT_THAT(mapi.everything(), ::testing::IsEmpty());
}

// These load and unload the double themselves.

TEST(MapiLibrary, IsLetGoByTheLastTerminateHoweverOftenInitialiseWasCalled) {
  auto mapi = std::make_optional<RecordingMapi>();
  Plugin plugin;
  ASSERT_EQ(plugin.initialize(), FENDREL_SUCCESS);
  ASSERT_EQ(plugin.initialize(), FENDREL_SUCCESS);
  mapi.reset();
  EXPECT_NE(GetModuleHandleW(L"MAPI32.DLL"), nullptr);
  EXPECT_EQ(plugin.terminate(), FENDREL_SUCCESS);
  EXPECT_NE(GetModuleHandleW(L"MAPI32.DLL"), nullptr);
  EXPECT_EQ(plugin.terminate(), FENDREL_SUCCESS);
  EXPECT_EQ(GetModuleHandleW(L"MAPI32.DLL"), nullptr);
}

// A MAPI32.DLL that lacks one of the thirteen names.
class IncompleteMapi : public ::testing::TestWithParam<const char*> {};

TEST_P(IncompleteMapi, FailsInitialiseAndLeavesNothing) {
  const std::string name = GetParam();
  const std::wstring path =
      buildFile(L"tests/incomplete_mapi/without_" + std::wstring(name.begin(), name.end()) + L"/MAPI32.DLL");
  const HMODULE incomplete = LoadLibraryW(path.c_str());
  ASSERT_NE(incomplete, nullptr);
  ASSERT_EQ(GetProcAddress(incomplete, name.c_str()), nullptr);
  Plugin plugin;
  EXPECT_EQ(plugin.initialize(), FENDREL_FAILED);
  EXPECT_EQ(plugin.getExportDestinations()->destinations[0]->name, nullptr);
  FreeLibrary(incomplete);
  EXPECT_EQ(GetModuleHandleW(L"MAPI32.DLL"), nullptr) << "the plug-in still holds the library";

  // The count stayed 0: a complete library is bound by the next call.
  RecordingMapi mapi;
  EXPECT_EQ(plugin.initialize(), FENDREL_SUCCESS);
  EXPECT_STREQ(plugin.getExportDestinations()->destinations[0]->name, L"Exchange Folder");
  EXPECT_EQ(plugin.terminate(), FENDREL_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(Without, IncompleteMapi,
                         ::testing::Values("MAPIInitialize", "MAPIUninitialize", "MAPILogonEx", "MAPIAllocateBuffer",
                                           "MAPIAllocateMore", "MAPIFreeBuffer", "MAPIOpenFormMgr", "MAPIAdminProfiles",
                                           "FreeProws", "HrGetOneProp", "HrQueryAllRows", "FtMulDwDw", "FtNegFt"),
                         [](const auto& test) { return std::string(test.param); });

TEST(MapiLibrary, WithTheThirteenNamesIsEnough) {
  const HMODULE complete = LoadLibraryW(buildFile(L"tests/incomplete_mapi/without_nothing/MAPI32.DLL").c_str());
  ASSERT_NE(complete, nullptr);
  Plugin plugin;
  EXPECT_EQ(plugin.initialize(), FENDREL_SUCCESS);
  EXPECT_EQ(plugin.terminate(), FENDREL_SUCCESS);
  FreeLibrary(complete);
}

}  // namespace
}  // namespace fendrel::test
