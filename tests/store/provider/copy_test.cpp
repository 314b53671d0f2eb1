// CopyTo, CopyProps, CopyFolder and CopyMessages, within a store, to another store, and to another file's.
#include <thread>

#include "store_fixture.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr ULONG periodTag = PROP_TAG(PT_UNICODE, 0x6680);
constexpr GUID reportSet{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};

struct CopyTest : FolderTest {
  CopyTest() { archive = createFolder(*subtree.Get(), L"Archive"); }

  static ComPtr<IMessage> create(IMAPIFolder& in) {
    ComPtr<IMessage> message;
    EXPECT_EQ(in.CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
    return message;
  }

  static void attach(IMessage& message, const wchar_t* name, const Bytes& content) {
    ComPtr<IAttach> attachment;
    ULONG index = 0;
    ASSERT_EQ(message.CreateAttach(nullptr, 0, &index, attachment.GetAddressOf()), S_OK);
    SPropValue values[] = {textValue(PR_ATTACH_LONG_FILENAME_W, name), longValue(PR_ATTACH_METHOD, ATTACH_BY_VALUE)};
    ASSERT_EQ(attachment->SetProps(2, values, nullptr), S_OK);
    auto stream = openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
    for (std::size_t at = 0; at < content.size(); at += 65536) {
      const auto count = static_cast<ULONG>(std::min<std::size_t>(65536, content.size() - at));
      ASSERT_EQ(stream->Write(content.data() + at, count, nullptr), S_OK);
    }
    stream.Reset();
    ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  }

  // A report with a subject, a long body, a property of its own and two attachments, unread.
  void postReport(IMAPIFolder& in, const wchar_t* subject) {
    auto message = create(in);
    SPropValue values[] = {textValue(PR_SUBJECT_W, subject), textValue(PR_BODY_W, body.c_str()),
                           textValue(periodTag, L"May"), textValue(PR_MESSAGE_CLASS_W, L"IPM.Document.pdf")};
    ASSERT_EQ(message->SetProps(4, values, nullptr), S_OK);
    attach(*message.Get(), L"sales.pdf", file);
    attach(*message.Get(), L"notes.txt", patternBytes(10));
    ASSERT_EQ(message->SetReadFlag(CLEAR_READ_FLAG), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }

  void expectReport(IMessage& message, const wchar_t* subject) {
    EXPECT_EQ(text(message, PR_SUBJECT_W), subject);
    EXPECT_EQ(text(message, PR_BODY_W), body);
    EXPECT_EQ(text(message, periodTag), L"May");
    EXPECT_EQ(text(message, PR_MESSAGE_CLASS_W), L"IPM.Document.pdf");
    EXPECT_EQ(number(message, PR_MESSAGE_FLAGS).value_or(-1) & static_cast<LONG>(MSGFLAG_READ), 0);
    EXPECT_THAT(attachmentNames(message), ElementsAre(L"sales.pdf", L"notes.txt"));
    ComPtr<IAttach> attachment;
    ASSERT_EQ(message.OpenAttach(0, nullptr, 0, attachment.GetAddressOf()), S_OK);
    EXPECT_TRUE(readAll(*openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_READ, 0).Get(), 65536) == file);
  }

  static std::vector<std::wstring> attachmentNames(IMessage& message) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(message.GetAttachmentTable(0, table.GetAddressOf()), S_OK);
    return column(*table.Get(), PR_ATTACH_LONG_FILENAME_W);
  }

