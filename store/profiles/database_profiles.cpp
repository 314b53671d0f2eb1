#include "database_profiles.h"

#include "local_engine.h"
#include "profiles.h"
#include "server_address.h"
#include "server_engine.h"
#include "store_place.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

class DatabaseProfiles final : public OnDatabase<ProfileBook> {
 public:
  using OnDatabase::OnDatabase;

  Status create(Profile& profile) override { return createProfile(database(), profile); }
  Status find(const std::u16string& name, Profile& found) override { return findProfile(database(), name, found); }
  Status findDefault(Profile& found) override { return findDefaultProfile(database(), found); }
  Status list(std::vector<Profile>& profiles) override { return listProfiles(database(), profiles); }
  Status setDefault(const std::u16string& name) override { return setDefaultProfile(database(), name); }
  Status setPassword(const std::u16string& name, const PasswordRecord& password) override {
    return store::setPassword(database(), name, password);
  }
  Status setServer(const std::u16string& name, const ServerAccess& server) override {
    try {
      jmap::parseAddress(toUtf8(server.url));
    } catch (const jmap::ServerFailure& failure) {
      database().noteFailure({Status::Invalid, failure.text});
      return Status::Invalid;
    }
    return store::setServer(database(), name, server);
  }
  Status setUserName(const std::u16string& name, const std::u16string& userName) override {
    return store::setUserName(database(), name, userName);
  }
  Status rename(const std::u16string& name, const std::u16string& newName) override {
    return renameProfile(database(), name, newName);
  }
  Status remove(const std::u16string& name, MailboxFate mailbox) override {
    return deleteProfile(database(), name, mailbox);
  }
  Status open(const Profile& profile, const std::u16string& secret, std::shared_ptr<Engine>& engine) override {
    if (profile.server) return ServerEngine::open(sharedDatabase(), profile, secret, engine);
    return LocalEngine::open(sharedDatabase(), profile.mailbox, engine);
  }
};

}  // namespace

Status openProfileBook(std::shared_ptr<ProfileBook>& book) {
  const std::wstring path = storeInUse();
  if (path.empty()) return Status::NotFound;
  std::unique_ptr<Database> database;
  std::string error;
  const Status status = Database::open(path, database, error);
  if (status == Status::Ok) book = std::make_shared<DatabaseProfiles>(std::move(database));
  return status;
}

}  // namespace fendrel::store
