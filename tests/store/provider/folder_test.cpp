// IMAPIFolder.
#include "store_fixture.h"

namespace {

using testing::ElementsAre;

struct FoldersTest : FolderTest {
  Bytes idOf(IMAPIProp& object) { return binary(object, PR_ENTRYID); }

  HRESULT remove(IMAPIFolder& parent, IMAPIFolder& child, ULONG flags) {
    Bytes id = idOf(child);
    return parent.DeleteFolder(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()), 0, nullptr,
                               flags);
  }

  std::vector<std::wstring> children(IMAPIFolder& parent, ULONG flags = 0) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(parent.GetHierarchyTable(flags, table.GetAddressOf()), S_OK);
    return column(*table.Get(), PR_DISPLAY_NAME_W);
  }
};

TEST_F(FoldersTest, ANewFolderIsInItsParentsHierarchy) {
  createFolder(*reports.Get(), L"Daily");
  createFolder(*reports.Get(), L"Monthly");
  EXPECT_THAT(children(*reports.Get()), ElementsAre(L"Daily", L"Monthly"));
}

TEST_F(FoldersTest, ThePublicSubtreeShowsWhatTheHostMade) {
  EXPECT_THAT(children(*subtree.Get()), ElementsAre(L"Reports"));
}

TEST_F(FoldersTest, ANamesCaseCounts) {
  createFolder(*reports.Get(), L"Daily");
  createFolder(*reports.Get(), L"daily");
  EXPECT_THAT(children(*reports.Get()), ElementsAre(L"Daily", L"daily"));
}

TEST_F(FoldersTest, ATakenNameCollidesOrOpens) {
  auto daily = createFolder(*reports.Get(), L"Daily");
  ComPtr<IMAPIFolder> again;
  EXPECT_THAT(
      reports->CreateFolder(FOLDER_GENERIC, wide(L"Daily"), nullptr, nullptr, MAPI_UNICODE, again.GetAddressOf()),
      Gives(MAPI_E_COLLISION));
  ASSERT_THAT(reports->CreateFolder(FOLDER_GENERIC, wide(L"Daily"), nullptr, nullptr, MAPI_UNICODE | OPEN_IF_EXISTS,
                                    again.GetAddressOf()),
              Gives(S_OK));
  EXPECT_EQ(idOf(*again.Get()), idOf(*daily.Get()));
}