  static std::vector<std::wstring> children(IMAPIFolder& parent) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(parent.GetHierarchyTable(0, table.GetAddressOf()), S_OK);
    return column(*table.Get(), PR_DISPLAY_NAME_W);
  }

  static HRESULT copyFolder(IMAPIFolder& parent, IMAPIFolder& child, IMAPIFolder& into, const wchar_t* name,
                            ULONG flags) {
    Bytes id = binary(child, PR_ENTRYID);
    return parent.CopyFolder(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()), nullptr, &into,
                             const_cast<LPTSTR>(name), 0, nullptr, flags | MAPI_UNICODE);
  }

  // The public folders of another file, with identifiers like ours.
  ComPtr<IMAPIFolder> otherFile(const wchar_t* folderName) {
    SetEnvironmentVariableW(L"FENDREL_STORE", folder.file(L"other.db").c_str());
    createProfile(L"Anna");
    otherSession = logon();
    SetEnvironmentVariableW(L"FENDREL_STORE", folder.file(L"store.db").c_str());
    otherStore = openStore(*otherSession.Get(), L"Public");
    return createFolder(*openSubtree(*otherStore.Get()).Get(), folderName);
  }

  const std::wstring body = std::wstring(300'000, L'\u00E9');
  const Bytes file = patternBytes(1'000'003, 5);
  ComPtr<IMAPIFolder> archive;
  ComPtr<IMAPISession> otherSession;
  ComPtr<IMsgStore> otherStore;
};

TEST_F(CopyTest, AMessageIsCopiedWithAllItHas) {
  postReport(*reports.Get(), L"Sales");
  auto copy = create(*archive.Get());
  Block<SPropProblemArray> problems;
  ASSERT_THAT(openFirst(*reports.Get())
                  ->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, copy.Get(), 0, receive(problems)),
              Gives(S_OK));
  EXPECT_EQ(problems, nullptr);
  EXPECT_THAT(subjects(*archive.Get()), ElementsAre()) << "the target is saved by its owner";
  ASSERT_EQ(copy->SaveChanges(0), S_OK);
  auto again = openFirst(*openAgain(*archive.Get(), *openStore(*logon().Get(), L"Public").Get()).Get());
  expectReport(*again.Get(), L"Sales");
  EXPECT_NE(binary(*again.Get(), PR_ENTRYID), binary(*openFirst(*reports.Get()).Get(), PR_ENTRYID));
  expectReport(*openFirst(*reports.Get()).Get(), L"Sales");
}

TEST_F(CopyTest, ExcludedPropertiesAreLeftOutWhateverTheirType) {
  postReport(*reports.Get(), L"Sales");
  auto copy = create(*archive.Get());
  Tags excluded{PROP_TAG(PT_NULL, PROP_ID(PR_BODY_W)), PR_SUBJECT_A, PR_MESSAGE_ATTACHMENTS};
  ASSERT_THAT(
      openFirst(*reports.Get())->CopyTo(0, nullptr, excluded, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr),
      Gives(S_OK));
  EXPECT_EQ(text(*copy.Get(), PR_BODY_W), std::nullopt);
  EXPECT_EQ(text(*copy.Get(), PR_SUBJECT_W), std::nullopt);
  EXPECT_EQ(text(*copy.Get(), periodTag), L"May");
  EXPECT_THAT(attachmentNames(*copy.Get()), ElementsAre());
}

TEST_F(CopyTest, AnExcludedInterfaceLeavesOutWhatItReaches) {
  postReport(*reports.Get(), L"Sales");
  auto source = openFirst(*reports.Get()), copy = create(*archive.Get());
  IID excluded[] = {IID_IMessage};
  ASSERT_THAT(source->CopyTo(1, excluded, nullptr, 0, nullptr, &IID_IMAPIProp, copy.Get(), 0, nullptr), Gives(S_OK));
  EXPECT_EQ(text(*copy.Get(), PR_SUBJECT_W), L"Sales");
  EXPECT_THAT(attachmentNames(*copy.Get()), ElementsAre());
  excluded[0] = IID_IMAPIProp;
  EXPECT_THAT(source->CopyTo(1, excluded, nullptr, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr),
              Gives(MAPI_E_INTERFACE_NOT_SUPPORTED));
}

