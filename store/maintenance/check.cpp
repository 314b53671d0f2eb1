#include "check.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "failure_border.h"
#include "folder_map.h"
#include "leftovers.h"
#include "message_inspection.h"
#include "property_codec.h"
#include "reading_connection.h"

namespace fendrel::store {
namespace {

constexpr std::size_t mostLines = 100;  // of one of SQLite's checks; a damaged page can cause thousands

class Check {
 public:
  Check(ReadingConnection& connection, const Watch& watch) : connection_(connection), watch_(watch) {}

  CheckResult run() {
    connection_.keepMoment();
    result_.pages = static_cast<std::uint64_t>(connection_.number("PRAGMA page_count"));
    runPragma("PRAGMA integrity_check(100)", "The database: ", 0);
    runPragma("PRAGMA foreign_key_check", "A row names a missing one, in the table ", 0);
    const FolderMap folders(connection_, &connection_);
    for (const Finding& finding : folders.lost()) result_.damage.push_back(finding);
    checkMessages(folders);
    checkFolders(folders);
    checkProfiles();
    checkOwnerProperties();
    checkContents();
    connection_.endMoment();
    countLeftovers();
    return std::move(result_);
  }

 private:
  void damage(std::string what) { result_.damage.push_back({{}, {}, {}, false, std::move(what)}); }

  void runPragma(const char* sql, const char* words, int column) {
    std::string why;
    std::size_t lines = 0;
    const bool ended = readRows(connection_, sql, why, [&](const Statement& row) {
      const std::string line(row.text(column));
      if (line != "ok" && ++lines <= mostLines) damage(words + line + ".");
    });
    if (!ended) damage("The database: " + why);
  }

  void checkMessages(const FolderMap& folders) {
    const MessageNumbers found = findMessageNumbers(connection_, &connection_);
    for (const std::string& what : found.damage) damage(what);
    tablesAreWhole_ = found.damage.empty();
    std::vector<Guid> guids;
    std::uint64_t done = 0;
    report(watch_, 0, found.numbers.size());
    for (const std::int64_t number : found.numbers) {
      const InspectedMessage message = inspectMessage(connection_, number, [&](std::uint64_t bytes) {
        result_.contentBytes += bytes;
        report(watch_, done, found.numbers.size());
      });
      report(watch_, ++done, found.numbers.size());
      ++result_.messages;
      result_.attachments += message.attachments;
      for (const MessageProblem& problem : message.problems) note(folders, message, problem);
      for (const ContentUse& use : message.contents) contents_.push_back(use.content);
      if (!message.hasRow) {
        tablesAreWhole_ = false;
        continue;
      }
      guids.push_back(message.guid);
      Counts& counts = counts_[message.folder];
      ++(message.isAssociated ? counts.associated : counts.messages);
      if (!message.isAssociated && !message.isRead) ++counts.unread;
      if (!folders.folders.contains(message.folder)) {
        note(folders, message, {{}, "Its folder is missing."});
      }
    }
    const auto less = [](const Guid& a, const Guid& b) { return std::memcmp(a.bytes, b.bytes, 16) < 0; };
    std::ranges::sort(guids, less);
    if (std::ranges::adjacent_find(guids) != guids.end()) damage("Two messages have one identifier.");
  }

  void note(const FolderMap& folders, const InspectedMessage& message, const MessageProblem& problem) {
    result_.damage.push_back(findingOf(folders, message, problem));
  }

  void checkFolders(const FolderMap& folders) {
    result_.folders = folders.folders.size();
    std::map<std::int64_t, int> roots;
    for (const auto& [number, folder] : folders.folders) {
      const auto say = [this, &folders, number = number](const char* what) {
        result_.damage.push_back({folders.path(number), {}, {}, false, what});
      };
      if (folders.isAstray(number)) say("It is not connected to the root of its store.");
      if (!folders.stores.contains(folder.store)) say("Its message store is missing.");
      if (folder.role == "root" || folder.role == "ipm_subtree") ++roots[folder.store];
      const Counts& real = counts_[number];
      const bool agrees =
          folder.messages == real.messages && folder.unread == real.unread && folder.associated == real.associated;
      if (tablesAreWhole_ && !folder.isMended && !agrees) say("Its message counts are wrong.");
    }
    for (const auto& [number, store] : folders.stores) {
      if (roots[number] < 2) damage("The message store '" + store.name + "' lacks standard folders.");
    }
  }

  void checkProfiles() {
    std::string why;
    const auto take = [](const Statement& row) {
      row.wideText(0);
      row.wideText(1);
      row.guid(2);
    };
    const bool ended = readRows(connection_, "SELECT name, user_name, guid FROM profile", why, take);
    if (!ended) damage("The table of profiles is damaged: " + why);
  }

  void checkOwnerProperties() {
    for (const char* table : {"folder_property", "store_property"}) {
      std::string why;
      const std::string sql = std::string("SELECT owner, id, type, value FROM ") + table;
      const bool ended = readRows(connection_, sql.c_str(), why, [&](const Statement& row) {
        readValue(row, 3, static_cast<std::uint16_t>(row.integer(2)));
      });
      if (!ended) damage(std::string("The table ") + table + " is damaged: " + why);
    }
  }

  // Each content belongs to one property.
  void checkContents() {
    std::ranges::sort(contents_);
    if (std::ranges::adjacent_find(contents_) != contents_.end()) damage("Two properties share one content.");
    std::string why;
    std::uint64_t unused = 0;
    const bool ended = readRows(connection_, "SELECT id FROM content", why, [&](const Statement& row) {
      ++result_.contents;
      if (!std::ranges::binary_search(contents_, row.integer(0))) ++unused;
    });
    if (!ended) damage("The table of contents is damaged: " + why);
    if (unused > 0 && tablesAreWhole_) {
      damage("The database holds " + std::to_string(unused) + " contents that belong to no message.");
    }
  }

  void countLeftovers() {
    try {
      const Leftovers unknown = unknownContentFiles(connection_);
      const Leftovers waiting = waitingFiles(connection_);
      result_.leftoverFiles = unknown.files + waiting.files;
      result_.leftoverBytes = unknown.bytes + waiting.bytes;
    } catch (const EngineError& error) {
      damage("The content files cannot be compared with the database: " + error.text);
    }
  }

  struct Counts {
    std::int64_t messages = 0, unread = 0, associated = 0;
  };

  ReadingConnection& connection_;
  const Watch& watch_;
  CheckResult result_;
  std::map<std::int64_t, Counts> counts_;
  std::vector<std::int64_t> contents_;
  bool tablesAreWhole_ = true;
};

}  // namespace

CheckResult checkOnDisk(const std::wstring& path, Disk& disk, const Watch& watch) {
  return maintained([&] {
    ReadingConnection connection(path, disk);
    return Check(connection, watch).run();
  });
}

CheckResult checkStore(const std::wstring& path, const Watch& watch) { return checkOnDisk(path, windowsDisk(), watch); }

}  // namespace fendrel::store
