#include "server_engine.h"

#include <algorithm>

#include "disk.h"
#include "server_profile.h"
#include "stores.h"
#include "unicode.h"

namespace fendrel::store {

Status ServerEngine::open(const std::shared_ptr<Database>& database, const Profile& profile,
                          const std::u16string& secret, std::shared_ptr<Engine>& engine) {
  jmap::Settings settings = settingsOf(*profile.server, secret);
  settings.isCancelled = isInterrupted;
  try {
    auto made = std::make_shared<ServerEngine>(database, profile, std::move(settings));
    const Status status = made->asking([&] { made->server_.session(); });
    if (status == Status::LogonFailed || status == Status::Cancelled) return status;
    engine = std::move(made);
    return Status::Ok;
  } catch (const jmap::ServerFailure& failure) {
    return statusOf(failure.kind);
  }
}

ServerEngine::ServerEngine(std::shared_ptr<Database> database, const Profile& profile, jmap::Settings settings)
    : OnDatabase(database),
      userName_(profile.userName),
      access_(*profile.server),
      server_(std::move(settings)),
      spools_(database->path(), windowsDisk()) {}

void ServerEngine::note(EngineError failure) {
  const std::lock_guard lock(mutex_);
  lastFailure_ = std::move(failure);
}

EngineError ServerEngine::lastFailure() const {
  const std::lock_guard lock(mutex_);
  return lastFailure_.status != Status::Ok ? lastFailure_ : OnDatabase::lastFailure();
}

std::string ServerEngine::place() const { return server_.settings().user + "@" + server_.name(); }

// Property names are kept in the database.
Bytes ServerEngine::mappingSignature() const {
  StoreInfo publicStore;
  if (findPublicStore(database(), publicStore) != Status::Ok) return {};
  const auto bytes = publicStore.id.bytes();
  return {bytes.begin(), bytes.end()};
}

const jmap::MailSession::Account& ServerEngine::accountOf(const std::string& id) {
  const auto& accounts = server_.session().accounts;
  const auto found = std::ranges::find(accounts, id, &jmap::MailSession::Account::id);
  if (found == accounts.end()) fail(Status::NotFound, server_.name() + " has no account '" + id + "' for this user.");
  return *found;
}

bool ServerEngine::isPublic(const jmap::MailSession::Account& account) const {
  return isPublicAccount(access_, account);
}

StoreInfo ServerEngine::storeOf(const jmap::MailSession::Account& account) {
  StoreInfo info;
  info.id = storeIdOf(account.id, server_.name());
  info.root = idOf(account.id, rootFolder);
  info.ipmSubtree = idOf(account.id, topFolder);
  info.commonViews = idOf(account.id, personalFolder);
  if (isPublic(account)) info.kind = StoreKind::Public;
  info.displayName = storeNameOf(access_, userName_, server_.session(), account);
  return info;
}

Id ServerEngine::defaultStore() {
  Id own;
  asking([&] { own = storeIdOf(server_.session().primaryAccount, server_.name()); });
  return own;
}

Status ServerEngine::listStores(std::vector<StoreInfo>& stores) {
  return asking([&] {
    std::vector<StoreInfo> all;
    for (const auto& account : server_.session().accounts) all.push_back(storeOf(account));
    const Id own = storeIdOf(server_.session().primaryAccount, server_.name());
    std::stable_partition(all.begin(), all.end(), [&](const StoreInfo& store) { return store.id == own; });
    if (!access_.publicAccount.empty() &&
        std::ranges::none_of(all, [](const StoreInfo& store) { return store.kind == StoreKind::Public; })) {
      fail(Status::NotFound, server_.name() + " has no account '" + toUtf8(access_.publicAccount) +
                                 "' for this user, which the profile names as public.");
    }
    stores = std::move(all);
  });
}

Status ServerEngine::findStore(const Id& store, StoreInfo& found) {
  return asking([&] {
    const std::string text(store.text());
    const std::size_t at = text.find('@');
    if (at == std::string::npos || text.substr(at + 1) != server_.name()) {
      fail(Status::NotFound, "There is no such message store on " + server_.name() + ".");
    }
    const std::string id = text.substr(0, at);
    StoreInfo info = storeOf(accountOf(id));
    if (info.kind == StoreKind::Mailbox) {
      for (const jmap::Mailbox& mailbox : readMailboxes(id)->all) {
        if (mailbox.role == "inbox") info.inbox = idOf(id, mailbox.id);
        if (mailbox.role == "trash") info.wastebasket = idOf(id, mailbox.id);
        if (mailbox.role == "sent") info.sentItems = idOf(id, mailbox.id);
      }
    }
    found = std::move(info);
  });
}

Status ServerEngine::readStoreProperties(const Id&, std::span<const PropertyTag>, std::vector<Property>& properties) {
  properties.clear();
  return Status::Ok;
}

Status ServerEngine::changeStoreProperties(const Id&, std::span<const Property>, std::span<const PropertyTag>) {
  return asking([&] { fail(Status::NotSupported, server_.name() + " keeps no properties of message stores."); });
}

std::uint16_t ServerEngine::identifierOf(const PropertyName& name) {
  std::vector<std::uint16_t> ids;
  const Status status = identifiersOf(std::span(&name, 1), IfUnknown::Create, ids);
  return status == Status::Ok && !ids.empty() ? ids.front() : std::uint16_t{0};
}

void ServerEngine::changed() {
  rows_.doubt();
  const std::lock_guard lock(mutex_);
  lastWhole_.reset();
}

}  // namespace fendrel::store
