// Messages and their attachments. engine.h describes the calls; every change is one transaction.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "database.h"
#include "message_info.h"

namespace fendrel::store {

std::shared_ptr<ContentWriter> createContent(Database& database);

Status saveMessage(Database& database, const MessageDraft& draft, MessageInfo& saved);

// Compares all of the message's rows with its checksum.
Status findMessage(Database& database, const Id& message, MessageInfo& found);

Status readMessageProperties(Database& database, const Id& message, std::span<const PropertyTag> tags,
                             std::vector<Property>& properties, std::uint64_t valueLimit = defaultValueLimit);
Status readAttachmentProperties(Database& database, const Id& message, std::uint32_t number,
                                std::span<const PropertyTag> tags, std::vector<Property>& properties,
                                std::uint64_t valueLimit = defaultValueLimit);
Status openContent(Database& database, const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag,
                   std::shared_ptr<ContentReader>& reader);

Status setRead(Database& database, const Id& message, bool isRead, const Id& in = {});
Status setStatus(Database& database, const Id& message, std::uint32_t status, std::uint32_t mask, std::uint32_t& before,
                 const Id& in = {});

// NotFound.
Status deleteMessage(Database& database, const Id& message);

Status deleteMessages(Database& database, std::span<const Id> messages, const Id& in = {},
                      std::size_t* deleted = nullptr);
Status moveMessage(Database& database, const Id& message, const Id& newFolder, const Id& in = {});
Status copyMessage(Database& database, const Id& message, const Id& newFolder, MessageInfo& copy, const Id& in = {});

Status readMessageRows(Database& database, const Id& folder, MessageKind kind, std::span<const PropertyTag> columns,
                       const MessageRowSink& sink);
Status readMessageRowsOf(Database& database, const Id& folder, std::span<const Id> messages,
                         std::span<const PropertyTag> columns, const MessageRowSink& sink);
Status readAttachmentRows(Database& database, const Id& message, std::span<const PropertyTag> columns,
                          std::vector<AttachmentRow>& rows);

}  // namespace fendrel::store