TEST_F(FoldersTest, AFolderNeedsAName) {
  ComPtr<IMAPIFolder> created;
  EXPECT_THAT(reports->CreateFolder(FOLDER_GENERIC, wide(L""), nullptr, nullptr, MAPI_UNICODE, created.GetAddressOf()),
              Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->CreateFolder(FOLDER_GENERIC, nullptr, nullptr, nullptr, MAPI_UNICODE, created.GetAddressOf()),
              Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->CreateFolder(FOLDER_SEARCH, wide(L"x"), nullptr, nullptr, MAPI_UNICODE, created.GetAddressOf()),
              Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(FoldersTest, NameAndCommentAreTakenIn8BitFormToo) {
  ComPtr<IMAPIFolder> created;
  ASSERT_EQ(reports->CreateFolder(FOLDER_GENERIC, reinterpret_cast<LPTSTR>(const_cast<char*>("Daily")),
                                  reinterpret_cast<LPTSTR>(const_cast<char*>("each day")), &IID_IMAPIFolder, 0,
                                  created.GetAddressOf()),
            S_OK);
  EXPECT_EQ(text(*created.Get(), PR_DISPLAY_NAME_W), L"Daily");
  EXPECT_EQ(text(*created.Get(), PR_COMMENT_W), L"each day");
}

TEST_F(FoldersTest, SettingTheDisplayNameRenames) {
  SPropValue name = textValue(PR_DISPLAY_NAME_W, L"Berichte");
  Block<SPropProblemArray> problems;
  EXPECT_THAT(reports->SetProps(1, &name, receive(problems)), Gives(S_OK));
  EXPECT_EQ(problems, nullptr);
  EXPECT_THAT(children(*subtree.Get()), ElementsAre(L"Berichte"));
}

TEST_F(FoldersTest, AStandardFolderKeepsItsName) {
  SPropValue name = textValue(PR_DISPLAY_NAME_W, L"Mine");
  EXPECT_THAT(subtree->SetProps(1, &name, nullptr), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(FoldersTest, ComputedPropertiesAreRight) {
  createFolder(*reports.Get(), L"Daily");
  post(*reports.Get(), L"one");
  post(*reports.Get(), L"two");
  ComPtr<IMessage> hidden;
  ASSERT_EQ(reports->CreateMessage(nullptr, MAPI_ASSOCIATED, hidden.GetAddressOf()), S_OK);
  ASSERT_EQ(hidden->SaveChanges(0), S_OK);
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), 2);
  EXPECT_EQ(number(*reports.Get(), PR_ASSOC_CONTENT_COUNT), 1);
  EXPECT_EQ(number(*reports.Get(), PR_SUBFOLDERS), 1);
  EXPECT_EQ(number(*reports.Get(), PR_FOLDER_TYPE), static_cast<LONG>(FOLDER_GENERIC));
  EXPECT_EQ(number(*reports.Get(), PR_OBJECT_TYPE), static_cast<LONG>(MAPI_FOLDER));
  EXPECT_EQ(binary(*reports.Get(), PR_PARENT_ENTRYID), idOf(*subtree.Get()));
  EXPECT_EQ(binary(*reports.Get(), PR_STORE_ENTRYID), idOf(*store.Get()));
  EXPECT_EQ(binary(*reports.Get(), PR_STORE_RECORD_KEY), binary(*store.Get(), PR_RECORD_KEY));
  EXPECT_NE(number(*reports.Get(), PR_ACCESS).value() & static_cast<LONG>(MAPI_ACCESS_CREATE_CONTENTS), 0);
  EXPECT_EQ(number(*reports.Get(), PR_ACCESS_LEVEL), static_cast<LONG>(MAPI_MODIFY));
}

TEST_F(FoldersTest, UnreadMessagesAreCounted) {
  ComPtr<IMessage> message;
  ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
  ASSERT_EQ(message->SetReadFlag(CLEAR_READ_FLAG), S_OK);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 1);
  ASSERT_EQ(reports->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 0);
}

TEST_F(FoldersTest, AnyPropertyCanBeSetReadAndDeleted) {
  Bytes bytes = patternBytes(100);
  SPropValue values[] = {textValue(PR_CONTAINER_CLASS_W, L"IPF.Note"), binaryValue(PROP_TAG(PT_BINARY, 0x6600), bytes)};
  ASSERT_EQ(reports->SetProps(2, values, nullptr), S_OK);
  EXPECT_EQ(text(*reports.Get(), PR_CONTAINER_CLASS_W), L"IPF.Note");
  EXPECT_EQ(binary(*reports.Get(), PROP_TAG(PT_BINARY, 0x6600)), bytes);
  Tags tags{PR_CONTAINER_CLASS_W};
  ASSERT_EQ(reports->DeleteProps(tags, nullptr), S_OK);
  EXPECT_EQ(text(*reports.Get(), PR_CONTAINER_CLASS_W), std::nullopt);
}

TEST_F(FoldersTest, APropertysStreamWritesAtTheEndWithoutCommit) {
  {
    auto stream = openStream(*reports.Get(), PR_COMMENT_W, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
    ASSERT_EQ(stream->Write(L"spoken", 12, nullptr), S_OK);
  }
  EXPECT_EQ(text(*reports.Get(), PR_COMMENT_W), L"spoken");
}

TEST_F(FoldersTest, AFolderOpenedForReadingCannotBeChanged) {
  Bytes id = idOf(*reports.Get());
  ComPtr<IMAPIFolder> readOnly;
  ULONG type = 0;
  ASSERT_EQ(store->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()), nullptr, 0, &type,
                             unknownOut(readOnly)),
            S_OK);
  SPropValue name = textValue(PR_DISPLAY_NAME_W, L"x");
  EXPECT_THAT(readOnly->SetProps(1, &name, nullptr), Gives(MAPI_E_NO_ACCESS));
  ComPtr<IMessage> message;
  EXPECT_THAT(readOnly->CreateMessage(nullptr, 0, message.GetAddressOf()), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(FoldersTest, DeletingAFolderRespectsWhatItHolds) {
  auto daily = createFolder(*reports.Get(), L"Daily");
  createFolder(*daily.Get(), L"Deep");
  post(*daily.Get(), L"one");
  EXPECT_THAT(remove(*reports.Get(), *daily.Get(), 0), Gives(MAPI_E_HAS_FOLDERS));
  EXPECT_THAT(remove(*reports.Get(), *daily.Get(), DEL_FOLDERS), Gives(MAPI_E_HAS_MESSAGES));
  EXPECT_THAT(remove(*reports.Get(), *daily.Get(), DEL_FOLDERS | DEL_MESSAGES), Gives(S_OK));
  EXPECT_THAT(children(*reports.Get()), ElementsAre());
  EXPECT_THAT(remove(*reports.Get(), *subtree.Get(), DEL_FOLDERS | DEL_MESSAGES), Gives(MAPI_E_NOT_FOUND));
}

TEST_F(FoldersTest, DeletedMessagesAreGone) {
  post(*reports.Get(), L"one");
  Bytes id = idOf(*openFirst(*reports.Get()).Get());
  SBinary entry{static_cast<ULONG>(id.size()), id.data()};
  ENTRYLIST list{1, &entry};
  EXPECT_THAT(reports->DeleteMessages(&list, 0, nullptr, 0), Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), 0);
  ComPtr<IUnknown> object;
  ULONG type = 0;
  EXPECT_THAT(
      reports->OpenEntry(entry.cb, reinterpret_cast<LPENTRYID>(entry.lpb), nullptr, 0, &type, object.GetAddressOf()),
      Gives(MAPI_E_NOT_FOUND));
  EXPECT_THAT(reports->DeleteMessages(nullptr, 0, nullptr, 0), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(FoldersTest, MessagesAreCopiedAndMoved) {
  auto archive = createFolder(*reports.Get(), L"Archive");
  post(*reports.Get(), L"one");
  Bytes id = idOf(*openFirst(*reports.Get()).Get());
  SBinary entry{static_cast<ULONG>(id.size()), id.data()};
  ENTRYLIST list{1, &entry};
  EXPECT_THAT(reports->CopyMessages(&list, nullptr, archive.Get(), 0, nullptr, 0), Gives(S_OK));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"one"));
  EXPECT_THAT(subjects(*archive.Get()), ElementsAre(L"one"));
  EXPECT_THAT(reports->CopyMessages(&list, nullptr, archive.Get(), 0, nullptr, MESSAGE_MOVE), Gives(S_OK));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre());
  EXPECT_THAT(subjects(*archive.Get()), ElementsAre(L"one", L"one"));
}

