#include "session.h"

#include <mapiutil.h>

#include <fmt/format.h>

#include <algorithm>

#include "error_words.h"
#include "folder_path.h"
#include "text.h"

namespace fendrel::host {
namespace {

// "It has 'Daily', 'Weekly' and 3 more."
std::string whatThereIs(const std::vector<std::wstring>& names, std::wstring_view wanted) {
  for (const std::wstring& name : names)
    if (CompareStringOrdinal(name.c_str(), static_cast<int>(name.size()), wanted.data(),
                             static_cast<int>(wanted.size()), TRUE) == CSTR_EQUAL)
      return fmt::format("There is '{}': upper and lower case count.", printable(name));
  if (names.empty()) return "There is none.";
  constexpr std::size_t shown = 8;
  std::string list;
  for (std::size_t index = 0; index < names.size() && index < shown; ++index)
    list += fmt::format("{}'{}'", index == 0 ? "" : ", ", printable(names[index]));
  if (names.size() > shown) list += fmt::format(" and {} more", names.size() - shown);
  return fmt::format("There is {}.", list);
}

template <class Entry>
std::vector<std::wstring> namesOf(const std::vector<Entry>& entries) {
  std::vector<std::wstring> names;
  names.reserve(entries.size());
  for (const Entry& entry : entries) names.push_back(entry.name);
  return names;
}

}  // namespace

MapiStart::MapiStart() { check(mapi().initialize(nullptr), ExitCode::mapiUnusable, "MAPI did not start"); }

MapiStart::~MapiStart() { mapi().uninitialize(); }

Session::Session(const std::wstring& profile, const std::wstring& password) : profileName_(profile) {
  const ULONG flags = MAPI_UNICODE | MAPI_NO_MAIL | MAPI_EXTENDED | MAPI_NEW_SESSION;
  const HRESULT code =
      mapi().logonEx(0, asMapiText(profile), password.empty() ? nullptr : asMapiText(password), flags, &session_);
  check(code, ExitCode::mapiUnusable, fmt::format("Profile '{}' cannot be used", printable(profile)));
}

Session::~Session() {
  if (session_) session_->Logoff(0, 0, 0);
}

std::vector<StoreEntry> Session::stores() {
  const std::string subject = fmt::format("The list of message stores of profile '{}'", printable(profileName_));
  ComPtr<IMAPITable> table;
  check(session_->GetMsgStoresTable(0, &table), ExitCode::mapiUnusable, subject + " cannot be opened", *session_.Get());
  setColumns(*table.Get(), {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_DEFAULT_STORE}, subject);
  std::vector<StoreEntry> found;
  forEachRow(*table.Get(), subject, [&](const SRow& row) {
    found.push_back({textAt(row, 0, PR_DISPLAY_NAME_W), bytesAt(row, 1, PR_ENTRYID), flagAt(row, 2, PR_DEFAULT_STORE)});
  });
  return found;
}

ComPtr<IMsgStore> Session::openStore(const StoreEntry& store, bool toWrite) {
  ComPtr<IMsgStore> opened;
  const ULONG flags = MDB_NO_DIALOG | (toWrite ? MDB_WRITE : 0);
  const HRESULT code =
      session_->OpenMsgStore(0, static_cast<ULONG>(store.id.size()), asEntryId(store.id), nullptr, flags, &opened);
  check(code, folderExitCode(code), fmt::format("Message store '{}' cannot be opened", printable(store.name)),
        *session_.Get());
  return opened;
}

ComPtr<IMAPIFolder> Session::openTop(IMsgStore& store, const std::wstring& storeName) {
  MapiBuffer<SPropValue> id;
  const HRESULT code = mapi().hrGetOneProp(&store, PR_IPM_SUBTREE_ENTRYID, receive(id));
  check(code, folderExitCode(code), fmt::format("Message store '{}' has no folders", printable(storeName)));
  const auto* bytes = id->Value.bin.lpb;
  return openFolder(store, EntryId(bytes, bytes + id->Value.bin.cb), storeName, false);
}

ComPtr<IMAPIFolder> Session::openFolder(IMsgStore& store, const EntryId& id, const std::wstring& path, bool toWrite) {
  ULONG type = 0;
  ComPtr<IUnknown> opened;
  const std::string subject = fmt::format("Folder '{}' cannot be opened", printable(path));
  HRESULT code = store.OpenEntry(static_cast<ULONG>(id.size()), asEntryId(id), nullptr,
                                 toWrite ? MAPI_MODIFY : MAPI_BEST_ACCESS, &type, &opened);
  check(code, folderExitCode(code), subject);
  if (type != MAPI_FOLDER) throw failureOf(ExitCode::folderRefused, subject, MAPI_E_NOT_FOUND);
  ComPtr<IMAPIFolder> folder;
  code = opened.CopyTo(IID_IMAPIFolder, reinterpret_cast<void**>(folder.GetAddressOf()));
  check(code, ExitCode::folderRefused, subject);
  return folder;
}

std::vector<FolderEntry> Session::foldersOf(IMAPIFolder& folder, const std::wstring& path) {
  const std::string subject = fmt::format("The folders of '{}'", printable(path));
  ComPtr<IMAPITable> table;
  const HRESULT code = folder.GetHierarchyTable(MAPI_UNICODE, &table);
  check(code, folderExitCode(code), subject + " cannot be opened");
  setColumns(*table.Get(), {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_CONTENT_COUNT, PR_SUBFOLDERS}, subject);
  std::vector<FolderEntry> found;
  forEachRow(*table.Get(), subject, [&](const SRow& row) {
    found.push_back({textAt(row, 0, PR_DISPLAY_NAME_W), bytesAt(row, 1, PR_ENTRYID), numberAt(row, 2, PR_CONTENT_COUNT),
                     flagAt(row, 3, PR_SUBFOLDERS)});
  });
  return found;
}

std::uint64_t Session::countMessages(const StoreEntry& store) {
  const std::string subject = fmt::format("The folders of '{}'", printable(store.name));
  const ComPtr<IMsgStore> opened = openStore(store, false);
  ComPtr<IMAPIFolder> root;
  ULONG type = 0;
  check(opened->OpenEntry(0, nullptr, nullptr, 0, &type, reinterpret_cast<LPUNKNOWN*>(root.GetAddressOf())),
        ExitCode::failed, subject + " cannot be opened");
  ComPtr<IMAPITable> table;
  check(root->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, &table), ExitCode::failed,
        subject + " cannot be opened");
  setColumns(*table.Get(), {PR_CONTENT_COUNT, PR_ASSOC_CONTENT_COUNT}, subject);
  std::uint64_t messages = 0;
  forEachRow(*table.Get(), subject, [&](const SRow& row) {
    messages += std::uint64_t{numberAt(row, 0, PR_CONTENT_COUNT)} + numberAt(row, 1, PR_ASSOC_CONTENT_COUNT);
  });
  return messages;
}

