#include "world.h"

#include <gtest/gtest.h>

namespace model {
namespace {

constexpr std::size_t longestHistory = 25;
constexpr const wchar_t* storeNames[] = {L"Public Folders", L"Mailbox - anna"};

}  // namespace

std::int64_t keyOf(const Message& message) { return message.properties.at(PROP_ID(keyTag)).number; }

World::World(std::uint64_t seed) : random_(seed) {
  SetEnvironmentVariableW(L"FENDREL_STORE", files_.file(L"store.db").c_str());
  EXPECT_EQ(client::library().initialize(nullptr), S_OK);
  {
    ComPtr<IProfAdmin> admin;
    EXPECT_EQ(client::library().adminProfiles(0, &admin), S_OK);
    EXPECT_EQ(admin->CreateProfile(const_cast<LPTSTR>(L"anna"), nullptr, 0, MAPI_UNICODE), S_OK);
  }
  client::library().uninitialize();
  open();
  // The model starts with each store's standard folders.
  for (int store = 0; store < 2; ++store) {
    const int top = nextFolder_++;
    contents_.folders[top] = {.store = store, .parent = top, .isOurs = false};
    contents_.folders[top].entryId = client::getOne(*stores_[store].Get(), PR_IPM_SUBTREE_ENTRYID).bytes;
    const auto table = client::hierarchy(*openFolder(top).Get());
    for (const client::Row& row : client::queryAll(*table.Get(), {PR_DISPLAY_NAME_W, PR_ENTRYID}))
      contents_.folders[nextFolder_++] = {.store = store,
                                          .parent = top,
                                          .name = row[0].text,
                                          .properties = {},
                                          .entryId = row[1].bytes,
                                          .isOurs = false};
  }
}

World::~World() {
  for (auto& store : stores_) store.Reset();
  session_.reset();
  SetEnvironmentVariableW(L"FENDREL_STORE", nullptr);
}

void World::open() {
  session_.emplace(L"anna");
  for (int store = 0; store < 2; ++store) stores_[store] = session_->openStore(storeNames[store]);
}

void World::reopen() {
  note("end of the session, a new one");
  for (auto& store : stores_) store.Reset();
  session_.reset();
  checkDatabase();
  open();
}

void World::note(const std::string& what) {
  history_.push_back(what);
  if (history_.size() > longestHistory) history_.pop_front();
}

std::string World::history() const {
  std::string lines;
  for (const std::string& line : history_) lines += "  " + line + "\n";
  return lines;
}

void World::step() {
  constexpr void (World::*steps[])() = {
      &World::createMessage, &World::createMessage, &World::createMessage,  &World::createMessage,
      &World::createMessage, &World::changeMessage, &World::changeMessage,  &World::changeMessage,
      &World::changeMessage, &World::changeByTwo,   &World::deleteMessages, &World::setReadFlags,
      &World::setReadFlags,  &World::copyOrMove,    &World::copyOrMove,     &World::createFolder,
      &World::createFolder,  &World::renameFolder,  &World::changeFolder};
  if (random_.oneIn(25))
    deleteFolder();
  else if (random_.oneIn(50))
    emptyFolder();
  else
    (this->*random_.of(steps))();
}

ComPtr<IMAPIFolder> World::openFolder(int folder, ULONG flags) {
  const Folder& one = contents_.folders.at(folder);
  return client::openEntry<IMAPIFolder>(*stores_[one.store].Get(), one.entryId, flags);
}

ComPtr<IMessage> World::openMessage(const Message& message, ULONG flags) {
  const int store = contents_.folders.at(message.folder).store;
  return client::openEntry<IMessage>(*stores_[store].Get(), message.entryId, flags);
}

int World::anyOwnFolder() {
  std::vector<int> own;
  for (const auto& [id, folder] : contents_.folders)
    if (folder.isOurs) own.push_back(id);
  return own.empty() ? -1 : random_.of(own);
}

std::vector<int> World::someMessages(int folder) {
  std::map<std::int64_t, int> chosen;
  for (const bool associated : {false, true})
    for (const int id : contents_.messagesIn(folder, associated))
      if (random_.oneIn(3)) chosen.try_emplace(keyOf(contents_.messages.at(id)), id);
  std::vector<int> some;
  for (const auto& [key, id] : chosen) some.push_back(id);
  return some;
}

}  // namespace model
