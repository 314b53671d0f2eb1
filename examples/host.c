/* Posts files into a folder through FENDREL.DLL, which the linker has bound:
 *
 *   host PROFILE FOLDER FILE...
 *   host nightly "Public Folders@Reports@Daily" C:\reports\sales.pdf
 *
 * Each file is an export of its own, because an export returns its last file's result. Files have full paths. The exit
 * code is 0 if every file was posted. */
#include <fendrel/fendrel.h>
#include <stdio.h>
#include <wchar.h>

/* Loads the local store from a subfolder, where Windows does not look for MAPI32.DLL, before the plug-in starts.
 * Without this the plug-in uses the machine's own MAPI. */
static void load_local_store(void) {
  wchar_t path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(NULL, path, MAX_PATH);
  wchar_t *name = length > 0 && length < MAX_PATH ? wcsrchr(path, L'\\') : NULL;
  if (name == NULL || name - path > MAX_PATH - 20) return;
  wcscpy(name, L"\\store\\MAPI32.DLL");
  LoadLibraryW(path);
}

static uint32_t post(wchar_t *profile, wchar_t *folder, const wchar_t *file) {
  wchar_t no_password[] = L"";
  DestinationOptions choice = {0};
  choice.version = FENDREL_OPTIONS_VERSION;
  choice.profileName = profile;
  choice.profilePassword = no_password;
  choice.destinationType = FENDREL_FOLDER_REPORT;
  choice.folderPath = folder;

  const wchar_t *backslash = wcsrchr(file, L'\\');
  FendrelFileDescription description = {0};
  description.size = sizeof description;
  description.nameGiven = 1; /* the report is named after it */
  description.givenName = backslash ? backslash + 1 : file;
  const FendrelFileDescription *const descriptions[] = {&description};
  FendrelFileList list = {0};
  list.size = sizeof list;
  list.fileCount = 1;
  list.files = descriptions;

  FendrelJob job = 0;
  FendrelResult *result = NULL;
  uint32_t code = NRVInitExportDestinationW(NULL, 0, &choice, &list, &job, &result);
  if (code != FENDREL_SUCCESS) {
    fwprintf(stderr, L"%ls: the logon failed with code %u\n", file, code);
    return code;
  }
  const wchar_t *const paths[] = {file};
  FendrelExportDescription files = {0};
  files.size = sizeof files;
  files.fileCount = 1;
  files.filePaths = paths;
  code = NRVExportToDestinationW(job, &files);
  if (code != FENDREL_SUCCESS) {
    const wchar_t *words = NRVGetErrorTextW(job);
    fwprintf(stderr, L"%ls: code %u. %ls\n", file, code, words ? words : L"");
  }
  NRVTermExportDestinationW(job); /* always 0 */
  return code;
}

int wmain(int count, wchar_t **arguments) {
  if (count < 4) {
    fputws(L"host PROFILE FOLDER FILE...\n", stderr);
    return 2;
  }
  load_local_store();
  const uint32_t code = NRVInitializeW();
  if (code != FENDREL_SUCCESS) {
    fwprintf(stderr, L"The plug-in does not start: code %u\n", code);
    return 1;
  }
  int failed = 0;
  for (int i = 3; i < count; ++i) failed += post(arguments[1], arguments[2], arguments[i]) != FENDREL_SUCCESS;
  NRVTerminateW(); /* always 0 */
  return failed > 0;
}
