// The contract on what becomes of messages that are there: read, changed, moved, copied, deleted. Asked of our library
// on each of its engines.
#include <algorithm>

#include "contract_test.h"

namespace contract {
namespace {

using ::testing::ElementsAre;

// A message of a folder as its table shows it.
struct Shown {
  std::wstring subject;
  bool isRead;
  Bytes id;
};

class ChangingContract : public ContractTest {
 protected:
  void SetUp() override {
    ContractTest::SetUp();
    store = openPublicStore();
    ASSERT_NE(store, nullptr);
    reports = openReports(*store.Get());
    ASSERT_NE(reports, nullptr);
    daily = openFolder(*store.Get(), findRow(*hierarchyOf(*reports.Get()).Get(), L"Daily"), MAPI_MODIFY);
    ASSERT_NE(daily, nullptr);
    ASSERT_EQ(daily->EmptyFolder(0, nullptr, 0), S_OK);
  }
  void TearDown() override {
    daily.Reset();
    reports.Reset();
    store.Reset();
    ContractTest::TearDown();
  }

  static void setText(IMAPIProp& object, ULONG tag, const wchar_t* value) {
    SPropValue property{};
    property.ulPropTag = tag;
    property.Value.lpszW = const_cast<LPWSTR>(value);
    EXPECT_EQ(object.SetProps(1, &property, nullptr), S_OK);
  }
  static std::wstring textOf(IMAPIProp& object, ULONG tag) {
    Block<SPropValue> found;
    const HRESULT result = mapi().hrGetOneProp(&object, tag, receive(found));
    return result == S_OK ? found->Value.lpszW : L"(none)";
  }

  // With an attachment that says who it is.
  void post(const wchar_t* subject, const std::string& bytes) {
    ComPtr<IMessage> message;
    ASSERT_EQ(reports->CreateMessage(nullptr, 0, &message), S_OK);
    setText(*message.Get(), PR_SUBJECT_W, subject);
    setText(*message.Get(), PR_MESSAGE_CLASS_W, L"IPM.Document.txt");
    setText(*message.Get(), PR_COMMENT_W, L"a comment");
    setText(*message.Get(), PR_CONVERSATION_TOPIC_W, L"a topic");
    ComPtr<IAttach> attachment;
    ULONG number = 0;
    ASSERT_EQ(message->CreateAttach(nullptr, 0, &number, &attachment), S_OK);
    setText(*attachment.Get(), PR_ATTACH_LONG_FILENAME_W, subject);
    {
      ComPtr<IStream> stream;
      ASSERT_EQ(attachment->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_CREATE | STGM_WRITE,
                                         MAPI_CREATE | MAPI_MODIFY, unknownOut(stream)),
                S_OK);
      ULONG written = 0;
      ASSERT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), S_OK);
    }
    ASSERT_EQ(attachment->SaveChanges(0), S_OK);
    message->SetReadFlag(CLEAR_READ_FLAG);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }

  // In the order of their subjects.
  static std::vector<Shown> messagesOf(IMAPIFolder& folder) {
    const ComPtr<IMAPITable> table = contentsOf(folder);
    Tags columns{PR_SUBJECT_W, PR_MESSAGE_FLAGS, PR_ENTRYID};
    EXPECT_EQ(table->SetColumns(columns, 0), S_OK);
    Rows rows;
    EXPECT_EQ(table->QueryRows(50, 0, receive(rows)), S_OK);
    std::vector<Shown> found;
    for (ULONG row = 0; rows && row < rows->cRows; ++row) {
      const SPropValue* const values = rows->aRow[row].lpProps;
      found.push_back({values[0].Value.lpszW, (values[1].Value.l & MSGFLAG_READ) != 0, bytesOf(values[2])});
    }
    std::ranges::sort(found, {}, &Shown::subject);
    return found;
  }
  static std::vector<std::wstring> subjectsOf(IMAPIFolder& folder) {
    std::vector<std::wstring> subjects;
    for (const Shown& message : messagesOf(folder)) subjects.push_back(message.subject);
    return subjects;
  }

  static ComPtr<IMessage> open(IMsgStore& in, const Shown& message, ULONG flags = 0) {
    ComPtr<IMessage> opened;
    ULONG type = 0;
    EXPECT_EQ(in.OpenEntry(static_cast<ULONG>(message.id.size()), entryId(message.id), &IID_IMessage, flags, &type,
                           unknownOut(opened)),
              S_OK);
    return opened;
  }
  static std::string attachedTo(IMessage& message) {
    ComPtr<IAttach> attachment;
    EXPECT_EQ(message.OpenAttach(0, nullptr, 0, &attachment), S_OK);
    ComPtr<IStream> stream;
    if (!attachment) return "(no attachment)";
    EXPECT_EQ(attachment->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_READ, 0, unknownOut(stream)), S_OK);
    std::string bytes(1000, '\0');
    ULONG read = 0;
    EXPECT_EQ(stream->Read(bytes.data(), 1000, &read), S_OK);
    bytes.resize(read);
    return bytes;
  }

  HRESULT copy(const Shown& message, IMAPIFolder& to, ULONG flags = 0) {
    Bytes id = message.id;
    ENTRYLIST list{};
    SBinary entry{static_cast<ULONG>(id.size()), id.data()};
    list.cValues = 1;
    list.lpbin = &entry;
    return reports->CopyMessages(&list, nullptr, &to, 0, nullptr, flags);
  }

  // Of the profile's own mailbox; made where it is not there, and empty.
  ComPtr<IMAPIFolder> ownFolder(IMsgStore& own) {
    const ComPtr<IMAPIFolder> top = openSubtree(own);
    ComPtr<IMAPIFolder> folder;
    EXPECT_EQ(top->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"Copies"), nullptr, nullptr,
                                MAPI_UNICODE | OPEN_IF_EXISTS, &folder),
              S_OK);
    EXPECT_EQ(folder->EmptyFolder(0, nullptr, 0), S_OK);
    return folder;
  }

  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> reports, daily;
};

