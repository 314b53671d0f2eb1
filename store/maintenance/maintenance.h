// Maintenance of store files, for people: what is in one, whether it is whole, copies of it, its free space.
// Each call works on a file by its full path (UTF-16), needs no logon, and throws MaintenanceFailure.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "status.h"

namespace fendrel::store {

// NotFound (no such store), AlreadyExists (the file to be made), NoAccess, NotEnoughDisk, Busy, Corrupt (also: not a
// store at all), NewerVersion, OnNetwork, Cancelled (by the watch), Failed.
class MaintenanceFailure : public std::runtime_error {
 public:
  // `text`: whole English sentences, UTF-8.
  MaintenanceFailure(Status status, const std::string& text) : std::runtime_error(text), status_(status) {}
  Status status() const noexcept { return status_; }

 private:
  Status status_;
};

// Asked every moment of long work with how much is done; false ends it (cancelled).
using Watch = std::function<bool(std::uint64_t done, std::uint64_t total)>;

// The store in use: FENDREL_STORE, else the user's own. Empty when the user has no folder for it.
std::wstring presentStore();

struct StoreFacts {
  int version = 0;  // of the schema
  std::uint64_t databaseBytes = 0, logBytes = 0;
  std::uint64_t pages = 0, pageBytes = 0, freePages = 0;
  std::uint64_t profiles = 0, stores = 0, folders = 0, messages = 0, attachments = 0;
  std::uint64_t messagesWithChecksum = 0;  // all but those that an older program saved last
  std::uint64_t messageBytes = 0;          // as the messages count their values
  std::uint64_t contentFiles = 0, contentFileBytes = 0;
  std::uint64_t leftoverFiles = 0, leftoverBytes = 0;  // that nothing names and no program holds
};

StoreFacts readStoreFacts(const std::wstring& path);

// Something that is not as it must be.
struct Finding {
  std::string folder;      // path, UTF-8; empty when it concerns no folder
  std::string message;     // with `isMessage` only: subject; its number without one, or where a password protects it
  std::string attachment;  // name; empty when it concerns the message itself
  bool isMessage = false;
  std::string what;  // one sentence without its subject's name
};

struct CheckResult {
  std::uint64_t folders = 0, messages = 0, attachments = 0, contents = 0, contentBytes = 0, pages = 0;
  std::vector<Finding> damage;
  std::uint64_t leftoverFiles = 0, leftoverBytes = 0;  // no damage: reclaimed by a later opening, or by compacting
};

// Reads every page, every row and every byte of content. Changes nothing; others may go on meanwhile.
CheckResult checkStore(const std::wstring& path, const Watch& watch);

struct SalvageResult {
  std::uint64_t profiles = 0, stores = 0, folders = 0, messages = 0, attachments = 0, contentBytes = 0;
  std::vector<Finding> leftOut;  // and why
  std::vector<Finding> mended;   // carried over with something made anew
};

// Makes the new store `to` of everything in `from` that is whole, identifiers kept. `from` stays as it is. `to` and
// the folder beside it must not exist. A message of which anything is missing is left out.
SalvageResult salvageStore(const std::wstring& from, const std::wstring& to, const Watch& watch);

struct CompactResult {
  std::uint64_t bytesBefore = 0, bytesAfter = 0;       // database and log
  std::uint64_t leftoverFiles = 0, leftoverBytes = 0;  // deleted
  bool logIsEmpty = true;                              // false: someone is reading; the log shrinks later
};

// Gives free space back to the disk. Others may read meanwhile; who posts waits.
CompactResult compactStore(const std::wstring& path);

struct BackupResult {
  std::uint64_t databaseBytes = 0, contentFiles = 0, contentFileBytes = 0, messages = 0;
};

// Copies the store as it is at one moment, while others go on. `to` and the folder beside it must not exist; a failed
// backup leaves neither.
BackupResult backupStore(const std::wstring& from, const std::wstring& to, const Watch& watch);

}  // namespace fendrel::store
