#include "mapi_library.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "failure.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

MapiFunctions functions;
std::wstring loadedPath;

std::wstring pathOf(HMODULE module) {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

bool samePath(const std::wstring& one, const std::wstring& other) {
  return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

struct Needed {
  const char* name;
  const char* decorated;  // the only name under which some systems export the utility functions; null: none
};

FARPROC find(HMODULE module, const Needed& needed) {
  FARPROC found = GetProcAddress(module, needed.name);
  if (!found && needed.decorated) found = GetProcAddress(module, needed.decorated);
  return found;
}

constexpr Needed neededFunctions[] = {{"MAPIInitialize", nullptr},
                                      {"MAPIUninitialize", nullptr},
                                      {"MAPILogonEx", nullptr},
                                      {"MAPIAllocateBuffer", nullptr},
                                      {"MAPIAllocateMore", nullptr},
                                      {"MAPIFreeBuffer", nullptr},
                                      {"MAPIOpenFormMgr", nullptr},
                                      {"MAPIAdminProfiles", nullptr},
                                      {"FreeProws", "FreeProws@4"},
                                      {"HrGetOneProp", "HrGetOneProp@12"},
                                      {"HrQueryAllRows", "HrQueryAllRows@24"},
                                      {"FtMulDwDw", "FtMulDwDw@8"},
                                      {"FtNegFt", "FtNegFt@8"}};

template <class F>
void findFunction(HMODULE module, F& function, const char* name) {
  const auto* needed =
      std::ranges::find_if(neededFunctions, [&](const Needed& each) { return std::strcmp(each.name, name) == 0; });
  function = reinterpret_cast<F>(find(module, *needed));
}

}  // namespace

void loadMapi(MapiSubsystem subsystem) {
  if (!loadedPath.empty()) return;
  const bool local = subsystem == MapiSubsystem::local;
  const std::wstring wanted = local ? programFolder() + L"\\store\\MAPI32.DLL" : L"MAPI32.DLL";
  const HMODULE module = LoadLibraryW(wanted.c_str());
  if (!module)
    throw systemFailure(ExitCode::mapiUnusable, fmt::format("MAPI cannot be used, '{}' did not load", toUtf8(wanted)),
                        GetLastError(),
                        local ? "Install fendrel completely, or use the system's MAPI with --mapi system."
                              : "Install an Extended MAPI subsystem, or use --mapi local.");
  loadedPath = pathOf(module);
  if (local && !samePath(loadedPath, wanted)) {
    const std::string other = toUtf8(loadedPath);
    loadedPath.clear();
    throw Failure(ExitCode::mapiUnusable,
                  fmt::format("Instead of the local store '{}' the system loaded '{}'. Under Wine set "
                              "WINEDLLOVERRIDES=mapi32=n,b, or start fendrel by its script.",
                              toUtf8(wanted), other));
  }
  if (const std::vector<std::string> missing = missingMapiFunctions(module); !missing.empty())
    throw failureOf(ExitCode::mapiUnusable, fmt::format("'{}' has no {}", toUtf8(loadedPath), missing.front()),
                    HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND),
                    "It is not a complete Extended MAPI subsystem; use --mapi local, or install one.");
  findFunction(module, functions.initialize, "MAPIInitialize");
  findFunction(module, functions.uninitialize, "MAPIUninitialize");
  findFunction(module, functions.logonEx, "MAPILogonEx");
  findFunction(module, functions.freeBuffer, "MAPIFreeBuffer");
  findFunction(module, functions.adminProfiles, "MAPIAdminProfiles");
  findFunction(module, functions.hrGetOneProp, "HrGetOneProp");
}

std::vector<std::string> missingMapiFunctions(HMODULE library) {
  std::vector<std::string> missing;
  for (const Needed& needed : neededFunctions)
    if (!find(library, needed)) missing.push_back(needed.name);
  return missing;
}

const MapiFunctions& mapi() { return functions; }

const std::wstring& mapiPath() { return loadedPath; }

void checkMapiIsTheOne() {
  const std::wstring named = pathOf(GetModuleHandleW(L"MAPI32.DLL"));
  if (!samePath(named, loadedPath))
    throw Failure(ExitCode::mapiUnusable,
                  fmt::format("The plug-in would use '{}' and not '{}'. Start fendrel by its script, or remove the "
                              "other library from the search path.",
                              toUtf8(named), toUtf8(loadedPath)));
}

}  // namespace fendrel::host
