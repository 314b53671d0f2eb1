// The MAPI library of this process and its functions.
#pragma once

#include <mapiutil.h>
#include <mapix.h>

#include <string>
#include <vector>

namespace fendrel::host {

struct MapiFunctions {
  decltype(&MAPIInitialize) initialize = nullptr;
  decltype(&MAPIUninitialize) uninitialize = nullptr;
  decltype(&MAPILogonEx) logonEx = nullptr;
  decltype(&MAPIFreeBuffer) freeBuffer = nullptr;
  decltype(&MAPIAdminProfiles) adminProfiles = nullptr;
  decltype(&HrGetOneProp) hrGetOneProp = nullptr;
};

enum class MapiSubsystem {
  local,  // store\MAPI32.DLL beside this program
  system  // the MAPI32.DLL that the system finds by name
};

// Loads the library for the lifetime of the process, so that later requests for "MAPI32.DLL" get this one. Throws
// Failure(mapiUnusable) with the reason.
void loadMapi(MapiSubsystem subsystem);

// The names of required functions that the library lacks.
std::vector<std::string> missingMapiFunctions(HMODULE library);

// The functions of the loaded library.
const MapiFunctions& mapi();

// The full path of the loaded library.
const std::wstring& mapiPath();

// Throws Failure(mapiUnusable) unless the name "MAPI32.DLL" gives the loaded library.
void checkMapiIsTheOne();

}  // namespace fendrel::host