TEST_F(FoldersTest, MessagesOfAnotherFolderAreLeftAlone) {
  auto archive = createFolder(*reports.Get(), L"Archive");
  post(*reports.Get(), L"one");
  Bytes id = idOf(*openFirst(*reports.Get()).Get());
  SBinary entry{static_cast<ULONG>(id.size()), id.data()};
  ENTRYLIST list{1, &entry};
  EXPECT_THAT(archive->DeleteMessages(&list, 0, nullptr, 0), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(archive->CopyMessages(&list, nullptr, archive.Get(), 0, nullptr, MESSAGE_MOVE),
              Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(archive->SetReadFlags(&list, 0, nullptr, CLEAR_READ_FLAG), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"one"));
  EXPECT_THAT(subjects(*archive.Get()), ElementsAre());
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 0);
}

TEST_F(FoldersTest, MessagesThatAreGoneAreACompletionInPart) {
  post(*reports.Get(), L"gone");
  post(*reports.Get(), L"stays");
  Bytes gone = idOf(*openFirst(*reports.Get()).Get());
  SBinary entry{static_cast<ULONG>(gone.size()), gone.data()};
  ENTRYLIST list{1, &entry};
  ASSERT_THAT(reports->DeleteMessages(&list, 0, nullptr, 0), Gives(S_OK));
  EXPECT_THAT(reports->DeleteMessages(&list, 0, nullptr, 0), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(reports->SetReadFlags(&list, 0, nullptr, 0), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(reports->CopyMessages(&list, nullptr, subtree.Get(), 0, nullptr, MESSAGE_MOVE),
              Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), 1);
}

TEST_F(FoldersTest, EmptyingKeepsHiddenMessagesUnlessAsked) {
  createFolder(*reports.Get(), L"Daily");
  post(*reports.Get(), L"one");
  ComPtr<IMessage> hidden;
  ASSERT_EQ(reports->CreateMessage(nullptr, MAPI_ASSOCIATED, hidden.GetAddressOf()), S_OK);
  ASSERT_EQ(hidden->SaveChanges(0), S_OK);
  EXPECT_THAT(reports->EmptyFolder(0, nullptr, 0), Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), 0);
  EXPECT_EQ(number(*reports.Get(), PR_SUBFOLDERS), 0);
  EXPECT_EQ(number(*reports.Get(), PR_ASSOC_CONTENT_COUNT), 1);
  EXPECT_THAT(reports->EmptyFolder(0, nullptr, DEL_ASSOCIATED), Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_ASSOC_CONTENT_COUNT), 0);
}

