// A small MAPI world on mocks: one session, message stores, folders, and messages that remember what was posted.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bound_mapi.h"
#include "mapi_actions.h"

// A copied property value.
struct SetProperty {
  ULONG tag;
  LONGLONG number = 0;  // of integers and times
  std::wstring text;
  std::string bytes;

  friend bool operator==(const SetProperty&, const SetProperty&) = default;
  friend void PrintTo(const SetProperty& property, std::ostream* out);
};
std::vector<SetProperty> copyProperties(const SPropValue* values, ULONG count);

// An ordinary or associated message that keeps the properties set on it and on its one attachment. Tests may still
// expect each call.
class PostedMessage : public testing::NiceMock<MockMessage> {
 public:
  explicit PostedMessage(MapiHeap& heap, ULONG createFlags);

  testing::NiceMock<MockAttachment> attachment;
  testing::NiceMock<MockStream> stream;
  ULONG flags;
  std::vector<SetProperty> properties, attachmentProperties;
  std::string content;
  std::vector<std::size_t> writes;
  bool saved = false, attachmentSaved = false;

  const SetProperty* find(ULONG tag) const;
};

// A folder that makes such messages, with a table of child folders.
class TestFolder : public testing::NiceMock<MockFolder> {
 public:
  explicit TestFolder(MapiHeap& heap);

  std::vector<std::unique_ptr<PostedMessage>> messages;

 private:
  MapiHeap& heap_;
};

// Opens entries of the store by their identifiers.
class TestStore : public testing::NiceMock<MockStore> {
 public:
  TestStore();
  void put(const std::string& entryId, MockFolder& folder) { folders_[entryId] = &folder; }

 private:
  std::map<std::string, MockFolder*> folders_;
};

// One row of a table of names.
TestRow named(const std::string& name, const std::string& entryId);

// A session whose stores table has one row, "Store", with the subtree `top`.
class PostingWorld {
 public:
  PostingWorld();

  BoundMapi mapi32;
  TestFolder top{mapi32.heap};
  TestStore store;
  testing::NiceMock<MockSession> session;
  TestTable stores{mapi32.heap, {named("Store", "store-id")}};
};