TEST_F(ChangingContract, ReadFlagIsSetAndTakenBack) {
  post(L"a.txt", "a");
  post(L"b.txt", "b");
  const std::vector<Shown> before = messagesOf(*reports.Get());
  ASSERT_EQ(before.size(), 2u);
  EXPECT_FALSE(before[0].isRead);
  ASSERT_EQ(open(*store.Get(), before[0], MAPI_MODIFY)->SetReadFlag(0), S_OK);
  const std::vector<Shown> read = messagesOf(*reports.Get());
  EXPECT_TRUE(read[0].isRead);
  EXPECT_FALSE(read[1].isRead);
  ASSERT_EQ(open(*store.Get(), before[0], MAPI_MODIFY)->SetReadFlag(CLEAR_READ_FLAG), S_OK);
  EXPECT_FALSE(messagesOf(*reports.Get())[0].isRead);
}

TEST_F(ChangingContract, MessageIsMovedWithinItsStore) {
  post(L"a.txt", "a");
  post(L"b.txt", "b");
  ASSERT_EQ(copy(messagesOf(*reports.Get())[0], *daily.Get(), MESSAGE_MOVE), S_OK);
  EXPECT_THAT(subjectsOf(*reports.Get()), ElementsAre(L"b.txt"));
  const std::vector<Shown> moved = messagesOf(*daily.Get());
  ASSERT_EQ(moved.size(), 1u);
  EXPECT_EQ(moved[0].subject, L"a.txt");
  EXPECT_EQ(attachedTo(*open(*store.Get(), moved[0]).Get()), "a");
}

TEST_F(ChangingContract, CopyIsAnotherMessageOfTheSameContent) {
  post(L"a.txt", "a");
  ASSERT_EQ(copy(messagesOf(*reports.Get())[0], *daily.Get()), S_OK);
  EXPECT_THAT(subjectsOf(*reports.Get()), ElementsAre(L"a.txt"));
  const std::vector<Shown> copied = messagesOf(*daily.Get());
  ASSERT_EQ(copied.size(), 1u);
  EXPECT_NE(copied[0].id, messagesOf(*reports.Get())[0].id);
  const ComPtr<IMessage> message = open(*store.Get(), copied[0]);
  EXPECT_EQ(attachedTo(*message.Get()), "a");
  EXPECT_EQ(textOf(*message.Get(), PR_CONVERSATION_TOPIC_W), L"a topic");
}