TEST_F(FoldersTest, TheDeepHierarchyShowsDepths) {
  auto daily = createFolder(*reports.Get(), L"Daily");
  createFolder(*daily.Get(), L"Deep");
  EXPECT_THAT(children(*subtree.Get(), CONVENIENT_DEPTH), ElementsAre(L"Reports", L"Daily", L"Deep"));
  ComPtr<IMAPITable> table;
  ASSERT_EQ(subtree->GetHierarchyTable(CONVENIENT_DEPTH, table.GetAddressOf()), S_OK);
  Tags columns{PR_DEPTH};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 3u);
  EXPECT_EQ(rows->aRow[0].lpProps[0].Value.l, 0);
  EXPECT_EQ(rows->aRow[2].lpProps[0].Value.l, 2);
}

TEST_F(FoldersTest, OpenEntryOfAFolderServesItsStore) {
  post(*reports.Get(), L"one");
  EXPECT_EQ(text(*openFirst(*reports.Get()).Get(), PR_SUBJECT_W), L"one");
}

TEST_F(FoldersTest, TheTablesOpenAsPropertiesToo) {
  createFolder(*reports.Get(), L"Daily");
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->OpenProperty(PR_CONTAINER_HIERARCHY, &IID_IMAPITable, 0, 0, unknownOut(table)), S_OK);
  EXPECT_THAT(column(*table.Get(), PR_DISPLAY_NAME_W), ElementsAre(L"Daily"));
}

