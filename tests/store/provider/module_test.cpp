// The file itself: its imports, its version.
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
  EXPECT_THAT(names, testing::IsSubsetOf({"advapi32.dll", "bcrypt.dll", "crypt32.dll", "kernel32.dll", "msvcrt.dll",
                                          "ucrtbase.dll", "ole32.dll", "shell32.dll", "shlwapi.dll", "user32.dll",
                                          "winhttp.dll"}));
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

// Like a host that ends in the middle of its work: no code of the library may run after it is unloaded.
TEST_F(StoreTest, LibraryMayBeUnloadedWithASessionUnreleased) {
  wchar_t own[MAX_PATH] = {};
  GetModuleFileNameW(mapi().module, own, MAX_PATH);
  const std::wstring copy = folder.file(L"unloaded.dll");
  ASSERT_TRUE(CopyFileW(own, copy.c_str(), TRUE));
  const HMODULE module = LoadLibraryW(copy.c_str());
  ASSERT_TRUE(module);
  const auto initialize = reinterpret_cast<MAPIINITIALIZE*>(GetProcAddress(module, "MAPIInitialize"));
  const auto logonEx = reinterpret_cast<MAPILOGONEX*>(GetProcAddress(module, "MAPILogonEx"));
  ASSERT_TRUE(initialize && logonEx);
  ASSERT_THAT(initialize(nullptr), Gives(S_OK));
  LPMAPISESSION session = nullptr;
  ASSERT_THAT(logonEx(0, const_cast<LPTSTR>(L"Anna"), nullptr, MAPI_EXTENDED | MAPI_NO_MAIL | MAPI_UNICODE, &session),
              Gives(S_OK));
  LPMAPITABLE stores = nullptr;
  EXPECT_THAT(session->GetMsgStoresTable(0, &stores), Gives(S_OK));
  ASSERT_TRUE(FreeLibrary(module));
  ASSERT_FALSE(GetModuleHandleW(L"unloaded.dll"));
  Sleep(500);
}

}  // namespace
