#include "damaged_copy.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "engine_error.h"
#include "migrations.h"
#include "sqlite_statement.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

constexpr std::size_t blockBytes = 64 * 1024, sectorBytes = 4096;

// Stores of versions 1 and 2 have pages of 16 KiB; in version 2, and if compacted, each ends with a marker and a
// checksum in reserved bytes.
constexpr std::array<StoreForm, 3> pageForms{{{0, 8192, 0}, {0, 16384, 16}, {0, 16384, 0}}};
constexpr std::string_view pageMark = "FndlPage";

// Unreadable bytes stay zero.
void readTolerantly(DiskFile& file, std::uint64_t at, std::span<std::byte> into) {
  std::ranges::fill(into, std::byte{0});
  try {
    file.read(at, into);
  } catch (const EngineError&) {
    if (into.size() <= sectorBytes) return;
    for (std::size_t done = 0; done < into.size(); done += sectorBytes) {
      readTolerantly(file, at + done, into.subspan(done, std::min(sectorBytes, into.size() - done)));
    }
  }
}

void copyFile(Disk& disk, const std::wstring& from, const std::wstring& to) {
  const auto source = disk.open(from);
  const auto copy = disk.openAlone(to);
  Bytes block;
  const std::uint64_t size = source->size();
  for (std::uint64_t at = 0; at < size; at += block.size()) {
    block.resize(static_cast<std::size_t>(std::min<std::uint64_t>(blockBytes, size - at)));
    readTolerantly(*source, at, block);
    copy->write(at, block);
  }
}

// The first column of the first row; nothing if SQLite fails.
std::optional<std::int64_t> numberOf(sqlite3* database, const char* sql) {
  try {
    Statement asked(database, sql, false);
    return asked.step() ? std::optional(asked.integer(0)) : std::nullopt;
  } catch (const EngineError&) {
    return std::nullopt;
  }
}

}  // namespace

DamagedCopy::DamagedCopy(const std::wstring& store, const std::wstring& path, Disk& disk) : path_(path), disk_(disk) {
  if (!disk.exists(store)) fail(Status::NotFound, "There is no store '" + toUtf8(store) + "'.");
  copyFile(disk, store, path);
  if (disk.exists(store + L"-wal")) copyFile(disk, store + L"-wal", path + L"-wal");
  if (open()) {
    refuseNewer(store);
    if (firstPageIsRight()) return;
  }
  lostFirstPage_ = true;
  replaceFirstPage();
  if (!open()) fail(Status::Corrupt, "No data of a message store was found in '" + toUtf8(store) + "'.");
}

// True if the database can be read and contains the log's transactions. SQLite decides how much of a log is valid.
bool DamagedCopy::open() {
  database_.reset();
  createLogFiles(path_, disk_);
  database_ = openDatabase(path_, disk_, SQLITE_OPEN_READWRITE);
  sqlite3* database = handle();
  // Accepts damage in the schema.
  sqlite3_exec(database, "PRAGMA writable_schema = ON", nullptr, nullptr, nullptr);
  return numberOf(database, "SELECT count(*) FROM sqlite_schema") &&
         sqlite3_wal_checkpoint_v2(database, "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) == SQLITE_OK;
}

void DamagedCopy::refuseNewer(const std::wstring& store) {
  if (numberOf(handle(), "PRAGMA application_id") != applicationId) return;
  const auto version = numberOf(handle(), "PRAGMA user_version");
  if (version <= latestVersion()) return;
  // A flipped bit in the version would make the store look newer.
  if (schemaOf(handle()) == schemaOfVersion(latestVersion())) return;
  fail(Status::NewerVersion, "The store '" + toUtf8(store) +
                                 "' was written by a newer version of this program: it has " + "version " +
                                 std::to_string(*version) + ", this program knows versions up to " +
                                 std::to_string(latestVersion()) + ". Install the newer version.");
}

// Whether the schema is that of its version, and the tables begin where it says.
bool DamagedCopy::firstPageIsRight() {
  const auto version = numberOf(handle(), "PRAGMA user_version"), pageSize = numberOf(handle(), "PRAGMA page_size");
  if (numberOf(handle(), "PRAGMA application_id") != applicationId || !version || !pageSize) return false;
  try {
    const auto found = schemaOf(handle());
    for (const auto& [name, sql] : schemaOfVersion(static_cast<int>(*version))) {
      const auto same = found.find(name);
      if (same == found.end() || same->second != sql) return false;
    }
    const auto roots = rootsOf(handle());
    version_ = static_cast<int>(*version);
    return agreement(roots, static_cast<int>(*pageSize), -1) * 2 > static_cast<int>(roots.size());
  } catch (const EngineError&) {
    return false;
  }
}

// Uses the form that agrees best with the pages; if none does, a page without tables: then all rows are recognised by
// their shape.
void DamagedCopy::replaceFirstPage() {
  database_.reset();
  StoreForm best = pageForms.front();
  int bestAgreement = 0;
  std::size_t roots = 0;
  for (StoreForm form : pageForms) {
    form.version = latestVersion();
    for (const bool isCompacted : {false, true}) {
      form.isCompacted = isCompacted;
      const auto expected = EmptyStore(form).roots();
      const int agrees = agreement(expected, form.pageSize, form.reservedBytes);
      if (agrees <= bestAgreement) continue;
      best = form;
      bestAgreement = agrees;
      roots = expected.size();
    }
  }
  if (bestAgreement * 2 <= static_cast<int>(roots)) best.version = 0;
  version_ = best.version;
  const Bytes page = EmptyStore(best).firstPage();
  disk_.openAlone(path_)->write(0, page);
}

// The number of roots of the expected kind, minus those of another kind. `reservedBytes` below 0: not compared.
int DamagedCopy::agreement(const std::vector<RootPage>& roots, int pageSize, int reservedBytes) {
  const auto file = disk_.open(path_);
  int agreeing = 0;
  for (const RootPage& root : roots) {
    const std::uint64_t at = (root.number - std::uint64_t{1}) * static_cast<std::uint64_t>(pageSize);
    std::array<std::byte, 1> kind{};
    file->read(at, kind);
    const int found = std::to_integer<int>(kind[0]);
    if (found == 0) continue;  // lost, too
    const bool isOfTable = found == 5 || found == 13, isOfIndex = found == 2 || found == 10;
    bool agrees = root.hasRowNumbers ? isOfTable : isOfIndex;
    if (agrees && reservedBytes >= 0) {
      Bytes end(16);
      file->read(at + static_cast<std::uint64_t>(pageSize) - end.size(), end);
      agrees = (std::memcmp(end.data(), pageMark.data(), pageMark.size()) == 0) == (reservedBytes != 0);
    }
    agreeing += agrees ? 1 : -1;
  }
  return agreeing;
}

}  // namespace fendrel::store
