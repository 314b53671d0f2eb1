// Shared by the engine's tests: a store in a new folder, short helpers for properties and contents.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "connection.h"
#include "content_blocks.h"
#include "disk.h"
#include "folders.h"
#include "messages.h"
#include "profiles.h"
#include "stores.h"
#include "temp_folder.h"
#include "unicode.h"

namespace fendrel::store {

inline std::ostream& operator<<(std::ostream& out, Status status) { return out << name(status); }

// Reproducible bytes that differ from block to block.
inline Bytes pattern(std::size_t size, std::uint64_t seed = 1) {
  Bytes bytes(size);
  std::uint64_t state = seed * 0x9E3779B97F4A7C15u + 1;
  for (auto& byte : bytes) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    byte = static_cast<std::byte>(state);
  }
  return bytes;
}

constexpr PropertyTag subjectTag = 0x0037001F;
constexpr PropertyTag classTag = 0x001A001F;
constexpr PropertyTag bodyTag = 0x1000001F;
constexpr PropertyTag attachDataTag = 0x37010102;
constexpr PropertyTag attachNameTag = 0x3707001F;
constexpr PropertyTag commentTag = 0x3004001F;

class EngineTest : public testing::Test {
 protected:
  EngineTest() { reopen(); }

  void reopen() {
    database.reset();
    database = openAnother();
    StoreInfo store;
    EXPECT_EQ(findPublicStore(*database, store), Status::Ok);
    top = store.ipmSubtree;
  }

  std::unique_ptr<Database> openAnother() {
    std::unique_ptr<Database> opened;
    std::string error;
    EXPECT_EQ(Database::open(path(), opened, error), Status::Ok) << error;
    return opened;
  }

  std::wstring path() const { return temp.file(L"store.db"); }
  std::wstring contentFolder() const { return path() + L".files"; }

  // Names of the files in a folder; none if there is no such folder.
  static std::vector<std::wstring> filesIn(const std::wstring& folder) {
    std::vector<std::wstring> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
      if (entry.is_regular_file()) names.push_back(entry.path().filename().wstring());
    }
    return names;
  }
  // Content files that nobody is saving and whose content was not deleted.
  std::vector<std::wstring> contentFiles() const {
    auto names = filesIn(contentFolder());
    std::erase_if(names, [&](const auto& name) { return !windowsDisk().isAbandoned(contentFolder() + L"\\" + name); });
    if (!database) return names;
    Statement dropped(database->connection().handle(), "SELECT 1 FROM dropped_file WHERE name = ?", false);
    std::erase_if(names, [&](const auto& name) {
      const std::string stored = toUtf8(name);
      Query query(dropped, std::string_view(stored));
      return query.step();
    });
    return names;
  }

  // As if hours had passed.
  void makeFilesOld() {
    for (const std::wstring& folder : {contentFolder(), contentFolder() + L"\\tmp"}) {
      for (const auto& name : filesIn(folder)) {
        std::filesystem::last_write_time(folder + L"\\" + name,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(2));
      }
    }
  }

  // As if deleted contents had been deleted long ago.
  void letGraceTimePass() { database->connection().execute("UPDATE dropped_file SET time = 0"); }

  std::vector<std::wstring> spoolFiles() const {
    auto names = filesIn(contentFolder() + L"\\tmp");
    std::erase_if(names, [](const std::wstring& name) { return !name.ends_with(L".tmp"); });
    return names;
  }

  Id makeFolder(const std::u16string& folderName) { return makeFolder(top, folderName); }
  Id makeFolder(const Id& parent, const std::u16string& folderName) {
    FolderInfo folder;
    EXPECT_EQ(createFolder(*database, parent, folderName, {}, IfExists::Refuse, folder), Status::Ok);
    return folder.id;
  }

  FolderInfo folderNow(const Id& folder) {
    FolderInfo info;
    EXPECT_EQ(findFolder(*database, folder, info), Status::Ok);
    return info;
  }

  std::shared_ptr<ContentWriter> writerWith(const Bytes& bytes) { return writerWith(*database, bytes); }
  static std::shared_ptr<ContentWriter> writerWith(Database& into, const Bytes& bytes) {
    auto writer = createContent(into);
    EXPECT_EQ(writer->write(0, bytes), Status::Ok);
    return writer;
  }

  static MessageDraft draftWith(const Id& folder, const std::u16string& subject) {
    MessageDraft draft;
    draft.folder = folder;
    draft.set = {{subjectTag, subject}};
    return draft;
  }

  MessageDraft draftWithAttachment(const Id& folder, const Bytes& bytes) {
    MessageDraft draft = draftWith(folder, u"with attachment");
    auto& attachment = draft.attachments.emplace_back();
    attachment.number = 0;
    attachment.set = {{attachNameTag, u"report.pdf"}};
    attachment.contents = {{attachDataTag, writerWith(bytes)}};
    return draft;
  }

  MessageInfo save(const MessageDraft& draft) {
    MessageInfo saved;
    EXPECT_EQ(saveMessage(*database, draft, saved), Status::Ok) << database->lastError();
    return saved;
  }

  std::vector<Property> propertiesOf(const Id& message) {
    std::vector<Property> properties;
    EXPECT_EQ(readMessageProperties(*database, message, {}, properties), Status::Ok);
    return properties;
  }

  Status readAll(const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag, Bytes& bytes) {
    std::shared_ptr<ContentReader> reader;
    if (const Status status = openContent(*database, message, attachment, tag, reader); status != Status::Ok) {
      return status;
    }
    bytes.resize(static_cast<std::size_t>(reader->size()));
    std::size_t count = 0;
    const Status status = reader->read(0, bytes, count);
    EXPECT_TRUE(status != Status::Ok || count == bytes.size());
    return status;
  }

  // Subjects of the folder's ordinary messages.
  std::vector<std::u16string> subjectsIn(const Id& folder) {
    std::vector<std::u16string> subjects;
    EXPECT_EQ(readMessageRows(*database, folder, MessageKind::Ordinary, std::vector<PropertyTag>{subjectTag},
                              [&](MessageRow&& row) {
                                subjects.push_back(std::get<std::u16string>(row.values[0].value));
                                return true;
                              }),
              Status::Ok);
    return subjects;
  }

  TempFolder temp;
  std::unique_ptr<Database> database;
  Id top{};  // the public store's IPM subtree
};

}  // namespace fendrel::store
