#include "charset_shell.h"

#include <cstring>
#include <cwchar>

#include "charset_ansi.h"

namespace fendrel::charset {
namespace {

// The ANSI form of a buffer that the dialog reads and writes, with two bytes per character. False if its text cannot be
// converted.
bool ansiCopy(const wchar_t* buffer, DWORD size, HeapAnsiText& ansi) noexcept {
  if (!buffer || size == 0) return true;
  ansi = ansiBuffer(2 * static_cast<std::size_t>(size));
  const int length = static_cast<int>(wcsnlen(buffer, size));
  if (!ansi || length == 0) return ansi != nullptr;
  if (WideCharToMultiByte(CP_ACP, 0, buffer, length, ansi.get(), 2 * static_cast<int>(size), nullptr, nullptr) != 0)
    return true;
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return false;
}

// The length of a custom filter: a description and the user's last pattern, each terminated. 0 if it does not end
// within its buffer.
DWORD customFilterLength(const wchar_t* filter, DWORD size) noexcept {
  const std::size_t description = wcsnlen(filter, size) + 1;
  if (description >= size) return 0;
  const std::size_t length = description + wcsnlen(filter + description, size - description) + 1;
  return length <= size ? static_cast<DWORD>(length) : 0;
}

// The number of characters in the first `bytes` bytes: converts a position in the ANSI path to one in the wide path.
WORD widePosition(const char* path, WORD bytes) noexcept {
  return bytes == 0 ? 0 : static_cast<WORD>(MultiByteToWideChar(CP_ACP, 0, path, bytes, nullptr, 0));
}

}  // namespace

BOOL shellExecuteEx(SHELLEXECUTEINFOW* info) noexcept {
  if (!g_bUseAnsi) return ShellExecuteExW(info);
  if (!info) return FALSE;
  // Members that the mask does not select may be uninitialised.
  const bool namesFile = (info->fMask & SEE_MASK_IDLIST) == 0;
  const bool namesClass = (info->fMask & SEE_MASK_CLASSKEY) == SEE_MASK_CLASSNAME;
  const AnsiArgument verb(info->lpVerb), file(namesFile ? info->lpFile : nullptr), parameters(info->lpParameters),
      directory(info->lpDirectory), className(namesClass ? info->lpClass : nullptr);
  for (const AnsiArgument* text : {&verb, &file, &parameters, &directory, &className})
    if (!text->isOk()) return FALSE;
  SHELLEXECUTEINFOA ansi;
  static_assert(sizeof ansi == sizeof *info);
  std::memcpy(&ansi, info, sizeof ansi);
  ansi.lpVerb = verb.get();
  ansi.lpFile = file.get();
  ansi.lpParameters = parameters.get();
  ansi.lpDirectory = directory.get();
  ansi.lpClass = className.get();
  const BOOL done = ShellExecuteExA(&ansi);
  info->hInstApp = ansi.hInstApp;
  info->hProcess = ansi.hProcess;
  return done;
}

BOOL getSaveFileName(OPENFILENAMEW* dialog) noexcept {
  if (!g_bUseAnsi) return GetSaveFileNameW(dialog);
  if (!dialog) return FALSE;
  const HeapAnsiText filter = ansiList(dialog->lpstrFilter);
  const AnsiArgument folder(dialog->lpstrInitialDir), title(dialog->lpstrTitle), extension(dialog->lpstrDefExt);
  const AnsiArgument templateName = ansiName(dialog->lpTemplateName);
  if ((dialog->lpstrFilter && !filter) || !folder.isOk() || !title.isOk() || !extension.isOk() || !templateName.isOk())
    return FALSE;
  HeapAnsiText file, fileTitle, customFilter;
  if (!ansiCopy(dialog->lpstrFile, dialog->nMaxFile, file) ||
      !ansiCopy(dialog->lpstrFileTitle, dialog->nMaxFileTitle, fileTitle))
    return FALSE;
  if (dialog->lpstrCustomFilter) {
    const DWORD length = customFilterLength(dialog->lpstrCustomFilter, dialog->nMaxCustFilter);
    if (length == 0) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return FALSE;
    }
    customFilter = ansiBuffer(2 * static_cast<std::size_t>(dialog->nMaxCustFilter));
    if (!customFilter) return FALSE;
    WideCharToMultiByte(CP_ACP, 0, dialog->lpstrCustomFilter, static_cast<int>(length), customFilter.get(),
                        2 * static_cast<int>(dialog->nMaxCustFilter), nullptr, nullptr);
  }

  OPENFILENAMEA ansi;
  static_assert(sizeof ansi == sizeof *dialog);
  std::memcpy(&ansi, dialog, sizeof ansi);
  ansi.lpstrFilter = filter.get();
  ansi.lpstrCustomFilter = customFilter.get();
  ansi.nMaxCustFilter = 2 * dialog->nMaxCustFilter;
  ansi.lpstrFile = file.get();
  ansi.nMaxFile = 2 * dialog->nMaxFile;
  ansi.lpstrFileTitle = fileTitle.get();
  ansi.nMaxFileTitle = 2 * dialog->nMaxFileTitle;
  ansi.lpstrInitialDir = folder.get();
  ansi.lpstrTitle = title.get();
  ansi.lpstrDefExt = extension.get();
  ansi.lpTemplateName = templateName.get();
  const BOOL chosen = GetSaveFileNameA(&ansi);
  if (!chosen) {
    dialog->nFilterIndex = ansi.nFilterIndex;
    dialog->Flags = ansi.Flags;
    return FALSE;
  }

  std::size_t filterLength = 0;
  if (customFilter) {
    const std::size_t description = std::strlen(customFilter.get()) + 1;
    filterLength = description + std::strlen(customFilter.get() + description);
  }
  const WideResult wideFile(file.get()), wideTitle(fileTitle.get());
  const WideResult wideFilter(customFilter.get(), static_cast<int>(filterLength));
  if (!wideFile.isOk() || !wideTitle.isOk() || !wideFilter.isOk()) return FALSE;
  if (file && static_cast<DWORD>(wideFile.length()) >= dialog->nMaxFile) return FALSE;

  dialog->nFilterIndex = ansi.nFilterIndex;
  dialog->Flags = ansi.Flags;
  if (file) {
    wideFile.copyTo(dialog->lpstrFile, static_cast<int>(dialog->nMaxFile));
    dialog->nFileOffset = widePosition(file.get(), ansi.nFileOffset);
    dialog->nFileExtension = widePosition(file.get(), ansi.nFileExtension);
  }
  if (fileTitle) wideTitle.copyTo(dialog->lpstrFileTitle, static_cast<int>(dialog->nMaxFileTitle));
  if (customFilter) wideFilter.copyTo(dialog->lpstrCustomFilter, static_cast<int>(dialog->nMaxCustFilter));
  return TRUE;
}

}  // namespace fendrel::charset
