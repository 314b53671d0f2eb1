// Folders: an account's mailboxes, below a root that servers do not have.
#include <algorithm>
#include <set>

#include "mail_tags.h"
#include "server_engine.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

constexpr char16_t folderClass[] = u"IPF.Note";

bool isVirtual(std::string_view object) {
  return object == rootFolder || object == topFolder || object == personalFolder;
}

std::u16string wideName(const std::string& utf8) {
  std::u16string name;
  if (!fromUtf8(utf8, name) || name.empty()) name.assign(utf8.begin(), utf8.end());
  return name;
}

bool isStandardRole(std::string_view role) { return role == "inbox" || role == "trash" || role == "sent"; }

FolderRights rightsOf(const jmap::MailboxRights& rights) {
  return {rights.mayAdd, rights.mayCreateChild, rights.mayRename || rights.maySetSeen || rights.mayRemove,
          rights.mayDelete};
}

// The mailboxes below a parent: the inbox first, then those with a role, then the rest; each by name.
std::vector<const jmap::Mailbox*> childrenOf(const std::vector<const jmap::Mailbox*>& all, std::string_view parent) {
  std::vector<const jmap::Mailbox*> children;
  for (const jmap::Mailbox* mailbox : all) {
    if (mailbox->parentId == parent) children.push_back(mailbox);
  }
  std::ranges::stable_sort(children, [](const jmap::Mailbox* a, const jmap::Mailbox* b) {
    return std::tuple(a->role != "inbox", a->role.empty(), a->name) <
           std::tuple(b->role != "inbox", b->role.empty(), b->name);
  });
  return children;
}

[[noreturn]] void failNoFolder(const std::string& server) {
  fail(Status::NotFound, "The folder does not exist on " + server + ", or exists no longer.");
}

}  // namespace

const jmap::Mailbox* ServerEngine::Mailboxes::find(std::string_view id) const {
  const auto found = std::ranges::find(all, id, &jmap::Mailbox::id);
  return found == all.end() ? nullptr : &*found;
}

ServerEngine::MailboxesPointer ServerEngine::readMailboxes(const std::string& accountId) {
  accountOf(accountId);
  auto read = std::make_shared<Mailboxes>();
  read->all = account(accountId).mailboxes().mailboxes;
  for (jmap::Mailbox& mailbox : read->all) {
    // Mailboxes below one that this user cannot see are shown at the top.
    const bool hasParent = std::ranges::find(read->all, mailbox.parentId, &jmap::Mailbox::id) != read->all.end();
    if (!hasParent) mailbox.parentId.clear();
  }
  for (const jmap::Mailbox& mailbox : read->all) {
    if (mailbox.parentId.empty() && mailbox.name == personalMailboxName) read->personal = mailbox.id;
  }
  const std::lock_guard lock(mutex_);
  return mailboxes_[accountId] = std::move(read);
}

ServerEngine::MailboxesPointer ServerEngine::knownMailboxes(const std::string& accountId) {
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = mailboxes_.find(accountId); known != mailboxes_.end()) return known->second;
  }
  return readMailboxes(accountId);
}

std::vector<FolderInfo> ServerEngine::treeOf(const std::string& accountId, const Mailboxes& mailboxes) {
  const jmap::MailSession::Account& owner = accountOf(accountId);
  const bool isMailbox = !isPublic(owner);
  std::vector<FolderInfo> tree;
  const auto add = [&](std::string_view object, std::string_view parent, std::u16string name) -> FolderInfo& {
    FolderInfo& info = tree.emplace_back();
    info.id = idOf(accountId, object);
    info.store = storeIdOf(accountId, server_.name());
    if (!parent.empty()) info.parent = idOf(accountId, parent);
    info.name = std::move(name);
    return info;
  };
  // Folders that servers do not have.
  const auto addStandard = [&](std::string_view object, std::string_view parent, std::u16string name) -> FolderInfo& {
    FolderInfo& info = add(object, parent, std::move(name));
    info.isStandard = true;
    info.rights = {false, false, false, false};
    return info;
  };
  std::vector<const jmap::Mailbox*> shown;
  for (const jmap::Mailbox& mailbox : mailboxes.all) {
    if (mailbox.id != mailboxes.personal) shown.push_back(&mailbox);
  }
  addStandard(rootFolder, {}, {}).hasSubfolders = true;
  FolderInfo& top = addStandard(topFolder, rootFolder, u"Top of Information Store");
  top.rights.mayAddFolders = top.rights.mayChange = owner.mayCreateTopLevelMailbox;
  top.hasSubfolders = !shown.empty();

  // An explicit stack: the tree may be too deep for recursion.
  std::vector<const jmap::Mailbox*> pending = childrenOf(shown, {});
  std::ranges::reverse(pending);
  while (!pending.empty()) {
    const jmap::Mailbox& mailbox = *pending.back();
    pending.pop_back();
    FolderInfo& info = add(mailbox.id, mailbox.parentId.empty() ? topFolder : std::string_view(mailbox.parentId),
                           wideName(mailbox.name));
    info.messageCount = static_cast<std::uint32_t>(mailbox.messageCount);
    info.unreadCount = static_cast<std::uint32_t>(mailbox.unreadCount);
    info.rights = rightsOf(mailbox.rights);
    info.isStandard = isMailbox && isStandardRole(mailbox.role);
    auto children = childrenOf(shown, mailbox.id);
    info.hasSubfolders = !children.empty();
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }

  FolderInfo& personal = addStandard(personalFolder, rootFolder, u"Common Views");
  personal.rights.mayAddMessages = personal.rights.mayChange = owner.mayCreateTopLevelMailbox;
  if (const jmap::Mailbox* mailbox = mailboxes.find(mailboxes.personal)) {
    personal.messageCount = static_cast<std::uint32_t>(mailbox->messageCount);  // of both kinds
    personal.rights.mayAddMessages = mailbox->rights.mayAdd;
  }
  return tree;
}

