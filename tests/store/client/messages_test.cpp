// Every property of a posted report, read in every way that objects offer.
#include <gmock/gmock.h>

#include <map>

#include "conditions.h"
#include "posted_reports.h"

namespace client {
namespace {

class PostedMessages : public testing::Test {
 protected:
  // Calls `look` for each report with its message, opened from its folder's table.
  template <class Look>
  void forEachReport(Look look) {
    for (const PostedReport& report : postedReports()) {
      SCOPED_TRACE(testing::Message() << "report " << testing::PrintToString(report.name));
      const ComPtr<IMsgStore> store = session.openStore(storeOf(report));
      ASSERT_TRUE(store);
      const ComPtr<IMAPIFolder> folder = folderOf(report, *store.Get());
      ASSERT_TRUE(folder);
      Conditions is;
      SRestriction subject = is.text(RELOP_EQ, PR_SUBJECT_W, report.name);
      const Rows rows = queryAll(*contents(*folder.Get()).Get(), {PR_ENTRYID}, &subject);
      ASSERT_EQ(rows.size(), 1u);
      const ComPtr<IMessage> message = openEntry<IMessage>(*store.Get(), rows[0][0].bytes);
      ASSERT_TRUE(message);
      look(report, *message.Get());
    }
  }

  static std::wstring storeOf(const PostedReport& report) {
    return report.folder.empty() ? mailbox : report.folder.substr(0, report.folder.find(L'@'));
  }

  // Personal reports are in the Common Views folder.
  ComPtr<IMAPIFolder> folderOf(const PostedReport& report, IMsgStore& store) {
    return report.folder.empty() ? openEntry<IMAPIFolder>(store, getOne(store, PR_COMMON_VIEWS_ENTRYID).bytes)
                                 : session.openFolder(report.folder);
  }

  // The written properties, without the two equal times. Empty values count, too.
  std::vector<Value> written(const PostedReport& report) {
    ULONG size = 0;
    LPENTRYID id = nullptr;
    EXPECT_EQ(session.mapi().QueryIdentity(&size, &id), S_OK);
    const Owned<ENTRYID> owner(id);
    const Bytes identity(reinterpret_cast<const char*>(id), size);
    ComPtr<IMailUser> user;
    ULONG type = 0;
    EXPECT_EQ(
        session.mapi().OpenEntry(size, id, &IID_IMailUser, 0, &type, reinterpret_cast<LPUNKNOWN*>(user.GetAddressOf())),
        S_OK);
    const Bytes key = getOne(*user.Get(), PR_SEARCH_KEY).bytes;
    EXPECT_FALSE(key.empty());
    return {{.tag = PR_SUBJECT_W, .text = report.name},
            {.tag = PR_MESSAGE_CLASS_W, .text = classOf(report.name)},
            {.tag = PR_SENSITIVITY, .number = 0},
            {.tag = PR_CONVERSATION_TOPIC_W, .text = report.name},
            {.tag = PR_SENDER_ENTRYID, .bytes = identity},
            {.tag = PR_SENDER_NAME_W, .text = userName},
            {.tag = PR_SENDER_SEARCH_KEY, .bytes = key},
            {.tag = PR_SENT_REPRESENTING_ENTRYID, .bytes = identity},
            {.tag = PR_SENT_REPRESENTING_NAME_W, .text = userName},
            {.tag = PR_SENT_REPRESENTING_SEARCH_KEY, .bytes = key},
            {.tag = PR_IMPORTANCE, .number = 1}};
  }

  static std::vector<Value> writtenOnAttachment(const PostedReport& report) {
    return {{.tag = PR_ATTACH_LONG_FILENAME_W, .text = report.name},
            {.tag = PR_ATTACH_METHOD, .number = ATTACH_BY_VALUE},
            {.tag = PR_ATTACH_EXTENSION_W, .text = extensionOf(report.name)},
            {.tag = PR_ATTACH_FILENAME_W, .text = shortNameOf(report.name)},
            {.tag = PR_DISPLAY_NAME_W, .text = report.name}};
  }

  static std::vector<ULONG> tagsOf(const std::vector<Value>& values) {
    std::vector<ULONG> tags;
    for (const Value& value : values) tags.push_back(value.tag);
    return tags;
  }

