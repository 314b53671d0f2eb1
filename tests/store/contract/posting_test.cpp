// The contract for creating a message and reading it afterwards.
#include "contract_test.h"

namespace contract {
namespace {

using ::testing::IsEmpty;

SPropValue text(ULONG tag, const wchar_t* value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.lpszW = const_cast<LPWSTR>(value);
  return property;
}

SPropValue number(ULONG tag, LONG value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.l = value;
  return property;
}

SPropValue time(ULONG tag, FILETIME value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.ft = value;
  return property;
}

SPropValue binary(ULONG tag, Bytes& value) {
  SPropValue property{};
  property.ulPropTag = tag;
  property.Value.bin = {static_cast<ULONG>(value.size()), value.data()};
  return property;
}

Bytes content(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t index = 0; index < size; ++index) bytes[index] = static_cast<BYTE>(index * 131 + index / 4096);
  return bytes;
}

// The folder Reports of "Public Folders", opened for posting.
class PostingContract : public ContractTest {
 protected:
  void SetUp() override {
    ContractTest::SetUp();
    store = openPublicStore();
    ASSERT_NE(store, nullptr);
    folder = openReports(*store.Get());
    ASSERT_NE(folder, nullptr);
  }
  void TearDown() override {
    folder.Reset();
    store.Reset();
    ContractTest::TearDown();
  }

  ComPtr<IMessage> createMessage(ULONG flags = 0) {
    ComPtr<IMessage> message;
    EXPECT_EQ(folder->CreateMessage(nullptr, flags, &message), S_OK);
    return message;
  }

  static void setProps(IMAPIProp& object, std::vector<SPropValue> values) {
    Block<SPropProblemArray> problems;
    EXPECT_EQ(object.SetProps(static_cast<ULONG>(values.size()), values.data(), receive(problems)), S_OK);
    EXPECT_EQ(problems, nullptr);
  }

  // What the plug-in sets on every message.
  void setMessageProps(IMessage& message, const wchar_t* subject) {
    setProps(message,
             {text(PR_SUBJECT_W, subject), text(PR_MESSAGE_CLASS_W, L"IPM.DOCUMENT.*PDF"),
              time(PR_CLIENT_SUBMIT_TIME, moment), time(PR_MESSAGE_DELIVERY_TIME, moment), number(PR_SENSITIVITY, 0),
              text(PR_CONVERSATION_TOPIC_W, subject), binary(PR_SENDER_ENTRYID, senderId),
              text(PR_SENDER_NAME_W, L"Ada Lovelace"), binary(PR_SENDER_SEARCH_KEY, senderKey),
              binary(PR_SENT_REPRESENTING_ENTRYID, senderId), text(PR_SENT_REPRESENTING_NAME_W, L"Ada Lovelace"),
              binary(PR_SENT_REPRESENTING_SEARCH_KEY, senderKey), number(PR_IMPORTANCE, IMPORTANCE_NORMAL)});
  }

  static ComPtr<IAttach> createAttachment(IMessage& message, const wchar_t* name) {
    ComPtr<IAttach> attachment;
    ULONG attachmentNumber = 0xBAD;
    EXPECT_EQ(message.CreateAttach(nullptr, 0, &attachmentNumber, &attachment), S_OK);
    EXPECT_NE(attachmentNumber, 0xBADu);
    setProps(*attachment.Get(),
             {text(PR_ATTACH_LONG_FILENAME_W, name), number(PR_ATTACH_METHOD, ATTACH_BY_VALUE),
              text(PR_ATTACH_EXTENSION_W, L"pdf"), text(PR_ATTACH_FILENAME_W, name), text(PR_DISPLAY_NAME_W, name)});
    return attachment;
  }

