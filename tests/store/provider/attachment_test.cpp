// IAttach and the attachment table.
#include "store_fixture.h"

namespace {

using testing::ElementsAre;

struct AttachmentTest : FolderTest {
  AttachmentTest() { EXPECT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK); }

  ComPtr<IAttach> attach(const wchar_t* name, const Bytes& content, bool save = true) {
    ComPtr<IAttach> attachment;
    EXPECT_EQ(message->CreateAttach(nullptr, 0, &attachmentNumber, attachment.GetAddressOf()), S_OK);
    SPropValue values[] = {textValue(PR_ATTACH_LONG_FILENAME_W, name), longValue(PR_ATTACH_METHOD, ATTACH_BY_VALUE)};
    EXPECT_EQ(attachment->SetProps(2, values, nullptr), S_OK);
    auto stream =
        openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_CREATE | STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
    for (std::size_t at = 0; at < content.size(); at += 4096) {
      const auto count = static_cast<ULONG>(std::min<std::size_t>(4096, content.size() - at));
      EXPECT_EQ(stream->Write(content.data() + at, count, nullptr), S_OK);
    }
    stream.Reset();
    if (save) {
      EXPECT_EQ(attachment->SaveChanges(0), S_OK);
    }
    return attachment;
  }

  std::vector<std::wstring> names(IMessage& of) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(of.GetAttachmentTable(0, table.GetAddressOf()), S_OK);
    return column(*table.Get(), PR_ATTACH_LONG_FILENAME_W);
  }

  Bytes contentOf(IMessage& of, ULONG which) {
    ComPtr<IAttach> attachment;
    EXPECT_EQ(of.OpenAttach(which, nullptr, 0, attachment.GetAddressOf()), S_OK);
    return readAll(*openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_READ, 0).Get());
  }

  ComPtr<IMessage> message;
  ULONG attachmentNumber = 99;
};

TEST_F(AttachmentTest, ComesBackUnchanged) {
  const Bytes content = patternBytes(10'000);
  attach(L"sales.pdf", content);
  EXPECT_EQ(attachmentNumber, 0u);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto again = openFirst(*reports.Get());
  EXPECT_EQ(contentOf(*again.Get(), 0), content);
  EXPECT_EQ(number(*again.Get(), PR_HASATTACH), 1);
  EXPECT_NE(number(*again.Get(), PR_MESSAGE_FLAGS).value() & static_cast<LONG>(MSGFLAG_HASATTACH), 0);
  EXPECT_GT(number(*again.Get(), PR_MESSAGE_SIZE).value(), 10'000);
}

struct AttachmentSizeTest : AttachmentTest, testing::WithParamInterface<std::size_t> {};

TEST_P(AttachmentSizeTest, ComesBackUnchanged) {
  const Bytes content = patternBytes(GetParam(), 7);
  attach(L"x.bin", content);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_TRUE(contentOf(*openFirst(*reports.Get()).Get(), 0) == content);
}

INSTANTIATE_TEST_SUITE_P(Sizes, AttachmentSizeTest,
                         testing::Values(0, 1, 4095, 4096, 4097, 32 * 1024, 32 * 1024 + 1, 128 * 1024 - 1, 128 * 1024,
                                         128 * 1024 + 1, 3'000'000));

TEST_F(AttachmentTest, IsNotInTheMessageBeforeItsOwnSave) {
  attach(L"draft.txt", patternBytes(5), false);
  EXPECT_THAT(names(*message.Get()), ElementsAre());
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_THAT(names(*openFirst(*reports.Get()).Get()), ElementsAre());
}

TEST_F(AttachmentTest, IsInTheMessageAfterItsSaveAndInTheStoreAfterTheMessages) {
  attach(L"sales.pdf", patternBytes(5));
  EXPECT_THAT(names(*message.Get()), ElementsAre(L"sales.pdf"));
  EXPECT_EQ(number(*message.Get(), PR_HASATTACH), 1);
  EXPECT_EQ(contentOf(*message.Get(), 0), patternBytes(5));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), 0);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_THAT(names(*openFirst(*reports.Get()).Get()), ElementsAre(L"sales.pdf"));
}

