// The table `message`. For the engine only; called inside a transaction.
#pragma once

#include "connection.h"
#include "messages.h"

namespace fendrel::store {

// The columns that messageAt reads, from column 0 on; "m" is the message, "f" its folder.
#define FENDREL_MESSAGE_COLUMNS                                                                                \
  "m.guid, f.guid, m.associated, m.is_read, m.attachment_count, m.size, m.created, m.modified, m.search_key, " \
  "m.revision, m.id, m.status"
constexpr int messageRowColumn = 10;
constexpr int messageColumnCount = 12;

MessageInfo messageAt(const Statement& row);

// Throws NotFound.
std::int64_t messageRow(Connection& connection, const Id& message);
MessageInfo messageInfo(Connection& connection, std::int64_t row);

// Throws NotFound.
void checkAttachmentExists(Connection& connection, std::int64_t message, std::uint32_t number);

// Throws Corrupt if the message's rows differ from what was saved.
void compareChecksum(Connection& connection, std::int64_t message);

// The last step of every change: computes sizes, attachment count and checksum from the rows.
void finishMessage(Connection& connection, std::int64_t message);

}  // namespace fendrel::store