TEST_F(CopyTest, NamedPropertiesAloneAreCopied) {
  postReport(*reports.Get(), L"Sales");
  auto source = openFirst(*reports.Get()), copy = create(*archive.Get());
  Tags tags{PR_SUBJECT_W, PR_BODY_W, PR_COMMENT_W, PR_MESSAGE_SIZE};
  Block<SPropProblemArray> problems;
  ASSERT_THAT(source->CopyProps(tags, 0, nullptr, &IID_IMessage, copy.Get(), 0, receive(problems)), Gives(S_OK));
  EXPECT_EQ(text(*copy.Get(), PR_SUBJECT_W), L"Sales");
  EXPECT_EQ(text(*copy.Get(), PR_BODY_W), body);
  EXPECT_EQ(text(*copy.Get(), periodTag), std::nullopt);
  ASSERT_NE(problems, nullptr);
  ASSERT_EQ(problems->cProblem, 2u);
  EXPECT_EQ(problems->aProblem[0].ulIndex, 2u);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_NOT_FOUND));
  EXPECT_EQ(problems->aProblem[1].ulIndex, 3u);
  EXPECT_THAT(problems->aProblem[1].scode, Gives(MAPI_E_COMPUTED));
  Tags attachments{PR_MESSAGE_ATTACHMENTS};
  ASSERT_THAT(source->CopyProps(attachments, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr), Gives(S_OK));
  EXPECT_THAT(attachmentNames(*copy.Get()), ElementsAre(L"sales.pdf", L"notes.txt"));
}

TEST_F(CopyTest, WhatIsThereIsReplacedUnlessAskedNotTo) {
  postReport(*reports.Get(), L"Sales");
  auto source = openFirst(*reports.Get()), copy = create(*archive.Get());
  SPropValue subject = textValue(PR_SUBJECT_W, L"Mine");
  ASSERT_EQ(copy->SetProps(1, &subject, nullptr), S_OK);
  Tags tags{PR_SUBJECT_W, periodTag};
  ASSERT_THAT(source->CopyProps(tags, 0, nullptr, &IID_IMessage, copy.Get(), MAPI_NOREPLACE, nullptr), Gives(S_OK));
  EXPECT_EQ(text(*copy.Get(), PR_SUBJECT_W), L"Mine");
  EXPECT_EQ(text(*copy.Get(), periodTag), L"May");
  ASSERT_THAT(source->CopyProps(tags, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr), Gives(S_OK));
  EXPECT_EQ(text(*copy.Get(), PR_SUBJECT_W), L"Sales");
}

TEST_F(CopyTest, MovedPropertiesLeaveTheirSource) {
  postReport(*reports.Get(), L"Sales");
  auto source = openFirst(*reports.Get(), MAPI_MODIFY), copy = create(*archive.Get());
  Tags tags{periodTag, PR_MESSAGE_ATTACHMENTS};
  EXPECT_THAT(openFirst(*reports.Get())->CopyProps(tags, 0, nullptr, &IID_IMessage, copy.Get(), MAPI_MOVE, nullptr),
              Gives(MAPI_E_NO_ACCESS));
  ASSERT_THAT(source->CopyProps(tags, 0, nullptr, &IID_IMessage, copy.Get(), MAPI_MOVE, nullptr), Gives(S_OK));
  EXPECT_EQ(text(*copy.Get(), periodTag), L"May");
  ASSERT_EQ(source->SaveChanges(0), S_OK);
  EXPECT_EQ(text(*openFirst(*reports.Get()).Get(), periodTag), std::nullopt);
  EXPECT_THAT(attachmentNames(*openFirst(*reports.Get()).Get()), ElementsAre());
}

