// The file itself: what it imports, what it says about itself.
#include <algorithm>

#include "store_fixture.h"

namespace {

std::vector<std::string> importedModules(HMODULE module) {
  const auto* base = reinterpret_cast<const BYTE*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  std::vector<std::string> names;
  for (auto* entry = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); entry->Name;
       ++entry) {
    std::string name = reinterpret_cast<const char*>(base + entry->Name);
    std::ranges::transform(name, name.begin(), [](char letter) { return static_cast<char>(std::tolower(letter)); });
    names.push_back(name);
  }
  return names;
}

TEST(Module, ImportsSystemLibrariesOnly) {
  const auto names = importedModules(mapi().module);
  EXPECT_THAT(names, testing::Contains("kernel32.dll"));
  EXPECT_THAT(names, testing::IsSubsetOf({"advapi32.dll", "bcrypt.dll", "kernel32.dll", "msvcrt.dll", "ucrtbase.dll",
                                          "ole32.dll", "shell32.dll", "user32.dll"}));
}

TEST(Module, NamesItsVersionAndFile) {
  const std::wstring path = [] {
    wchar_t name[32768] = {};
    GetModuleFileNameW(mapi().module, name, 32768);
    return std::wstring(name);
  }();
  std::vector<std::byte> block(GetFileVersionInfoSizeW(path.c_str(), nullptr));
  ASSERT_FALSE(block.empty());
  ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
  wchar_t* name = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\040904B0\\OriginalFilename",
                             reinterpret_cast<void**>(&name), &length));
  EXPECT_STREQ(name, L"MAPI32.DLL");
}

}  // namespace
