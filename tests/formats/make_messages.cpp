// make_messages PROFILE [BYTES]: fills the folder "Public Folders@Formats" through MAPI with messages that posting
// does not make, or, with BYTES, with one message whose attachment has that size. Writes their content as JSON, which
// read_back.py compares with the saved files.
#include <mapitags.h>
#include <windows.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "build_paths.h"
#include "command_context.h"
#include "messages.h"
#include "text.h"

using namespace fendrel::host;

namespace {

struct File {
  std::wstring name;
  std::size_t size;
};

struct Sample {
  std::wstring subject, sender, body;
  FILETIME submitted, delivered;
  std::vector<File> files;
  std::wstring reference = {};  // the name of an attachment by reference, without content
  LONG importance = 1, sensitivity = 0;
};

FILETIME timeAt(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second) {
  const SYSTEMTIME parts{year, month, 0, day, hour, minute, second, 0};
  FILETIME time{};
  SystemTimeToFileTime(&parts, &time);
  return time;
}

// read_back.py has the same rule.
std::uint8_t byteOf(std::size_t position) {
  return static_cast<std::uint8_t>(position * 7 + position / 256 + position / 65536);
}

std::wstring repeated(std::wstring_view piece, std::size_t length) {
  std::wstring text;
  while (text.size() < length) text += piece;
  text.resize(length);
  return text;
}

std::vector<Sample> samples(std::size_t largeBytes) {
  const FILETIME sent = timeAt(2031, 4, 5, 14, 7, 8), arrived = timeAt(2031, 4, 5, 14, 9, 10);
  if (largeBytes > 0) return {{L"large", L"Jane Doe", L"", sent, sent, {{L"large.bin", largeBytes}}}};
  return {
      {L"Plain report",
       L"Jane Doe",
       L"See the attachment.\r\nIt has two  lines. \r\n",
       sent,
       arrived,
       {{L"plain.pdf", 1}}},
      {L"\u65E5\u6B21\u58F2\u4E0A\u5831\u544A\u66F8 \u2014 " + repeated(L"\u30EC\u30DD\u30FC\u30C8", 200),
       L"\u5C71\u7530 \u592A\u90CE",
       L"\u672C\u6587 = 100 %\r\n",
       sent,
       sent,
       {{L"\u58F2\u4E0A.pdf", 57}, {repeated(L"\u58F2\u4E0A\u5831", 296) + L".csv", 58}}},
      {L"J\u00FCrgen's \"quoted\" \\ report; a=b <c@d>",
       L"J\u00FCrgen \"J\" Gro\u00DF, PhD",
       repeated(L"\u00FCber ", 40'000),
       sent,
       arrived,
       {{repeated(L"long name ", 296) + L".txt", 300'001}, {L"b;c'd\"e %41.txt", 0}},
       L"elsewhere \u65E5.txt",
       2,
       2},
      {L"", L"", L"", sent, sent, {}},
      {L"Ends with a blank ",
       L"Jane Doe",
       L"From here\r\n.\r\n--=_fendrel_part_of_a_message--\r\n",
       sent,
       sent,
       {{L"\xD83D\xDCC8.bin", 56}},
       {},
       0,
       3},
  };
}

void set(IMAPIProp& object, ULONG tag, const std::wstring& text) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.lpszW = const_cast<wchar_t*>(text.c_str());
  check(object.SetProps(1, &value, nullptr), ExitCode::failed, "A text was refused");
}

void set(IMAPIProp& object, ULONG tag, LONG number) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.l = number;
  check(object.SetProps(1, &value, nullptr), ExitCode::failed, "A number was refused");
}

void set(IMAPIProp& object, ULONG tag, FILETIME time) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.ft = time;
  check(object.SetProps(1, &value, nullptr), ExitCode::failed, "A time was refused");
}

// The names of every message's own properties: set, number or text, value.
struct Named {
  GUID set;
  LONG number;
  const wchar_t* text;  // null: the name is the number
  std::wstring value;
};