TEST_F(AttachmentTest, ManyKeepTheirOrderAndNumbers) {
  for (const wchar_t* name : {L"a", L"b", L"c"}) attach(name, patternBytes(10));
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto again = openFirst(*reports.Get());
  ComPtr<IMAPITable> table;
  ASSERT_EQ(again->GetAttachmentTable(0, table.GetAddressOf()), S_OK);
  Tags columns{PR_ATTACH_NUM, PR_ATTACH_LONG_FILENAME_A, PR_ATTACH_SIZE, PR_ATTACH_METHOD};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 3u);
  EXPECT_EQ(rows->aRow[2].lpProps[0].Value.l, 2);
  EXPECT_STREQ(rows->aRow[2].lpProps[1].Value.lpszA, "c");
  EXPECT_GE(rows->aRow[2].lpProps[2].Value.l, 10);
  EXPECT_LT(rows->aRow[2].lpProps[2].Value.l, 100);
  EXPECT_EQ(rows->aRow[2].lpProps[3].Value.l, static_cast<LONG>(ATTACH_BY_VALUE));
}

TEST_F(AttachmentTest, SizeIsKnownBeforeAndAfterTheSave) {
  auto attachment = attach(L"a", patternBytes(70'000), false);
  const LONG before = number(*attachment.Get(), PR_ATTACH_SIZE).value();
  ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  ComPtr<IAttach> again;
  ASSERT_EQ(message->OpenAttach(0, nullptr, 0, again.GetAddressOf()), S_OK);
  EXPECT_EQ(number(*again.Get(), PR_ATTACH_SIZE), before);
  EXPECT_GE(before, 70'000);
}

TEST_F(AttachmentTest, DeletedOnesAreGoneAndTheirNumbersNotUsedAgain) {
  attach(L"a", patternBytes(10));
  attach(L"b", patternBytes(10));
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  ASSERT_EQ(message->DeleteAttach(1, 0, nullptr, 0), S_OK);
  EXPECT_THAT(names(*message.Get()), ElementsAre(L"a"));
  EXPECT_THAT(message->DeleteAttach(1, 0, nullptr, 0), Gives(MAPI_E_NOT_FOUND));
  attach(L"c", patternBytes(10));
  EXPECT_EQ(attachmentNumber, 2u);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_THAT(names(*openFirst(*reports.Get()).Get()), ElementsAre(L"a", L"c"));
}

TEST_F(AttachmentTest, ASavedOneCanBeChanged) {
  attach(L"a", patternBytes(10));
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  message = openFirst(*reports.Get(), MAPI_MODIFY);
  ComPtr<IAttach> attachment;
  ASSERT_EQ(message->OpenAttach(0, &IID_IAttachment, MAPI_MODIFY, attachment.GetAddressOf()), S_OK);
  SPropValue name = textValue(PR_ATTACH_LONG_FILENAME_W, L"renamed");
  ASSERT_EQ(attachment->SetProps(1, &name, nullptr), S_OK);
  ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto again = openFirst(*reports.Get());
  EXPECT_THAT(names(*again.Get()), ElementsAre(L"renamed"));
  EXPECT_EQ(contentOf(*again.Get(), 0), patternBytes(10));
}

TEST_F(AttachmentTest, OpenedAgainBeforeTheMessagesSaveItShowsWhatWasSet) {
  attach(L"a", patternBytes(10));
  ComPtr<IAttach> again;
  ASSERT_EQ(message->OpenAttach(0, nullptr, MAPI_BEST_ACCESS, again.GetAddressOf()), S_OK);
  EXPECT_EQ(text(*again.Get(), PR_ATTACH_LONG_FILENAME_W), L"a");
  EXPECT_EQ(number(*again.Get(), PR_ATTACH_NUM), 0);
}

TEST_F(AttachmentTest, WhatIsWrittenWithoutASaveDoesNotShow) {
  for (const std::size_t size : {100u, 300'000u}) {
    SCOPED_TRACE(size);
    const Bytes content = patternBytes(size);
    attach(L"kept.bin", content);
    const auto overwrite = [](IAttach& attachment) {
      const auto stream = openStream(attachment, PR_ATTACH_DATA_BIN, STGM_READWRITE, MAPI_MODIFY);
      EXPECT_EQ(stream->Write("other", 5, nullptr), S_OK);
    };
    ComPtr<IAttach> again;
    ASSERT_EQ(message->OpenAttach(attachmentNumber, nullptr, MAPI_MODIFY, again.GetAddressOf()), S_OK);
    overwrite(*again.Get());
    EXPECT_EQ(contentOf(*message.Get(), attachmentNumber), content) << "opened again and let go of";
    Bytes changed = content;
    std::copy_n("other", 5, changed.begin());
    EXPECT_EQ(again->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(contentOf(*message.Get(), attachmentNumber), changed);
    const auto stream = openStream(*again.Get(), PR_ATTACH_DATA_BIN, STGM_READWRITE, MAPI_MODIFY);
    EXPECT_EQ(stream->Write("more", 4, nullptr), S_OK);
    EXPECT_EQ(contentOf(*message.Get(), attachmentNumber), changed) << "kept open after its save";
  }
}

TEST_F(AttachmentTest, WhatAnOpenStreamWritesAfterTheSaveIsNotInIt) {
  for (const std::size_t size : {100u, 300'000u}) {
    SCOPED_TRACE(size);
    const Bytes content = patternBytes(size);
    auto attachment = attach(L"kept.bin", content, false);
    const auto stream = openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_READWRITE, MAPI_MODIFY);
    ASSERT_EQ(attachment->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    Bytes changed = content;
    std::copy_n("later", 5, changed.begin());
    ASSERT_EQ(stream->Write("later", 5, nullptr), S_OK);
    EXPECT_EQ(contentOf(*message.Get(), attachmentNumber), content);
    EXPECT_EQ(binary(*attachment.Get(), PR_ATTACH_DATA_BIN), changed);
    ASSERT_EQ(attachment->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(contentOf(*message.Get(), attachmentNumber), changed);
    ULARGE_INTEGER shorter;
    shorter.QuadPart = 50;
    ASSERT_EQ(stream->SetSize(shorter), S_OK);
    EXPECT_EQ(contentOf(*message.Get(), attachmentNumber), changed);
  }
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  EXPECT_EQ(contentOf(*message.Get(), 1).size(), 300'000u);
}

TEST_F(AttachmentTest, AfterAPlainSaveNothingMoreCanBeWritten) {
  auto attachment = attach(L"a", patternBytes(10));
  SPropValue name = textValue(PR_ATTACH_LONG_FILENAME_W, L"late");
  EXPECT_THAT(attachment->SetProps(1, &name, nullptr), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(AttachmentTest, AnUnknownNumberIsNotFound) {
  ComPtr<IAttach> attachment;
  EXPECT_THAT(message->OpenAttach(3, nullptr, 0, attachment.GetAddressOf()), Gives(MAPI_E_NOT_FOUND));
}

TEST_F(AttachmentTest, TheNumberIsComputed) {
  auto attachment = attach(L"a", patternBytes(10), false);
  SPropValue value = longValue(PR_ATTACH_NUM, 7);
  Block<SPropProblemArray> problems;
  ASSERT_EQ(attachment->SetProps(1, &value, receive(problems)), S_OK);
  ASSERT_NE(problems, nullptr);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_COMPUTED));
}

TEST_F(AttachmentTest, EmbeddedMessagesAreNotSupported) {
  auto attachment = attach(L"a", patternBytes(10), false);
  ComPtr<IUnknown> object;
  EXPECT_THAT(
      attachment->OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0, MAPI_CREATE | MAPI_MODIFY, object.GetAddressOf()),
      Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(AttachmentTest, LongDataDoesNotComeWithAllPropertiesButWhenAskedFor) {
  const Bytes content = patternBytes(500'000);
  attach(L"a", content);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  ComPtr<IAttach> attachment;
  ASSERT_EQ(message->OpenAttach(0, nullptr, 0, attachment.GetAddressOf()), S_OK);
  ULONG count = 0;
  Block<SPropValue> values;
  EXPECT_THAT(attachment->GetProps(nullptr, 0, &count, receive(values)), Gives(MAPI_W_ERRORS_RETURNED));
  bool told = false;
  for (ULONG i = 0; i < count; ++i) {
    if (PROP_ID(values.get()[i].ulPropTag) != PROP_ID(PR_ATTACH_DATA_BIN)) continue;
    told = PROP_TYPE(values.get()[i].ulPropTag) == PT_ERROR && values.get()[i].Value.err == MAPI_E_NOT_ENOUGH_MEMORY;
  }
  EXPECT_TRUE(told);
  EXPECT_TRUE(binary(*attachment.Get(), PR_ATTACH_DATA_BIN) == content);
}

TEST_F(AttachmentTest, OutlivesEveryReferenceToItsMessage) {
  auto attachment = attach(L"a", patternBytes(10), false);
  message.Reset();
  EXPECT_EQ(attachment->SaveChanges(0), S_OK);
}

TEST_F(AttachmentTest, AMessageOpenedAgainDoesNotUseTheNumberOfADeletedOneAgain) {
  for (const wchar_t* name : {L"a", L"b"}) attach(name, patternBytes(10));
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  message = openFirst(*reports.Get(), MAPI_MODIFY);
  ASSERT_EQ(message->DeleteAttach(1, 0, nullptr, 0), S_OK);
  attach(L"c", patternBytes(20));
  EXPECT_EQ(attachmentNumber, 2u);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(contentOf(*openFirst(*reports.Get()).Get(), 2), patternBytes(20));
  ASSERT_EQ(message->DeleteAttach(2, 0, nullptr, 0), S_OK);
  attach(L"d", patternBytes(30));
  EXPECT_EQ(attachmentNumber, 3u);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto theirs = openAgain(*reports.Get(), *openStore(*logon().Get(), L"Public").Get());
  EXPECT_THAT(names(*openFirst(*theirs.Get()).Get()), ElementsAre(L"a", L"d"));
}

TEST_F(AttachmentTest, ATableThatIsOpenShowsWhatComesAndGoes) {
  attach(L"a", patternBytes(10));
  ComPtr<IMAPITable> table;
  ASSERT_EQ(message->GetAttachmentTable(0, table.GetAddressOf()), S_OK);
  EXPECT_THAT(column(*table.Get(), PR_ATTACH_LONG_FILENAME_W), ElementsAre(L"a"));
  attach(L"b", patternBytes(10));
  EXPECT_THAT(column(*table.Get(), PR_ATTACH_LONG_FILENAME_W), ElementsAre(L"a", L"b"));
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_THAT(column(*table.Get(), PR_ATTACH_LONG_FILENAME_W), ElementsAre(L"a", L"b"));
  attach(L"not saved", patternBytes(10), false);
  EXPECT_THAT(column(*table.Get(), PR_ATTACH_LONG_FILENAME_W), ElementsAre(L"a", L"b"));
  ASSERT_EQ(table->SeekRow(BOOKMARK_END, 0, nullptr), S_OK);
  ASSERT_EQ(message->DeleteAttach(0, 0, nullptr, 0), S_OK);
  ULONG count = 0;
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 1u);
  Rows rows;
  EXPECT_EQ(table->QueryRows(5, 0, receive(rows)), S_OK) << "the cursor stood behind a row that is gone";
  EXPECT_THAT(column(*table.Get(), PR_ATTACH_LONG_FILENAME_W), ElementsAre(L"b"));
}

TEST_F(AttachmentTest, TablesHaveNoBookmarks) {
  attach(L"a", patternBytes(10));
  ComPtr<IMAPITable> table;
  ASSERT_EQ(message->GetAttachmentTable(0, table.GetAddressOf()), S_OK);
  Bookmark place;
  EXPECT_THAT(table->CreateBookmark(&place.place), Gives(MAPI_E_NO_SUPPORT));
}

}  // namespace
