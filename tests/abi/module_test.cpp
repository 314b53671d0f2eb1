// The built modules as files: exports, imports, resources.
#include <filesystem>
#include <set>

#include "abi_test.h"
#include "build_paths.h"
#include "pe_image.h"

namespace fendrel::test {
namespace {

class WideExport : public ::testing::TestWithParam<const char*> {};

TEST_P(WideExport, IsExportedUndecorated) {
  EXPECT_THAT(PeImage(Plugin::builtPath()).exports, ::testing::Contains(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Name, WideExport,
                         ::testing::Values("NRVInitializeW", "NRVTerminateW", "NRVGetVersionW",
                                           "NRVGetExportDestinationsW", "NRVInitExportDestinationW",
                                           "NRVTermExportDestinationW", "NRVExportToDestinationW", "NRVGetErrorTextW",
                                           "IsThreadSafeW", "InitPerThreadW", "UninitPerThreadW",
                                           "NRVEncodeDestinationOptionsW", "NRVDecodeDestinationOptionsW",
                                           "NRVFreeDestinationOptionsW", "NRVFreeDestinationOptionsA",
                                           "NRVDestinationOptionsW2A", "NRVDestinationOptionsA2W",
                                           "NRVA2WDestinationOptions"),
                         [](const auto& test) { return std::string(test.param); });

TEST(PluginFile, ExportsNoDecoratedNames) {
  for (const std::string& name : PeImage(Plugin::builtPath()).exports)
    EXPECT_TRUE(std::ranges::all_of(name, [](unsigned char character) { return std::isalnum(character); })) << name;
}

// ---- Imports ----

class ModuleFile : public ::testing::TestWithParam<const wchar_t*> {};

TEST_P(ModuleFile, ImportsSystemLibrariesOnly) {
  const std::wstring path = buildFile(GetParam());
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "not built: " << std::filesystem::path(path).string();
  static const std::set<std::string> system = {
      "advapi32.dll", "bcrypt.dll",  "comctl32.dll", "comdlg32.dll", "crypt32.dll", "gdi32.dll",   "kernel32.dll",
      "msvcrt.dll",   "ntdll.dll",   "ole32.dll",    "oleaut32.dll", "shell32.dll", "shlwapi.dll", "ucrtbase.dll",
      "user32.dll",   "version.dll", "winhttp.dll",  "winspool.drv", "ws2_32.dll"};
  const auto imports = PeImage(path).imports;
  EXPECT_THAT(imports, ::testing::Contains("kernel32.dll"));
  for (const std::string& import : imports)
    EXPECT_TRUE(system.contains(import) || import.starts_with("api-ms-win-")) << import;
}

INSTANTIATE_TEST_SUITE_P(File, ModuleFile,
                         ::testing::Values(L"bin/FENDREL.DLL", L"bin/store/MAPI32.DLL", L"bin/fendrel.exe"),
                         [](const auto& test) {
                           std::string name;
                           for (const wchar_t character : std::wstring_view(test.param))
                             if (std::iswalnum(character)) name += static_cast<char>(character);
                           return name;
                         });

// ---- Resources ----

struct Text {
  UINT id;
  const wchar_t* text;
};

class StringTable : public ::testing::TestWithParam<Text> {};

TEST_P(StringTable, HoldsTheText) {
  const Plugin plugin;
  wchar_t text[300] = L"";
  EXPECT_EQ(LoadStringW(plugin.module(), GetParam().id, text, 300), static_cast<int>(std::wcslen(GetParam().text)));
  EXPECT_STREQ(text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Entry, StringTable,
    ::testing::Values(Text{1, L"Exchange Folder"}, Text{2, L"No access right to post messages !"},
                      Text{3, L"Report Name cannot be empty."}, Text{4, L"File %s cannot be open\nError Code: %08X"},
                      Text{6, L"IPM.Document.*"}, Text{7, L"IPM.QUORVEL.REPORT.TEMPLATE"},
                      Text{8, L"Invalid export type!"},
                      Text{9, L"Failed in loading MAPI.DLL. Please the existance and the version of MAPI.DLL."},
                      Text{10, L"Failed in initializing MAPI.DLL."}, Text{11, L"Cannot logon to Exchange Profile."},
                      Text{12, L"Cannot retrieve Exchange profile name."},
                      Text{13, L"No access right to post file to Exchange Folders."},
                      Text{14, L"MAPI object not found."},
                      Text{15, L"Such posting is not supported by the Message Service Provider."},
                      Text{16, L"Profile \"%s\" cannot be reported !"}),
    [](const auto& test) { return std::to_string(test.param.id); });

TEST(PluginFile, StringTableHasNoEntryFive) {
  const Plugin plugin;
  wchar_t text[300];
  EXPECT_EQ(LoadStringW(plugin.module(), 5, text, 300), 0);
}

TEST(PluginFile, HasAVersionResourceOfALibrary) {
  const Plugin plugin;
  const HRSRC found = FindResourceW(plugin.module(), MAKEINTRESOURCEW(1), reinterpret_cast<LPCWSTR>(RT_VERSION));
  ASSERT_NE(found, nullptr);
  const auto* const bytes = static_cast<const BYTE*>(LockResource(LoadResource(plugin.module(), found)));
  // After the block's three sizes and its name "VS_VERSION_INFO", aligned to four bytes.
  const auto* const fixed = reinterpret_cast<const VS_FIXEDFILEINFO*>(bytes + 40);
  ASSERT_EQ(fixed->dwSignature, 0xFEEF04BDu);
  EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
  EXPECT_NE(fixed->dwFileVersionMS, 0u);
}

}  // namespace
}  // namespace fendrel::test
