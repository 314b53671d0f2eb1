// Shared by the maintenance tests: a store with messages of every kind, and ways to damage its files.
#pragma once

#include <gmock/gmock.h>

#include <fstream>

#include "connection.h"
#include "engine_fixture.h"
#include "maintenance.h"

namespace fendrel::store {

inline std::ostream& operator<<(std::ostream& out, const Finding& finding) {
  return out << finding.folder << " / " << finding.message << " / " << finding.attachment << ": " << finding.what;
}

class MaintenanceTest : public EngineTest {
 protected:
  // A folder "Reports" with one message of each kind: small, with a content in the database, with a content file.
  void fill() {
    reports = makeFolder(u"Reports");
    save(draftWith(reports, u"small"));
    save(draftWith(reports, u"middle", 40'000));
    save(draftWith(reports, u"large", 300'001));
  }

  static MessageDraft draftWith(const Id& folder, const std::u16string& subject) {
    MessageDraft draft = EngineTest::draftWith(folder, subject);
    draft.set.push_back({classTag, std::u16string(u"IPM.Post")});
    draft.set.push_back({0x0E080003, std::int32_t{7}});
    draft.set.push_back({0x800D101F, std::vector<std::u16string>{u"one", u"two"}});
    return draft;
  }

  MessageDraft draftWith(const Id& folder, const std::u16string& subject, std::size_t bytes) {
    MessageDraft draft = draftWith(folder, subject);
    auto& attachment = draft.attachments.emplace_back();
    attachment.set = {{attachNameTag, subject + u".pdf"}};
    attachment.contents = {{attachDataTag, writerWith(pattern(bytes, bytes))}};
    return draft;
  }

  // Everything is in the database file, and nobody has it open.
  void close() {
    sqlite3_wal_checkpoint_v2(database->connection().handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    database.reset();
  }

  // Leaves the files as if the program died now: without a checkpoint.
  void crash() {
    const auto file = read(path()), log = read(path() + L"-wal");
    database.reset();
    write(path(), file);
    write(path() + L"-wal", log);
    std::filesystem::remove(path() + L"-shm");
  }

  CheckResult checked() const { return checkStore(path(), {}); }

  static std::vector<std::byte> read(const std::wstring& file) {
    std::ifstream stream(std::filesystem::path(file), std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    const auto* first = reinterpret_cast<const std::byte*>(bytes.data());
    return {first, first + bytes.size()};
  }

  static void write(const std::wstring& file, const std::vector<std::byte>& bytes) {
    std::ofstream stream(std::filesystem::path(file), std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  static void flip(const std::wstring& file, std::uint64_t at) {
    auto bytes = read(file);
    ASSERT_LT(at, bytes.size());
    bytes[at] ^= std::byte{0x10};
    write(file, bytes);
  }

  // Runs statements that bypass the engine's rules.
  void spoil(const std::string& sql) {
    database->connection().execute("PRAGMA foreign_keys = OFF");
    database->connection().execute("PRAGMA ignore_check_constraints = ON");
    database->connection().execute(sql);
  }

  std::wstring onlyContentFile() const {
    const auto files = contentFiles();
    EXPECT_EQ(files.size(), 1u);
    return files.empty() ? L"" : contentFolder() + L"\\" + files.front();
  }

  // The root page of a table.
  std::uint64_t rootPage(const char* table) {
    Query query(database->connection().statement("SELECT rootpage FROM sqlite_schema WHERE name = ?"),
                std::string_view(table));
    query.step();
    return static_cast<std::uint64_t>(query->integer(0));
  }

  Id reports{};
};

MATCHER_P3(IsFinding, message, attachment, what, "") {
  return arg.message == message && arg.attachment == attachment && arg.what.find(what) != std::string::npos;
}

MATCHER_P(Says, what, "") { return arg.what.find(what) != std::string::npos; }

}  // namespace fendrel::store
