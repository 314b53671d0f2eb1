#include "leftovers.h"

#include "message_checksum.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

// A file of unknown size counts with 0 bytes.
void count(Leftovers& leftovers, Disk& disk, const std::wstring& path) {
  if (!disk.exists(path)) return;
  ++leftovers.files;
  try {
    leftovers.bytes += fileSize(disk, path);
  } catch (const EngineError&) {
  }
}

bool notesDroppedFiles(const ReadingConnection& store) { return store.version() >= versionWithChecksums; }

}  // namespace

Leftovers unknownContentFiles(ReadingConnection& store) {
  const ContentFolder& folder = store.contents();
  Leftovers leftovers;
  Statement known = store.statement(notesDroppedFiles(store) ? "SELECT 1 FROM content WHERE file = ?1 "
                                                               "UNION ALL SELECT 1 FROM dropped_file WHERE name = ?1"
                                                             : "SELECT 1 FROM content WHERE file = ?1");
  // A file being saved stays open until its row exists, so none of these can get a row later.
  for (const Disk::Entry& entry : folder.files()) {
    const std::string name = toUtf8(entry.name);
    Query query(known, std::string_view(name));
    if (!query.step()) count(leftovers, folder.disk(), folder.path() + L"\\" + entry.name);
  }
  return leftovers;
}

Leftovers waitingFiles(ReadingConnection& store) {
  const ContentFolder& folder = store.contents();
  Leftovers leftovers;
  for (const Disk::Entry& entry : folder.temporaryFiles()) {
    count(leftovers, folder.disk(), folder.temporaryPath() + L"\\" + entry.name);
  }
  if (!notesDroppedFiles(store)) return leftovers;
  Statement dropped = store.statement("SELECT name FROM dropped_file");
  while (dropped.step()) {
    count(leftovers, folder.disk(), folder.path() + L"\\" + contentFileName(dropped.text(0)));
  }
  return leftovers;
}

}  // namespace fendrel::store
