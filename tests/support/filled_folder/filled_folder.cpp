#include "filled_folder.h"

#include <memory>
#include <optional>
#include <stdexcept>

#include "connection.h"
#include "folders.h"
#include "messages.h"
#include "stores.h"

namespace fendrel::test {
namespace {

void checked(store::Status status, const char* what) {
  if (status != store::Status::Ok) throw std::runtime_error(std::string(what) + ": " + store::name(status));
}

}  // namespace

void fillWithCopies(const std::wstring& path, const std::vector<std::u16string>& folderPath, int wanted) {
  std::unique_ptr<store::Database> database;
  std::string error;
  checked(store::Database::openExisting(path, database, error), "opening the database");
  database->connection().execute("PRAGMA synchronous = OFF");
  store::StoreInfo publicStore;
  checked(store::findPublicStore(*database, publicStore), "the public store");
  store::Id folder = publicStore.ipmSubtree;
  for (const std::u16string& name : folderPath) {
    store::FolderInfo child;
    checked(store::findChild(*database, folder, name, child), "the folder");
    folder = child.id;
  }
  std::optional<store::Id> model;
  int count = 0;
  checked(store::readMessageRows(*database, folder, store::MessageKind::Ordinary, {},
                                 [&](store::MessageRow&& row) {
                                   if (!model) model = row.message.id;
                                   ++count;
                                   return true;
                                 }),
          "the message to copy");
  if (!model) throw std::runtime_error("the folder has no message to copy");
  store::MessageInfo copy;
  for (; count < wanted; ++count) checked(store::copyMessage(*database, *model, folder, copy), "copying");
}

}  // namespace fendrel::test
