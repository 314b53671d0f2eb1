// The MAPI subsystem that the contract is tested on. Each program is linked with one implementation: the recording
// double, the local store, or the local store with a profile of a mail server.
#pragma once

#include <string>
#include <vector>

#include "local_mapi.h"

namespace contract {

// Makes a new world: the profile "Ada" with this password (null: none), a default store, and the store
// "Public Folders" with the folder Reports and these folders in it. A test with more than one only reads them.
void makeWorld(const wchar_t* password, const std::vector<std::wstring>& foldersInReports);

// Called when the world is no longer used; anything left open fails the test.
void dropWorld();

// Loads the MAPI32.DLL at that path of the build folder; ends the program when it is incomplete.
LocalMapi loadMapi(const wchar_t* path);

}  // namespace contract
