#include "present_reports.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "console.h"
#include "file_handle.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr ULONG blockBytes = 64 * 1024;

// Reads up to the end or a full block; returns the number of bytes.
ULONG fill(HANDLE file, std::vector<char>& block) {
  ULONG length = 0;
  DWORD read = 0;
  while (length < block.size() &&
         ReadFile(file, block.data() + length, static_cast<DWORD>(block.size() - length), &read, nullptr) && read > 0)
    length += read;
  return length;
}

ULONG fill(IStream& stream, std::vector<char>& block) {
  ULONG length = 0, read = 0;
  while (length < block.size()) {
    check(stream.Read(block.data() + length, static_cast<ULONG>(block.size()) - length, &read), ExitCode::failed,
          "The attachment's bytes cannot be read");
    if (read == 0) break;
    length += read;
  }
  return length;
}

bool sameBytes(const InputFile& file, IStream& stream) {
  const FileHandle handle = openToRead(file.path);
  if (!handle) return false;  // posting reports why
  std::vector<char> ours(blockBytes), theirs(blockBytes);
  for (;;) {
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled.");
    const ULONG length = fill(handle.get(), ours);
    if (fill(stream, theirs) != length || std::memcmp(ours.data(), theirs.data(), length) != 0) return false;
    if (length < blockBytes) return true;
  }
}

std::uint64_t deliveryOf(const MessageRow& row) {
  return std::uint64_t{row.delivered.dwHighDateTime} << 32 | row.delivered.dwLowDateTime;
}

}  // namespace

PresentReports::PresentReports(const OpenFolder& where, const std::vector<MessageRow>& rows) : folder_(where) {
  for (const MessageRow& row : rows) byName_[row.subject].push_back(row);
  for (auto& [name, messages] : byName_) std::ranges::stable_sort(messages, {}, deliveryOf);
}

bool PresentReports::holds(const MessageRow& row, const InputFile& file) const {
  const ComPtr<IMessage> message = openMessage(folder_, row);
  const std::vector<Attachment> attachments = attachmentsOf(*message.Get());
  if (attachments.size() != 1 || !attachments.front().isFile || attachments.front().size != file.size) return false;
  return sameBytes(file, *openBytes(*attachments.front().object.Get()).Get());
}

std::optional<MessageRow> PresentReports::take(const InputFile& file) {
  const auto named = byName_.find(file.name);
  if (named == byName_.end()) return std::nullopt;
  std::vector<MessageRow>& messages = named->second;
  for (std::size_t left = messages.size(); left > 0; --left) {
    const MessageRow row = messages[left - 1];
    try {
      if (!holds(row, file)) continue;
    } catch (const Failure& failure) {
      // A message that was deleted meanwhile or is damaged does not count.
      if (failure.retryable() || failure.exitCode() == ExitCode::cancelled) throw;
      continue;
    }
    messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(left) - 1);
    return row;
  }
  return std::nullopt;
}

}  // namespace fendrel::host
