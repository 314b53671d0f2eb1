#include "messages.h"

#include <fmt/format.h>

#include "error_words.h"
#include "text.h"

namespace fendrel::host {
namespace {

// With more subjects, a restriction is slower than reading all rows.
constexpr std::size_t mostRestrictedSubjects = 100;

enum Column : ULONG { id, subjectText, messageClass, sender, submitted, delivered, size, hasAttachments };

Tags messageColumns() {
  return {PR_ENTRYID,       PR_SUBJECT_W,          PR_MESSAGE_CLASS_W,
          PR_SENDER_NAME_W, PR_CLIENT_SUBMIT_TIME, PR_MESSAGE_DELIVERY_TIME,
          PR_MESSAGE_SIZE,  PR_HASATTACH};
}

MessageRow messageFrom(const SRow& row) {
  MessageRow message;
  message.id = bytesAt(row, Column::id, PR_ENTRYID);
  message.subject = textAt(row, Column::subjectText, PR_SUBJECT_W);
  message.messageClass = textAt(row, Column::messageClass, PR_MESSAGE_CLASS_W);
  message.sender = textAt(row, Column::sender, PR_SENDER_NAME_W);
  message.submitted = timeAt(row, Column::submitted, PR_CLIENT_SUBMIT_TIME);
  message.delivered = timeAt(row, Column::delivered, PR_MESSAGE_DELIVERY_TIME);
  message.size = numberAt(row, Column::size, PR_MESSAGE_SIZE);
  message.hasAttachments = flagAt(row, Column::hasAttachments, PR_HASATTACH);
  return message;
}

ComPtr<IMAPITable> contentsOf(const OpenFolder& folder, const std::string& subject, bool hidden) {
  ComPtr<IMAPITable> table;
  const HRESULT code = folder.folder->GetContentsTable(MAPI_UNICODE | (hidden ? MAPI_ASSOCIATED : 0), &table);
  check(code, folderExitCode(code), subject + " cannot be read");
  setColumns(*table.Get(), messageColumns(), subject);
  return table;
}

}  // namespace

MessageTable::MessageTable(const OpenFolder& folder, bool hidden)
    : subject_(fmt::format("Folder '{}'", printable(folder.path))), table_(contentsOf(folder, subject_, hidden)) {
  SizedSSortOrderSet(1, order) = {1, 0, 0, {{PR_MESSAGE_DELIVERY_TIME, TABLE_SORT_ASCEND}}};
  // A store that cannot sort keeps its own order.
  const HRESULT code = table_->SortTable(reinterpret_cast<SSortOrderSet*>(&order), 0);
  if (code != MAPI_E_NO_SUPPORT && code != MAPI_E_TOO_COMPLEX)
    check(code, ExitCode::failed, subject_ + " cannot be sorted", *table_.Get());
}

std::uint64_t MessageTable::count() {
  ULONG rows = 0;
  check(table_->GetRowCount(0, &rows), ExitCode::failed, subject_ + " cannot be counted", *table_.Get());
  return rows;
}

void MessageTable::read(std::uint64_t first, std::uint64_t limit,
                        const std::function<void(std::uint64_t, const MessageRow&)>& use) {
  if (first == 0 || first > LONG_MAX) return;
  LONG moved = 0;
  check(table_->SeekRow(BOOKMARK_BEGINNING, static_cast<LONG>(first - 1), &moved), ExitCode::failed,
        subject_ + " cannot be read");
  if (moved != static_cast<LONG>(first - 1)) return;
  std::uint64_t number = first;
  forEachRow(
      *table_.Get(), subject_, [&](const SRow& row) { use(number++, messageFrom(row)); }, limit);
}

MessageRow MessageTable::at(std::uint64_t number) {
  std::vector<MessageRow> found;
  read(number, 1, [&](std::uint64_t, const MessageRow& row) { found.push_back(row); });
  if (found.empty())
    throw Failure(ExitCode::folderRefused,
                  fmt::format("{} has no message {}: it holds {}. \"fendrel list\" shows their numbers.", subject_,
                              number, counted(count(), "message")),
                  MAPI_E_NOT_FOUND);
  return found.front();
}

std::vector<MessageRow> messagesNamed(const OpenFolder& folder, const std::set<std::wstring>& subjects) {
  const std::string subject = fmt::format("Folder '{}'", printable(folder.path));
  const ComPtr<IMAPITable> table = contentsOf(folder, subject, false);
  if (subjects.size() <= mostRestrictedSubjects) {
    std::vector<SPropValue> values;
    std::vector<SRestriction> conditions;
    values.reserve(subjects.size());
    for (const std::wstring& name : subjects) {
      SPropValue& value = values.emplace_back();
      value.ulPropTag = PR_SUBJECT_W;
      value.Value.lpszW = const_cast<wchar_t*>(name.c_str());
      SRestriction& condition = conditions.emplace_back();
      condition.rt = RES_PROPERTY;
      condition.res.resProperty = {RELOP_EQ, PR_SUBJECT_W, &value};
    }
    SRestriction any{};
    any.rt = RES_OR;
    any.res.resOr = {static_cast<ULONG>(conditions.size()), conditions.data()};
    const HRESULT code = table->Restrict(&any, 0);
    // A store that cannot search returns every row.
    if (code != MAPI_E_NO_SUPPORT && code != MAPI_E_TOO_COMPLEX)
      check(code, ExitCode::failed, subject + " cannot be searched");
  }
  std::vector<MessageRow> found;
  forEachRow(*table.Get(), subject, [&](const SRow& row) {
    MessageRow message = messageFrom(row);
    if (subjects.contains(message.subject)) found.push_back(std::move(message));
  });
  return found;
}

ComPtr<IMessage> openMessage(const OpenFolder& folder, const MessageRow& message) {
  ULONG type = 0;
  ComPtr<IUnknown> opened;
  const std::string subject =
      fmt::format("Message '{}' of '{}' cannot be opened", printable(message.subject), printable(folder.path));
  HRESULT code =
      folder.store->OpenEntry(static_cast<ULONG>(message.id.size()), asEntryId(message.id), nullptr, 0, &type, &opened);
  check(code, folderExitCode(code), subject);
  if (type != MAPI_MESSAGE) throw failureOf(ExitCode::failed, subject, MAPI_E_NOT_FOUND);
  ComPtr<IMessage> result;
  code = opened.CopyTo(IID_IMessage, reinterpret_cast<void**>(result.GetAddressOf()));
  check(code, ExitCode::failed, subject);
  return result;
}

ComPtr<IStream> openBytes(IAttach& attachment) {
  ComPtr<IUnknown> opened;
  HRESULT code = attachment.OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_READ, 0, &opened);
  check(code, ExitCode::failed, "The attachment's bytes cannot be read");
  ComPtr<IStream> stream;
  code = opened.CopyTo(IID_IStream, reinterpret_cast<void**>(stream.GetAddressOf()));
  check(code, ExitCode::failed, "The attachment's bytes cannot be read");
  return stream;
}

