// Makes the packed store and its listing of one schema version:  make_golden_store VERSION FOLDER
// Only for this program's schema version.
#include <cstdlib>
#include <fstream>

#include "connection.h"
#include "engine_fixture.h"
#include "golden_store.h"
#include "migrations.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

void fill(Database& database) {
  Profile profile;
  profile.name = u"nightly";
  profile.userName = u"Night Shift";
  createProfile(database, profile);
  Profile team;
  team.name = u"team";
  team.userName = u"Reports";
  team.server = ServerAccess{u"https://mail.example", u"reports", Bytes(40, std::byte{5}), u"public", u"C:\\ca.pem"};
  createProfile(database, team);
  StoreInfo store;
  findPublicStore(database, store);
  FolderInfo reports, daily;
  createFolder(database, store.ipmSubtree, u"Reports", {}, IfExists::Refuse, reports);
  createFolder(database, reports.id, u"T\u00E4glich \u65E5\u672C", {}, IfExists::Refuse, daily);

  MessageDraft small;
  small.folder = daily.id;
  small.isRead = true;
  small.created = FileTime{134'000'000'000'000'000};
  small.set = {{classTag, u"IPM.Note"},
               {subjectTag, u"\u5831\u544A"},
               {bodyTag, std::u16string(16'500, u'x')},
               {0x00170003, std::int32_t{2}},
               {0x00390040, FileTime{133'900'000'000'000'000}},
               {0x0C1F001F, u"night@example.org"},
               {0x8000101F, std::vector<std::u16string>{u"one", u"two"}}};
  MessageInfo saved;
  saveMessage(database, small, saved);

  MessageDraft large;
  large.folder = reports.id;
  large.set = {{classTag, u"IPM.Note"}, {subjectTag, u"two attachments"}};
  Bytes bytes(contentBlockSize * 2 + 5);
  bytes.front() = bytes.back() = std::byte{7};
  for (const std::size_t size : {bytes.size(), std::size_t{2000}}) {
    auto& attachment = large.attachments.emplace_back();
    attachment.number = static_cast<std::uint32_t>(large.attachments.size() - 1);
    attachment.set = {{attachNameTag, u"report.pdf"}};
    auto writer = createContent(database);
    writer->write(0, std::span(bytes).first(size));
    attachment.contents = {{attachDataTag, writer}};
  }
  saveMessage(database, large, saved);
}

}  // namespace
}  // namespace fendrel::store

int main(int count, char** arguments) {
  using namespace fendrel::store;
  if (count != 3) return 2;
  const int version = std::atoi(arguments[1]);
  const int latest = schemaMigrations().back().version;
  if (version != latest) return 2;
  SimulatedDisk disk(emptyDisk());
  std::string text;
  {
    const auto database = openOn(disk);
    fill(*database);
    text = listing(*database);
  }
  const std::string name = std::string(arguments[2]) + "/version-" + std::to_string(version);
  const Bytes bytes = packed(disk.now());
  std::ofstream(name + ".store", std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  std::ofstream(name + ".txt", std::ios::binary) << text;
  return 0;
}