const std::vector<Named>& namedSamples() {
  static const GUID reports{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
  static const GUID others{0x99AABBCC, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
  static const GUID publicStrings{0x00020329, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  static const std::vector<Named> named = {{reports, 0, L"Period", L"May"},
                                           {publicStrings, 0, L"Keywords \u65E5", L"sales"},
                                           {reports, 0x8554, nullptr, L"7"},
                                           {others, -1, nullptr, std::wstring(70'000, L'n')}};
  return named;
}

Json setNamed(IMAPIProp& object) {
  Json written = Json::array();
  for (Named named : namedSamples()) {
    MAPINAMEID name{&named.set, MNID_ID, {}};
    if (named.text) name.ulKind = MNID_STRING;
    if (named.text)
      name.Kind.lpwstrName = const_cast<wchar_t*>(named.text);
    else
      name.Kind.lID = named.number;
    LPMAPINAMEID list[] = {&name};
    LPSPropTagArray tags = nullptr;
    check(object.GetIDsFromNames(1, list, MAPI_CREATE, &tags), ExitCode::failed, "A name was refused");
    set(object, CHANGE_PROP_TYPE(tags->aulPropTag[0], PT_UNICODE), named.value);
    mapi().freeBuffer(tags);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&named.set);
    written.push_back({{"set", hexadecimal({bytes, sizeof named.set})},
                       {"name", named.text ? Json(toUtf8(named.text)) : Json(named.number)},
                       {"value", toUtf8(named.value)}});
  }
  return written;
}

ComPtr<IStream> newStream(IMAPIProp& object, ULONG tag) {
  ComPtr<IUnknown> opened;
  ComPtr<IStream> stream;
  check(object.OpenProperty(tag, &IID_IStream, STGM_READWRITE, MAPI_CREATE | MAPI_MODIFY, &opened), ExitCode::failed,
        "No stream");
  check(opened.CopyTo(IID_IStream, reinterpret_cast<void**>(stream.GetAddressOf())), ExitCode::failed, "No stream");
  return stream;
}

void attach(IMessage& message, const File& file) {
  ULONG number = 0;
  ComPtr<IAttach> attachment;
  check(message.CreateAttach(nullptr, 0, &number, &attachment), ExitCode::failed, "No attachment");
  set(*attachment.Get(), PR_ATTACH_LONG_FILENAME_W, file.name);
  set(*attachment.Get(), PR_ATTACH_METHOD, LONG{ATTACH_BY_VALUE});
  const ComPtr<IStream> stream = newStream(*attachment.Get(), PR_ATTACH_DATA_BIN);
  std::vector<std::uint8_t> chunk(1 << 16);
  for (std::size_t at = 0; at < file.size;) {
    const std::size_t size = std::min(chunk.size(), file.size - at);
    for (std::size_t index = 0; index < size; ++index) chunk[index] = byteOf(at + index);
    check(stream->Write(chunk.data(), static_cast<ULONG>(size), nullptr), ExitCode::failed, "A write failed");
    at += size;
  }
  check(stream->Commit(0), ExitCode::failed, "A commit failed");
  check(attachment->SaveChanges(0), ExitCode::failed, "An attachment was not saved");
}

void attachReference(IMessage& message, const std::wstring& name) {
  ULONG number = 0;
  ComPtr<IAttach> attachment;
  check(message.CreateAttach(nullptr, 0, &number, &attachment), ExitCode::failed, "No attachment");
  set(*attachment.Get(), PR_ATTACH_LONG_FILENAME_W, name);
  set(*attachment.Get(), PR_ATTACH_METHOD, LONG{ATTACH_BY_REF_ONLY});
  set(*attachment.Get(), PR_ATTACH_LONG_PATHNAME_W, std::wstring(L"\\\\server\\share\\") + name);
  check(attachment->SaveChanges(0), ExitCode::failed, "An attachment was not saved");
}

Json make(IMAPIFolder& folder, const Sample& sample) {
  ComPtr<IMessage> message;
  check(folder.CreateMessage(nullptr, 0, &message), ExitCode::failed, "No message");
  set(*message.Get(), PR_SUBJECT_W, sample.subject);
  set(*message.Get(), PR_MESSAGE_CLASS_W, std::wstring(L"IPM.DOCUMENT.*X"));
  set(*message.Get(), PR_SENDER_NAME_W, sample.sender);
  set(*message.Get(), PR_CLIENT_SUBMIT_TIME, sample.submitted);
  set(*message.Get(), PR_MESSAGE_DELIVERY_TIME, sample.delivered);
  set(*message.Get(), PR_IMPORTANCE, sample.importance);
  set(*message.Get(), PR_SENSITIVITY, sample.sensitivity);
  set(*message.Get(), PR_BODY_W, sample.body);
  // A property without a name, which means nothing elsewhere, and those with one.
  set(*message.Get(), PROP_TAG(PT_UNICODE, 0xFFF0), std::wstring(L"nameless"));
  const Json named = setNamed(*message.Get());
  Json files = Json::array();
  for (const File& file : sample.files) {
    attach(*message.Get(), file);
    files.push_back({{"name", toUtf8(file.name)}, {"size", file.size}});
  }
  if (!sample.reference.empty()) attachReference(*message.Get(), sample.reference);
  check(message->SaveChanges(0), ExitCode::failed, "The message was not saved");
  return {{"subject", toUtf8(sample.subject)},
          {"sender", toUtf8(sample.sender)},
          {"body", toUtf8(sample.body)},
          {"submitted", utcTime(sample.submitted)},
          {"delivered", utcTime(sample.delivered)},
          {"importance", sample.importance},
          {"sensitivity", sample.sensitivity},
          {"class", "IPM.DOCUMENT.*X"},
          {"files", files},
          {"reference", toUtf8(sample.reference)},
          {"named", named}};
}

}  // namespace

int main(int count, char** words) {
  if (count < 2) return 2;
  try {
    // Once loaded by its path, it is what requests for the system's MAPI get.
    if (!LoadLibraryW(buildFile(L"bin/store/MAPI32.DLL").c_str())) throw std::runtime_error("no MAPI32.DLL");
    loadMapi(MapiSubsystem::system);
    Session session(toWide(words[1]), L"");
    OpenFolder folder = session.walk(L"Public Folders@Formats", true);
    Json messages = Json::array();
    for (const Sample& sample : samples(count > 2 ? std::stoull(words[2]) : 0))
      messages.push_back(make(*folder.folder.Get(), sample));
    const std::string text = Json{{"messages", messages}}.dump(1) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_messages: %s\n", error.what());
    return 1;
  }
}
