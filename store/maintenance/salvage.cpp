// Makes a new store from the undamaged data of an old one. Rows keep their numbers and identifiers, so that entry
// identifiers that programs have kept remain valid.
//   1. Copies the old store's database and log aside, and replaces a lost first page in the copy.
//   2. SQLite's recovery reads every page of the copy and writes the rows that it finds to another database.
//   3. Repairs the folder tree.
//   4. Copies each message of which every row and byte is present, and reports the others.
#include "salvage.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "connection.h"
#include "content_table.h"
#include "damaged_copy.h"
#include "database.h"
#include "database_on_disk.h"
#include "failure_border.h"
#include "folder_map.h"
#include "message_inspection.h"
#include "new_store.h"
#include "property_codec.h"
#include "reading_connection.h"
#include "recovery.h"
#include "tree_mending.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

constexpr std::uint64_t mostMessagesAtOnce = 500, mostBytesAtOnce = 32u << 20;

// A failure caused by the row, not by the disk.
bool isRefusal(Status status) {
  return status == Status::AlreadyExists || status == Status::Failed || status == Status::Invalid ||
         status == Status::Corrupt;
}

// The data found in the old store.
class Findings {
 public:
  Findings(const std::wstring& from, NewStore& work, Disk& disk, const Watch& watch) {
    const std::wstring copyPath = work.workFile(L"copy.db"), foundPath = work.workFile(L"found.db");
    disk.createPrivateFile(foundPath);
    {
      const DamagedCopy copy(from, copyPath, disk);
      recoverRows(copy, foundPath, disk, watch);
      lostFirstPage = copy.lostFirstPage();
      hasIndexes = copy.version() > 0;
    }
    rows = std::make_unique<ReadingConnection>(foundPath, from, disk);
    if (hasIndexes) indexes = std::make_unique<ReadingConnection>(copyPath, from, disk);
  }

  std::unique_ptr<ReadingConnection> rows;
  std::unique_ptr<ReadingConnection> indexes;  // of the copy: they contain rows that were not found
  bool lostFirstPage = false, hasIndexes = false;
};

class Salvage {
 public:
  Salvage(const std::wstring& from, const std::wstring& to, Disk& disk, const Watch& watch)
      : disk_(disk),
        files_(to, disk),
        old_(fullStorePath(from), files_, disk, watch),
        folders_(*old_.rows, old_.indexes.get()),
        tree_(folders_, highestFolderOfMessages(),
              [this](std::string folder, std::string what) { mended(std::move(folder), std::move(what)); }),
        watch_(watch) {}

  SalvageResult run() {
    if (folders_.folders.empty() && old_.rows->number("SELECT count(*) FROM message") == 0) {
      fail(Status::Corrupt, "No data of a message store was found.");
    }
    std::string error;
    const Status status = openOnDisk(files_.database(), disk_, true, database_, error);
    if (status != Status::Ok) fail(status, error);
    Query(into().statement("ATTACH ? AS found"), std::string_view(toUtf8(old_.rows->path()))).run();
    begin();
    into().execute("DELETE FROM store");  // remove the new store's own public folders
    if (old_.lostFirstPage) {
      mended({},
             "The first page, which locates the tables, cannot be read; the tables were looked for at their usual "
             "places.");
    }
    for (const Finding& finding : folders_.lost()) result_.leftOut.push_back(finding);
    tree_.run();
    publicTop_ = tree_.publicTop();
    insertStores();
    insertFolders();
    insertProfiles();
    insertOwnerProperties("folder_property");
    insertOwnerProperties("store_property");
    insertNames();
    insertMessages();
    commit();
    into().execute("DETACH found");
    checkSqlite(sqlite3_wal_checkpoint_v2(into().handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr),
                into().handle(), "Finishing the new store");
    database_.reset();
    files_.finish();
    return std::move(result_);
  }

 private:
  Connection& into() { return database_->connection(); }

  void begin() { transaction_.emplace(into(), Transaction::Write); }
  void commit() {
    transaction_->commit();
    transaction_.reset();
  }

  void leaveOut(std::string what) { result_.leftOut.push_back({{}, {}, {}, false, std::move(what)}); }
  void leaveOut(const InspectedMessage& message, const MessageProblem& problem) {
    result_.leftOut.push_back(findingOf(folders_, message, problem));
  }
  void mended(std::string folder, std::string what) {
    result_.mended.push_back({std::move(folder), {}, {}, false, std::move(what)});
  }

  std::int64_t highestFolderOfMessages() {
    const std::int64_t highest = old_.rows->number("SELECT ifnull(max(folder), 0) FROM message");
    return std::clamp<std::int64_t>(highest, 0, std::numeric_limits<std::int64_t>::max() / 2);
  }

  // False: the row was refused, `why` says how.
  template <class Insert>
  bool insert(Insert work, std::string& why) {
    try {
      work();
      return true;
    } catch (const EngineError& error) {
      if (!isRefusal(error.status)) throw;
      why = error.text;
      return false;
    }
  }

