#include "failure_border.h"
#include "leftovers.h"
#include "message_checksum.h"
#include "reading_connection.h"
#include "store_place.h"

namespace fendrel::store {
namespace {

std::uint64_t numberOf(ReadingConnection& connection, const char* sql) {
  return static_cast<std::uint64_t>(connection.number(sql));
}

StoreFacts factsOf(ReadingConnection& connection) {
  StoreFacts facts;
  Disk& disk = connection.disk();
  facts.databaseBytes = fileSize(disk, connection.path());
  facts.logBytes = fileSize(disk, connection.path() + L"-wal");
  for (const Leftovers& leftovers : {unknownContentFiles(connection), waitingFiles(connection)}) {
    facts.leftoverFiles += leftovers.files;
    facts.leftoverBytes += leftovers.bytes;
  }
  connection.keepMoment();
  facts.version = connection.version();
  facts.pageBytes = numberOf(connection, "PRAGMA page_size");
  facts.pages = numberOf(connection, "PRAGMA page_count");
  facts.freePages = numberOf(connection, "PRAGMA freelist_count");
  facts.profiles = numberOf(connection, "SELECT count(*) FROM profile");
  facts.stores = numberOf(connection, "SELECT count(*) FROM store");
  facts.folders = numberOf(connection, "SELECT count(*) FROM folder");
  facts.messages = numberOf(connection, "SELECT count(*) FROM message");
  if (facts.version >= versionWithChecksums) {
    facts.messagesWithChecksum = numberOf(connection, "SELECT count(checksum) FROM message");
  }
  facts.messageBytes = numberOf(connection, "SELECT coalesce(sum(size), 0) FROM message");
  facts.attachments = numberOf(connection, "SELECT count(*) FROM attachment");
  facts.contentFiles = numberOf(connection, "SELECT count(*) FROM content WHERE file IS NOT NULL");
  facts.contentFileBytes = numberOf(connection, "SELECT coalesce(sum(size), 0) FROM content WHERE file IS NOT NULL");
  return facts;
}

}  // namespace

std::wstring presentStore() { return storeInUse(); }

StoreFacts readStoreFacts(const std::wstring& path) {
  return maintained([&] {
    ReadingConnection connection(path, windowsDisk());
    return factsOf(connection);
  });
}

}  // namespace fendrel::store
