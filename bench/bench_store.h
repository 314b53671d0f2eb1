// The local store for both ways of posting: loaded, with a profile and a folder.
#pragma once

#include <windows.h>

#include <mapix.h>
#include <wrl/client.h>

#include <string>
#include <vector>

namespace fendrel::bench {

using Microsoft::WRL::ComPtr;

inline constexpr wchar_t profileName[] = L"Bench";
inline constexpr wchar_t storeName[] = L"Public Folders";
inline constexpr wchar_t folderName[] = L"Bench";

// The entry points of the local store that this program calls.
struct Mapi {
  LPMAPIINITIALIZE initialize;
  LPMAPIUNINITIALIZE uninitialize;
  LPMAPILOGONEX logonEx;
  LPMAPIALLOCATEBUFFER allocateBuffer;
  LPMAPIFREEBUFFER freeBuffer;
  LPMAPIADMINPROFILES adminProfiles;
  HRESULT(STDAPICALLTYPE* getOneProp)(IMAPIProp*, ULONG, SPropValue**);
};

// Ends the program with a message if `result` is a failure.
void require(HRESULT result, const char* what);

// Loads <build>/bin/store/MAPI32.DLL with its database at `store`, and makes profile and folder once.
Mapi openStore(const std::wstring& buildFolder, const std::wstring& store);

// Logs on and opens the target folder for writing.
struct OpenFolder {
  ComPtr<IMAPISession> session;
  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> folder;
  std::vector<BYTE> identity, searchKey;  // of the user who is logged on
};
OpenFolder openFolder(const Mapi& mapi);

}  // namespace fendrel::bench