  // The text in the process's code page, with replacements for missing characters.
  static Bytes ansi(const std::wstring& text) {
    Bytes bytes(text.size() * 4, '\0');
    if (text.empty()) return bytes;
    bytes.resize(
        static_cast<std::size_t>(WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                                     bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
  }

  // An object's values in all forms: one by one and together, wide, 8-bit and of any type.
  void expectInEveryForm(IMAPIProp& object, const std::vector<Value>& expected) {
    const Answer together = getProps(object, Tags(tagsOf(expected)));
    EXPECT_EQ(together.result, S_OK);
    EXPECT_THAT(together.values, testing::ElementsAreArray(expected));

    std::vector<ULONG> anyType, narrow;
    for (const Value& value : expected) {
      EXPECT_EQ(getOne(object, value.tag), value);
      anyType.push_back(CHANGE_PROP_TYPE(value.tag, PT_UNSPECIFIED));
      narrow.push_back(PROP_TYPE(value.tag) == PT_UNICODE ? CHANGE_PROP_TYPE(value.tag, PT_STRING8) : value.tag);
    }
    std::vector<Value> inAnsi = expected;
    for (std::size_t i = 0; i < inAnsi.size(); ++i)
      if (PROP_TYPE(inAnsi[i].tag) == PT_UNICODE) inAnsi[i] = {.tag = narrow[i], .bytes = ansi(expected[i].text)};
    EXPECT_THAT(getProps(object, Tags(anyType), MAPI_UNICODE).values, testing::ElementsAreArray(expected));
    EXPECT_THAT(getProps(object, Tags(anyType)).values, testing::ElementsAreArray(inAnsi)) << "8-bit by default";
    EXPECT_THAT(getProps(object, Tags(narrow), MAPI_UNICODE).values, testing::ElementsAreArray(inAnsi))
        << "the type asked for counts, whatever the flag";
    expectInTheList(object, expected, inAnsi);
  }

  static void expectInTheList(IMAPIProp& object, const std::vector<Value>& wide, const std::vector<Value>& narrow) {
    const auto wideTags = propList(object, MAPI_UNICODE), narrowTags = propList(object, 0);
    for (const Value& value : wide) EXPECT_THAT(wideTags, testing::Contains(value.tag));
    for (const Value& value : narrow) EXPECT_THAT(narrowTags, testing::Contains(value.tag));
    for (const ULONG tag : wideTags) EXPECT_NE(PROP_TYPE(tag), static_cast<ULONG>(PT_STRING8)) << std::hex << tag;
    for (const ULONG tag : narrowTags) EXPECT_NE(PROP_TYPE(tag), static_cast<ULONG>(PT_UNICODE)) << std::hex << tag;
    // All listed properties can be requested, and a null tag array means the same list.
    const Answer all = getProps(object, {}, MAPI_UNICODE);
    ASSERT_EQ(all.values.size(), wideTags.size());
    for (std::size_t i = 0; i < wideTags.size(); ++i) EXPECT_EQ(PROP_ID(all.values[i].tag), PROP_ID(wideTags[i]));
    for (const Value& value : wide) EXPECT_EQ(all.get(value.tag), value);
  }

  Session session{profileName};
};

TEST_F(PostedMessages, HaveEveryPropertyInEveryForm) {
  forEachReport([&](const PostedReport& report, IMessage& message) { expectInEveryForm(message, written(report)); });
}

TEST_F(PostedMessages, WereSubmittedAndDeliveredAtOneTime) {
  forEachReport([&](const PostedReport&, IMessage& message) {
    const Value submitted = getOne(message, PR_CLIENT_SUBMIT_TIME);
    EXPECT_EQ(submitted.tag, static_cast<ULONG>(PR_CLIENT_SUBMIT_TIME));
    EXPECT_GT(submitted.number, 0);
    EXPECT_EQ(submitted.number, getOne(message, PR_MESSAGE_DELIVERY_TIME).number);
    EXPECT_EQ(submitted.number % 10'000, 0) << "to the millisecond";
  });
}

TEST_F(PostedMessages, AreUnreadAndKnowTheirAttachment) {
  forEachReport([&](const PostedReport& report, IMessage& message) {
    const std::int64_t flags = getOne(message, PR_MESSAGE_FLAGS).number;
    EXPECT_EQ(flags & MSGFLAG_READ, 0);
    EXPECT_NE(flags & MSGFLAG_HASATTACH, 0);
    EXPECT_EQ(getOne(message, PR_HASATTACH).number, 1);
    EXPECT_GE(getOne(message, PR_MESSAGE_SIZE).number, static_cast<std::int64_t>(report.content.size()));
    EXPECT_EQ(getOne(message, PR_OBJECT_TYPE).number, MAPI_MESSAGE);
  });
}

TEST_F(PostedMessages, HaveAsTextsInStreamsWhatTheyHaveAsValues) {
  forEachReport([&](const PostedReport& report, IMessage& message) {
    const ComPtr<IStream> wide = openStream(message, PR_SUBJECT_W);
    ASSERT_TRUE(wide);
    const Bytes bytes = readStream(*wide.Get(), 6);
    EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2), report.name);
    const ComPtr<IStream> narrow = openStream(message, PR_SUBJECT_A);
    ASSERT_TRUE(narrow);
    EXPECT_EQ(readStream(*narrow.Get(), 5), ansi(report.name));
    openStream(message, PR_BODY_W, MAPI_E_NOT_FOUND);
  });
}

TEST_F(PostedMessages, AnswerForWhatTheyLack) {
  forEachReport([&](const PostedReport&, IMessage& message) {
    const ULONG otherType = CHANGE_PROP_TYPE(PR_SUBJECT_W, PT_LONG);
    const Answer answer = getProps(message, {PR_BODY_W, PR_SUBJECT_W, otherType, PR_NULL});
    EXPECT_EQ(answer.result, MAPI_W_ERRORS_RETURNED);
    ASSERT_EQ(answer.values.size(), 4u);
    EXPECT_EQ(answer.values[0], (Value{.tag = PROP_TAG(PT_ERROR, PROP_ID(PR_BODY_W)), .number = MAPI_E_NOT_FOUND}));
    EXPECT_TRUE(answer.values[2].isError());
    EXPECT_EQ(getOne(message, PR_BODY_W).number, MAPI_E_NOT_FOUND);
    EXPECT_EQ(getOne(message, PR_COMMENT_W).number, MAPI_E_NOT_FOUND);
  });
}

TEST_F(PostedMessages, HaveNoNamedProperties) {
  forEachReport([&](const PostedReport&, IMessage& message) {
    SPropTagArray* tags = nullptr;
    ULONG count = 9;
    MAPINAMEID** names = nullptr;
    EXPECT_EQ(message.GetNamesFromIDs(&tags, nullptr, 0, &count, &names), S_OK);
    EXPECT_EQ(count, 0u);
    library().freeBuffer(tags);
    library().freeBuffer(names);
    for (const ULONG tag : propList(message, 0)) EXPECT_LT(PROP_ID(tag), 0x8000u) << "an identifier without a name";
  });
}

TEST_F(PostedMessages, AreNotCopiedOntoThemselves) {
  forEachReport([&](const PostedReport&, IMessage& message) {
    Tags tags{PR_SUBJECT_W};
    EXPECT_EQ(message.CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, &message, 0, nullptr), MAPI_E_NO_ACCESS);
    EXPECT_EQ(message.CopyProps(tags, 0, nullptr, &IID_IMessage, &message, 0, nullptr), MAPI_E_NO_ACCESS);
  });
}

TEST_F(PostedMessages, HaveOneAttachmentWithEveryPropertyInEveryForm) {
  forEachReport([&](const PostedReport& report, IMessage& message) {
    ComPtr<IMAPITable> table;
    ASSERT_EQ(message.GetAttachmentTable(MAPI_UNICODE, &table), S_OK);
    const Rows rows = queryAll(*table.Get(), {PR_ATTACH_NUM, PR_ATTACH_LONG_FILENAME_W, PR_ATTACH_SIZE});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][1].text, report.name);
    EXPECT_GE(rows[0][2].number, static_cast<std::int64_t>(report.content.size()));
    ComPtr<IAttach> attachment;
    ASSERT_EQ(message.OpenAttach(static_cast<ULONG>(rows[0][0].number), nullptr, 0, &attachment), S_OK);
    expectInEveryForm(*attachment.Get(), writtenOnAttachment(report));
  });
}

