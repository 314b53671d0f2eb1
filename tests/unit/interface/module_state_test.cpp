// The texts and libraries that the module loads once.
#include "module_state.h"

#include <filesystem>

#include "bound_mapi.h"
#include "build_paths.h"
#include "mapi_binding.h"
#include "resource_module.h"
#include "temp_folder.h"

using namespace fendrel;

namespace {

const FendrelDestination& destination() { return *exportDestinations()->destinations[0]; }

// A module with the plug-in's strings replaces the plug-in, alone in its folder.
class ModuleState : public testing::Test {
 protected:
  ~ModuleState() override {
    while (started_-- > 0) stopModule();
    g_hModule = g_hResInstance = nullptr;
    if (own_) FreeLibrary(own_);
  }

  void usePlugin(const wchar_t* kind = L"valid") {
    put(kind, L"plugin.dll");
    g_hModule = g_hResInstance = own_ = LoadLibraryW(folder_.file(L"plugin.dll").c_str());
    ASSERT_NE(own_, nullptr);
  }
  void put(const std::wstring& kind, const wchar_t* name) {
    std::filesystem::copy_file(buildFile(L"tests/language/" + kind + L".dll"), folder_.file(name));
  }
  std::uint32_t start() {
    const std::uint32_t code = startModule();
    if (code == 0) ++started_;
    return code;
  }
  void stop() {
    stopModule();
    --started_;
  }
  void expectNothingIsLeft() {
    EXPECT_EQ(destination().name, nullptr);
    EXPECT_FALSE(IsMapiBound());
    EXPECT_EQ(mapi().module, nullptr);
    EXPECT_EQ(g_hResLibrary, nullptr);
    EXPECT_EQ(g_hResInstance, g_hModule);
  }

 private:
  TempFolder folder_;
  HMODULE own_ = nullptr;
  int started_ = 0;
};

TEST_F(ModuleState, OffersOneDestinationWithoutANameBeforeTheStart) {
  const FendrelDestinationList& list = *exportDestinations();
  EXPECT_EQ(list.size, 16u);
  EXPECT_EQ(list.count, 1u);
  EXPECT_EQ(list.padding, 0u);
  EXPECT_EQ(destination().size, 24u);
  EXPECT_EQ(destination().name, nullptr);
  EXPECT_EQ(destination().reserved, 0u);
}

TEST_F(ModuleState, StartLoadsNameAndClassesAndBindsMapi) {
  usePlugin();
  const FakeMapi mapi32;
  ASSERT_EQ(start(), 0u);
  EXPECT_STREQ(destination().name, L"Exchange-Ordner");
  EXPECT_STREQ(templateMessageClass(), L"IPM.QUORVEL.REPORT.TEMPLATE");
  EXPECT_STREQ(documentMessageClass(), L"Notiz – Übersicht");
  EXPECT_TRUE(IsMapiBound());
  EXPECT_EQ(g_hResInstance, g_hModule);
}

TEST_F(ModuleState, SecondStartOnlyCounts) {
  usePlugin();
  const FakeMapi mapi32;
  start();
  const wchar_t* const name = destination().name;
  const HMODULE before = g_hModule;
  g_hModule = nullptr;  // nothing could be loaded from here
  EXPECT_EQ(start(), 0u);
  g_hModule = before;
  EXPECT_EQ(destination().name, name);
}

TEST_F(ModuleState, OnlyTheLastStopReleases) {
  usePlugin();
  const FakeMapi mapi32;
  start();
  start();
  stop();
  EXPECT_STREQ(destination().name, L"Exchange-Ordner");
  EXPECT_TRUE(IsMapiBound());
  stop();
  expectNothingIsLeft();
}

TEST_F(ModuleState, CanBeStartedAgain) {
  usePlugin();
  const FakeMapi mapi32;
  start();
  stop();
  EXPECT_EQ(start(), 0u);
  EXPECT_STREQ(destination().name, L"Exchange-Ordner");
}

TEST_F(ModuleState, LanguageLibraryBesideThePluginGivesTheTexts) {
  usePlugin();
  put(L"valid", L"R7Kqexx.dll");
  const FakeMapi mapi32;
  ASSERT_EQ(start(), 0u);
  EXPECT_NE(g_hResLibrary, nullptr);
  EXPECT_EQ(g_hResInstance, g_hResLibrary);
  stop();
  expectNothingIsLeft();
  EXPECT_EQ(GetModuleHandleW(L"R7Kqexx.dll"), nullptr);
}

TEST_F(ModuleState, MissingNameIsCodeSevenAndMapiIsNotBound) {
  g_hModule = g_hResInstance = GetModuleHandleW(nullptr);  // a program without strings
  const FakeMapi mapi32;
  EXPECT_EQ(start(), 7u);
  expectNothingIsLeft();
}

TEST_F(ModuleState, MissingClassIsCodeSevenAndUndoesWhatWasLoaded) {
  usePlugin(L"incomplete");
  put(L"incomplete", L"R7Kqexx.dll");
  const FakeMapi mapi32;
  EXPECT_EQ(start(), 7u);
  expectNothingIsLeft();
  EXPECT_EQ(GetModuleHandleW(L"R7Kqexx.dll"), nullptr);
}

TEST_F(ModuleState, UnusableMapiIsAFailureAndUndoesWhatWasLoaded) {
  usePlugin();
  put(L"valid", L"R7Kqexx.dll");
  const FakeMapi incomplete(L"without_FtNegFt");
  EXPECT_EQ(start(), 0xFFFFFFFFu);
  expectNothingIsLeft();
}

TEST_F(ModuleState, FailedStartDoesNotCount) {
  usePlugin();
  {
    const FakeMapi incomplete(L"without_HrGetOneProp");
    EXPECT_EQ(start(), 0xFFFFFFFFu);
  }
  const FakeMapi mapi32;
  EXPECT_EQ(start(), 0u);
  stop();
  expectNothingIsLeft();
}

}  // namespace