  // In the plug-in's pieces, without a commit.
  static void write(IAttach& attachment, const Bytes& bytes) {
    ComPtr<IStream> stream;
    ASSERT_EQ(attachment.OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_CREATE | STGM_WRITE,
                                      MAPI_CREATE | MAPI_MODIFY, unknownOut(stream)),
              S_OK);
    for (std::size_t start = 0; start < bytes.size(); start += 4096) {
      const auto size = static_cast<ULONG>(std::min<std::size_t>(4096, bytes.size() - start));
      ULONG written = 0;
      ASSERT_EQ(stream->Write(bytes.data() + start, size, &written), S_OK);
      EXPECT_EQ(written, size);
    }
  }

  // A whole message, saved as the plug-in does it.
  void post(const wchar_t* subject, const Bytes& bytes, ULONG flags = 0) {
    const ComPtr<IMessage> message = createMessage(flags);
    setMessageProps(*message.Get(), subject);
    const ComPtr<IAttach> attachment = createAttachment(*message.Get(), subject);
    write(*attachment.Get(), bytes);
    EXPECT_EQ(attachment->SaveChanges(0), S_OK);
    message->SetReadFlag(CLEAR_READ_FLAG);
    EXPECT_EQ(message->SaveChanges(0), S_OK);
  }

  ULONG visible(ULONG flags = 0) { return countOf(*contentsOf(*folder.Get(), flags).Get()); }

  // The only message of the folder, opened anew.
  ComPtr<IMessage> reopen() {
    const ComPtr<IMAPITable> table = contentsOf(*folder.Get());
    Tags columns{PR_ENTRYID};
    EXPECT_EQ(table->SetColumns(columns, 0), S_OK);
    Rows rows;
    EXPECT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
    EXPECT_EQ(rows->cRows, 1u);
    if (rows->cRows == 0) return nullptr;
    const Bytes id = bytesOf(rows->aRow[0].lpProps[0]);
    ComPtr<IMessage> message;
    ULONG type = 0;
    EXPECT_EQ(store->OpenEntry(static_cast<ULONG>(id.size()), entryId(id), nullptr, 0, &type, unknownOut(message)),
              S_OK);
    EXPECT_EQ(type, static_cast<ULONG>(MAPI_MESSAGE));
    return message;
  }

  static ULONG attachmentCount(IMessage& message) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(message.GetAttachmentTable(0, &table), S_OK);
    return countOf(*table.Get());
  }

  // The content of the message's first attachment.
  static Bytes read(IMessage& message) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(message.GetAttachmentTable(0, &table), S_OK);
    Tags columns{PR_ATTACH_NUM};
    EXPECT_EQ(table->SetColumns(columns, 0), S_OK);
    Rows rows;
    EXPECT_EQ(table->QueryRows(1, 0, receive(rows)), S_OK);
    if (!rows || rows->cRows == 0) return {};
    ComPtr<IAttach> attachment;
    EXPECT_EQ(message.OpenAttach(static_cast<ULONG>(rows->aRow[0].lpProps[0].Value.l), nullptr, 0, &attachment), S_OK);
    ComPtr<IStream> stream;
    EXPECT_EQ(attachment->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_READ, 0, unknownOut(stream)), S_OK);
    Bytes bytes;
    for (;;) {
      BYTE piece[1000];
      ULONG got = 0;
      EXPECT_TRUE(SUCCEEDED(stream->Read(piece, sizeof piece, &got)));
      if (got == 0) return bytes;
      bytes.insert(bytes.end(), piece, piece + got);
    }
  }

  FILETIME moment{0x12345680, 0x01DA0000};
  Bytes senderId{0, 0, 0, 0, 0xAD, 0xA1};
  Bytes senderKey{'S', 'M', 'T', 'P', ':', 'A', 0};
  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> folder;
};

TEST_F(PostingContract, NothingOfAMessageIsVisibleBeforeItIsSaved) {
  const ComPtr<IMessage> message = createMessage();
  setMessageProps(*message.Get(), L"sales.pdf");
  const ComPtr<IAttach> attachment = createAttachment(*message.Get(), L"sales.pdf");
  write(*attachment.Get(), content(5000));
  ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  EXPECT_EQ(visible(), 0u);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(visible(), 1u);
}

