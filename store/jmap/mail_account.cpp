#include "mail_account.h"

#include <algorithm>
#include <cstdio>

#include "json_reading.h"
#include "server_words.h"

namespace fendrel::jmap {
namespace {

// How many objects one set may change.
std::size_t changedAtOnce(MailServer& server) {
  constexpr std::uint64_t most = 500;
  const std::uint64_t limit = server.session().limits.maxObjectsInSet;
  return static_cast<std::size_t>(limit > 0 ? std::min(limit, most) : most);
}

// The SetError of `id` in a result's `list`, "notCreated" and the like (RFC 8620, 5.3); null if there is none.
const Json& errorOf(const Json& result, const char* list, const std::string& id) {
  return member(member(result, list), id.c_str());
}

Mailbox readMailbox(const Json& json) {
  const Json& rights = member(json, "myRights");
  Mailbox mailbox;
  mailbox.id = textOf(json, "id");
  mailbox.parentId = textOf(json, "parentId");
  mailbox.name = textOf(json, "name");
  mailbox.role = textOf(json, "role");
  mailbox.messageCount = numberOf(json, "totalEmails");
  mailbox.unreadCount = numberOf(json, "unreadEmails");
  mailbox.rights = {flagOf(rights, "mayReadItems"), flagOf(rights, "mayAddItems"),    flagOf(rights, "mayRemoveItems"),
                    flagOf(rights, "maySetSeen"),   flagOf(rights, "maySetKeywords"), flagOf(rights, "mayCreateChild"),
                    flagOf(rights, "mayRename"),    flagOf(rights, "mayDelete")};
  return mailbox;
}

Changes readChanges(const Json& result) {
  return {textsOf(result, "created"), textsOf(result, "updated"), textsOf(result, "destroyed"),
          textOf(result, "newState"), flagOf(result, "hasMoreChanges")};
}

std::string mailboxSubject(const std::string& name) { return "The folder '" + name + "'"; }

Json filterOf(const EmailQuery& query) {
  Json conditions = Json::array();
  if (!query.mailbox.empty()) conditions.push_back({{"inMailbox", query.mailbox}});
  for (const std::string& keyword : query.withKeywords) conditions.push_back({{"hasKeyword", keyword}});
  for (const std::string& keyword : query.withoutKeywords) conditions.push_back({{"notKeyword", keyword}});
  if (!query.headerName.empty()) conditions.push_back({{"header", {query.headerName, query.headerValue}}});
  if (query.filter.is_object()) conditions.push_back(query.filter);
  if (conditions.empty()) return nullptr;
  if (conditions.size() == 1) return conditions.front();
  return {{"operator", "AND"}, {"conditions", conditions}};
}

MethodCall queryCall(const std::string& account, const EmailQuery& query, std::uint64_t position, std::uint64_t limit) {
  Json arguments{{"accountId", account},
                 {"position", position},
                 {"limit", limit},
                 {"calculateTotal", true},
                 {"sort", Json::array({{{"property", query.sortBy}, {"isAscending", query.ascending}}})}};
  if (const Json filter = filterOf(query); !filter.is_null()) arguments["filter"] = filter;
  return {"Email/query", arguments};
}

EmailPage readPage(const Json& result) {
  return {textsOf(result, "ids"), numberOf(result, "position"), numberOf(result, "total")};
}

Json getArguments(const std::string& account, const EmailSelection& selection) {
  Json arguments{{"accountId", account}, {"properties", selection.properties}};
  if (!selection.bodyProperties.empty()) arguments["bodyProperties"] = selection.bodyProperties;
  if (selection.fetchTextValues) arguments["fetchTextBodyValues"] = true;
  if (selection.fetchAllValues) arguments["fetchAllBodyValues"] = true;
  if (selection.longestValue > 0) arguments["maxBodyValueBytes"] = selection.longestValue;
  return arguments;
}

// The server may answer in any order; the list keeps that of `ids`.
void append(EmailList& list, Json& result, std::span<const std::string> ids) {
  std::map<std::string, Json> byId;
  if (Json& emails = result["list"]; emails.is_array())
    for (Json& email : emails) byId.emplace(textOf(email, "id"), std::move(email));
  for (const std::string& id : ids)
    if (const auto found = byId.find(id); found != byId.end()) list.emails.push_back(std::move(found->second));
  if (list.state.empty()) list.state = textOf(result, "state");
}

std::string utcDate(std::chrono::sys_seconds time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

}  // namespace

MailboxList MailAccount::mailboxes() {
  const Json result = server_.call({"Mailbox/get", {{"accountId", id_}, {"ids", nullptr}}}, Repeat::always);
  MailboxList list;
  for (const Json& mailbox : member(result, "list")) list.mailboxes.push_back(readMailbox(mailbox));
  list.state = textOf(result, "state");
  return list;
}

Mailbox MailAccount::mailbox(const std::string& mailboxId) {
  const Json result = server_.call({"Mailbox/get", {{"accountId", id_}, {"ids", {mailboxId}}}}, Repeat::always);
  const Json& list = member(result, "list");
  if (!list.is_array() || list.empty()) throw notFoundFailure(server_.name(), mailboxSubject(mailboxId));
  return readMailbox(list.front());
}

std::optional<std::string> MailAccount::findMailbox(const std::string& parent, const std::string& name) {
  for (const Mailbox& mailbox : mailboxes().mailboxes)
    if (mailbox.parentId == parent && mailbox.name == name) return mailbox.id;
  return std::nullopt;
}

// A server's errors about a parent are vague, so find the cause here.
void MailAccount::checkNewName(const std::string& parent, const std::string& name) {
  const std::vector<Mailbox> all = mailboxes().mailboxes;
  if (std::ranges::any_of(all, [&](const Mailbox& one) { return one.parentId == parent && one.name == name; }))
    throw nameTakenFailure(server_.name(), mailboxSubject(name));
  if (parent.empty()) {
    for (const MailSession::Account& account : server_.session().accounts)
      if (account.id == id_ && !account.mayCreateTopLevelMailbox)
        throw noAccessFailure(server_.name(), mailboxSubject(name));
    return;
  }
  const auto found = std::ranges::find(all, parent, &Mailbox::id);
  if (found == all.end()) throw notFoundFailure(server_.name(), mailboxSubject(parent));
  if (!found->rights.mayCreateChild) throw noAccessFailure(server_.name(), mailboxSubject(name));
}

std::string MailAccount::createMailbox(const std::string& parent, const std::string& name) {
  const Json parentId = parent.empty() ? Json() : Json(parent);
  const MethodCall create{"Mailbox/set",
                          {{"accountId", id_}, {"create", {{"new", {{"parentId", parentId}, {"name", name}}}}}}};
  checkNewName(parent, name);
  Json result;
  try {
    result = server_.call(create, Repeat::never);
  } catch (const ServerFailure& failure) {
    if (failure.kind != FailureKind::lost) throw;
    // The lost call may have created it.
    if (const std::optional<std::string> made = findMailbox(parent, name)) return *made;
    result = server_.call(create, Repeat::never);
  }
  if (const Json& error = errorOf(result, "notCreated", "new"); !error.is_null()) {
    checkNewName(parent, name);  // another client may have created it first
    throw setFailure(server_.name(), error, mailboxSubject(name));
  }
  std::string id = textOf(member(member(result, "created"), "new"), "id");
  if (id.empty()) throw unreadableFailure(server_.name());
  return id;
}

void MailAccount::updateMailbox(const std::string& mailboxId, const Json& patch, const std::string& name) {
  const Json result =
      server_.call({"Mailbox/set", {{"accountId", id_}, {"update", {{mailboxId, patch}}}}}, Repeat::always);
  const Json& error = errorOf(result, "notUpdated", mailboxId);
  if (error.is_null()) return;
  throw setFailure(server_.name(), error, mailboxSubject(name));
}

void MailAccount::renameMailbox(const std::string& mailboxId, const std::string& name) {
  const Mailbox before = mailbox(mailboxId);
  if (before.name == name) return;
  if (findMailbox(before.parentId, name)) throw nameTakenFailure(server_.name(), mailboxSubject(name));
  updateMailbox(mailboxId, {{"name", name}}, before.name);
}

void MailAccount::moveMailbox(const std::string& mailboxId, const std::string& parent) {
  const Mailbox before = mailbox(mailboxId);
  if (before.parentId == parent) return;
  checkNewName(parent, before.name);
  updateMailbox(mailboxId, {{"parentId", parent.empty() ? Json() : Json(parent)}}, before.name);
}

void MailAccount::deleteMailbox(const std::string& mailboxId, bool withMessages) {
  const MethodCall destroy{"Mailbox/set",
                           {{"accountId", id_}, {"destroy", {mailboxId}}, {"onDestroyRemoveEmails", withMessages}}};
  // Some servers break down if the mailbox does not exist, so look for it first.
  const std::string name = mailbox(mailboxId).name;
  Json result;
  try {
    result = server_.call(destroy, Repeat::never);
  } catch (const ServerFailure& failure) {
    if (failure.kind != FailureKind::lost) throw;
    if (isGone(mailboxId)) return;
    result = server_.call(destroy, Repeat::never);
  }
  if (const Json& error = errorOf(result, "notDestroyed", mailboxId); !error.is_null())
    throw setFailure(server_.name(), error, mailboxSubject(name));
}

bool MailAccount::isGone(const std::string& mailboxId) {
  try {
    mailbox(mailboxId);
    return false;
  } catch (const ServerFailure& failure) {
    if (failure.kind != FailureKind::notFound) throw;
    return true;
  }
}

Changes MailAccount::mailboxChanges(const std::string& since) {
  return readChanges(server_.call({"Mailbox/changes", {{"accountId", id_}, {"sinceState", since}}}, Repeat::always));
}

EmailPage MailAccount::query(const EmailQuery& query, std::uint64_t position, std::uint64_t limit) {
  return readPage(server_.call(queryCall(id_, query, position, limit), Repeat::always));
}

EmailList MailAccount::page(const EmailQuery& query, std::uint64_t position, std::uint64_t limit,
                            const EmailSelection& selection, EmailPage* found) {
  Json get = getArguments(id_, selection);
  get["#ids"] = {{"resultOf", "0"}, {"name", "Email/query"}, {"path", "/ids"}};
  std::vector<Json> results =
      server_.calls({queryCall(id_, query, position, limit), {"Email/get", std::move(get)}}, Repeat::always);
  EmailPage page = readPage(results[0]);
  EmailList list;
  append(list, results[1], page.ids);
  if (found) *found = std::move(page);
  return list;
}

std::vector<std::string> MailAccount::findByMessageId(const std::string& mailboxId, const std::string& messageId) {
  constexpr std::uint64_t most = 50;
  EmailQuery wanted;
  wanted.mailbox = mailboxId;
  wanted.headerName = "Message-ID";
  wanted.headerValue = messageId;
  EmailSelection selection;
  selection.properties = {"id", "messageId"};
  const std::string bare = messageId.substr(1, messageId.size() - 2);
  std::vector<std::string> ids;
  // The header condition matches substrings.
  for (const Json& email : page(wanted, 0, most, selection).emails) {
    const std::vector<std::string> found = textsOf(email, "messageId");
    if (std::ranges::find(found, bare) != found.end()) ids.push_back(textOf(email, "id"));
  }
  return ids;
}

EmailList MailAccount::emails(std::span<const std::string> ids, const EmailSelection& selection, std::size_t batch) {
  if (const std::uint64_t most = server_.session().limits.maxObjectsInGet; most > 0)
    batch = static_cast<std::size_t>(std::min<std::uint64_t>(batch, most));
  EmailList list;
  while (!ids.empty()) {
    const auto some = ids.first(std::min(batch, ids.size()));
    ids = ids.subspan(some.size());
    Json arguments = getArguments(id_, selection);
    arguments["ids"] = std::vector<std::string>(some.begin(), some.end());
    Json result = server_.call({"Email/get", std::move(arguments)}, Repeat::always);
    append(list, result, some);
  }
  return list;
}

Changes MailAccount::emailChanges(const std::string& since) {
  return readChanges(server_.call({"Email/changes", {{"accountId", id_}, {"sinceState", since}}}, Repeat::always));
}

MailAccount::Failures MailAccount::update(std::span<const std::string> ids, const Json& patch) {
  Failures failures;
  while (!ids.empty()) {
    const auto some = ids.first(std::min(changedAtOnce(server_), ids.size()));
    ids = ids.subspan(some.size());
    Json changes = Json::object();
    for (const std::string& id : some) changes[id] = patch;
    const Json result = server_.call({"Email/set", {{"accountId", id_}, {"update", changes}}}, Repeat::always);
    for (const std::string& id : some)
      if (const Json& error = errorOf(result, "notUpdated", id); !error.is_null())
        failures.emplace(id, setFailure(server_.name(), error, "The message"));
  }
  return failures;
}

MailAccount::Failures MailAccount::setKeywords(std::span<const std::string> ids,
                                               const std::map<std::string, bool>& keywords) {
  Json patch = Json::object();
  for (const auto& [keyword, isSet] : keywords) patch["keywords/" + keyword] = isSet ? Json(true) : Json();
  return update(ids, patch);
}

MailAccount::Failures MailAccount::setMailboxes(std::span<const std::string> ids,
                                                std::span<const std::string> mailboxIds) {
  Json mailboxes = Json::object();
  for (const std::string& mailbox : mailboxIds) mailboxes[mailbox] = true;
  return update(ids, {{"mailboxIds", mailboxes}});
}

MailAccount::Failures MailAccount::destroy(std::span<const std::string> ids) {
  Failures failures;
  while (!ids.empty()) {
    const auto some = ids.first(std::min(changedAtOnce(server_), ids.size()));
    ids = ids.subspan(some.size());
    const std::vector<std::string> gone(some.begin(), some.end());
    const Json result = server_.call({"Email/set", {{"accountId", id_}, {"destroy", gone}}}, Repeat::always);
    for (const std::string& id : some) {
      const Json& error = errorOf(result, "notDestroyed", id);
      if (!error.is_null() && textOf(error, "type") != "notFound")
        failures.emplace(id, setFailure(server_.name(), error, "The message"));
    }
  }
  return failures;
}

Imported MailAccount::import(const EmailImport& message) {
  Json keywords = Json::object();
  for (const std::string& keyword : message.keywords) keywords[keyword] = true;
  const Json email{{"blobId", message.blob},
                   {"mailboxIds", {{message.mailbox, true}}},
                   {"keywords", keywords},
                   {"receivedAt", utcDate(message.receivedAt)}};
  const Json result = server_.call({"Email/import", {{"accountId", id_}, {"emails", {{"new", email}}}}}, Repeat::never);
  Imported imported{textOf(member(member(result, "created"), "new"), "id")};
  if (!imported.id.empty()) return imported;
  const Json& error = errorOf(result, "notCreated", "new");
  if (error.is_null()) throw unreadableFailure(server_.name());
  if (textOf(error, "type") == "alreadyExists") {
    imported = {textOf(error, "existingId"), true};
    if (!imported.id.empty()) return imported;
  }
  // The standard reports an unknown mailbox or blob as an invalid property.
  ServerFailure failure = setFailure(server_.name(), error, "The message");
  const std::vector<std::string> properties = textsOf(error, "properties");
  const bool isUnknown = std::ranges::any_of(properties, [](const std::string& property) {
    return property == "blobId" || property.starts_with("mailboxIds");
  });
  if (failure.kind == FailureKind::failed && isUnknown) failure.kind = FailureKind::notFound;
  throw failure;
}

std::vector<Quota> MailAccount::quotas() {
  const std::vector<std::string>& capabilities = server_.session().capabilities;
  if (std::ranges::none_of(capabilities, [](const std::string& name) { return name.ends_with("quota"); })) return {};
  const Json result = server_.call({"Quota/get", {{"accountId", id_}, {"ids", nullptr}}}, Repeat::always);
  std::vector<Quota> quotas;
  for (const Json& quota : member(result, "list")) {
    const std::string type = textOf(quota, "resourceType");
    const std::uint64_t limit =
        std::max({numberOf(quota, "hardLimit"), numberOf(quota, "limit"), numberOf(quota, "total")});
    if ((!type.empty() && type != "octets") || limit == 0) continue;
    const std::string name = textOf(quota, "name");
    quotas.push_back({name.empty() ? textOf(quota, "id") : name, numberOf(quota, "used"), limit});
  }
  return quotas;
}

}  // namespace fendrel::jmap
