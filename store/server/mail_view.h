// A message of the server as the border shows it.
#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "mail_ids.h"
#include "message_info.h"
#include "message_reader.h"
#include "property_name.h"

namespace fendrel::store {

struct ViewedAttachment {
  std::vector<Property> properties;  // by identifier; its bytes unloaded
  mime::MailPart part;
};

struct MailView {
  MessageInfo info;
  std::vector<std::string> mailboxes;
  std::vector<Property> properties;  // by identifier
  std::vector<ViewedAttachment> attachments;
  bool isWhole = false;    // else it has what rows show, and no attachments
  bool isTextCut = false;  // there is more of the text than the properties hold
  bool isOurs = false;     // made by an engine like this one
};

// What the server is asked for.
std::vector<std::string> viewProperties(bool isWhole);

// Whether rows show this property without a look into messages.
bool isRowProperty(PropertyTag tag);

// The identifier here of a property's name; 0: none is left.
using IdentifierOf = std::function<std::uint16_t(const PropertyName&)>;

// `folder`: which of its mailboxes it is seen in; empty: any. `personal`: the mailbox of associated messages, if any.
MailView viewOf(const nlohmann::json& email, bool isWhole, const std::string& account, const std::string& folder,
                const std::string& personal, const IdentifierOf& identifierOf);

// The properties asked for, as Engine::readMessageProperties answers them.
std::vector<Property> chosenProperties(const std::vector<Property>& all, std::span<const PropertyTag> tags,
                                       std::uint64_t valueLimit);

// One for each column, as in MessageRow.
std::vector<Property> columnValues(const std::vector<Property>& all, std::span<const PropertyTag> columns);

}  // namespace fendrel::store
