// Steps that make, change, copy and delete messages.
#include <gtest/gtest.h>

#include <algorithm>

#include "world.h"

namespace model {
namespace {

// A list of identifiers as MAPI takes it, of messages that stay where they are meanwhile.
class EntryList {
 public:
  EntryList(const Contents& contents, const std::vector<int>& messages) {
    for (const int id : messages) {
      const Bytes& bytes = contents.messages.at(id).entryId;
      ids_.push_back({client::sizeOf(bytes), reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()))});
    }
    list_ = {static_cast<ULONG>(ids_.size()), ids_.data()};
  }
  operator LPENTRYLIST() { return &list_; }

 private:
  std::vector<SBinary> ids_;
  ENTRYLIST list_{};
};

bool isPlain(const std::wstring& text) {
  return std::ranges::all_of(text, [](wchar_t letter) { return letter < 0x7F; });
}

// A value as the bytes of its stream, and back.
Bytes inStream(const Value& value, ULONG type) {
  if (type == PT_BINARY) return value.bytes;
  if (type == PT_STRING8) return Bytes(value.text.begin(), value.text.end());
  return Bytes(reinterpret_cast<const char*>(value.text.data()), value.text.size() * sizeof(wchar_t));
}

Value ofStream(const Bytes& bytes, ULONG type, ULONG id) {
  Value value{.tag = PROP_TAG(type == PT_BINARY ? PT_BINARY : PT_UNICODE, id)};
  if (type == PT_BINARY)
    value.bytes = bytes;
  else if (type == PT_STRING8)
    value.text.assign(bytes.begin(), bytes.end());
  else
    value.text.assign(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t));
  return value;
}

}  // namespace

void World::createMessage() {
  const int folder = anyFolder();
  Message draft{.folder = folder, .associated = random_.oneIn(6)};
  note("message " + std::to_string(nextKey_) + " in folder " + std::to_string(folder) +
       (draft.associated ? ", associated" : ""));
  ComPtr<IMessage> message;
  ASSERT_EQ(openFolder(folder)->CreateMessage(nullptr, draft.associated ? MAPI_ASSOCIATED : 0, &message), S_OK);
  draft.properties[PROP_ID(keyTag)] = {.tag = keyTag, .number = nextKey_++};
  std::wstring subject(1 + random_.below(3), L'a');
  for (wchar_t& letter : subject) letter = static_cast<wchar_t>(L'a' + random_.below(3));
  draft.properties[PROP_ID(PR_SUBJECT_W)] = {.tag = PR_SUBJECT_W, .text = subject};
  Sending sending(draft.properties);
  ASSERT_EQ(message->SetProps(sending.count(), sending.values(), nullptr), S_OK);
  std::optional<int> saved;
  edit(*message.Get(), draft, saved);
}

void World::changeMessage() {
  if (contents_.messages.empty()) return;
  std::optional<int> saved = std::next(contents_.messages.begin(), at(contents_.messages.size()))->first;
  Message draft = contents_.messages.at(*saved);
  note("message " + std::to_string(keyOf(draft)) + " is changed");
  const ComPtr<IMessage> message = openMessage(draft, MAPI_MODIFY);
  ASSERT_TRUE(message);
  edit(*message.Get(), draft, saved);
}

void World::edit(IMessage& message, Message& draft, std::optional<int>& saved) {
  for (std::size_t left = random_.below(5); left > 0 && !testing::Test::HasFailure(); --left) {
    switch (random_.below(8)) {
      case 0:
      case 1: editAttachments(message, draft); break;
      case 2: {
        const bool isRead = random_.oneIn(2);
        note("  read: " + std::to_string(isRead));
        EXPECT_EQ(message.SetReadFlag(isRead ? 0 : CLEAR_READ_FLAG), S_OK);
        draft.isRead = isRead;
        if (saved) contents_.messages.at(*saved).isRead = isRead;  // for a saved one this takes effect at once
        break;
      }
      case 3:
        if (random_.oneIn(2)) save(message, draft, saved, KEEP_OPEN_READWRITE);
        break;
      default: editProperties(message, draft.properties, random_.propertyId()); break;
    }
  }
  if (random_.oneIn(5))
    note("  is dropped");
  else
    save(message, draft, saved, 0);
}

void World::save(IMessage& message, Message& draft, std::optional<int>& saved, ULONG flags) {
  note("  is saved");
  ASSERT_EQ(message.SaveChanges(flags), S_OK);
  if (!saved) {
    saved = nextMessage_++;
    draft.properties.try_emplace(PROP_ID(PR_MESSAGE_CLASS_W), Value{.tag = PR_MESSAGE_CLASS_W, .text = L"IPM.Note"});
    draft.entryId = client::getOne(message, PR_ENTRYID).bytes;
    ASSERT_FALSE(draft.entryId.empty());
  }
  contents_.messages[*saved] = draft;
}

void World::editProperties(IMAPIProp& object, Properties& properties, ULONG id) {
  switch (random_.below(6)) {
    case 0: return removeSome(object, properties, id);
    case 1: return rewriteStream(object, properties, id, true);
    case 2: return rewriteStream(object, properties, id, false);
    default: return setSome(object, properties, id);
  }
}

