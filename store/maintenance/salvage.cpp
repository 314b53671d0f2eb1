// A new store of what is whole in an old one. Rows keep their numbers and identifiers, so that entry identifiers that
// programs have kept go on to lead to the same messages. While it is being made, the new store bears no mark of ours:
// should the machine stop, nobody takes half of it for a store.
#include <windows.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "connection.h"
#include "content_table.h"
#include "damaged_reading.h"
#include "database.h"
#include "failure_border.h"
#include "folder_map.h"
#include "message_inspection.h"
#include "migrations.h"
#include "new_store.h"
#include "property_codec.h"
#include "reading_connection.h"
#include "tree_mending.h"

namespace fendrel::store {
namespace {

constexpr std::uint64_t mostMessagesAtOnce = 500, mostBytesAtOnce = 32u << 20;

// One row, read whole before anything is written.
struct Cell {
  int type = SQLITE_NULL;
  std::int64_t integer = 0;
  double real = 0;
  std::string bytes;
};
using Row = std::vector<Cell>;

Row rowOf(const Statement& statement, int columns) {
  Row row(static_cast<std::size_t>(columns));
  for (int column = 0; column < columns; ++column) {
    Cell& cell = row[static_cast<std::size_t>(column)];
    cell.type = statement.type(column);
    if (cell.type == SQLITE_INTEGER) cell.integer = statement.integer(column);
    if (cell.type == SQLITE_FLOAT) cell.real = statement.real(column);
    if (cell.type == SQLITE_TEXT) cell.bytes = statement.text(column);
    if (cell.type == SQLITE_BLOB) {
      const auto bytes = statement.bytes(column);
      cell.bytes.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
  }
  return row;
}

void insert(Connection& into, const char* sql, const Row& row) {
  Query query(into.statement(sql));
  for (std::size_t i = 0; i < row.size(); ++i) {
    const Cell& cell = row[i];
    const int parameter = static_cast<int>(i) + 1;
    switch (cell.type) {
      case SQLITE_INTEGER: query->bind(parameter, cell.integer); break;
      case SQLITE_FLOAT: query->bind(parameter, cell.real); break;
      case SQLITE_TEXT: query->bind(parameter, std::string_view(cell.bytes)); break;
      case SQLITE_BLOB: query->bind(parameter, std::as_bytes(std::span(cell.bytes))); break;
      default: query->bindNull(parameter);
    }
  }
  query.run();
}

// What fails because of the row and not because of the disk.
bool isRefusal(Status status) {
  return status == Status::AlreadyExists || status == Status::Failed || status == Status::Invalid;
}

class Salvage {
public:
  Salvage(const std::wstring& from, const std::wstring& to, const Watch& watch)
      : old_(from, windowsDisk()),
        files_(to, windowsDisk()),
        folders_(old_),
        tree_(folders_, highestFolderOfMessages(),
              [this](std::string folder, std::string what) { mended(std::move(folder), std::move(what)); }),
        watch_(watch) {}

  SalvageResult run() {
    std::string error;
    const Status status = Database::open(files_.path(), database_, error);
    if (status != Status::Ok) fail(status, error);
    into().execute("PRAGMA application_id = 0");
    begin();
    into().execute("DELETE FROM store");  // a new store has public folders of its own
    for (const Finding& finding : folders_.lost()) result_.leftOut.push_back(finding);
    tree_.run();
    publicTop_ = tree_.publicTop();
    insertStores();
    insertFolders();
    insertProfiles();
    insertOwnerProperties("folder_property",
                          "INSERT INTO folder_property (owner, id, type, value) VALUES (?, ?, ?, ?)");
    insertOwnerProperties("store_property",
                          "INSERT INTO store_property (owner, id, type, value) VALUES (?, ?, ?, ?)");
    insertMessages();
    into().execute("PRAGMA application_id = " + std::to_string(applicationId));
    commit();
    sqlite3_wal_checkpoint_v2(into().handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    database_.reset();
    files_.keep();
    return std::move(result_);
  }

private:
  Connection& into() { return database_->connection(); }

  void begin() { transaction_.emplace(into(), Transaction::Write); }
  void commit() {
    if (hasNewFiles_) windowsDisk().flushFolder(files_.contentFolder());
    hasNewFiles_ = false;
    transaction_->commit();
    transaction_.reset();
  }

  void leaveOut(std::string what) { result_.leftOut.push_back({{}, {}, {}, false, std::move(what)}); }
  void mended(std::string folder, std::string what) {
    result_.mended.push_back({std::move(folder), {}, {}, false, std::move(what)});
  }

  std::int64_t highestFolderOfMessages() {
    std::int64_t highest = 0;
    std::string why;
    readRows(old_, "SELECT folder FROM message", why,
             [&](const Statement& row) { highest = std::max(highest, row.integer(0)); });
    return std::min(highest, std::numeric_limits<std::int64_t>::max() / 2);
  }

  void insertStores() {
    for (const auto& [number, store] : folders_.stores) {
      Query(into().statement("INSERT INTO store (id, guid, kind, display_name) VALUES (?, ?, ?, ?)"), number,
            store.guid, store.kind, std::string_view(store.name))
          .run();
      ++result_.stores;
      if (store.isMended) mended(store.name, "Its row was lost; its name was made anew.");
    }
  }

  // Children may stand before their parents: the database looks at the end.
  void insertFolders() {
    const std::int64_t time = static_cast<std::int64_t>(now().ticks);
    std::vector<std::int64_t> refused;
    for (const auto& [number, folder] : folders_.folders) {
      try {
        Query query(into().statement("INSERT INTO folder (id, guid, store, parent, name, role, created, modified) "
                                     "VALUES (?, ?, ?, ?, ?, ?, ?, ?)"));
        query->bind(1, number);
        query->bind(2, folder.guid);
        query->bind(3, folder.store);
        if (folder.parent) query->bind(4, *folder.parent);
        else query->bindNull(4);
        query->bind(5, std::string_view(folder.name));
        if (folder.role) query->bind(6, std::string_view(*folder.role));
        else query->bindNull(6);
        query->bind(7, folder.created != 0 ? folder.created : time);
        query->bind(8, folder.modified != 0 ? folder.modified : time);
        query.run();
        ++result_.folders;
        if (folder.isMended && folder.created == 0) mended(folders_.path(number), "Its times were lost.");
      } catch (const EngineError& error) {
        if (!isRefusal(error.status)) throw;
        result_.leftOut.push_back({folders_.path(number), {}, {}, false, "The folder was refused: " + error.text});
        refused.push_back(number);
      }
    }
    for (const std::int64_t number : refused) {
      // What is below moves up, so that nothing hangs from what is not there.
      Query(into().statement("UPDATE folder SET parent = ? WHERE parent = ?"), publicTop_, number).run();
      folders_.folders.erase(number);
    }
  }

  void insertProfiles() {
    constexpr int columns = 10;
    std::string why;
    std::set<std::int64_t> numbers;
    const auto add = [&](const Row& row) {
      try {
        insert(into(),
               "INSERT INTO profile (id, guid, name, user_name, password_salt, password_iterations, password_hash, "
               "is_default, created, mailbox) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
               row);
        numbers.insert(row[0].integer);
        ++result_.profiles;
      } catch (const EngineError& error) {
        if (!isRefusal(error.status)) throw;
        leaveOut("The profile '" + row[2].bytes + "' was refused: " + error.text);
      }
    };
    std::map<std::int64_t, Row> rows;
    const bool isWhole = readFromBothEnds(
        old_,
        "SELECT id, guid, name, user_name, password_salt, password_iterations, password_hash, is_default, created, "
        "mailbox FROM profile",
        {"id"}, why, [&](const Statement& row) { rows[row.integer(0)] = rowOf(row, columns); });
    for (const auto& [number, row] : rows) {
      if (isText(row[2].bytes) && isText(row[3].bytes)) add(row);
      else leaveOut("A profile's name is no text.");
    }
    if (isWhole) return;
    leaveOut("The table of profiles is damaged: " + why);
    mendProfiles(numbers, add);
  }

  // Three indexes hold a profile's identifier, its name and its mailbox; the password is lost.
  template <class Add>
  void mendProfiles(const std::set<std::int64_t>& known, Add add) {
    std::string why;
    std::map<std::int64_t, Row> rows;
    const auto byGuid = [&](const Statement& row) {
      Row& made = rows[row.integer(0)];
      made.resize(10);
      const Row found = rowOf(row, 2);
      made[0] = found[0];
      made[1] = found[1];
      made[7] = {SQLITE_INTEGER, 0, 0, {}};
      made[8] = {SQLITE_INTEGER, static_cast<std::int64_t>(now().ticks), 0, {}};
    };
    const auto byName = [&](const Statement& row) {
      const auto made = rows.find(row.integer(0));
      if (made != rows.end()) made->second[2] = made->second[3] = rowOf(row, 2)[1];
    };
    const auto index = [&](const char* name) { return std::string("main.profile INDEXED BY ") + name; };
    readRows(old_, "SELECT id, guid FROM " + index("sqlite_autoindex_profile_1"), why, byGuid);
    readRows(old_, "SELECT id, name FROM " + index("sqlite_autoindex_profile_2"), why, byName);
    readRows(old_, "SELECT id, mailbox FROM " + index("sqlite_autoindex_profile_3"), why,
             [&](const Statement& row) {
               const auto made = rows.find(row.integer(0));
               if (made == rows.end()) return;
               made->second[9] = rowOf(row, 2)[1];
               // "Mailbox - USER"
               const auto store = folders_.stores.find(row.integer(1));
               constexpr std::string_view before = "Mailbox - ";
               if (store != folders_.stores.end() && store->second.name.starts_with(before)) {
                 made->second[3] = {SQLITE_TEXT, 0, 0, store->second.name.substr(before.size())};
               }
             });
    for (const auto& [number, row] : rows) {
      if (known.contains(number) || row[2].type != SQLITE_TEXT || row[9].type != SQLITE_INTEGER) continue;
      const std::uint64_t before = result_.profiles;
      add(row);
      if (result_.profiles > before) mended({}, "The profile '" + row[2].bytes + "' has lost its password.");
    }
  }

  void insertOwnerProperties(const char* table, const char* sql) {
    std::string why;
    std::map<std::pair<std::int64_t, std::int64_t>, Row> rows;
    std::uint64_t unreadable = 0;
    const bool isWhole = readFromBothEnds(old_, std::string("SELECT owner, id, type, value FROM ") + table,
                                          {"owner", "id"}, why, [&](const Statement& row) {
                                            try {
                                              readValue(row, 3, static_cast<std::uint16_t>(row.integer(2)));
                                            } catch (const EngineError&) {
                                              ++unreadable;
                                              return;
                                            }
                                            rows[{row.integer(0), row.integer(1)}] = rowOf(row, 4);
                                          });
    for (const auto& [key, row] : rows) {
      try {
        insert(into(), sql, row);
      } catch (const EngineError& error) {
        if (!isRefusal(error.status)) throw;
        ++unreadable;
      }
    }
    if (!isWhole) leaveOut(std::string("The table ") + table + " is damaged: " + why);
    if (unreadable > 0) leaveOut(std::to_string(unreadable) + " rows of the table " + table + " are damaged.");
  }

  void insertMessages() {
    const MessageNumbers found = findMessageNumbers(old_);
    for (const std::string& what : found.tableDamage) leaveOut(what);  // indexes are made anew
    std::uint64_t done = 0, since = 0, bytes = 0;
    report(watch_, 0, found.numbers.size());
    for (const std::int64_t number : found.numbers) {
      const InspectedMessage message = inspectMessage(old_, number, [&](std::uint64_t count) {
        bytes += count;
        report(watch_, done, found.numbers.size());
      });
      report(watch_, ++done, found.numbers.size());
      if (!message.isWhole()) {
        for (const MessageProblem& problem : message.problems) leaveOut(message, problem);
        continue;
      }
      if (!copyMessage(message)) continue;
      if (++since < mostMessagesAtOnce && bytes < mostBytesAtOnce) continue;
      commit();
      begin();
      since = bytes = 0;
    }
  }

  void leaveOut(const InspectedMessage& message, const MessageProblem& problem) {
    result_.leftOut.push_back(findingOf(folders_, message, problem));
  }

  struct MessageRows {
    Row message;
    std::vector<Row> attachments, properties, contents;
  };

  MessageRows readMessage(const InspectedMessage& message) {
    old_.keepMoment();
    MessageRows rows;
    const auto read = [&](const char* sql, std::int64_t number, int columns, auto take) {
      Statement statement = old_.statement(sql);
      statement.bind(1, number);
      while (statement.step()) take(rowOf(statement, columns));
    };
    const bool hasChecksum = old_.version() >= versionWithChecksums;
    const std::string messageSql = std::string("SELECT id, guid, folder, associated, is_read, size, attachment_count, "
                                               "created, modified, search_key, revision, ") +
                                   (hasChecksum ? "checksum" : "NULL") + " FROM message WHERE id = ?";
    read(messageSql.c_str(), message.id, 12, [&](Row row) { rows.message = std::move(row); });
    read("SELECT message, number, size FROM attachment WHERE message = ?", message.id, 3,
         [&](Row row) { rows.attachments.push_back(std::move(row)); });
    read("SELECT message, part, id, type, size, value, content FROM message_property WHERE message = ?", message.id, 7,
         [&](Row row) { rows.properties.push_back(std::move(row)); });
    for (const ContentUse& use : message.contents) {
      read("SELECT id, size, checksums, data, file FROM content WHERE id = ?", use.content, 5,
           [&](Row row) { rows.contents.push_back(std::move(row)); });
    }
    return rows;
  }

  // False: it was left out after all.
  bool copyMessage(const InspectedMessage& message) {
    MessageRows rows;
    try {
      rows = readMessage(message);
    } catch (const EngineError& error) {
      if (!isDamage(error)) throw;
      leaveOut(message, {{}, error.text});
      return false;
    }
    if (!folders_.folders.contains(message.folder)) rows.message[2].integer = recoveredFolder();
    into().execute("SAVEPOINT message");
    std::vector<std::string> made;
    try {
      for (const ContentUse& use : message.contents) {
        if (!use.file.empty()) copyFile(use, made);
      }
      for (const Row& row : rows.contents) {
        insert(into(), "INSERT INTO content (id, size, checksums, data, file) VALUES (?, ?, ?, ?, ?)", row);
      }
      insert(into(),
             "INSERT INTO message (id, guid, folder, associated, is_read, size, attachment_count, created, modified, "
             "search_key, revision, checksum) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
             rows.message);
      for (const Row& row : rows.attachments) {
        insert(into(), "INSERT INTO attachment (message, number, size) VALUES (?, ?, ?)", row);
      }
      for (const Row& row : rows.properties) {
        insert(into(),
               "INSERT INTO message_property (message, part, id, type, size, value, content) "
               "VALUES (?, ?, ?, ?, ?, ?, ?)",
               row);
      }
      into().execute("RELEASE message");
    } catch (const EngineError& error) {
      if (!isRefusal(error.status) && error.status != Status::Corrupt) throw;
      into().execute("ROLLBACK TO message; RELEASE message");
      for (const std::string& file : made) files_.removeContent(file);
      leaveOut(message, {{}, error.text});
      return false;
    }
    ++result_.messages;
    result_.attachments += message.attachments;
    for (const ContentUse& use : message.contents) result_.contentBytes += use.size;
    return true;
  }

  void copyFile(const ContentUse& use, std::vector<std::string>& made) {
    const auto file = files_.createContent(use.file);
    made.push_back(use.file);
    hasNewFiles_ = true;
    std::uint64_t position = 0;
    Statement row = old_.statement(selectContent);
    row.bind(1, use.content);
    if (!row.step()) fail(Status::Corrupt, "Its content is missing in the database.");
    contentAt(row, old_.contents())->readAll([&](std::span<const std::byte> block) {
      file->write(position, block);
      position += block.size();
    });
    file->flush();
  }

  // Where messages go whose folder is lost.
  std::int64_t recoveredFolder() {
    if (recovered_ != 0) return recovered_;
    FolderRecord folder;
    folder.guid = newGuid();
    folder.store = folders_.folders.at(publicTop_).store;
    folder.parent = publicTop_;
    folder.name = "Recovered messages";
    while (std::ranges::any_of(folders_.folders, [&](const auto& other) {
      return other.second.parent == folder.parent && other.second.name == folder.name;
    })) {
      folder.name += " (2)";
    }
    recovered_ = tree_.nextFolder();
    const std::int64_t time = static_cast<std::int64_t>(now().ticks);
    Query(into().statement("INSERT INTO folder (id, guid, store, parent, name, created, modified) "
                           "VALUES (?, ?, ?, ?, ?, ?, ?)"),
          recovered_, folder.guid, folder.store, *folder.parent, std::string_view(folder.name), time, time)
        .run();
    ++result_.folders;
    folders_.folders[recovered_] = folder;
    mended(folders_.path(recovered_), "Messages whose folder was lost are here.");
    return recovered_;
  }

  ReadingConnection old_;
  NewStore files_;
  FolderMap folders_;
  TreeMending tree_;
  const Watch& watch_;
  std::unique_ptr<Database> database_;
  std::optional<Transaction> transaction_;
  std::int64_t publicTop_ = 0, recovered_ = 0;
  bool hasNewFiles_ = false;
  SalvageResult result_;
};

}  // namespace

SalvageResult salvageStore(const std::wstring& from, const std::wstring& to, const Watch& watch) {
  return maintained([&] { return Salvage(from, to, watch).run(); });
}

}  // namespace fendrel::store
