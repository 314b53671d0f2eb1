#include "content_table.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

constexpr std::uint64_t safeAge = 60ull * 60 * 10'000'000;  // one hour in 100-nanosecond intervals

bool isOld(const Disk::Entry& entry) { return entry.modified.ticks + safeAge < now().ticks; }

// Rows come and go only inside a write transaction. So while this one lasts, a file that no row names is a left-over,
// or it is held by a living process, and then cannot be deleted.
void removeUnreferenced(Connection& connection) {
  Transaction transaction(connection, Transaction::Write);
  for (const auto& entry : connection.disk().list(connection.contentFolder())) {
    if (!entry.name.ends_with(contentEnding)) continue;
    const std::string name = toUtf8(entry.name);
    Query query(connection.statement("SELECT 1 FROM content WHERE file = ?"), std::string_view(name));
    if (!query.step()) connection.disk().remove(connection.contentFolder() + L"\\" + entry.name);
  }
}

}  // namespace

void reclaimLeftovers(Connection& connection) {
  Disk& disk = connection.disk();
  std::vector<std::wstring> staleMarks;
  for (const auto& entry : disk.list(connection.spoolFolder())) {
    const std::wstring path = connection.spoolFolder() + L"\\" + entry.name;
    // A living process keeps its files open, so that they cannot be deleted. The age protects those of processes
    // on other machines and systems that do not see each other's locks.
    if (entry.name.ends_with(spoolEnding) && isOld(entry)) disk.remove(path);
    if (entry.name.ends_with(L".open") && disk.isAbandoned(path)) staleMarks.push_back(path);
  }
  if (staleMarks.empty()) return;
  removeUnreferenced(connection);
  // Only a mark makes the next opening look again for files that a power cut brings back.
  disk.flushFolder(connection.contentFolder());
  for (const auto& mark : staleMarks) disk.remove(mark);
}

}  // namespace fendrel::store