TEST_F(PostingContract, MessageThatIsReleasedWithoutASaveIsGone) {
  {
    const ComPtr<IMessage> message = createMessage();
    setMessageProps(*message.Get(), L"sales.pdf");
    const ComPtr<IAttach> attachment = createAttachment(*message.Get(), L"sales.pdf");
    write(*attachment.Get(), content(5000));
    ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  }
  EXPECT_EQ(visible(), 0u);
}

TEST_F(PostingContract, AttachmentThatIsNotSavedIsNotPartOfTheMessage) {
  {
    const ComPtr<IMessage> message = createMessage();
    setMessageProps(*message.Get(), L"sales.pdf");
    const ComPtr<IAttach> attachment = createAttachment(*message.Get(), L"sales.pdf");
    write(*attachment.Get(), content(100));
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }
  EXPECT_EQ(attachmentCount(*reopen().Get()), 0u);
}

TEST_F(PostingContract, PropertiesAreReadBackAsTheyWereSet) {
  post(L"Überblick 日報.pdf", content(10));
  const ComPtr<IMessage> message = reopen();
  ASSERT_NE(message, nullptr);
  Tags tags{PR_SUBJECT_W,         PR_MESSAGE_CLASS_W,          PR_CLIENT_SUBMIT_TIME, PR_MESSAGE_DELIVERY_TIME,
            PR_SENSITIVITY,       PR_CONVERSATION_TOPIC_W,     PR_SENDER_ENTRYID,     PR_SENDER_NAME_W,
            PR_SENDER_SEARCH_KEY, PR_SENT_REPRESENTING_NAME_W, PR_IMPORTANCE,         PR_HASATTACH};
  ULONG count = 0;
  Block<SPropValue> block;
  ASSERT_EQ(message->GetProps(tags, 0, &count, receive(block)), S_OK);
  ASSERT_EQ(count, 12u);
  const SPropValue* const values = block.get();
  EXPECT_STREQ(values[0].Value.lpszW, L"Überblick 日報.pdf");
  EXPECT_STREQ(values[1].Value.lpszW, L"IPM.DOCUMENT.*PDF");
  EXPECT_EQ(CompareFileTime(&values[2].Value.ft, &moment), 0);
  EXPECT_EQ(CompareFileTime(&values[3].Value.ft, &moment), 0);
  EXPECT_EQ(values[4].Value.l, 0);
  EXPECT_STREQ(values[5].Value.lpszW, L"Überblick 日報.pdf");
  EXPECT_EQ(bytesOf(values[6]), senderId);
  EXPECT_STREQ(values[7].Value.lpszW, L"Ada Lovelace");
  EXPECT_EQ(bytesOf(values[8]), senderKey);
  EXPECT_STREQ(values[9].Value.lpszW, L"Ada Lovelace");
  EXPECT_EQ(values[10].Value.l, IMPORTANCE_NORMAL);
  EXPECT_TRUE(values[11].Value.b);
}

TEST_F(PostingContract, TextsThatWereSetWideAnswerInEightBitForm) {
  post(localName(), content(10));
  const ComPtr<IMessage> message = reopen();
  Block<SPropValue> subject;
  ASSERT_EQ(mapi().hrGetOneProp(message.Get(), PR_SUBJECT_A, receive(subject)), S_OK);
  EXPECT_EQ(subject->Value.lpszA, localNameInAnsi());
}

TEST_F(PostingContract, ContentsTableShowsTheSubject) {
  post(L"sales.pdf", content(10));
  const ComPtr<IMAPITable> table = contentsOf(*folder.Get());
  Tags columns{PR_SUBJECT_W, PR_SUBJECT_A};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_STREQ(rows->aRow[0].lpProps[0].Value.lpszW, L"sales.pdf");
  EXPECT_STREQ(rows->aRow[0].lpProps[1].Value.lpszA, "sales.pdf");
}

TEST_F(PostingContract, AssociatedMessagesHaveATableOfTheirOwn) {
  post(L"hidden.rpt", content(10), MAPI_ASSOCIATED);
  EXPECT_EQ(visible(), 0u);
  EXPECT_EQ(visible(MAPI_ASSOCIATED), 1u);
}

