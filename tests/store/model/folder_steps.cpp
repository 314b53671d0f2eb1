// Steps that make, name, change and delete folders.
#include <gtest/gtest.h>

#include "world.h"

namespace model {
namespace {

constexpr std::size_t mostFolders = 24;

}  // namespace

void World::createFolder() {
  if (contents_.folders.size() > mostFolders) return;
  const int parent = anyFolder();
  const std::wstring name = random_.text(1 + random_.below(3));
  const bool openIfThere = random_.oneIn(3);
  const int known = contents_.folderNamed(parent, name);
  note("folder " + std::to_string(nextFolder_) + " in " + std::to_string(parent) + (known < 0 ? "" : ", taken name"));
  ComPtr<IMAPIFolder> made;
  const HRESULT result =
      openFolder(parent)->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(name.c_str()), nullptr, nullptr,
                                       MAPI_UNICODE | (openIfThere ? OPEN_IF_EXISTS : 0), &made);
  if (known >= 0 && !openIfThere) {
    EXPECT_EQ(result, MAPI_E_COLLISION);
    return;
  }
  ASSERT_EQ(result, S_OK);
  const Bytes id = client::getOne(*made.Get(), PR_ENTRYID).bytes;
  if (known >= 0) {
    EXPECT_EQ(id, contents_.folders.at(known).entryId);
    return;
  }
  contents_.folders[nextFolder_++] = {
      .store = contents_.folders.at(parent).store, .parent = parent, .name = name, .properties = {}, .entryId = id};
}

void World::renameFolder() {
  const int folder = anyOwnFolder();
  if (folder < 0) return;
  Folder& one = contents_.folders.at(folder);
  const std::wstring name = random_.text(1 + random_.below(3));
  const int known = contents_.folderNamed(one.parent, name);
  note("folder " + std::to_string(folder) + " gets another name");
  Sending sending({{.tag = PR_DISPLAY_NAME_W, .text = name}});
  const HRESULT result = openFolder(folder)->SetProps(1, sending.values(), nullptr);
  EXPECT_EQ(result, known >= 0 && known != folder ? MAPI_E_COLLISION : S_OK);
  if (result == S_OK) one.name = name;
}

// What is set on a folder takes effect at once.
void World::changeFolder() {
  const int folder = anyFolder();
  note("properties of folder " + std::to_string(folder));
  Folder& one = contents_.folders.at(folder);
  const ComPtr<IMAPIFolder> real = openFolder(folder);
  const ULONG id = random_.propertyId();
  if (random_.oneIn(4))
    removeSome(*real.Get(), one.properties, id);
  else
    setSome(*real.Get(), one.properties, id);
}

void World::deleteFolder() {
  const int folder = anyOwnFolder();
  if (folder < 0) return;
  const Folder one = contents_.folders.at(folder);
  const bool withFolders = random_.oneIn(2), withMessages = random_.oneIn(2);
  note("deletes folder " + std::to_string(folder));
  bool hasMessages = false;
  for (const int below : contents_.treeOf(folder))
    for (const bool associated : {false, true}) hasMessages |= !contents_.messagesIn(below, associated).empty();
  const bool hasFolders = !contents_.childrenOf(folder).empty();
  const HRESULT result = openFolder(one.parent)
                             ->DeleteFolder(client::sizeOf(one.entryId), client::entryId(one.entryId), 0, nullptr,
                                            (withFolders ? DEL_FOLDERS : 0) | (withMessages ? DEL_MESSAGES : 0));
  HRESULT expected = S_OK;
  if (hasFolders && !withFolders)
    expected = MAPI_E_HAS_FOLDERS;
  else if (hasMessages && !withMessages)
    expected = MAPI_E_HAS_MESSAGES;
  ASSERT_EQ(result, expected);
  if (result == S_OK) contents_.eraseTree(folder);
}

void World::emptyFolder() {
  const int folder = anyOwnFolder();
  if (folder < 0) return;
  const bool withAssociated = random_.oneIn(2);
  note("empties folder " + std::to_string(folder));
  ASSERT_EQ(openFolder(folder)->EmptyFolder(0, nullptr, withAssociated ? DEL_ASSOCIATED : 0), S_OK);
  for (const int child : contents_.childrenOf(folder)) contents_.eraseTree(child);
  std::erase_if(contents_.messages, [&](const auto& message) {
    return message.second.folder == folder && (withAssociated || !message.second.associated);
  });
}

}  // namespace model
