#include "direct_client.h"

#include <algorithm>
#include <iterator>

namespace fendrel::bench {
namespace {

const IID streamId = {0x0000000C, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

SPropValue text(ULONG tag, const std::wstring& value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.lpszW = const_cast<wchar_t*>(value.c_str());
  return property;
}

SPropValue number(ULONG tag, LONG value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.l = value;
  return property;
}

SPropValue bytes(ULONG tag, const std::vector<BYTE>& value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.bin = {static_cast<ULONG>(value.size()), const_cast<BYTE*>(value.data())};
  return property;
}

SPropValue time(ULONG tag, FILETIME value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.ft = value;
  return property;
}

template <std::size_t count>
void setProperties(const Mapi& mapi, IMAPIProp* object, SPropValue (&values)[count]) {
  SPropProblemArray* problems = nullptr;
  require(object->SetProps(count, values, &problems), "SetProps");
  mapi.freeBuffer(problems);
}

void copyFile(const std::wstring& file, IAttach* attachment) {
  ComPtr<IUnknown> stream;
  require(attachment->OpenProperty(PR_ATTACH_DATA_BIN, &streamId, STGM_CREATE | STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                                   &stream),
          "OpenProperty");
  const HANDLE input =
      CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  require(input == INVALID_HANDLE_VALUE ? MAPI_E_NOT_FOUND : S_OK, "opening an input file");
  BYTE buffer[4096];
  DWORD count = 0;
  do {
    require(ReadFile(input, buffer, sizeof buffer, &count, nullptr) ? S_OK : MAPI_E_CALL_FAILED, "ReadFile");
    if (count != 0) require(static_cast<IStream*>(stream.Get())->Write(buffer, count, nullptr), "Write");
  } while (count == sizeof buffer);
  CloseHandle(input);
}

void postOne(const Mapi& mapi, const OpenFolder& open, const std::wstring& file, const std::wstring& name,
             const std::wstring& messageClass) {
  const std::wstring sender = profileName, extension = L"bin";
  const std::wstring shortName = name.substr(0, std::min<std::size_t>(name.find(L'.'), 8)) + L'.' + extension;
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  ComPtr<IMessage> message;
  require(open.folder->CreateMessage(nullptr, 0, &message), "CreateMessage");
  SPropValue properties[] = {text(PR_SUBJECT_W, name),
                             text(PR_MESSAGE_CLASS_W, messageClass),
                             time(PR_CLIENT_SUBMIT_TIME, now),
                             time(PR_MESSAGE_DELIVERY_TIME, now),
                             number(PR_SENSITIVITY, 0),
                             text(PR_CONVERSATION_TOPIC_W, name),
                             bytes(PR_SENDER_ENTRYID, open.identity),
                             text(PR_SENDER_NAME_W, sender),
                             bytes(PR_SENDER_SEARCH_KEY, open.searchKey),
                             bytes(PR_SENT_REPRESENTING_ENTRYID, open.identity),
                             text(PR_SENT_REPRESENTING_NAME_W, sender),
                             bytes(PR_SENT_REPRESENTING_SEARCH_KEY, open.searchKey),
                             number(PR_IMPORTANCE, IMPORTANCE_NORMAL)};
  setProperties(mapi, message.Get(), properties);
  ULONG attachmentNumber = 0;
  ComPtr<IAttach> attachment;
  require(message->CreateAttach(nullptr, 0, &attachmentNumber, &attachment), "CreateAttach");
  SPropValue attachmentProperties[] = {text(PR_ATTACH_LONG_FILENAME_W, name), number(PR_ATTACH_METHOD, ATTACH_BY_VALUE),
                                       text(PR_ATTACH_EXTENSION_W, extension), text(PR_ATTACH_FILENAME_W, shortName),
                                       text(PR_DISPLAY_NAME_W, name)};
  setProperties(mapi, attachment.Get(), attachmentProperties);
  copyFile(file, attachment.Get());
  require(attachment->SaveChanges(0), "SaveChanges of the attachment");
  message->SetReadFlag(CLEAR_READ_FLAG);
  require(message->SaveChanges(0), "SaveChanges of the message");
}

}  // namespace

void postDirectly(const Mapi& mapi, const std::vector<std::wstring>& files, const std::vector<std::wstring>& names) {
  const OpenFolder open = openFolder(mapi);
  // Like the plug-in's, to which each file's extension is appended up to a limit.
  std::wstring messageClass = L"IPM.DOCUMENT.*";
  for (std::size_t file = 0; file < files.size(); ++file) {
    messageClass += std::wstring(L"BIN").substr(0, 255 - messageClass.size());
    postOne(mapi, open, files[file], names[file], messageClass);
  }
  open.session->Logoff(0, 0, 0);
}

}  // namespace fendrel::bench
