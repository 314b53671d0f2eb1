// A message as mail programs keep it in a file: RFC 5322 with MIME. docs/formats.md says what goes where.
#pragma once

#include "messages.h"
#include "object_properties.h"

namespace fendrel::host {

// What a writer of either format tells its caller.
struct WriteEvents {
  std::function<void(std::uint64_t bytes)> copied;        // of an attachment, as they come
  std::function<void(const std::wstring& name)> leftOut;  // an attachment that is not a file
};

// Throws Failure(failed) when fewer or more bytes came than the attachment has.
void checkWhole(const Attachment& attachment, std::uint64_t copied);

// Writes the message in pieces, whatever the size of its attachments. Throws Failure.
void writeEml(IMessage& message, const ByteSink& to, const WriteEvents& events);

}  // namespace fendrel::host
