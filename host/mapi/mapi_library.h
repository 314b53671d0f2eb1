// The MAPI library of this process: which one, and its functions.
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
  system  // what the system finds under the name MAPI32.DLL
};

// Loads the library, for as long as the process lives, so that everyone who then asks for "MAPI32.DLL" gets this one.
// Throws Failure(mapiUnusable) with the reason.
void loadMapi(MapiSubsystem subsystem);

// The names of the functions that the library must have and has not.
std::vector<std::string> missingMapiFunctions(HMODULE library);

// The functions of the loaded library.
const MapiFunctions& mapi();

// The full path of the loaded library.
const std::wstring& mapiPath();

// Throws Failure(mapiUnusable) unless the name "MAPI32.DLL" leads to the loaded library.
void checkMapiIsTheOne();

}  // namespace fendrel::host
