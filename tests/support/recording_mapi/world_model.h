// The world that the double's interfaces show: profiles, stores, folders and the messages that a client posted.
#pragma once

#include <map>
#include <memory>
#include <optional>

#include "properties.h"

namespace recording {

struct Folder;

struct Attachment {
  PropertyBag properties;
  Bytes content;
  bool saved = false;
};

// A message as its creator sees it; `saved` is what everyone else sees.
struct Message {
  struct Saved {
    PropertyBag properties;
    std::vector<Attachment> attachments;
  };

  std::string label;
  Folder* folder = nullptr;
  Bytes entryId;
  bool associated = false;
  PropertyBag properties;
  std::vector<std::shared_ptr<Attachment>> attachments;
  std::optional<Saved> saved;
  std::vector<uint32_t> readFlags;
};

struct Folder {
  std::string label;  // "Public Folders@Reports"
  Bytes entryId;
  PropertyBag properties;
  std::vector<Folder*> children;
  std::vector<Message*> messages;
};

struct Store {
  std::string label;
  Bytes entryId;
  PropertyBag properties;
  PropertyBag row;  // in the stores table
  Folder* subtree = nullptr;
  Folder* commonViews = nullptr;
};

struct Profile {
  std::wstring name;
  std::optional<std::wstring> password;
};

class WorldModel {
 public:
  void build(const RecordingWorld& world);

  const Profile* findProfile(std::wstring_view name) const;
  std::vector<PropertyBag> statusRows(const std::wstring& profileName) const;

  const std::optional<Bytes>& identity() const { return identity_; }
  const PropertyBag& user() const { return user_; }
  const std::vector<Profile>& profiles() const { return profiles_; }
  const std::vector<std::unique_ptr<Store>>& stores() const { return stores_; }
  const std::vector<std::unique_ptr<Message>>& messages() const { return messages_; }
  bool handsOutProblems() const { return handsOutProblems_; }

  Store* findStore(const Bytes& entryId) const;
  Folder* findFolder(const Bytes& entryId) const;
  Message* findMessage(const Bytes& entryId) const;

  // What an entry identifier names, for recorded calls.
  std::string describeEntry(const Bytes& entryId) const;

  Folder& addFolder(Folder* parent, std::string label, std::optional<std::wstring> name);
  Message& addMessage(Folder& folder, bool associated);

 private:
  Bytes newEntryId();

  std::vector<Profile> profiles_;
  std::optional<Bytes> identity_;
  PropertyBag user_;
  std::optional<std::vector<PropertyBag>> statusRows_;
  std::vector<std::unique_ptr<Store>> stores_;
  std::vector<std::unique_ptr<Folder>> folders_;
  std::vector<std::unique_ptr<Message>> messages_;
  bool handsOutProblems_ = false;
  BYTE lastEntry_[2] = {};
};

WorldModel& world();

Bytes bytesOf(ULONG size, const void* start);

}  // namespace recording