FolderInfo ServerEngine::folderOf(const MailId& folder) {
  for (FolderInfo& info : treeOf(folder.account, *readMailboxes(folder.account))) {
    if (mailId(info.id).object == folder.object) return std::move(info);
  }
  failNoFolder(server_.name());
}

std::string ServerEngine::mailboxOf(const MailId& folder, const Mailboxes& mailboxes) {
  // Another program may have created it since.
  if (folder.object == personalFolder && mailboxes.personal.empty()) return readMailboxes(folder.account)->personal;
  if (folder.object == personalFolder) return mailboxes.personal;
  if (isVirtual(folder.object)) {
    fail(Status::NotSupported, "Messages are kept in folders; " + server_.name() + " keeps none at the top.");
  }
  return folder.object;
}

std::string ServerEngine::makePersonalMailbox(const std::string& accountId) {
  const std::string known = knownMailboxes(accountId)->personal;
  if (!known.empty()) return known;
  try {
    account(accountId).createMailbox({}, personalMailboxName);
  } catch (const jmap::ServerFailure& failure) {
    if (failure.kind != jmap::FailureKind::nameTaken) throw;  // another client created it first
  }
  return readMailboxes(accountId)->personal;
}

jmap::Mailbox ServerEngine::changeableMailbox(const MailId& folder) {
  const auto mailboxes = readMailboxes(folder.account);
  const jmap::Mailbox* mailbox = mailboxes->find(folder.object);
  if (!mailbox && !isVirtual(folder.object)) failNoFolder(server_.name());
  if (!mailbox || (isStandardRole(mailbox->role) && !isPublic(accountOf(folder.account)))) {
    fail(Status::NoAccess, "A standard folder cannot be renamed, moved or deleted.");
  }
  return *mailbox;
}

Status ServerEngine::createFolder(const Id& parent, const std::u16string& name, std::span<const Property>,
                                  IfExists ifExists, FolderInfo& folder) {
  return asking([&] {
    if (name.empty()) fail(Status::Invalid, "A folder needs a name.");
    const MailId above = mailId(parent);
    const FolderInfo parentInfo = folderOf(above);
    if (above.object != topFolder && isVirtual(above.object)) {
      fail(Status::NoAccess, "Folders are made below the top of a message store.");
    }
    const auto mailboxes = knownMailboxes(above.account);
    const std::string parentId = above.object == topFolder ? std::string() : above.object;
    const auto found = std::ranges::find_if(mailboxes->all, [&](const jmap::Mailbox& one) {
      return one.parentId == parentId && wideName(one.name) == name;
    });
    std::string made;
    if (found != mailboxes->all.end()) {
      if (ifExists == IfExists::Refuse) {
        fail(Status::AlreadyExists, "There is already a folder '" + toUtf8(name) + "'.");
      }
      made = found->id;
    } else {
      made = account(above.account).createMailbox(parentId, toUtf8(name));
    }
    folder = folderOf({above.account, made});
  });
}

Status ServerEngine::findFolder(const Id& folder, FolderInfo& found) {
  return asking([&] { found = folderOf(mailId(folder)); });
}

// Checks the rights as last read. The server checks them when a message is saved.
Status ServerEngine::checkFolder(const Id& folder) {
  return asking([&] {
    const MailId id = mailId(folder);
    const auto known = knownMailboxes(id.account);
    for (const FolderInfo& info : treeOf(id.account, *known)) {
      if (info.id != folder) continue;
      if (!info.rights.mayAddMessages) {
        fail(Status::NoAccess, server_.name() + " gives no right to post into the folder '" + toUtf8(info.name) + "'.");
      }
      return;
    }
    folderOf(id);
  });
}