TEST_F(FoldersTest, WhatIsNotSupportedSaysSo) {
  EXPECT_THAT(reports->SetSearchCriteria(nullptr, nullptr, 0), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(reports->GetSearchCriteria(0, nullptr, nullptr, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(reports->SaveContentsSort(nullptr, 0), Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(FoldersTest, NullWhereAnAnswerGoesIsAnInvalidParameter) {
  EXPECT_THAT(reports->GetContentsTable(0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->GetHierarchyTable(0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->CreateMessage(nullptr, 0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->CreateFolder(FOLDER_GENERIC, wide(L"x"), nullptr, nullptr, MAPI_UNICODE, nullptr),
              Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->OpenEntry(0, nullptr, nullptr, 0, nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
}

struct StaleListTest : FoldersTest {
  StaleListTest() {
    archive = createFolder(*reports.Get(), L"Archive");
    for (const wchar_t* subject : {L"filed", L"gone", L"here"}) post(*reports.Get(), subject);
    list = std::make_unique<Entries>(messageIds(*reports.Get()));
    // Another client files one of them away and deletes another.
    auto others = openStore(*logon().Get(), L"Public");
    auto theirs = openAgain(*reports.Get(), *others.Get());
    const auto ids = messageIds(*theirs.Get());
    Entries filed({ids[0]}), gone({ids[1]});
    EXPECT_EQ(
        theirs->CopyMessages(filed, nullptr, openAgain(*archive.Get(), *others.Get()).Get(), 0, nullptr, MESSAGE_MOVE),
        S_OK);
    EXPECT_EQ(theirs->DeleteMessages(gone, 0, nullptr, 0), S_OK);
  }

  // Looked at anew, by another session.
  std::vector<std::wstring> subjectsOf(IMAPIFolder& target) {
    return subjects(*openAgain(target, *openStore(*logon().Get(), L"Public").Get()).Get());
  }

  ComPtr<IMAPIFolder> archive;
  std::unique_ptr<Entries> list;
};

TEST_F(StaleListTest, DeletesWhatIsStillHere) {
  EXPECT_THAT(reports->DeleteMessages(*list, 0, nullptr, 0), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(subjectsOf(*reports.Get()), ElementsAre());
  EXPECT_THAT(subjectsOf(*archive.Get()), ElementsAre(L"filed"));
}

TEST_F(StaleListTest, CopiesAndMovesWhatIsStillHere) {
  auto copies = createFolder(*reports.Get(), L"Copies");
  EXPECT_THAT(reports->CopyMessages(*list, nullptr, copies.Get(), 0, nullptr, 0), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(subjectsOf(*copies.Get()), ElementsAre(L"here"));
  EXPECT_THAT(reports->CopyMessages(*list, nullptr, copies.Get(), 0, nullptr, MESSAGE_MOVE),
              Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(subjectsOf(*reports.Get()), ElementsAre());
  EXPECT_THAT(subjectsOf(*archive.Get()), ElementsAre(L"filed"));
}

TEST_F(StaleListTest, MarksWhatIsStillHere) {
  EXPECT_THAT(reports->SetReadFlags(*list, 0, nullptr, CLEAR_READ_FLAG), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 1);
  EXPECT_EQ(number(*archive.Get(), PR_CONTENT_UNREAD), 0);
}

TEST_F(StaleListTest, MessagesOfAnotherStoreAreNotInTheFolderEither) {
  auto mailbox = openSubtree(*openStore(*session.Get(), L"Mailbox").Get());
  post(*mailbox.Get(), L"mine");
  Entries theirs(messageIds(*mailbox.Get()));
  EXPECT_THAT(reports->DeleteMessages(theirs, 0, nullptr, 0), Gives(MAPI_W_PARTIAL_COMPLETION));
  EXPECT_THAT(subjects(*mailbox.Get()), ElementsAre(L"mine"));
}

TEST_F(FoldersTest, NothingIsCopiedIntoAFolderOpenedForReading) {
  post(*reports.Get(), L"one");
  createFolder(*reports.Get(), L"Daily");
  auto archive = createFolder(*subtree.Get(), L"Archive");
  Entries list(messageIds(*reports.Get()));
  auto readOnlyStore = openStore(*session.Get(), L"Public", 0);
  for (const auto& closed :
       {openAgain(*archive.Get(), *store.Get(), 0), openAgain(*archive.Get(), *readOnlyStore.Get())}) {
    EXPECT_THAT(reports->CopyMessages(list, nullptr, closed.Get(), 0, nullptr, 0), Gives(MAPI_E_NO_ACCESS));
    EXPECT_THAT(reports->CopyMessages(list, nullptr, closed.Get(), 0, nullptr, MESSAGE_MOVE), Gives(MAPI_E_NO_ACCESS));
    Bytes id = idOf(*reports.Get());
    EXPECT_THAT(subtree->CopyFolder(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()), nullptr,
                                    closed.Get(), nullptr, 0, nullptr, COPY_SUBFOLDERS),
                Gives(MAPI_E_NO_ACCESS));
    EXPECT_THAT(reports->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMAPIFolder, closed.Get(), 0, nullptr),
                Gives(MAPI_E_NO_ACCESS));
  }
  EXPECT_THAT(subjects(*archive.Get()), ElementsAre());
  EXPECT_THAT(children(*archive.Get()), ElementsAre());
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"one"));
}

TEST_F(FoldersTest, ToMakeUnreadAndToSpeakOfReceiptsContradictEachOther) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get());
  for (const ULONG flags : {CLEAR_READ_FLAG | SUPPRESS_RECEIPT, CLEAR_READ_FLAG | GENERATE_RECEIPT_ONLY,
                            CLEAR_READ_FLAG | SUPPRESS_RECEIPT | GENERATE_RECEIPT_ONLY}) {
    EXPECT_THAT(reports->SetReadFlags(nullptr, 0, nullptr, flags), Gives(MAPI_E_INVALID_PARAMETER));
    EXPECT_THAT(message->SetReadFlag(flags), Gives(MAPI_E_INVALID_PARAMETER));
  }
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 0);
}

TEST_F(FoldersTest, HierarchiesShowWhatKindOfRowTheyHave) {
  createFolder(*reports.Get(), L"Daily");
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetHierarchyTable(0, table.GetAddressOf()), S_OK);
  Block<SPropTagArray> preset;
  ASSERT_EQ(table->QueryColumns(0, receive(preset)), S_OK);
  const std::vector<ULONG> tags(preset->aulPropTag, preset->aulPropTag + preset->cValues);
  EXPECT_THAT(tags, testing::Contains(PR_DISPLAY_TYPE));
  Tags columns{PR_DISPLAY_TYPE, PR_DEPTH, PR_CONTAINER_CLASS_W};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  EXPECT_EQ(rows->aRow[0].lpProps[0].Value.ul, DT_FOLDER);
  EXPECT_EQ(rows->aRow[0].lpProps[1].Value.l, 0);
  EXPECT_STREQ(rows->aRow[0].lpProps[2].Value.lpszW, L"IPF.Note");
}

TEST_F(FoldersTest, StandardAndNewFoldersAreOfMessages) {
  auto mailbox = openStore(*session.Get(), L"Mailbox");
  auto daily = createFolder(*reports.Get(), L"Daily");
  for (const auto& one : {subtree, openSubtree(*mailbox.Get()), daily,
                          openAgain(*daily.Get(), *openStore(*logon().Get(), L"Public").Get())}) {
    EXPECT_EQ(text(*one.Get(), PR_CONTAINER_CLASS_W), L"IPF.Note");
  }
  ComPtr<IMAPITable> table;
  ASSERT_EQ(openSubtree(*mailbox.Get())->GetHierarchyTable(0, table.GetAddressOf()), S_OK);
  EXPECT_THAT(column(*table.Get(), PR_CONTAINER_CLASS_W),
              ElementsAre(L"IPF.Note", L"IPF.Note", L"IPF.Note", L"IPF.Note"));
  SPropValue other = textValue(PR_CONTAINER_CLASS_W, L"IPF.Appointment");
  ASSERT_EQ(subtree->SetProps(1, &other, nullptr), S_OK);
  EXPECT_EQ(text(*openAgain(*subtree.Get(), *store.Get()).Get(), PR_CONTAINER_CLASS_W), L"IPF.Appointment");
}

TEST_F(FoldersTest, ThePropertyListNamesTheTables) {
  Block<SPropTagArray> listed;
  ASSERT_EQ(reports->GetPropList(MAPI_UNICODE, receive(listed)), S_OK);
  const std::vector<ULONG> tags(listed->aulPropTag, listed->aulPropTag + listed->cValues);
  for (const ULONG tag : {PR_CONTAINER_HIERARCHY, PR_CONTAINER_CONTENTS, PR_FOLDER_ASSOCIATED_CONTENTS}) {
    EXPECT_THAT(tags, testing::Contains(tag));
    ComPtr<IMAPITable> table;
    EXPECT_THAT(reports->OpenProperty(tag, &IID_IMAPITable, 0, 0, unknownOut(table)), Gives(S_OK));
    Block<SPropValue> value;
    EXPECT_THAT(mapi().hrGetOneProp(reports.Get(), tag, receive(value)), Gives(S_OK));
  }
}

TEST_F(FoldersTest, AMessagesStatusIsKeptForItsReaders) {
  post(*reports.Get(), L"one");
  post(*reports.Get(), L"two");
  const auto ids = messageIds(*reports.Get());
  Bytes id = ids[0];
  const auto size = static_cast<ULONG>(id.size());
  const auto entry = reinterpret_cast<LPENTRYID>(id.data());
  ULONG status = 9;
  ASSERT_THAT(reports->GetMessageStatus(size, entry, 0, &status), Gives(S_OK));
  EXPECT_EQ(status, 0u);
  ASSERT_THAT(reports->SetMessageStatus(size, entry, MSGSTATUS_HIDDEN | MSGSTATUS_TAGGED, MSGSTATUS_HIDDEN, &status),
              Gives(S_OK));
  EXPECT_EQ(status, 0u);
  ASSERT_THAT(reports->SetMessageStatus(size, entry, MSGSTATUS_TAGGED, MSGSTATUS_TAGGED, &status), Gives(S_OK));
  EXPECT_EQ(status, MSGSTATUS_HIDDEN);
  auto again = openAgain(*reports.Get(), *openStore(*logon().Get(), L"Public").Get());
  ASSERT_THAT(again->GetMessageStatus(size, entry, 0, &status), Gives(S_OK));
  EXPECT_EQ(status, MSGSTATUS_HIDDEN | MSGSTATUS_TAGGED);
  ComPtr<IMAPITable> table;
  ASSERT_EQ(again->GetContentsTable(0, table.GetAddressOf()), S_OK);
  Tags columns{PR_MSG_STATUS};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  EXPECT_EQ(rows->aRow[0].lpProps[0].Value.ul, MSGSTATUS_HIDDEN | MSGSTATUS_TAGGED);
  EXPECT_EQ(rows->aRow[1].lpProps[0].Value.ul, 0u);
  EXPECT_EQ(text(*openFirst(*again.Get()).Get(), PR_SUBJECT_W), L"one") << "the message is whole as it was";
  auto archive = createFolder(*reports.Get(), L"Archive");
  EXPECT_THAT(archive->GetMessageStatus(size, entry, 0, &status), Gives(MAPI_E_NOT_FOUND));
  EXPECT_THAT(archive->SetMessageStatus(size, entry, 1, 1, nullptr), Gives(MAPI_E_NOT_FOUND));
  EXPECT_THAT(reports->GetMessageStatus(0, nullptr, 0, &status), Gives(MAPI_E_INVALID_ENTRYID));
}

}  // namespace
