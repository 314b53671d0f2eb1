// A message of the server as the engine shows it.
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
  std::vector<Property> properties;  // by identifier; its data unloaded
  mime::MailPart part;
};

struct MailView {
  MessageInfo info;
  std::vector<std::string> mailboxes;
  std::vector<Property> properties;  // by identifier
  std::vector<ViewedAttachment> attachments;
  bool isWhole = false;    // else it has only the properties of rows, and no attachments
  bool isTextCut = false;  // the properties hold only the beginning of the text
  bool isOurs = false;     // written by this engine, here or on another machine
};

// The JMAP properties to ask the server for.
std::vector<std::string> viewProperties(bool isWhole);

// Whether rows show this property without reading the whole message.
bool isRowProperty(PropertyTag tag);

// Returns this machine's identifier of a property name; 0 if none is left.
using IdentifierOf = std::function<std::uint16_t(const PropertyName&)>;

// `folder`: the mailbox in which the message is seen; empty: any. `personal`: that of associated messages, if any.
MailView viewOf(const nlohmann::json& email, bool isWhole, const std::string& account, const std::string& folder,
                const std::string& personal, const IdentifierOf& identifierOf);

// The requested properties, as Engine::readMessageProperties returns them.
std::vector<Property> chosenProperties(const std::vector<Property>& all, std::span<const PropertyTag> tags,
                                       std::uint64_t valueLimit);

// One for each column, as in MessageRow.
std::vector<Property> columnValues(const std::vector<Property>& all, std::span<const PropertyTag> columns);

}  // namespace fendrel::store