  void insertStores() {
    for (const auto& [number, store] : folders_.stores) {
      Query(into().statement("INSERT INTO store (id, guid, kind, display_name) VALUES (?, ?, ?, ?)"), number,
            store.guid, store.kind, std::string_view(store.name))
          .run();
      ++result_.stores;
      if (store.isMended) mended(store.name, "Its row was lost; it got a new name.");
    }
  }

  // Children may come before their parents: the database checks at the end.
  void insertFolders() {
    std::vector<std::int64_t> refused;
    for (const auto& [number, folder] : folders_.folders) {
      std::string why;
      if (insert([this, number = number, &folder = folder] { insertFolder(number, folder); }, why)) {
        ++result_.folders;
        if (folder.isMended && folder.created == 0) mended(folders_.path(number), "Its times were lost.");
      } else {
        result_.leftOut.push_back({folders_.path(number), {}, {}, false, "The folder was refused: " + why});
        refused.push_back(number);
      }
    }
    for (const std::int64_t number : refused) {
      // Its subfolders move up, so that none has a missing parent.
      Query(into().statement("UPDATE folder SET parent = ? WHERE parent = ?"), publicTop_, number).run();
      folders_.folders.erase(number);
    }
  }

  void insertFolder(std::int64_t number, const FolderRecord& folder) {
    const std::int64_t time = static_cast<std::int64_t>(now().ticks);
    Query query(into().statement("INSERT INTO folder (id, guid, store, parent, name, role, created, modified) "
                                 "VALUES (?, ?, ?, ?, ?, ?, ?, ?)"),
                number, folder.guid, folder.store);
    if (folder.parent) query->bind(4, *folder.parent);
    query->bind(5, std::string_view(folder.name));
    if (folder.role) query->bind(6, std::string_view(*folder.role));
    query->bind(7, folder.created != 0 ? folder.created : time);
    query->bind(8, folder.modified != 0 ? folder.modified : time);
    query.run();
  }

  void insertProfiles() {
    std::set<std::int64_t> known;
    Statement rows = old_.rows->statement("SELECT id, name, user_name FROM profile");
    while (rows.step()) {
      const std::string name(rows.text(1));
      std::string why = "its name is not text.";
      known.insert(rows.integer(0));
      const auto copy = [&] {
        Query(into().statement("INSERT INTO profile SELECT * FROM found.profile WHERE id = ?"), rows.integer(0)).run();
      };
      if (isText(name) && isText(std::string(rows.text(2))) && insert(copy, why))
        ++result_.profiles;
      else
        leaveOut("The profile '" + name + "' was refused: " + why);
    }
    if (old_.indexes) mendProfiles(known);
  }

  struct LostProfile {
    Guid guid;
    std::string name;
    std::int64_t mailbox = 0;
  };

  // Three indexes have a profile's identifier, name and mailbox; its password and server are lost.
  void mendProfiles(const std::set<std::int64_t>& known) {
    std::string why;
    std::map<std::int64_t, LostProfile> lost;
    readRows(*old_.indexes, "SELECT id, guid FROM profile INDEXED BY sqlite_autoindex_profile_1", why,
             [&](const Statement& row) {
               if (!known.contains(row.integer(0))) lost[row.integer(0)].guid = row.guid(1);
             });
    readRows(*old_.indexes, "SELECT id, name FROM profile INDEXED BY sqlite_autoindex_profile_2", why,
             [&](const Statement& row) {
               if (const auto at = lost.find(row.integer(0)); at != lost.end()) at->second.name = row.text(1);
             });
    readRows(*old_.indexes, "SELECT id, mailbox FROM profile INDEXED BY sqlite_autoindex_profile_3", why,
             [&](const Statement& row) {
               if (const auto at = lost.find(row.integer(0)); at != lost.end()) at->second.mailbox = row.integer(1);
             });
    for (const auto& [number, profile] : lost) {
      if (!isText(profile.name) || profile.name.empty() || profile.mailbox == 0) continue;
      if (!insert([&, id = number, &row = profile] { insertMended(id, row); }, why)) continue;
      ++result_.profiles;
      mended({}, "The profile '" + profile.name + "' has lost its password, and its mail server if it had one.");
    }
  }

  void insertMended(std::int64_t number, const LostProfile& profile) {
    std::string user = profile.name;
    constexpr std::string_view before = "Mailbox - ";
    const auto store = folders_.stores.find(profile.mailbox);
    if (store != folders_.stores.end() && store->second.name.starts_with(before)) {
      user = store->second.name.substr(before.size());
    }
    Query(into().statement("INSERT INTO profile (id, guid, name, user_name, is_default, created, mailbox) "
                           "VALUES (?, ?, ?, ?, 0, ?, ?)"),
          number, profile.guid, std::string_view(profile.name), std::string_view(user),
          static_cast<std::int64_t>(now().ticks), profile.mailbox)
        .run();
  }

