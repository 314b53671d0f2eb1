// A message as a compound file of the published .msg format. docs/formats.md says what goes where.
#pragma once

#include "eml_writer.h"

namespace fendrel::host {

// Writes the message to a new file under this path, in pieces, whatever the size of its attachments up to
// longestMsgValue. Throws Failure.
void writeMsg(IMessage& message, const std::wstring& path, const WriteEvents& events);

// The format counts a value's bytes in 32 bits, and readers take them as a number with a sign.
constexpr std::uint64_t longestMsgValue = 0x7FFFFFFF;
// The format's own bound.
constexpr std::size_t mostMsgAttachments = 2048;

// Throws Failure for a message that the format cannot hold.
void checkMsgBounds(std::span<const Attachment> attachments);

}  // namespace fendrel::host