TEST_F(PostedMessages, HaveTheFilesBytesAsValueAndAsStream) {
  forEachReport([&](const PostedReport& report, IMessage& message) {
    ComPtr<IMAPITable> table;
    ASSERT_EQ(message.OpenProperty(PR_MESSAGE_ATTACHMENTS, &IID_IMAPITable, 0, 0,
                                   reinterpret_cast<LPUNKNOWN*>(table.GetAddressOf())),
              S_OK);
    const Rows rows = queryAll(*table.Get(), {PR_ATTACH_NUM});
    ASSERT_EQ(rows.size(), 1u);
    ComPtr<IAttach> attachment;
    ASSERT_EQ(message.OpenAttach(static_cast<ULONG>(rows[0][0].number), &IID_IAttachment, 0, &attachment), S_OK);
    EXPECT_TRUE(getOne(*attachment.Get(), PR_ATTACH_DATA_BIN).bytes == report.content);
    for (const ULONG atATime : {1021u, 65536u, 1048577u}) {
      const ComPtr<IStream> stream = openStream(*attachment.Get(), PR_ATTACH_DATA_BIN);
      ASSERT_TRUE(stream);
      EXPECT_TRUE(readStream(*stream.Get(), atATime) == report.content) << atATime;
    }
  });
}

TEST_F(PostedMessages, GiveAnyPartOfTheirFile) {
  forEachReport([&](const PostedReport& report, IMessage& message) {
    ComPtr<IAttach> attachment;
    ASSERT_EQ(message.OpenAttach(0, nullptr, MAPI_BEST_ACCESS, &attachment), S_OK);
    const ComPtr<IStream> stream = openStream(*attachment.Get(), PR_ATTACH_DATA_BIN);
    ASSERT_TRUE(stream);
    STATSTG statistics{};
    EXPECT_EQ(stream->Stat(&statistics, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(statistics.cbSize.QuadPart, report.content.size());
    const auto readAt = [&](LONGLONG move, DWORD origin, std::size_t from) {
      LARGE_INTEGER distance;
      distance.QuadPart = move;
      ULARGE_INTEGER now{};
      EXPECT_EQ(stream->Seek(distance, origin, &now), S_OK);
      EXPECT_EQ(now.QuadPart, from);
      char piece[700];
      ULONG count = 0;
      EXPECT_TRUE(SUCCEEDED(stream->Read(piece, sizeof piece, &count)));
      const std::size_t begin = std::min(from, report.content.size());
      EXPECT_EQ(Bytes(piece, count), report.content.substr(begin, sizeof piece)) << "at " << from;
      return from + count;
    };
    const std::size_t size = report.content.size();
    for (const std::size_t back : {std::size_t{0}, size / 2, std::min<std::size_t>(size, 350), size})
      readAt(-static_cast<LONGLONG>(back), STREAM_SEEK_END, size - back);
    std::size_t here = readAt(0, STREAM_SEEK_SET, 0);
    for (const std::size_t at : {std::size_t{131'000}, std::size_t{32'700}, std::size_t{5}})
      if (at <= size) here = readAt(static_cast<LONGLONG>(at) - static_cast<LONGLONG>(here), STREAM_SEEK_CUR, at);
    readAt(static_cast<LONGLONG>(size) + 10, STREAM_SEEK_SET, size + 10);
    LARGE_INTEGER before;
    before.QuadPart = -1;
    EXPECT_EQ(stream->Seek(before, STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
  });
}

TEST_F(PostedMessages, AreNotChangedByReaders) {
  forEachReport([&](const PostedReport& report, IMessage& message) {
    SPropValue other{};
    other.ulPropTag = PR_SUBJECT_W;
    other.Value.lpszW = const_cast<LPWSTR>(L"other");
    EXPECT_EQ(message.SetProps(1, &other, nullptr), MAPI_E_NO_ACCESS);
    EXPECT_EQ(getOne(message, PR_SUBJECT_W).text, report.name);
    EXPECT_NE(message.DeleteAttach(0, 0, nullptr, 0), S_OK);
  });
}

}  // namespace
}  // namespace client
