// The character-set layer's ANSI path: text that cannot be converted gives the function's own failure value and last error 8.
#include "charset_test.h"

#include <commctrl.h>

#include <cstring>
#include <functional>

#include "charset_ansi.h"
#include "charset_file.h"
#include "charset_graphics.h"
#include "charset_registry.h"
#include "charset_shell.h"
#include "charset_text.h"
#include "charset_window.h"
#include "guarded_heap.h"
#include "import_hook.h"

namespace fendrel::test {
namespace {

struct Operation {
  const char* name;
  std::size_t conversions;  // each may fail
  std::function<long long()> call;
  long long failure;
};

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

// The caller's buffer: a failure must not change it.
wchar_t g_buffer[64] = L"text";
wchar_t g_text[] = L"text";

class Unconvertible : public testing::TestWithParam<Operation> {};

TEST_P(Unconvertible, GivesTheFailureValueAndLastError8) {
  const AnsiPath ansi;
  for (std::size_t nth = 1; nth <= GetParam().conversions; ++nth) {
    const std::size_t before = guardedHeapLiveBlocks();
    SetLastError(0);
    guardedHeapFail(nth);
    const long long answer = GetParam().call();
    const DWORD error = GetLastError();
    guardedHeapFail(0);
    EXPECT_STREQ(g_buffer, L"text") << "conversion " << nth;
    EXPECT_STREQ(g_text, L"text") << "conversion " << nth;
    EXPECT_EQ(answer, GetParam().failure) << "conversion " << nth;
    EXPECT_EQ(error, 8u) << "conversion " << nth;
    EXPECT_EQ(guardedHeapLiveBlocks(), before) << "conversion " << nth;
  }
}

template <class Result>
long long number(Result result) {
  if constexpr (std::is_pointer_v<Result>)
    return static_cast<long long>(reinterpret_cast<INT_PTR>(result));
  else
    return static_cast<long long>(result);
}

std::vector<Operation> operations() {
  using namespace charset;
  const HINSTANCE module = GetModuleHandleW(nullptr);
  static HWND edit = CreateWindowExW(0, L"EDIT", L"text", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, module, nullptr);
  static HWND list = CreateWindowExW(0, L"LISTBOX", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, module, nullptr);
  SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"entry"));
  const auto buffer = reinterpret_cast<LPARAM>(g_buffer), text = reinterpret_cast<LPARAM>(L"text");
  static struct _stat64 status;
  static LOGFONTW font{};
  static DEVMODEW mode{.dmSize = sizeof mode};
  static SHELLEXECUTEINFOW execute{.cbSize = sizeof execute};
  execute.fMask = SEE_MASK_CLASSNAME;
  execute.lpVerb = execute.lpFile = execute.lpParameters = execute.lpDirectory = execute.lpClass = L"text";
  static OPENFILENAMEW save{.lStructSize = sizeof save};
  save.lpstrFilter = L"a\0*.a\0";
  save.lpstrInitialDir = save.lpstrTitle = save.lpstrDefExt = save.lpTemplateName = L"text";
  save.lpstrFile = save.lpstrFileTitle = save.lpstrCustomFilter = g_buffer;
  save.nMaxFile = save.nMaxFileTitle = save.nMaxCustFilter = 8;
  return {
      {"DialogBoxParam", 1, [=] { return number(dialogBoxParam(module, L"name", nullptr, nullptr, 0)); }, -1},
      {"CreateWindowEx", 2,
       [=] { return number(createWindowEx(0, L"EDIT", L"name", 0, 0, 0, 1, 1, nullptr, nullptr, module, nullptr)); },
       0},
      {"LoadBitmap", 1, [=] { return number(loadBitmap(module, L"name")); }, 0},
      {"LoadString", 2, [=] { return number(loadString(module, 1, g_buffer, 64)); }, 0},
      {"SendMessageSetText", 1, [=] { return number(sendMessage(edit, WM_SETTEXT, 0, text)); }, 0},
      {"SendMessageGetText", 2, [=] { return number(sendMessage(edit, WM_GETTEXT, 64, buffer)); }, 0},
      {"SendMessageAddString", 1, [=] { return number(sendMessage(list, LB_ADDSTRING, 0, text)); }, 0},
      {"SendMessageListText", 2, [=] { return number(sendMessage(list, LB_GETTEXT, 0, buffer)); }, LB_ERR},
      {"SetWindowText", 1, [=] { return number(setWindowText(edit, L"text")); }, 0},
      {"GetWindowText", 2, [=] { return number(getWindowText(edit, g_buffer, 64)); }, 0},
      {"DeleteFile", 1, [] { return number(deleteFile(L"name")); }, 0},
      {"CreateDirectory", 1, [] { return number(createDirectory(L"name", nullptr)); }, 0},
      {"GetTempPath", 2, [] { return number(getTempPath(64, g_buffer)); }, 0},
      {"GetTempFileName", 3, [] { return number(getTempFileName(L"C:\\", L"Temp", 0, g_buffer)); }, 0},
      {"GetModuleFileName", 2, [] { return number(getModuleFileName(nullptr, g_buffer, 64)); }, 0},
      {"LoadLibrary", 1, [] { return number(loadLibrary(L"name")); }, 0},
      {"Stat", 1, [] { return number(charset::stat(L"name", &status)); }, -1},
      {"Access", 1, [] { return number(charset::access(L"name", 0)); }, -1},
      {"OpenFile", 2, [] { return number(charset::openFile(L"name", L"rb")); }, 0},
      {"ReopenFile", 2, [] { return number(charset::reopenFile(L"name", L"rb", nullptr)); }, 0},
      {"CharUpper", 2, [] { return number(charUpper(g_text)); }, 0},
      {"GetProfileString", 5, [] { return number(getProfileString(L"a", L"b", L"c", g_buffer, 64)); }, 0},
      {"GetPrivateProfileString", 6,
       [] { return number(getPrivateProfileString(L"a", L"b", L"c", g_buffer, 64, L"C:\\none.ini")); }, 0},
      {"GetPrivateProfileInt", 3, [] { return number(getPrivateProfileInt(L"a", L"b", 5, L"C:\\none.ini")); }, 0},
      {"GlobalFindAtom", 1, [] { return number(globalFindAtom(L"name")); }, 0},
      {"GetLocaleInfo", 2, [] { return number(getLocaleInfo(0x409, LOCALE_SENGLANGUAGE, g_buffer, 64)); }, 0},
      {"CreateFont", 1, [] { return number(createFont(1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, L"name")); }, 0},
      {"CreateFontIndirect", 1, [] { return number(createFontIndirect(&font)); }, 0},
      {"GetFontObject", 1,
       [] {
         static LOGFONTW described;
         return number(getFontObject(static_cast<HFONT>(GetStockObject(SYSTEM_FONT)), sizeof described, &described));
       },
       0},
      {"CreateMetaFile", 1, [] { return number(createMetaFile(L"name")); }, 0},
      {"CreateIC", 5, [] { return number(createIC(L"DISPLAY", L"b", L"c", &mode)); }, 0},
      {"ShellExecuteEx", 5, [] { return number(shellExecuteEx(&execute)); }, 0},
      {"GetSaveFileName", 8, [] { return number(getSaveFileName(&save)); }, 0},
  };
}