OpenFolder Session::walk(std::wstring_view path, bool create, std::vector<std::wstring>* created) {
  std::vector<std::wstring> made;
  try {
    OpenFolder folder = walk(path, create, create, &made);
    if (created) created->insert(created->end(), made.begin(), made.end());
    return folder;
  } catch (const Failure& failure) {
    if (made.empty()) throw;
    std::string words = failure.what();
    for (const std::wstring& folder : made)
      words += fmt::format(" Folder '{}' was made before that.", printable(folder));
    throw Failure(failure.exitCode(), words, failure.code());
  }
}

OpenFolder Session::walkToChange(std::wstring_view path) { return walk(path, false, true, nullptr); }

OpenFolder Session::walk(std::wstring_view path, bool create, bool toWrite, std::vector<std::wstring>* created) {
  if (path.empty()) throw Failure(ExitCode::wrongUsage, "The folder path is empty. It begins with a message store.");
  const std::vector<StoreEntry> allStores = stores();
  std::vector<std::wstring> names = namesOf(allStores);
  std::optional<PathStep> step = matchFront(path, names);
  if (!step)
    throw Failure(ExitCode::folderRefused,
                  fmt::format("Message store '{}' was not found (MAPI_E_NOT_FOUND, 0x8004010F). {}",
                              printable(firstComponent(path)), whatThereIs(names, firstComponent(path))),
                  MAPI_E_NOT_FOUND);
  const StoreEntry& store = allStores[step->index];
  OpenFolder current{openStore(store, toWrite), nullptr, store.name, {store.name}};
  current.folder = openTop(*current.store.Get(), store.name);
  while (step->rest) {
    const std::wstring_view rest = *step->rest;
    const std::vector<FolderEntry> folders = foldersOf(*current.folder.Get(), current.path);
    names = namesOf(folders);
    step = matchFront(rest, names);
    if (step) {
      current.path += L'@' + names[step->index];
      current.names.push_back(names[step->index]);
      current.folder = openFolder(*current.store.Get(), folders[step->index].id, current.path, false);
      continue;
    }
    const std::wstring name(firstComponent(rest));
    if (!create || name.empty())
      throw Failure(ExitCode::folderRefused,
                    fmt::format("Folder '{}' was not found in '{}' (MAPI_E_NOT_FOUND, 0x8004010F). {}", printable(name),
                                printable(current.path), whatThereIs(names, name)),
                    MAPI_E_NOT_FOUND);
    if (!isPlainName(name))
      throw Failure(
          ExitCode::folderRefused,
          fmt::format("Folder '{}' was not made: its name is blank, or holds control characters.", printable(name)));
    if (name.size() > longestName)
      throw Failure(ExitCode::folderRefused,
                    fmt::format("Folder '{}' was not made: its name has {} characters, and reports can be posted to "
                                "names of at most {}. Choose a shorter name.",
                                printable(name), name.size(), longestName));
    ComPtr<IMAPIFolder> made;
    // Another process may be creating the same folder.
    const HRESULT code = current.folder->CreateFolder(FOLDER_GENERIC, asMapiText(name), nullptr, nullptr,
                                                      MAPI_UNICODE | OPEN_IF_EXISTS, &made);
    check(code, folderExitCode(code),
          fmt::format("Folder '{}' cannot be made in '{}'", printable(name), printable(current.path)),
          *current.folder.Get());
    current.path += L'@' + name;
    current.names.push_back(name);
    current.folder = made;
    if (created) created->push_back(current.path);
    step = PathStep{0, behindFirstComponent(rest)};
  }
  return current;
}

OpenFolder Session::personalReports(bool toWrite) {
  const std::vector<StoreEntry> allStores = stores();
  const auto store = std::ranges::find_if(allStores, &StoreEntry::isDefault);
  if (store == allStores.end())
    throw Failure(ExitCode::folderRefused,
                  fmt::format("Profile '{}' has no default message store, which personal reports go to "
                              "(MAPI_E_NOT_FOUND, 0x8004010F).",
                              printable(profileName_)),
                  MAPI_E_NOT_FOUND);
  OpenFolder found{openStore(*store, toWrite), nullptr, L"Personal reports of " + store->name, {}};
  MapiBuffer<SPropValue> id;
  const HRESULT code = mapi().hrGetOneProp(found.store.Get(), PR_COMMON_VIEWS_ENTRYID, receive(id));
  check(code, folderExitCode(code),
        fmt::format("Message store '{}' has no place for personal reports", printable(store->name)));
  const auto* bytes = id->Value.bin.lpb;
  found.folder = openFolder(*found.store.Get(), EntryId(bytes, bytes + id->Value.bin.cb), found.path, false);
  return found;
}

}  // namespace fendrel::host
