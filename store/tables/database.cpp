#include "database.h"

#include <windows.h>

#include "connection.h"
#include "database_on_disk.h"
#include "migrations.h"
#include "new_store_file.h"
#include "reclaim.h"
#include "standard_folders.h"
#include "store_place.h"
#include "unicode.h"

namespace fendrel::store {

std::wstring fullStorePath(const std::wstring& path) {
  constexpr std::size_t safeLength = 150;
  if (path.starts_with(L"\\\\?\\")) return path;
  std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.empty()) fail(Status::Invalid, "The path of the store is not valid.");
  if (full.size() < safeLength) return full;
  return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

namespace {

// SQLite's log needs memory shared by all programs, which programs on several machines do not have.
void refuseNetwork(const std::wstring& path, Disk& disk) {
  if (!disk.isRemote(path) || environmentVariable(L"FENDREL_ALLOW_NETWORK_STORE") == L"1") return;
  fail(Status::OnNetwork, "The store '" + toUtf8(path) +
                              "' is on a network drive, where programs of several machines would damage it. Keep it on "
                              "a local disk; if only one machine uses it, set FENDREL_ALLOW_NETWORK_STORE=1.");
}

}  // namespace

Status openOnDisk(const std::wstring& path, Disk& disk, bool mayCreate, std::unique_ptr<Database>& opened,
                  std::string& error) {
  opened.reset();
  error.clear();
  try {
    const std::wstring full = fullStorePath(path);
    refuseNetwork(full, disk);
    if (!disk.exists(full)) {
      if (!mayCreate) fail(Status::NotFound, "There is no store '" + toUtf8(full) + "'.");
      createStoreFile(full, disk);
    }
    auto connection = std::make_unique<Connection>(full, disk);
    migrate(*connection, schemaMigrations());
    ensurePublicStore(*connection);
    reclaimLeftovers(*connection);
    opened.reset(new Database(std::move(connection)));
    return Status::Ok;
  } catch (EngineError& failure) {
    error = std::move(failure.text);
    return failure.status;
  }
}

Status Database::open(const std::wstring& path, std::unique_ptr<Database>& opened, std::string& error) {
  return openOnDisk(path, windowsDisk(), true, opened, error);
}

Status Database::openExisting(const std::wstring& path, std::unique_ptr<Database>& opened, std::string& error) {
  return openOnDisk(path, windowsDisk(), false, opened, error);
}

Database::Database(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {}
Database::~Database() = default;

const std::wstring& Database::path() const noexcept { return connection_->path(); }
EngineError Database::lastFailure() const { return connection_->lastError(); }
void Database::noteFailure(EngineError failure) { connection_->setLastError(std::move(failure)); }

Status Database::changeCounter(std::uint64_t& counter) {
  return guarded(*this, [&](Connection& connection) {
    Query query(connection.statement("PRAGMA data_version"));
    query.step();
    counter = static_cast<std::uint64_t>(query->integer(0)) + connection.ownCommits();
  });
}

}  // namespace fendrel::store