TEST_F(CopyTest, BadArgumentsOfCopiesAreRefused) {
  postReport(*reports.Get(), L"Sales");
  auto source = openFirst(*reports.Get()), copy = create(*archive.Get());
  Tags tags{PR_SUBJECT_W}, none{};
  EXPECT_THAT(source->CopyTo(0, nullptr, nullptr, 0, nullptr, nullptr, copy.Get(), 0, nullptr),
              Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, nullptr, 0, nullptr),
              Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMAPIFolder, copy.Get(), 0, nullptr),
              Gives(MAPI_E_INTERFACE_NOT_SUPPORTED));
  EXPECT_THAT(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, source.Get(), 0, nullptr),
              Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(
      source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, openFirst(*reports.Get()).Get(), 0, nullptr),
      Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, copy.Get(), 0x4000, nullptr),
              Gives(MAPI_E_UNKNOWN_FLAGS));
  EXPECT_THAT(source->CopyProps(none, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr),
              Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(source->CopyProps(nullptr, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr),
              Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(CopyTest, MessagesGoToAnotherStore) {
  auto mailbox = openSubtree(*openStore(*session.Get(), L"Mailbox").Get());
  postReport(*reports.Get(), L"Sales");
  Entries list(messageIds(*reports.Get()));
  ASSERT_THAT(reports->CopyMessages(list, nullptr, mailbox.Get(), 0, nullptr, 0), Gives(S_OK));
  expectReport(*openFirst(*mailbox.Get()).Get(), L"Sales");
  ASSERT_THAT(reports->CopyMessages(list, nullptr, mailbox.Get(), 0, nullptr, MESSAGE_MOVE), Gives(S_OK));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre());
  EXPECT_THAT(subjects(*mailbox.Get()), ElementsAre(L"Sales", L"Sales"));
}

TEST_F(CopyTest, MessagesGoToAnotherFile) {
  auto distant = otherFile(L"Far");
  postReport(*reports.Get(), L"Sales");
  postReport(*reports.Get(), L"Stock");
  const auto ids = messageIds(*reports.Get());
  Entries list(ids);
  ASSERT_THAT(reports->CopyMessages(list, nullptr, distant.Get(), 0, nullptr, 0), Gives(S_OK));
  EXPECT_THAT(subjects(*distant.Get()), ElementsAre(L"Sales", L"Stock"));
  expectReport(*openFirst(*distant.Get()).Get(), L"Sales");
  Entries first({ids[0]});
  ASSERT_THAT(reports->CopyMessages(first, nullptr, distant.Get(), 0, nullptr, MESSAGE_MOVE), Gives(S_OK));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"Stock"));
  EXPECT_THAT(subjects(*distant.Get()), ElementsAre(L"Sales", L"Stock", L"Sales"));
  EXPECT_THAT(reports->CopyMessages(list, nullptr, distant.Get(), 0, nullptr, MESSAGE_MOVE),
              Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre());
}

TEST_F(CopyTest, NamesKeepTheirMeaningInAnotherFile) {
  auto distant = otherFile(L"Far");
  GUID set = reportSet;
  MAPINAMEID period{&set, MNID_STRING, {}}, another{&set, MNID_ID, {}};
  period.Kind.lpwstrName = const_cast<LPWSTR>(L"Period");
  another.Kind.lID = 5;
  const auto idOf = [](IMAPIProp& object, MAPINAMEID& name) {
    LPMAPINAMEID list[] = {&name};
    Block<SPropTagArray> tags;
    EXPECT_THAT(object.GetIDsFromNames(1, list, MAPI_CREATE, receive(tags)), Gives(S_OK));
    return PROP_ID(tags->aulPropTag[0]);
  };
  idOf(*distant.Get(), another);  // so that the numbers differ
  const ULONG here = idOf(*reports.Get(), period);
  auto message = create(*reports.Get());
  SPropValue values[] = {textValue(PROP_TAG(PT_UNICODE, here), L"May"), textValue(PROP_TAG(PT_UNICODE, 0x9999), L"?")};
  ASSERT_EQ(message->SetProps(2, values, nullptr), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  auto copy = create(*distant.Get());
  Block<SPropProblemArray> problems;
  ASSERT_THAT(message->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, copy.Get(), 0, receive(problems)),
              Gives(S_OK));
  const ULONG there = idOf(*distant.Get(), period);
  EXPECT_NE(there, here);
  EXPECT_EQ(text(*copy.Get(), PROP_TAG(PT_UNICODE, there)), L"May");
  ASSERT_NE(problems, nullptr) << "a number without a name means nothing elsewhere";
  EXPECT_EQ(problems->cProblem, 1u);
  EXPECT_EQ(PROP_ID(problems->aProblem[0].ulPropTag), 0x9999u);
}

