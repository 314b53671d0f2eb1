// A MAPI session with its message stores and folders.
#pragma once

#include <mapix.h>
#include <wrl/client.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mapi_rows.h"

namespace fendrel::host {

// MAPI declares texts that it only reads as writable.
inline LPWSTR asMapiText(const std::wstring& text) { return const_cast<LPWSTR>(text.c_str()); }

using Microsoft::WRL::ComPtr;

// Keeps MAPI initialised during its lifetime.
class MapiStart {
 public:
  MapiStart();  // throws Failure(mapiUnusable)
  ~MapiStart();
  MapiStart(const MapiStart&) = delete;
  MapiStart& operator=(const MapiStart&) = delete;
};

struct StoreEntry {
  std::wstring name;
  EntryId id;
  bool isDefault = false;
};

struct FolderEntry {
  std::wstring name;
  EntryId id;
  ULONG messages = 0;
  bool hasFolders = false;
};

// An open folder and its store.
struct OpenFolder {
  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> folder;
  std::wstring path;
  std::vector<std::wstring> names;  // the components of the path
};

class Session {
 public:
  // Logs on without any dialog. Throws Failure(mapiUnusable).
  Session(const std::wstring& profile, const std::wstring& password);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const std::wstring& profile() const { return profileName_; }
  std::vector<StoreEntry> stores();
  ComPtr<IMsgStore> openStore(const StoreEntry& store, bool toWrite);
  // The root of the folders that users see.
  ComPtr<IMAPIFolder> openTop(IMsgStore& store, const std::wstring& storeName);
  // In all its folders, hidden messages included.
  std::uint64_t countMessages(const StoreEntry& store);
  std::vector<FolderEntry> foldersOf(IMAPIFolder& folder, const std::wstring& path);
  ComPtr<IMAPIFolder> openFolder(IMsgStore& store, const EntryId& id, const std::wstring& path, bool toWrite);

  // Opens the folder of a path; with `create` creates missing folders (never a store) and adds their paths to
  // `created`. Throws Failure(folderRefused), listing the existing folders.
  OpenFolder walk(std::wstring_view path, bool create = false, std::vector<std::wstring>* created = nullptr);

  // The same, for a folder that will be changed or deleted; nothing is created.
  OpenFolder walkToChange(std::wstring_view path);

  // The folder of personal reports: Common Views of the default store.
  OpenFolder personalReports(bool toWrite = false);

 private:
  OpenFolder walk(std::wstring_view path, bool create, bool toWrite, std::vector<std::wstring>* created);

  MapiStart start_;
  std::wstring profileName_;
  ComPtr<IMAPISession> session_;
};

}  // namespace fendrel::host
