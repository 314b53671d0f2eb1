#include <windows.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "damaged_reading.h"
#include "failure_border.h"
#include "folder_map.h"
#include "leftovers.h"
#include "log_frames.h"
#include "message_inspection.h"
#include "page_checksums.h"
#include "property_codec.h"
#include "reading_connection.h"

namespace fendrel::store {
namespace {

constexpr std::size_t mostLines = 100;  // of one of SQLite's own checks; a damaged page can make thousands

class Check {
public:
  Check(ReadingConnection& connection, const Watch& watch) : connection_(connection), watch_(watch) {}

  CheckResult run() {
    readPages();
    connection_.keepMoment();
    readLog();
    runPragma("PRAGMA integrity_check(100)", "The database: ", 0);
    runPragma("PRAGMA foreign_key_check", "A row names one that is not there, in the table ", 0);
    const FolderMap folders(connection_);
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

  // SQLite reads the pages in use alone, and not again what it has in memory.
  void readPages() {
    const PageReport pages = readEveryPage(connection_.handle());
    result_.pages = pages.pages;
    result_.pagesHaveChecksums = pages.hasChecksums;
    for (const std::uint32_t page : pages.damaged) {
      if (result_.damage.size() == mostLines) break;
      damage("Page " + std::to_string(page) + " of the database does not match its checksum.");
    }
    if (pages.damaged.size() > mostLines) {
      damage(std::to_string(pages.damaged.size() - mostLines) + " more pages do not match their checksums.");
    }
  }

  // A recovery ends at the first damaged frame without a word. What someone is writing is looked at again.
  void readLog() {
    const auto lostFrames = [&] { return readLogFrames(connection_.disk(), connection_.path()).behindDamage; };
    if (lostFrames() == 0) return;
    Sleep(500);
    if (const std::uint32_t frames = lostFrames(); frames > 0) damage(wordsOfLostFrames(frames));
  }

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
    const MessageNumbers found = findMessageNumbers(connection_);
    for (const std::string& what : found.tableDamage) damage(what);
    for (const std::string& what : found.indexDamage) damage(what);
    tablesAreWhole_ = found.tableDamage.empty() && found.indexDamage.empty();
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
        note(folders, message, {{}, "It is in a folder that is not there."});
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
      const auto say = [&](const char* what) { result_.damage.push_back({folders.path(number), {}, {}, false, what}); };
      if (folders.isAstray(number)) say("Its way up does not end at the root of its store.");
      if (!folders.stores.contains(folder.store)) say("Its message store is not there.");
      if (folder.role == "root" || folder.role == "ipm_subtree") ++roots[folder.store];
      const Counts& real = counts_[number];
      const bool agrees = folder.messages == real.messages && folder.unread == real.unread &&
                          folder.associated == real.associated;
      if (tablesAreWhole_ && !folder.isMended && !agrees) say("Its counts of messages are not those of its messages.");
    }
    for (const auto& [number, store] : folders.stores) {
      if (roots[number] < 2) damage("The message store '" + store.name + "' lacks its own folders.");
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
      const bool ended = readRows(connection_, sql, why, [&](const Statement& row) {
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

  // A file may be named, and let go of, between the looks at both: what seems left over is looked at again.
  void countLeftovers() {
    std::vector<LeftoverFile> files;
    try {
      const auto unnamed = [&] {
        return unnamedContentFiles(connection_.handle(), connection_.disk(), connection_.contentFolder());
      };
      files = unnamed();
      if (!files.empty()) {
        Sleep(500);
        files = unnamed();
      }
    } catch (const EngineError& error) {
      damage("The content files cannot be compared with the database: " + error.text);
    }
    for (const LeftoverFile& file : files) {
      ++result_.leftoverFiles;
      result_.leftoverBytes += file.bytes;
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

CheckResult checkStore(const std::wstring& path, const Watch& watch) {
  return maintained([&] {
    ReadingConnection connection(path, windowsDisk());
    return Check(connection, watch).run();
  });
}

}  // namespace fendrel::store