TEST_F(PostingContract, AttachmentPropertiesAreReadBack) {
  post(L"sales report 2024.pdf", content(10));
  const ComPtr<IMessage> message = reopen();
  ComPtr<IMAPITable> table;
  ASSERT_EQ(message->GetAttachmentTable(0, &table), S_OK);
  Tags columns{PR_ATTACH_LONG_FILENAME_W, PR_ATTACH_METHOD, PR_ATTACH_EXTENSION_W, PR_DISPLAY_NAME_W};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  Rows rows;
  ASSERT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  const SPropValue* const values = rows->aRow[0].lpProps;
  EXPECT_STREQ(values[0].Value.lpszW, L"sales report 2024.pdf");
  EXPECT_EQ(values[1].Value.l, ATTACH_BY_VALUE);
  EXPECT_STREQ(values[2].Value.lpszW, L"pdf");
  EXPECT_STREQ(values[3].Value.lpszW, L"sales report 2024.pdf");
}

class ContentContract : public PostingContract, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(ContentContract, IsReadBackByteByByte) {
  const Bytes bytes = content(GetParam());
  post(L"sales.pdf", bytes);
  EXPECT_EQ(read(*reopen().Get()), bytes);
}

INSTANTIATE_TEST_SUITE_P(OfBytes, ContentContract, ::testing::Values(0, 1, 4095, 4096, 4097, 8192, 300000),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_F(PostingContract, CreatingStreamReplacesTheContent) {
  const ComPtr<IMessage> message = createMessage();
  setMessageProps(*message.Get(), L"sales.pdf");
  {
    const ComPtr<IAttach> attachment = createAttachment(*message.Get(), L"sales.pdf");
    write(*attachment.Get(), content(9000));
    write(*attachment.Get(), content(10));
    ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  }
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(read(*reopen().Get()), content(10));
}

TEST_F(PostingContract, ContentIsNoPropertyOfAnotherInterface) {
  const ComPtr<IMessage> message = createMessage();
  const ComPtr<IAttach> attachment = createAttachment(*message.Get(), L"sales.pdf");
  ComPtr<IUnknown> object;
  EXPECT_TRUE(
      FAILED(attachment->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IMAPITable, 0, MAPI_CREATE | MAPI_MODIFY, &object)));
  EXPECT_EQ(object, nullptr);
}

TEST_F(PostingContract, SavedMessageIsSeenByAnotherSession) {
  post(L"sales.pdf", content(10));
  ComPtr<IMAPISession> other;
  ASSERT_EQ(logOn(L"Ada", L"", other), S_OK);
  {
    session.Swap(other);  // so that the helpers below look through the other session
    const ComPtr<IMsgStore> otherStore = openPublicStore();
    const ComPtr<IMAPIFolder> otherFolder = openReports(*otherStore.Get());
    EXPECT_EQ(countOf(*contentsOf(*otherFolder.Get()).Get()), 1u);
    session.Swap(other);
  }
  EXPECT_EQ(other->Logoff(0, 0, 0), S_OK);
}

TEST_F(PostingContract, TwoMessagesOfOneNameAreTwoMessages) {
  post(L"sales.pdf", content(10));
  post(L"sales.pdf", content(20));
  EXPECT_EQ(visible(), 2u);
}

TEST_F(PostingContract, MessageAndAttachmentAnswerTheirInterfaces) {
  const ComPtr<IMessage> message = createMessage();
  ComPtr<IMAPIProp> property;
  EXPECT_EQ(message->QueryInterface(IID_IMAPIProp, reinterpret_cast<void**>(property.GetAddressOf())), S_OK);
  ComPtr<IMessage> same;
  EXPECT_EQ(property->QueryInterface(IID_IMessage, reinterpret_cast<void**>(same.GetAddressOf())), S_OK);
  void* none = &none;
  EXPECT_EQ(message->QueryInterface(IID_IMAPIFolder, &none), E_NOINTERFACE);
  EXPECT_EQ(none, nullptr);
}

}  // namespace
}  // namespace contract