Status ServerEngine::renameFolder(const Id& folder, const std::u16string& newName) {
  return asking([&] {
    if (newName.empty()) fail(Status::Invalid, "A folder needs a name.");
    const MailId id = mailId(folder);
    changeableMailbox(id);
    account(id.account).renameMailbox(id.object, toUtf8(newName));
  });
}

Status ServerEngine::moveFolder(const Id& folder, const Id& newParent, const std::u16string& newName) {
  return asking([&] {
    const MailId id = mailId(folder), above = mailId(newParent);
    if (above.account != id.account) fail(Status::Invalid, "A folder cannot be moved to another message store.");
    if (above.object != topFolder && isVirtual(above.object)) {
      fail(Status::NoAccess, "Folders lie below the top of a message store.");
    }
    const jmap::Mailbox before = changeableMailbox(id);
    const auto mailboxes = knownMailboxes(id.account);
    for (const jmap::Mailbox* at = mailboxes->find(above.object); at; at = mailboxes->find(at->parentId)) {
      if (at->id == id.object) fail(Status::Invalid, "A folder cannot be moved into itself.");
    }
    if (above.object != topFolder && !mailboxes->find(above.object)) failNoFolder(server_.name());
    const std::string parentId = above.object == topFolder ? std::string() : above.object;
    const std::string name = newName.empty() ? before.name : toUtf8(newName);
    // Not atomic: after the first step it has the new parent and the old name.
    if (parentId != before.parentId) account(id.account).moveMailbox(id.object, parentId);
    if (name != before.name) account(id.account).renameMailbox(id.object, name);
  });
}

Status ServerEngine::deleteFolder(const Id& folder, DeleteFolderOptions options) {
  return asking([&] {
    const MailId id = mailId(folder);
    changeableMailbox(id);
    const auto mailboxes = knownMailboxes(id.account);
    std::vector<FolderInfo> below;
    std::set<Id> tree{folder};
    for (FolderInfo& info : treeOf(id.account, *mailboxes)) {
      if (info.id == folder && !options.in.empty() && info.parent != options.in) {
        fail(Status::NotFound, "The folder does not lie in that folder, or no longer.");
      }
      if (info.id == folder || tree.contains(info.parent)) {
        tree.insert(info.id);
        below.push_back(std::move(info));
      }
    }
    if (below.size() > 1 && !options.withFolders) fail(Status::HasFolders, "The folder holds other folders.");
    const auto holdsMessages = [](const FolderInfo& one) { return one.messageCount > 0; };
    if (!options.withMessages && std::ranges::any_of(below, holdsMessages)) {
      fail(Status::HasMessages, "The folder holds messages.");
    }
    // Deepest first. A message that arrives meanwhile keeps its folder, unless withMessages.
    for (auto at = below.rbegin(); at != below.rend(); ++at) {
      account(id.account).deleteMailbox(mailId(at->id).object, options.withMessages);
    }
    changed();
  });
}

Status ServerEngine::readFolderProperties(const Id&, std::span<const PropertyTag> tags,
                                          std::vector<Property>& properties) {
  const std::vector<Property> kept = {{tags::containerClass, std::u16string(folderClass)}};
  properties = chosenProperties(kept, tags, ~std::uint64_t{0});
  return Status::Ok;
}

Status ServerEngine::changeFolderProperties(const Id&, std::span<const Property> set, std::span<const PropertyTag>) {
  return asking([&] {
    const bool isTheirs = std::ranges::all_of(set, [](const Property& property) {
      return property.tag == tags::containerClass && property.value == PropertyValue(std::u16string(folderClass));
    });
    if (!isTheirs) fail(Status::NotSupported, server_.name() + " keeps no properties of folders but their names.");
  });
}

Status ServerEngine::readFolderRows(const Id& folder, Depth depth, std::span<const PropertyTag> columns,
                                    const FolderRowSink& sink) {
  return asking([&] {
    const MailId id = mailId(folder);
    const std::vector<FolderInfo> tree = treeOf(id.account, *readMailboxes(id.account));
    if (std::ranges::none_of(tree, [&](const FolderInfo& one) { return one.id == folder; })) {
      failNoFolder(server_.name());
    }
    const std::vector<Property> kept = {{tags::containerClass, std::u16string(folderClass)}};
    std::map<Id, std::uint32_t> depths{{folder, 0}};
    for (const FolderInfo& info : tree) {
      const auto above = depths.find(info.parent);
      if (above == depths.end() || (depth == Depth::Children && above->second > 0)) continue;
      const std::uint32_t own = above->second + 1;
      depths.emplace(info.id, own);
      if (!sink({info, own, columnValues(kept, columns)})) return;
    }
  });
}

}  // namespace fendrel::store