std::vector<Attachment> attachmentsOf(IMessage& message) {
  const std::string subject = "The message's attachments";
  ComPtr<IMAPITable> table;
  check(message.GetAttachmentTable(MAPI_UNICODE, &table), ExitCode::failed, subject + " cannot be read");
  setColumns(*table.Get(),
             {PR_ATTACH_NUM, PR_ATTACH_LONG_FILENAME_W, PR_ATTACH_FILENAME_W, PR_DISPLAY_NAME_W, PR_ATTACH_METHOD},
             subject);
  std::vector<Attachment> found;
  forEachRow(*table.Get(), subject, [&](const SRow& row) {
    Attachment attachment;
    attachment.number = numberAt(row, 0, PR_ATTACH_NUM);
    attachment.name = textAt(row, 1, PR_ATTACH_LONG_FILENAME_W);
    if (attachment.name.empty()) attachment.name = textAt(row, 2, PR_ATTACH_FILENAME_W);
    if (attachment.name.empty()) attachment.name = textAt(row, 3, PR_DISPLAY_NAME_W);
    attachment.isFile = numberAt(row, 4, PR_ATTACH_METHOD) == ATTACH_BY_VALUE;
    found.push_back(attachment);
  });
  for (Attachment& attachment : found) {
    const std::string name = fmt::format("Attachment '{}'", printable(attachment.name));
    check(message.OpenAttach(attachment.number, nullptr, 0, &attachment.object), ExitCode::failed,
          name + " cannot be opened");
    if (!attachment.isFile) continue;
    STATSTG state{};
    check(openBytes(*attachment.object.Get())->Stat(&state, STATFLAG_NONAME), ExitCode::failed,
          name + " cannot be measured");
    attachment.size = state.cbSize.QuadPart;
  }
  return found;
}

}  // namespace fendrel::host
