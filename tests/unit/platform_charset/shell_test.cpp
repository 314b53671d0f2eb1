// Starting programs and the save-file dialog, on both paths.
#include "charset_shell.h"

#include <thread>

#include "charset_test.h"
#include "import_hook.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

// Starts cmd so that it ends with the code in its native directory's file.
DWORD startAndWait(const std::wstring& directory) {
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_FLAG_NO_UI;
  info.lpVerb = L"open";
  info.lpFile = L"cmd.exe";
  info.lpParameters = L"/c \"if exist here.txt (exit 7) else (exit 8)\"";
  info.lpDirectory = directory.c_str();
  info.nShow = SW_HIDE;
  EXPECT_TRUE(charset::shellExecuteEx(&info));
  EXPECT_GT(reinterpret_cast<INT_PTR>(info.hInstApp), 32);
  DWORD code = 0;
  WaitForSingleObject(info.hProcess, 30000);
  GetExitCodeProcess(info.hProcess, &code);
  CloseHandle(info.hProcess);
  return code;
}

TEST(CharsetShell, ShellExecuteExStartsTheProgramInANativeFolderOnBothPaths) {
  const TempFolder folder;
  const std::wstring directory = folder.file(nativeText());
  CreateDirectoryW(directory.c_str(), nullptr);
  CloseHandle(CreateFileW((directory + L"\\here.txt").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
  EXPECT_EQ(startAndWait(directory), 7u);
  const AnsiPath ansi;
  EXPECT_EQ(startAndWait(directory), 7u);
}

TEST(CharsetShell, ShellExecuteExOfAMissingFileFailsOnBothPaths) {
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = SEE_MASK_FLAG_NO_UI;
  info.lpFile = L"C:\\no_such_file_of_fendrel.exe";
  EXPECT_FALSE(charset::shellExecuteEx(&info));
  const AnsiPath ansi;
  EXPECT_FALSE(charset::shellExecuteEx(&info));
  EXPECT_FALSE(charset::shellExecuteEx(nullptr));
}

std::string g_file, g_class;
BOOL WINAPI noteExecution(SHELLEXECUTEINFOA* info) {
  g_file = info->lpFile ? info->lpFile : "null";
  g_class = info->lpClass ? info->lpClass : "null";
  return TRUE;
}

TEST(CharsetShell, ShellExecuteExReadsTheTextsThatTheMaskNamesAlone) {
  const ImportHook hook("SHELL32.dll", "ShellExecuteExA", &noteExecution);
  const AnsiPath ansi;
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof info;
  auto* const noText = reinterpret_cast<const wchar_t*>(UINT_PTR{48});
  info.lpClass = noText;
  info.lpFile = L"file";
  EXPECT_TRUE(charset::shellExecuteEx(&info));
  EXPECT_EQ(g_file, "file");
  EXPECT_EQ(g_class, "null");
  info.fMask = SEE_MASK_CLASSKEY | SEE_MASK_IDLIST;
  info.lpFile = noText;
  EXPECT_TRUE(charset::shellExecuteEx(&info));
  EXPECT_EQ(g_file, "null");
  info.fMask = SEE_MASK_CLASSNAME | SEE_MASK_IDLIST;
  info.lpClass = L"class";
  EXPECT_TRUE(charset::shellExecuteEx(&info));
  EXPECT_EQ(g_class, "class");
}

TEST(CharsetShell, SaveFileNameWithACustomFilterThatHasNoEndIsRefusedOnTheAnsiPath) {
  const AnsiPath ansi;
  for (const std::wstring& filter :
       {std::wstring(8, L'x'), std::wstring(L"x\0xxxxxx", 8), std::wstring(L"xxxxxxx\0", 8)}) {
    std::wstring custom = filter;
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.lpstrCustomFilter = custom.data();
    dialog.nMaxCustFilter = 8;
    EXPECT_FALSE(charset::getSaveFileName(&dialog));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(custom, filter);
  }
}

// Of this process alone: other tests show the dialog at the same time.
std::wstring dialogTitle() { return L"Fendrel save test " + std::to_wstring(GetCurrentProcessId()); }

// Presses a button of the save dialog once it is shown.
class Presser {
 public:
  explicit Presser(int button)
      : thread_([button] {
          for (int attempt = 0; attempt < 3000; ++attempt) {
            const HWND dialog = FindWindowW(nullptr, dialogTitle().c_str());
            if (dialog && IsWindowVisible(dialog) && GetDlgItem(dialog, button)) {
              PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
              return;
            }
            Sleep(10);
          }
        }) {}
  ~Presser() { thread_.join(); }

 private:
  std::thread thread_;
};

struct Chosen {
  BOOL result;
  std::wstring file, title, customFilter;
  WORD fileOffset, extension;
  bool operator==(const Chosen&) const = default;
};

Chosen save(const std::wstring& folder, const std::wstring& name, int button, DWORD room = 512) {
  const Presser presser(button);
  const std::wstring caption = dialogTitle();
  std::wstring file = name, title(128, L'\0'), custom(64, L'\0');
  file.resize(room);
  OPENFILENAMEW dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.lpstrFilter = L"Text\0*.txt\0";
  custom.replace(0, 3, L"own");
  dialog.lpstrCustomFilter = custom.data();
  dialog.nMaxCustFilter = static_cast<DWORD>(custom.size());
  dialog.nFilterIndex = 1;
  dialog.lpstrFile = file.data();
  dialog.nMaxFile = room;
  dialog.lpstrFileTitle = title.data();
  dialog.nMaxFileTitle = static_cast<DWORD>(title.size());
  dialog.lpstrInitialDir = folder.c_str();
  dialog.lpstrTitle = caption.c_str();
  dialog.lpstrDefExt = L"txt";
  dialog.Flags = OFN_NOCHANGEDIR | OFN_EXPLORER;
  const BOOL result = charset::getSaveFileName(&dialog);
  return {result, file.c_str(), title.c_str(), custom.c_str(), dialog.nFileOffset, dialog.nFileExtension};
}

TEST(CharsetShell, SaveFileNameGivesTheSamePathOnBothPaths) {
  const TempFolder folder;
  const std::wstring directory = folder.file(nativeText());
  CreateDirectoryW(directory.c_str(), nullptr);
  const Chosen wide = save(directory, nativeText(), IDOK);
  EXPECT_EQ(wide.file, directory + L"\\" + nativeText() + L".txt");
  const AnsiPath ansi;
  EXPECT_EQ(save(directory, nativeText(), IDOK), wide);
}

TEST(CharsetShell, SaveFileNameThatIsCancelledIsFalseOnBothPaths) {
  const TempFolder folder;
  EXPECT_FALSE(save(folder.path().wstring(), L"x", IDCANCEL).result);
  const AnsiPath ansi;
  EXPECT_FALSE(save(folder.path().wstring(), L"x", IDCANCEL).result);
}

TEST(CharsetShell, SaveFileNameWithoutARecordIsFalseOnTheAnsiPath) {
  const AnsiPath ansi;
  EXPECT_FALSE(charset::getSaveFileName(nullptr));
}

}  // namespace
}  // namespace fendrel::test