INSTANTIATE_TEST_SUITE_P(Operations, Unconvertible, testing::ValuesIn(operations()),
                         [](const auto& row) { return row.param.name; });

// Like a person who chooses a file.
BOOL WINAPI chooseFile(OPENFILENAMEA* dialog) {
  std::strcpy(dialog->lpstrFile, "C:\\new.txt");
  std::strcpy(dialog->lpstrFileTitle, "new.txt");
  return TRUE;
}

TEST(UnconvertibleChoice, OfAFileIsFalseAndLeavesTheCallersTexts) {
  const AnsiPath ansi;
  const ImportHook hook("comdlg32.dll", "GetSaveFileNameA", &chooseFile);
  int failures = 0;
  for (std::size_t nth = 1;; ++nth) {
    wchar_t file[64] = L"file", title[64] = L"title", filter[64] = L"own\0*.own";
    OPENFILENAMEW save{.lStructSize = sizeof save};
    save.lpstrFile = file;
    save.nMaxFile = 64;
    save.lpstrFileTitle = title;
    save.nMaxFileTitle = 64;
    save.lpstrCustomFilter = filter;
    save.nMaxCustFilter = 64;
    save.nFileOffset = 17;
    guardedHeapFail(nth);
    const BOOL chosen = charset::getSaveFileName(&save);
    guardedHeapFail(0);
    if (chosen) {
      EXPECT_STREQ(file, L"C:\\new.txt");
      EXPECT_STREQ(title, L"new.txt");
      EXPECT_STREQ(filter, L"own");
      break;
    }
    ++failures;
    EXPECT_STREQ(file, L"file") << nth;
    EXPECT_STREQ(title, L"title") << nth;
    EXPECT_EQ(save.nFileOffset, 17) << nth;
    ASSERT_LT(nth, 50u);
  }
  EXPECT_EQ(failures, 6);  // three texts, each there and back
}

