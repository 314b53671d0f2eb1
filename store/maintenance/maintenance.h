// Maintenance of store files: facts, check, backup, compact, salvage.
// Each call works on a file by its full path (UTF-16), needs no logon, and throws StatusFailure: NotFound (the store),
// AlreadyExists (the file to create), NoAccess, NotEnoughDisk, Busy, Corrupt (also: not a store), NewerVersion,
// OnNetwork, Cancelled (by the watch), Failed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "status_failure.h"

namespace fendrel::store {

// Called repeatedly with the progress of long work; false cancels it.
using Watch = std::function<bool(std::uint64_t done, std::uint64_t total)>;

// The store in use: FENDREL_STORE, else the user's own. Empty if the user has no folder for it.
std::wstring presentStore();

struct StoreFacts {
  int version = 0;  // of the schema
  std::uint64_t databaseBytes = 0, logBytes = 0;
  std::uint64_t pages = 0, pageBytes = 0, freePages = 0;
  std::uint64_t profiles = 0, stores = 0, folders = 0, messages = 0, attachments = 0;
  std::uint64_t messagesWithChecksum = 0;  // all except those last saved by an older program
  std::uint64_t messageBytes = 0;          // by the messages' sizes
  std::uint64_t contentFiles = 0, contentFileBytes = 0;
  std::uint64_t leftoverFiles = 0, leftoverBytes = 0;  // orphans
};

StoreFacts readStoreFacts(const std::wstring& path);

// A problem.
struct Finding {
  std::string folder;      // path, UTF-8; empty if it concerns no folder
  std::string message;     // with `isMessage` only: subject; its number without a subject or if a password protects it
  std::string attachment;  // name; empty if it concerns the message itself
  bool isMessage = false;
  std::string what;  // one sentence without its subject's name
};

struct CheckResult {
  std::uint64_t folders = 0, messages = 0, attachments = 0, contents = 0, contentBytes = 0, pages = 0;
  std::vector<Finding> damage;
  std::uint64_t leftoverFiles = 0, leftoverBytes = 0;  // orphans: not damage; a later open or compacting deletes them
};

// Reads every page, every row and every byte of content. Changes nothing; others may use the store meanwhile.
CheckResult checkStore(const std::wstring& path, const Watch& watch);

struct SalvageResult {
  std::uint64_t profiles = 0, stores = 0, folders = 0, messages = 0, attachments = 0, contentBytes = 0;
  std::vector<Finding> leftOut;  // with the reason
  std::vector<Finding> mended;   // recovered with recreated parts
};

// Makes the new store `to` from all undamaged data in `from`, with the same identifiers. Does not change `from`. `to`
// and the folder beside it must not exist. An incomplete message is left out.
SalvageResult salvageStore(const std::wstring& from, const std::wstring& to, const Watch& watch);

struct CompactResult {
  std::uint64_t bytesBefore = 0, bytesAfter = 0;       // database and log
  std::uint64_t leftoverFiles = 0, leftoverBytes = 0;  // deleted
  bool logIsEmpty = true;                              // false: there is a reader; the log shrinks later
};

// Returns free space to the disk. Others may read meanwhile; posting waits.
CompactResult compactStore(const std::wstring& path);

struct BackupResult {
  std::uint64_t databaseBytes = 0, contentFiles = 0, contentFileBytes = 0, messages = 0;
};

// Copies a snapshot of the store while others use it. `to` and the folder beside it must not exist; a failed backup
// leaves neither.
BackupResult backupStore(const std::wstring& from, const std::wstring& to, const Watch& watch);

}  // namespace fendrel::store
