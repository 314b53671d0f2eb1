// Writes a message as a mail file: RFC 5322 with MIME. docs/formats.md describes the mapping.
#pragma once

#include "messages.h"
#include "object_properties.h"

namespace fendrel::host {

// Callbacks of the writers of both formats.
struct WriteEvents {
  std::function<void(std::uint64_t bytes)> copied;        // of an attachment, as they are copied
  std::function<void(const std::wstring& name)> leftOut;  // an attachment that is not a file
};

// Throws Failure(failed) if the number of bytes differs from the attachment's size.
void checkWhole(const Attachment& attachment, std::uint64_t copied);

// Writes the message in pieces; memory does not depend on its size. Throws Failure.
void writeEml(IMessage& message, const ByteSink& to, const WriteEvents& events);

}  // namespace fendrel::host