TEST_F(CopyTest, AFolderIsCopiedWithWhatIsAskedFor) {
  postReport(*reports.Get(), L"Sales");
  SPropValue comment = textValue(PR_COMMENT_W, L"each day");
  ASSERT_EQ(reports->SetProps(1, &comment, nullptr), S_OK);
  post(*createFolder(*createFolder(*reports.Get(), L"Daily").Get(), L"Deep").Get(), L"deep");
  ASSERT_THAT(copyFolder(*subtree.Get(), *reports.Get(), *archive.Get(), L"Flat", 0), Gives(S_OK));
  ASSERT_THAT(copyFolder(*subtree.Get(), *reports.Get(), *archive.Get(), nullptr, COPY_SUBFOLDERS), Gives(S_OK));
  EXPECT_THAT(children(*archive.Get()), ElementsAre(L"Flat", L"Reports"));
  const auto child = [&](IMAPIFolder& parent, const wchar_t* name) {
    ComPtr<IMAPIFolder> found;
    EXPECT_EQ(parent.CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(name), nullptr, nullptr,
                                  MAPI_UNICODE | OPEN_IF_EXISTS, found.GetAddressOf()),
              S_OK);
    return found;
  };
  auto flat = child(*archive.Get(), L"Flat"), whole = child(*archive.Get(), L"Reports");
  EXPECT_EQ(text(*flat.Get(), PR_COMMENT_W), L"each day");
  expectReport(*openFirst(*flat.Get()).Get(), L"Sales");
  EXPECT_THAT(children(*flat.Get()), ElementsAre());
  EXPECT_THAT(children(*whole.Get()), ElementsAre(L"Daily"));
  EXPECT_THAT(subjects(*child(*child(*whole.Get(), L"Daily").Get(), L"Deep").Get()), ElementsAre(L"deep"));
  EXPECT_THAT(copyFolder(*subtree.Get(), *reports.Get(), *archive.Get(), nullptr, COPY_SUBFOLDERS),
              Gives(MAPI_E_COLLISION));
}

TEST_F(CopyTest, AFolderIsMoved) {
  postReport(*reports.Get(), L"Sales");
  createFolder(*reports.Get(), L"Daily");
  const Bytes id = binary(*reports.Get(), PR_ENTRYID);
  ASSERT_THAT(copyFolder(*subtree.Get(), *reports.Get(), *archive.Get(), L"Old", FOLDER_MOVE), Gives(S_OK));
  EXPECT_THAT(children(*subtree.Get()), ElementsAre(L"Archive"));
  EXPECT_THAT(children(*archive.Get()), ElementsAre(L"Old"));
  auto moved = openAgain(*reports.Get(), *openStore(*logon().Get(), L"Public").Get());
  EXPECT_EQ(binary(*moved.Get(), PR_PARENT_ENTRYID), binary(*archive.Get(), PR_ENTRYID));
  EXPECT_THAT(children(*moved.Get()), ElementsAre(L"Daily"));
  expectReport(*openFirst(*moved.Get()).Get(), L"Sales");
}

TEST_F(CopyTest, AFolderIsMovedToAnotherStoreOrFile) {
  auto mailbox = openSubtree(*openStore(*session.Get(), L"Mailbox").Get());
  auto distant = otherFile(L"Far");
  for (IMAPIFolder* target : {mailbox.Get(), distant.Get()}) {
    auto moving = createFolder(*subtree.Get(), L"Moving");
    postReport(*moving.Get(), L"Sales");
    ComPtr<IMessage> hidden;
    ASSERT_EQ(moving->CreateMessage(nullptr, MAPI_ASSOCIATED, hidden.GetAddressOf()), S_OK);
    ASSERT_EQ(hidden->SaveChanges(0), S_OK);
    post(*createFolder(*moving.Get(), L"Deep").Get(), L"deep");
    ASSERT_THAT(copyFolder(*subtree.Get(), *moving.Get(), *target, nullptr, FOLDER_MOVE), Gives(S_OK));
    EXPECT_THAT(children(*subtree.Get()), UnorderedElementsAre(L"Reports", L"Archive"));
    ComPtr<IMAPIFolder> moved;
    ASSERT_EQ(target->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"Moving"), nullptr, nullptr,
                                   MAPI_UNICODE | OPEN_IF_EXISTS, moved.GetAddressOf()),
              S_OK);
    expectReport(*openFirst(*moved.Get()).Get(), L"Sales");
    EXPECT_EQ(number(*moved.Get(), PR_ASSOC_CONTENT_COUNT), 1);
    EXPECT_THAT(children(*moved.Get()), ElementsAre(L"Deep"));
  }
}