void World::setSome(IMAPIProp& object, Properties& properties, ULONG id) {
  std::vector<Value> values{random_.value(id)};
  for (std::size_t more = random_.below(3); more > 0; --more) values.push_back(random_.value(random_.propertyId()));
  const bool narrow = std::ranges::all_of(values, [](const Value& value) { return isPlain(value.text); });
  for (const Value& value : values) {
    note("  sets " + client::describe(value));
    properties[PROP_ID(value.tag)] = value;  // of two for one identifier the later one counts
  }
  Sending sending(values, narrow && random_.oneIn(2));
  LPSPropProblemArray problems = nullptr;
  EXPECT_EQ(object.SetProps(sending.count(), sending.values(), &problems), S_OK);
  EXPECT_EQ(problems, nullptr);
  const client::Owned<SPropProblemArray> owner(problems);
}

void World::removeSome(IMAPIProp& object, Properties& properties, ULONG id) {
  note("  removes " + std::to_string(id));
  client::Tags tags{PROP_TAG(PT_UNSPECIFIED, id)};
  LPSPropProblemArray problems = nullptr;
  EXPECT_EQ(object.DeleteProps(tags, &problems), S_OK);
  const client::Owned<SPropProblemArray> owner(problems);
  EXPECT_EQ(problems == nullptr, properties.erase(id) == 1) << "one that is not there is a problem";
}

