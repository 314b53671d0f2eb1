#include "report_message.h"

#include <algorithm>
#include <cwchar>

#include "charset.h"
#include "path_parts.h"
#include "report_file.h"

namespace fendrel {
namespace {

// A property array under construction, in one MAPI block; text and bytes are borrowed.
class PropertyList {
 public:
  HRESULT allocate(ULONG capacity) noexcept {
    const HRESULT result = mapi().mapiAllocateBuffer(
        capacity * sizeof(SPropValue), reinterpret_cast<void**>(static_cast<SPropValue**>(receive(values_))));
    if (FAILED(result)) return result;
    capacity_ = values_ ? capacity : 0;
    return values_ ? S_OK : MAPI_E_NOT_ENOUGH_MEMORY;
  }

  void add(ULONG tag, const wchar_t* text) noexcept { next(tag).Value.lpszW = const_cast<wchar_t*>(text); }
  void add(ULONG tag, LONG number) noexcept { next(tag).Value.l = number; }
  void add(ULONG tag, FILETIME time) noexcept { next(tag).Value.ft = time; }
  void add(ULONG tag, const std::vector<std::byte>& bytes) noexcept {
    SBinary& binary = next(tag).Value.bin;
    binary.cb = static_cast<ULONG>(bytes.size());
    binary.lpb = reinterpret_cast<BYTE*>(const_cast<std::byte*>(bytes.data()));
  }
  void add(ULONG tag, const std::optional<std::wstring>& text) noexcept {
    if (text) add(tag, text->c_str());
  }

  // MAPI_E_CALL_FAILED above the capacity: a message must not lack a property.
  HRESULT setOn(IMAPIProp* object) noexcept {
    if (count_ > capacity_) return MAPI_E_CALL_FAILED;
    MapiBuffer<SPropProblemArray> problems;
    return object->SetProps(count_, values_.get(), receive(problems));
  }

 private:
  SPropValue& next(ULONG tag) noexcept {
    SPropValue& value = count_ < capacity_ ? values_.get()[count_] : spare_;
    ++count_;
    value = {};
    value.ulPropTag = tag;
    return value;
  }

  MapiBuffer<SPropValue> values_;
  SPropValue spare_{};  // receives values above the capacity
  ULONG capacity_ = 0, count_ = 0;
};

FILETIME currentTime() noexcept {
  SYSTEMTIME system;
  FILETIME time{};
  GetSystemTime(&system);
  SystemTimeToFileTime(&system, &time);
  return time;
}

HRESULT setMessageProperties(IMessage* message, const Report& report) noexcept {
  if (!message || !report.name || !report.messageClass) return MAPI_E_INVALID_PARAMETER;
  PropertyList properties;
  if (const HRESULT result = properties.allocate(16); FAILED(result)) return result;
  const FILETIME now = currentTime();
  properties.add(PR_SUBJECT_W, report.name);
  properties.add(PR_MESSAGE_CLASS_W, report.messageClass);
  properties.add(PR_CLIENT_SUBMIT_TIME, now);
  properties.add(PR_MESSAGE_DELIVERY_TIME, now);
  properties.add(PR_SENSITIVITY, LONG{0});
  properties.add(PR_CONVERSATION_TOPIC_W, report.name);
  if (const SenderIdentity& sender = report.sender; sender.isComplete()) {
    properties.add(PR_SENDER_ENTRYID, sender.senderEntryId);
    properties.add(PR_SENDER_NAME_W, sender.senderName);
    properties.add(PR_SENDER_SEARCH_KEY, sender.senderSearchKey);
    properties.add(PR_SENT_REPRESENTING_ENTRYID, sender.senderEntryId);
    properties.add(PR_SENT_REPRESENTING_NAME_W, sender.senderName);
    properties.add(PR_SENT_REPRESENTING_SEARCH_KEY, sender.senderSearchKey);
  }
  properties.add(PR_DISPLAY_NAME_W, report.texts.displayName);
  properties.add(PR_COMMENT_W, report.texts.comment);
  properties.add(PR_BODY_W, report.texts.body);
  properties.add(PR_IMPORTANCE, LONG{IMPORTANCE_NORMAL});
  return properties.setOn(message);
}

// The report name with its file name truncated to eight characters, for old mail clients; the extension stays. At most
// 260 characters.
void makeShortName(const wchar_t* reportName, wchar_t (&shortName)[261]) noexcept {
  const PathParts<wchar_t> parts = splitPath(std::wstring_view(reportName));
  std::size_t length = 0;
  for (const std::wstring_view part : {parts.drive, parts.directory, parts.name.substr(0, 8), parts.extension}) {
    const std::size_t count = std::min(part.size(), std::size(shortName) - 1 - length);
    std::wmemcpy(shortName + length, part.data(), count);
    length += count;
  }
  shortName[length] = 0;
}

HRESULT setAttachmentProperties(IAttach* attachment, const Report& report) noexcept {
  PropertyList properties;
  if (const HRESULT result = properties.allocate(5); FAILED(result)) return result;
  wchar_t shortName[261];
  makeShortName(report.name, shortName);
  properties.add(PR_ATTACH_LONG_FILENAME_W, report.name);
  properties.add(PR_ATTACH_METHOD, LONG{ATTACH_BY_VALUE});
  properties.add(PR_ATTACH_EXTENSION_W, report.extension);
  properties.add(PR_ATTACH_FILENAME_W, shortName);
  properties.add(PR_DISPLAY_NAME_W, report.name);
  return properties.setOn(attachment);
}

}  // namespace

HRESULT postReport(IMAPIFolder* folder, bool associated, const Report& report) noexcept {
  if (!folder || !report.filePath) return MAPI_E_INVALID_PARAMETER;
  ComPtr<IMessage> message;
  HRESULT result = folder->CreateMessage(nullptr, associated ? MAPI_ASSOCIATED : 0, &message);
  if (FAILED(result)) return result;
  if (report.messageClass) charset::charUpper(report.messageClass);
  if (result = setMessageProperties(message.Get(), report); FAILED(result)) return result;

  ULONG attachmentNumber = 0;
  ComPtr<IAttach> attachment;
  if (result = message->CreateAttach(nullptr, 0, &attachmentNumber, &attachment); FAILED(result)) return result;
  if (!attachment) return MAPI_E_INVALID_PARAMETER;
  if (result = setAttachmentProperties(attachment.Get(), report); FAILED(result)) return result;
  if (result = copyFileIntoAttachment(report.filePath, attachment.Get()); FAILED(result)) return result;

  message->SetReadFlag(CLEAR_READ_FLAG);
  message->SaveChanges(0);
  return result;
}

}  // namespace fendrel