TEST_F(ChangingContract, MessageIsCopiedAndMovedIntoAnotherStore) {
  post(L"a.txt", "a");
  const ComPtr<IMsgStore> own = openDefaultStore();
  ASSERT_NE(own, nullptr);
  const ComPtr<IMAPIFolder> copies = ownFolder(*own.Get());
  ASSERT_EQ(copy(messagesOf(*reports.Get())[0], *copies.Get()), S_OK);
  EXPECT_THAT(subjectsOf(*reports.Get()), ElementsAre(L"a.txt"));
  ASSERT_EQ(copy(messagesOf(*reports.Get())[0], *copies.Get(), MESSAGE_MOVE), S_OK);
  EXPECT_THAT(subjectsOf(*reports.Get()), ElementsAre());
  const std::vector<Shown> there = messagesOf(*copies.Get());
  ASSERT_EQ(there.size(), 2u);
  for (const Shown& one : there) {
    const ComPtr<IMessage> message = open(*own.Get(), one);
    EXPECT_EQ(textOf(*message.Get(), PR_COMMENT_W), L"a comment");
    EXPECT_EQ(attachedTo(*message.Get()), "a");
  }
  EXPECT_EQ(copies->EmptyFolder(0, nullptr, 0), S_OK);
}

TEST_F(ChangingContract, SavedMessageThatIsChangedIsThereOnceAsItIsNow) {
  post(L"a.txt", "a");
  {
    const ComPtr<IMessage> message = open(*store.Get(), messagesOf(*reports.Get())[0], MAPI_MODIFY);
    setText(*message.Get(), PR_SUBJECT_W, L"changed");
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }
  const std::vector<Shown> now = messagesOf(*reports.Get());
  ASSERT_EQ(now.size(), 1u);
  EXPECT_EQ(now[0].subject, L"changed");
  const ComPtr<IMessage> message = open(*store.Get(), now[0]);
  EXPECT_EQ(textOf(*message.Get(), PR_COMMENT_W), L"a comment");
  EXPECT_EQ(attachedTo(*message.Get()), "a");
}

TEST_F(ChangingContract, NamedPropertyComesBackUnderItsName) {
  GUID set = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
  MAPINAMEID name{};
  name.lpguid = &set;
  name.ulKind = MNID_STRING;
  name.Kind.lpwstrName = const_cast<LPWSTR>(L"Period");
  MAPINAMEID* names[] = {&name};
  post(L"a.txt", "a");
  {
    const ComPtr<IMessage> message = open(*store.Get(), messagesOf(*reports.Get())[0], MAPI_MODIFY);
    Block<SPropTagArray> tags;
    ASSERT_EQ(message->GetIDsFromNames(1, names, MAPI_CREATE, receive(tags)), S_OK);
    setText(*message.Get(), CHANGE_PROP_TYPE(tags->aulPropTag[0], PT_UNICODE), L"May");
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }
  const ComPtr<IMessage> message = open(*store.Get(), messagesOf(*reports.Get())[0]);
  Block<SPropTagArray> tags;
  ASSERT_EQ(message->GetIDsFromNames(1, names, 0, receive(tags)), S_OK);
  EXPECT_EQ(textOf(*message.Get(), CHANGE_PROP_TYPE(tags->aulPropTag[0], PT_UNICODE)), L"May");
}

TEST_F(ChangingContract, DeletedMessageIsGoneAndTheOthersStay) {
  post(L"a.txt", "a");
  post(L"b.txt", "b");
  Bytes id = messagesOf(*reports.Get())[0].id;
  ENTRYLIST list{};
  SBinary entry{static_cast<ULONG>(id.size()), id.data()};
  list.cValues = 1;
  list.lpbin = &entry;
  ASSERT_EQ(reports->DeleteMessages(&list, 0, nullptr, 0), S_OK);
  EXPECT_THAT(subjectsOf(*reports.Get()), ElementsAre(L"b.txt"));
}

}  // namespace
}  // namespace contract