void World::rewriteStream(IMAPIProp& object, Properties& properties, ULONG id, bool create) {
  const auto known = properties.find(id);
  if (!create && known == properties.end()) return;
  const ULONG type = create ? newStreamType(id) : streamTypeOf(known->second);
  if (type == PT_UNSPECIFIED) return;
  ComPtr<IStream> stream;
  ASSERT_EQ(object.OpenProperty(PROP_TAG(type, id), &IID_IStream, STGM_READWRITE | (create ? STGM_CREATE : 0),
                                MAPI_MODIFY | (create ? MAPI_CREATE : 0),
                                reinterpret_cast<LPUNKNOWN*>(stream.GetAddressOf())),
            S_OK);
  Bytes bytes = create ? Bytes() : inStream(known->second, type);
  const std::size_t unit = type == PT_UNICODE ? sizeof(wchar_t) : 1;
  LARGE_INTEGER from{};
  from.QuadPart = static_cast<LONGLONG>(random_.below(bytes.size() + 1) / unit * unit);
  const auto begin = static_cast<std::size_t>(from.QuadPart);
  if (random_.oneIn(3)) {
    bytes.resize(begin);
    ULARGE_INTEGER size;
    size.QuadPart = begin;
    EXPECT_EQ(stream->SetSize(size), S_OK);
  }
  Bytes written = random_.bytes(random_.length(1) / unit * unit);
  if (type != PT_BINARY) written.assign(written.size(), static_cast<char>('u' + random_.below(6)));
  note("  writes " + std::to_string(written.size()) + " bytes at " + std::to_string(begin) + " of stream " +
       std::to_string(id) + " of type " + std::to_string(type) + (create ? ", created" : ""));
  EXPECT_EQ(stream->Seek(from, STREAM_SEEK_SET, nullptr), S_OK);
  const std::size_t piece = 1 + random_.below(100'000);
  for (std::size_t done = 0; done < written.size(); done += piece) {
    const auto count = static_cast<ULONG>(std::min(piece, written.size() - done));
    EXPECT_EQ(stream->Write(written.data() + done, count, nullptr), S_OK);
  }
  if (bytes.size() < begin + written.size()) bytes.resize(begin + written.size());
  bytes.replace(begin, written.size(), written);
  EXPECT_EQ(random_.oneIn(2) ? stream->Commit(STGC_DEFAULT) : S_OK, S_OK);
  properties[id] = ofStream(bytes, type, id);
}

// Text has two forms; the 8-bit one only for letters that every code page has.
ULONG World::newStreamType(ULONG id) {
  constexpr ULONG types[] = {PT_BINARY, PT_BINARY, PT_UNICODE, PT_STRING8};
  return id == PROP_ID(PR_ATTACH_DATA_BIN) ? PT_BINARY : random_.of(types);
}

ULONG World::streamTypeOf(const Value& value) {
  if (PROP_TYPE(value.tag) == PT_BINARY) return PT_BINARY;
  if (PROP_TYPE(value.tag) != PT_UNICODE) return PT_UNSPECIFIED;
  return isPlain(value.text) && random_.oneIn(2) ? PT_STRING8 : PT_UNICODE;
}

void World::editAttachments(IMessage& message, Message& draft) {
  const auto known = draft.attachments.empty() ? draft.attachments.end()
                                               : std::next(draft.attachments.begin(), at(draft.attachments.size()));
  if (known != draft.attachments.end() && random_.oneIn(4)) {
    note("  deletes attachment " + std::to_string(known->first));
    EXPECT_EQ(message.DeleteAttach(known->first, 0, nullptr, 0), S_OK);
    draft.attachments.erase(known);
    return;
  }
  ULONG number = 0;
  ComPtr<IAttach> attachment;
  Properties properties;
  if (known != draft.attachments.end() && random_.oneIn(3)) {
    number = known->first;
    properties = known->second;
    ASSERT_EQ(message.OpenAttach(number, nullptr, MAPI_MODIFY, &attachment), S_OK);
  } else {
    ASSERT_EQ(message.CreateAttach(nullptr, 0, &number, &attachment), S_OK);
    EXPECT_EQ(draft.attachments.count(number), 0u) << "a number that is taken";
    rewriteStream(*attachment.Get(), properties, PROP_ID(PR_ATTACH_DATA_BIN), true);
  }
  note("  attachment " + std::to_string(number));
  for (std::size_t left = random_.below(3); left > 0; --left) {
    const bool data = random_.oneIn(3);
    if (data)
      rewriteStream(*attachment.Get(), properties, PROP_ID(PR_ATTACH_DATA_BIN), random_.oneIn(2));
    else
      editProperties(*attachment.Get(), properties, random_.propertyId());
  }
  if (random_.oneIn(6)) return note("  is let go of");
  EXPECT_EQ(attachment->SaveChanges(random_.oneIn(2) ? KEEP_OPEN_READWRITE : 0), S_OK);
  draft.attachments[number] = properties;
}

// The second of two writers gets an error; a forced save applies its changes after the first one's.
void World::changeByTwo() {
  if (contents_.messages.empty()) return;
  Message& known = std::next(contents_.messages.begin(), at(contents_.messages.size()))->second;
  note("message " + std::to_string(keyOf(known)) + " is changed by two");
  const ComPtr<IMessage> first = openMessage(known, MAPI_MODIFY), second = openMessage(known, MAPI_MODIFY);
  ASSERT_TRUE(first && second);
  setSome(*first.Get(), known.properties, random_.propertyId());
  Properties changed = known.properties;
  setSome(*second.Get(), changed, random_.propertyId());
  EXPECT_EQ(first->SaveChanges(0), S_OK);
  EXPECT_EQ(second->SaveChanges(0), MAPI_E_OBJECT_CHANGED);
  if (random_.oneIn(2)) return;
  EXPECT_EQ(second->SaveChanges(FORCE_SAVE), S_OK);
  known.properties = changed;
}

void World::deleteMessages() {
  const int folder = anyFolder();
  const std::vector<int> gone = someMessages(folder);
  note("deletes " + std::to_string(gone.size()) + " messages of folder " + std::to_string(folder));
  EntryList list(contents_, gone);
  ASSERT_EQ(openFolder(folder)->DeleteMessages(list, 0, nullptr, 0), S_OK);
  for (const int id : gone) contents_.messages.erase(id);
}

void World::setReadFlags() {
  const int folder = anyFolder();
  const bool isRead = random_.oneIn(2), all = random_.oneIn(4);
  std::vector<int> chosen = all ? contents_.messagesIn(folder, false) : someMessages(folder);
  note("read of " + std::to_string(chosen.size()) + " messages of folder " + std::to_string(folder) + ": " +
       std::to_string(isRead));
  EntryList list(contents_, chosen);
  ASSERT_EQ(openFolder(folder)->SetReadFlags(all ? nullptr : static_cast<LPENTRYLIST>(list), 0, nullptr,
                                             isRead ? 0 : CLEAR_READ_FLAG),
            S_OK);
  for (const int id : chosen) contents_.messages.at(id).isRead = isRead;
}

void World::copyOrMove() {
  const int source = anyFolder(), target = anyFolder();
  const bool move = random_.oneIn(2);
  const std::vector<int> chosen = someMessages(source);
  note((move ? "moves " : "copies ") + std::to_string(chosen.size()) + " messages of folder " + std::to_string(source) +
       " to " + std::to_string(target));
  const ComPtr<IMAPIFolder> to = openFolder(target);
  EntryList list(contents_, chosen);
  ASSERT_EQ(openFolder(source)->CopyMessages(list, nullptr, to.Get(), 0, nullptr, move ? MESSAGE_MOVE : 0), S_OK);
  for (const int id : chosen) {
    Message result = contents_.messages.at(id);
    result.folder = target;
    if (move) contents_.messages.erase(id);
    // The copy is the message with this key and an unknown identifier.
    client::Conditions is;
    SRestriction sameKey = is.number(RELOP_EQ, keyTag, keyOf(result));
    std::vector<Bytes> fresh;
    const auto table = client::contents(*to.Get(), result.associated ? MAPI_ASSOCIATED : 0);
    for (const client::Row& row : client::queryAll(*table.Get(), {PR_ENTRYID}, &sameKey))
      if (std::ranges::none_of(contents_.messages, [&](const auto& m) { return m.second.entryId == row[0].bytes; }))
        fresh.push_back(row[0].bytes);
    ASSERT_EQ(fresh.size(), 1u) << "of message " << keyOf(result);
    result.entryId = fresh.front();
    contents_.messages[move ? id : nextMessage_++] = result;
  }
}

}  // namespace model