  void insertOwnerProperties(const std::string& table) {
    const std::string read = "SELECT owner, id, type, value FROM " + table;
    const std::string copy = "INSERT INTO " + table + " SELECT * FROM found." + table + " WHERE owner = ? AND id = ?";
    Statement rows = old_.rows->statement(read.c_str()), insertion(into().handle(), copy, false);
    std::uint64_t refused = 0;
    std::string why;
    while (rows.step()) {
      const auto work = [&] {
        readValue(rows, 3, static_cast<std::uint16_t>(rows.integer(2)));
        Query(insertion, rows.integer(0), rows.integer(1)).run();
      };
      if (!insert(work, why)) ++refused;
    }
    if (refused > 0) leaveOut(std::to_string(refused) + " rows of the table " + table + " are damaged.");
  }

  void insertNames() {
    Statement rows = old_.rows->statement("SELECT id FROM named_property");
    std::uint64_t refused = 0;
    std::string why;
    while (rows.step()) {
      const auto copy = [&] {
        Query(into().statement("INSERT INTO named_property SELECT * FROM found.named_property WHERE id = ?"),
              rows.integer(0))
            .run();
      };
      if (!insert(copy, why)) ++refused;
    }
    if (refused > 0) leaveOut(std::to_string(refused) + " names of properties are damaged.");
  }

  void insertMessages() {
    const auto numbers = findMessageNumbers(*old_.rows, old_.indexes.get()).numbers;
    std::uint64_t done = 0, since = 0, bytes = 0;
    report(watch_, 0, numbers.size());
    for (const std::int64_t number : numbers) {
      const InspectedMessage message = inspectMessage(*old_.rows, number, [&](std::uint64_t count) {
        bytes += count;
        report(watch_, done, numbers.size());
      });
      report(watch_, ++done, numbers.size());
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

  // False: it was left out.
  bool copyMessage(const InspectedMessage& message) {
    std::string why;
    std::vector<std::string> made;
    const std::int64_t folder = folders_.folders.contains(message.folder) ? message.folder : recoveredFolder();
    into().execute("SAVEPOINT message");
    const auto work = [&] {
      for (const ContentUse& use : message.contents) {
        if (!use.file.empty()) copyFile(use, made);
      }
      copyRows(message.id, folder);
    };
    if (!insert(work, why)) {
      into().execute("ROLLBACK TO message; RELEASE message");
      for (const std::string& file : made) files_.removeContent(file);
      leaveOut(message, {{}, why});
      return false;
    }
    into().execute("RELEASE message");
    ++result_.messages;
    result_.attachments += message.attachments;
    for (const ContentUse& use : message.contents) result_.contentBytes += use.size;
    return true;
  }

  void copyRows(std::int64_t message, std::int64_t folder) {
    Query(into().statement("INSERT INTO content SELECT c.* FROM found.message_property p "
                           "JOIN found.content c ON c.id = p.content WHERE p.message = ?"),
          message)
        .run();
    Query(into().statement("INSERT INTO message (id, guid, folder, associated, is_read, size, attachment_count, "
                           "created, modified, search_key, revision, checksum, status) SELECT id, guid, ?, associated, "
                           "is_read, size, attachment_count, created, modified, search_key, revision, checksum, status "
                           "FROM found.message WHERE id = ?"),
          folder, message)
        .run();
    Query(into().statement("INSERT INTO attachment SELECT * FROM found.attachment WHERE message = ?"), message).run();
    Query(into().statement("INSERT INTO message_property SELECT * FROM found.message_property WHERE message = ?"),
          message)
        .run();
  }

  void copyFile(const ContentUse& use, std::vector<std::string>& made) {
    const auto file = files_.createContent(use.file);
    made.push_back(use.file);
    std::uint64_t position = 0;
    Statement row = old_.rows->statement(selectContent);
    row.bind(1, use.content);
    if (!row.step()) fail(Status::Corrupt, "Its content is missing in the database.");
    contentAt(row, old_.rows->contents())->readAll([&](std::span<const std::byte> block) {
      file->write(position, block);
      position += block.size();
    });
    file->flush();
  }

  // The folder for messages whose folder is lost.
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
    insertFolder(recovered_, folder);
    ++result_.folders;
    folders_.folders[recovered_] = folder;
    mended(folders_.path(recovered_), "Messages whose folder was lost are here.");
    return recovered_;
  }

  Disk& disk_;
  NewStore files_;
  Findings old_;
  FolderMap folders_;
  TreeMending tree_;
  const Watch& watch_;
  std::unique_ptr<Database> database_;
  std::optional<Transaction> transaction_;
  std::int64_t publicTop_ = 0, recovered_ = 0;
  SalvageResult result_;
};

}  // namespace

SalvageResult salvageOnDisk(const std::wstring& from, const std::wstring& to, Disk& disk, const Watch& watch) {
  return maintained([&] { return Salvage(from, to, disk, watch).run(); });
}

SalvageResult salvageStore(const std::wstring& from, const std::wstring& to, const Watch& watch) {
  return salvageOnDisk(from, to, windowsDisk(), watch);
}

}  // namespace fendrel::store