TEST_F(CopyTest, AFolderDoesNotGoIntoItself) {
  auto daily = createFolder(*reports.Get(), L"Daily");
  for (IMAPIFolder* target : {reports.Get(), daily.Get()}) {
    EXPECT_THAT(copyFolder(*subtree.Get(), *reports.Get(), *target, L"x", COPY_SUBFOLDERS), Gives(MAPI_E_FOLDER_CYCLE));
    EXPECT_THAT(copyFolder(*subtree.Get(), *reports.Get(), *target, L"x", FOLDER_MOVE), Gives(MAPI_E_FOLDER_CYCLE));
  }
  EXPECT_THAT(copyFolder(*subtree.Get(), *reports.Get(), *daily.Get(), L"x", 0), Gives(S_OK));
  EXPECT_THAT(copyFolder(*archive.Get(), *reports.Get(), *archive.Get(), L"x", 0), Gives(MAPI_E_NOT_FOUND));
  auto mailbox = openStore(*session.Get(), L"Mailbox");
  auto top = openSubtree(*mailbox.Get());
  ComPtr<IMAPIFolder> root;
  ULONG type = 0;
  ASSERT_EQ(mailbox->OpenEntry(0, nullptr, nullptr, MAPI_BEST_ACCESS, &type, unknownOut(root)), S_OK);
  EXPECT_THAT(copyFolder(*root.Get(), *top.Get(), *archive.Get(), L"x", FOLDER_MOVE), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(CopyTest, AFoldersContentsGoWithItsProperties) {
  postReport(*reports.Get(), L"Sales");
  createFolder(*reports.Get(), L"Daily");
  SPropValue comment = textValue(PR_COMMENT_W, L"each day");
  ASSERT_EQ(reports->SetProps(1, &comment, nullptr), S_OK);
  Tags excluded{PR_CONTAINER_HIERARCHY};
  ASSERT_THAT(reports->CopyTo(0, nullptr, excluded, 0, nullptr, &IID_IMAPIFolder, archive.Get(), 0, nullptr),
              Gives(S_OK));
  EXPECT_EQ(text(*archive.Get(), PR_DISPLAY_NAME_W), L"Archive");
  EXPECT_EQ(text(*archive.Get(), PR_COMMENT_W), L"each day");
  expectReport(*openFirst(*archive.Get()).Get(), L"Sales");
  EXPECT_THAT(children(*archive.Get()), ElementsAre());
  Tags hierarchy{PR_CONTAINER_HIERARCHY};
  ASSERT_THAT(reports->CopyProps(hierarchy, 0, nullptr, &IID_IMAPIFolder, archive.Get(), 0, nullptr), Gives(S_OK));
  EXPECT_THAT(children(*archive.Get()), ElementsAre(L"Daily"));
  EXPECT_THAT(subjects(*archive.Get()), ElementsAre(L"Sales"));
}

// Two threads whose sessions copy from each other at the same time.
TEST_F(CopyTest, SessionsThatCopyToEachOtherDoNotStopEachOther) {
  auto distant = otherFile(L"Far");
  for (int i = 0; i < 5; ++i) {
    post(*reports.Get(), L"here");
    post(*distant.Get(), L"there");
  }
  Entries here(messageIds(*reports.Get())), there(messageIds(*distant.Get()));
  auto backAndForth = [](IMAPIFolder& from, LPENTRYLIST list, IMAPIFolder& to) {
    for (int i = 0; i < 10; ++i) EXPECT_THAT(from.CopyMessages(list, nullptr, &to, 0, nullptr, 0), Gives(S_OK));
  };
  std::thread other([&] { backAndForth(*distant.Get(), there, *archive.Get()); });
  backAndForth(*reports.Get(), here, *distant.Get());
  other.join();
  EXPECT_EQ(number(*archive.Get(), PR_CONTENT_COUNT), 50);
  EXPECT_EQ(number(*distant.Get(), PR_CONTENT_COUNT), 55);
}

}  // namespace
