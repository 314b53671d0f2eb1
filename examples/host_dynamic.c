/* Lets the user choose profile and folder in the plug-in's dialogs and posts one file there. The plug-in is loaded at
 * run time, so that the program starts without it:
 *
 *   host_dynamic FILE
 *   host_dynamic FILE PROFILE FOLDER      without a dialog */
#include <fendrel/fendrel.h>
#include <stdio.h>
#include <wchar.h>

/* What this program calls. */
typedef struct Plugin {
  FendrelInitializeW_t initialize;
  FendrelTerminateW_t terminate;
  FendrelInitExportDestinationW_t set_up;
  FendrelExportToDestinationW_t export_files;
  FendrelGetErrorTextW_t error_text;
  FendrelTermExportDestinationW_t end;
} Plugin;

static FARPROC find(HMODULE library, const char *name, int *missing) {
  const FARPROC found = GetProcAddress(library, name);
  if (found == NULL) {
    fprintf(stderr, "FENDREL.DLL has no %s\n", name);
    *missing = 1;
  }
  return found;
}

static int load(Plugin *plugin) {
  /* Beside this program; a full path works too. */
  const HMODULE library = LoadLibraryW(L"FENDREL.DLL");
  if (library == NULL) {
    fprintf(stderr, "FENDREL.DLL does not load: error %lu\n", GetLastError());
    return 0;
  }
  int missing = 0;
  plugin->initialize = (FendrelInitializeW_t)find(library, "NRVInitializeW", &missing);
  plugin->terminate = (FendrelTerminateW_t)find(library, "NRVTerminateW", &missing);
  plugin->set_up = (FendrelInitExportDestinationW_t)find(library, "NRVInitExportDestinationW", &missing);
  plugin->export_files = (FendrelExportToDestinationW_t)find(library, "NRVExportToDestinationW", &missing);
  plugin->error_text = (FendrelGetErrorTextW_t)find(library, "NRVGetErrorTextW", &missing);
  plugin->end = (FendrelTermExportDestinationW_t)find(library, "NRVTermExportDestinationW", &missing);
  return !missing;
}

static uint32_t post(const Plugin *plugin, const wchar_t *file, wchar_t *profile, wchar_t *folder) {
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
  description.nameGiven = 1;
  description.givenName = backslash ? backslash + 1 : file;
  const FendrelFileDescription *const descriptions[] = {&description};
  FendrelFileList list = {0};
  list.size = sizeof list;
  list.fileCount = 1;
  list.files = descriptions;

  /* Without a choice the plug-in asks; the foreground window owns its dialogs. */
  FendrelJob job = 0;
  FendrelResult *result = NULL;
  uint32_t code = plugin->set_up(GetForegroundWindow(), 0, profile ? &choice : NULL, &list, &job, &result);
  if (code == FENDREL_CANCELLED) return code; /* by the user: no message needed */
  if (code != FENDREL_SUCCESS) {
    fprintf(stderr, "The set-up failed with code %u\n", code);
    return code;
  }
  const wchar_t *const paths[] = {file};
  FendrelExportDescription files = {0};
  files.size = sizeof files;
  files.fileCount = 1;
  files.filePaths = paths;
  code = plugin->export_files(job, &files);
  if (code != FENDREL_SUCCESS) {
    const wchar_t *words = plugin->error_text(job);
    fwprintf(stderr, L"%ls: code %u. %ls\n", file, code, words ? words : L"");
  }
  plugin->end(job);
  return code;
}

int wmain(int count, wchar_t **arguments) {
  Plugin plugin;
  if (count != 2 && count != 4) {
    fputws(L"host_dynamic FILE [PROFILE FOLDER]\n", stderr);
    return 2;
  }
  if (!load(&plugin)) return 1;
  uint32_t code = plugin.initialize();
  if (code != FENDREL_SUCCESS) {
    fprintf(stderr, "The plug-in does not start: code %u\n", code);
    return 1;
  }
  code = post(&plugin, arguments[1], count == 4 ? arguments[2] : NULL, count == 4 ? arguments[3] : NULL);
  plugin.terminate();
  return code != FENDREL_SUCCESS;
}
