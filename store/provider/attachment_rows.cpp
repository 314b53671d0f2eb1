#include "attachment_rows.h"

#include <cstring>

#include "memory_rows.h"
#include "message.h"

namespace fendrel::provider {
namespace {

constexpr PropertyTag attachmentColumns[] = {
    PR_ATTACH_NUM,         PR_ATTACH_SIZE,    PR_ATTACH_METHOD,      PR_ATTACH_FILENAME_W, PR_ATTACH_LONG_FILENAME_W,
    PR_ATTACH_EXTENSION_W, PR_DISPLAY_NAME_W, PR_RENDERING_POSITION, PR_ATTACH_MIME_TAG_W, PR_OBJECT_TYPE,
    PR_RECORD_KEY,         PR_INSTANCE_KEY};

RowKey keyOf(ULONG number) { return RowKey(std::as_bytes(std::span(&number, 1))); }

ULONG numberOf(const RowKey& key) {
  ULONG number = 0;
  std::memcpy(&number, key.bytes().data(), sizeof number);
  return number;
}

}  // namespace

AttachmentRows::AttachmentRows(Message* message) : message_(message) {}
AttachmentRows::~AttachmentRows() = default;

std::vector<PropertyTag> AttachmentRows::defaultColumns() const {
  return {std::begin(attachmentColumns), std::end(attachmentColumns)};
}

std::uint64_t AttachmentRows::state() const { return message_->attachmentState(); }

HRESULT AttachmentRows::scan(std::span<const PropertyTag> columns, const RowSink& sink) {
  std::vector<ULONG> numbers;
  if (const HRESULT result = message_->attachmentNumbers(numbers); FAILED(result)) return result;
  std::vector<RowKey> keys;
  for (const ULONG number : numbers) keys.push_back(keyOf(number));
  return read(keys, columns, sink);
}

HRESULT AttachmentRows::read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) {
  for (const RowKey& key : rows) {
    std::vector<Property> all, values;
    const HRESULT result = message_->attachmentRow(numberOf(key), all);
    if (result == MAPI_E_NOT_FOUND) continue;
    if (FAILED(result)) return result;
    for (const PropertyTag column : columns) values.push_back(findProperty(all, column));
    if (!sink(key, values)) break;
  }
  return S_OK;
}

}  // namespace fendrel::provider
