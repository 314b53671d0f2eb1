// Writes a message as a compound file of the published .msg format. docs/formats.md describes the mapping.
#pragma once

#include "eml_writer.h"

namespace fendrel::host {

// Writes the message to a new file under this path, in pieces; attachments of up to longestMsgValue. Throws Failure.
void writeMsg(IMessage& message, const std::wstring& path, const WriteEvents& events);

// The format counts a value's bytes in 32 bits, which readers treat as signed.
constexpr std::uint64_t longestMsgValue = 0x7FFFFFFF;
// The format's limit.
constexpr std::size_t mostMsgAttachments = 2048;

// Throws Failure for a message beyond the format's limits.
void checkMsgBounds(std::span<const Attachment> attachments);

}  // namespace fendrel::host