struct RegistryOperation {
  const char* name;
  std::size_t conversions;
  std::function<LSTATUS()> call;
};
class UnconvertibleInTheRegistry : public testing::TestWithParam<RegistryOperation> {};

TEST_P(UnconvertibleInTheRegistry, GivesError8) {
  const AnsiPath ansi;
  for (std::size_t nth = 1; nth <= GetParam().conversions; ++nth) {
    guardedHeapFail(nth);
    const LSTATUS status = GetParam().call();
    guardedHeapFail(0);
    EXPECT_EQ(status, ERROR_NOT_ENOUGH_MEMORY) << "conversion " << nth;
  }
}

std::vector<RegistryOperation> registryOperations() {
  using namespace charset;
  static HKEY key;
  RegOpenKeyExW(HKEY_CURRENT_USER, L"Environment", 0, KEY_READ, &key);
  static HKEY opened;
  static const auto* const text = reinterpret_cast<const BYTE*>(L"text");
  return {
      {"OpenKey", 1, [] { return regOpenKeyEx(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &opened); }},
      {"CreateKey", 2,
       [] {
         return regCreateKeyEx(HKEY_CURRENT_USER, L"Software", 0, L"class", 0, KEY_READ, nullptr, &opened, nullptr);
       }},
      {"SetValue", 3, [] { return regSetValueEx(key, L"name", 0, REG_SZ, text, 10); }},
      {"QueryValue", 3,
       [] {
         wchar_t value[256];
         DWORD size = sizeof value;
         return regQueryValueEx(key, L"TEMP", nullptr, nullptr, reinterpret_cast<BYTE*>(value), &size);
       }},
  };
}

INSTANTIATE_TEST_SUITE_P(Operations, UnconvertibleInTheRegistry, testing::ValuesIn(registryOperations()),
                         [](const auto& row) { return row.param.name; });

TEST(UnconvertibleFile, RaisesTheInteger1184InCreateFileAlone) {
  const AnsiPath ansi;
  try {
    charset::createFile(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ADD_FAILURE() << "nothing was thrown";
  } catch (int code) {
    EXPECT_EQ(code, 1184);
  }
}

TEST(UnconvertibleList, IsNull) {
  guardedHeapFail(1);
  EXPECT_EQ(charset::ansiList(L"a\0b\0"), nullptr);
  guardedHeapFail(0);
  EXPECT_EQ(charset::ansiList(nullptr), nullptr);
}

}  // namespace
}  // namespace fendrel::test
