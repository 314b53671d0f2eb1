// IMAPISession: its tables, its identity, its end.
#include "store_fixture.h"

namespace {

using testing::ElementsAre;

struct SessionTest : StoreTest {
  ComPtr<IMAPISession> session = logon();
};

TEST_F(SessionTest, TheStoresTableShowsMailboxAndPublicFolders) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(session->GetMsgStoresTable(0, table.GetAddressOf()), S_OK);
  Tags columns{PR_ENTRYID, PR_DISPLAY_NAME_A, PR_DEFAULT_STORE, PR_SUBFOLDERS, PR_CONTENT_COUNT, PR_RESOURCE_TYPE};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 2u);
  const SPropValue *mailbox = rows->aRow[0].lpProps, *publicStore = rows->aRow[1].lpProps;
  EXPECT_STREQ(mailbox[1].Value.lpszA, "Mailbox - Anna");
  EXPECT_STREQ(publicStore[1].Value.lpszA, "Public Folders");
  EXPECT_TRUE(mailbox[2].Value.b);
  EXPECT_FALSE(publicStore[2].Value.b);
  EXPECT_EQ(mailbox[3].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_SUBFOLDERS)));
  EXPECT_EQ(mailbox[3].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(mailbox[5].Value.l, static_cast<LONG>(MAPI_STORE_PROVIDER));
}

TEST_F(SessionTest, TheStatusTablesSubsystemRowNamesTheProfile) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(session->GetStatusTable(0, table.GetAddressOf()), S_OK);
  ULONG count = 0;
  EXPECT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 1u);
  Tags columns{PR_RESOURCE_TYPE, PR_DISPLAY_NAME_A};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  EXPECT_EQ(rows->aRow[0].lpProps[0].ulPropTag, PR_RESOURCE_TYPE);
  EXPECT_EQ(rows->aRow[0].lpProps[0].Value.l, static_cast<LONG>(MAPI_SUBSYSTEM));
  EXPECT_STREQ(rows->aRow[0].lpProps[1].Value.lpszA, "Anna");
}

TEST_F(SessionTest, TheIdentityOpensToTheUser) {
  ULONG size = 0;
  Block<ENTRYID> id;
  ASSERT_EQ(session->QueryIdentity(&size, receive(id)), S_OK);
  ComPtr<IMAPIProp> user;
  ULONG type = 0;
  ASSERT_EQ(session->OpenEntry(size, id.get(), nullptr, MAPI_BEST_ACCESS, &type, unknownOut(user)), S_OK);
  EXPECT_EQ(type, MAPI_MAILUSER);
  EXPECT_EQ(text(*user.Get(), PR_DISPLAY_NAME_W), L"Anna");
  EXPECT_EQ(text(*user.Get(), PR_EMAIL_ADDRESS_W), L"Anna");
  EXPECT_TRUE(text(*user.Get(), PR_ADDRTYPE_W).has_value());
  EXPECT_EQ(number(*user.Get(), PR_OBJECT_TYPE), static_cast<LONG>(MAPI_MAILUSER));
  EXPECT_FALSE(binary(*user.Get(), PR_SEARCH_KEY).empty());
  EXPECT_EQ(binary(*user.Get(), PR_ENTRYID).size(), size);
  EXPECT_EQ(binary(*user.Get(), PR_RECORD_KEY), binary(*user.Get(), PR_ENTRYID));
  SPropValue name = textValue(PR_DISPLAY_NAME_W, L"Eve");
  EXPECT_THAT(user->SetProps(1, &name, nullptr), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(SessionTest, AStoreOpensByItsEntryIdentifierAsWell) {
  const Bytes id = binary(*openStore(*session.Get(), L"Public").Get(), PR_ENTRYID);
  ComPtr<IMsgStore> store;
  ULONG type = 0;
  ASSERT_EQ(session->OpenEntry(static_cast<ULONG>(id.size()),
                               reinterpret_cast<LPENTRYID>(const_cast<unsigned char*>(id.data())), &IID_IMsgStore,
                               MAPI_BEST_ACCESS, &type, unknownOut(store)),
            S_OK);
  EXPECT_EQ(type, MAPI_STORE);
  EXPECT_EQ(text(*store.Get(), PR_DISPLAY_NAME_W), L"Public Folders");
}

TEST_F(SessionTest, AFolderOpensThroughTheSession) {
  auto subtree = openSubtree(*openStore(*session.Get(), L"Public").Get());
  const Bytes id = binary(*createFolder(*subtree.Get(), L"Daily").Get(), PR_ENTRYID);
  ComPtr<IMAPIFolder> found;
  ULONG type = 0;
  ASSERT_EQ(session->OpenEntry(static_cast<ULONG>(id.size()),
                               reinterpret_cast<LPENTRYID>(const_cast<unsigned char*>(id.data())), nullptr, 0, &type,
                               unknownOut(found)),
            S_OK);
  EXPECT_EQ(type, MAPI_FOLDER);
  EXPECT_EQ(text(*found.Get(), PR_DISPLAY_NAME_W), L"Daily");
}

TEST_F(SessionTest, AnEntryIdentifierOfAnotherProviderIsNotKnown) {
  Bytes foreign = patternBytes(56);
  ComPtr<IUnknown> object;
  ULONG type = 0;
  EXPECT_THAT(
      session->OpenEntry(56, reinterpret_cast<LPENTRYID>(foreign.data()), nullptr, 0, &type, object.GetAddressOf()),
      Gives(MAPI_E_UNKNOWN_ENTRYID));
  EXPECT_THAT(session->OpenEntry(0, nullptr, nullptr, 0, &type, object.GetAddressOf()), Gives(MAPI_E_INVALID_ENTRYID));
  ComPtr<IMsgStore> store;
  EXPECT_THAT(
      session->OpenMsgStore(0, 56, reinterpret_cast<LPENTRYID>(foreign.data()), nullptr, 0, store.GetAddressOf()),
      Gives(MAPI_E_UNKNOWN_ENTRYID));
  auto ours = openStore(*session.Get(), L"Public");
  EXPECT_THAT(
      ours->OpenEntry(56, reinterpret_cast<LPENTRYID>(foreign.data()), nullptr, 0, &type, object.GetAddressOf()),
      Gives(MAPI_E_UNKNOWN_ENTRYID));
  Bytes cut = binary(*ours.Get(), PR_ENTRYID);
  for (const ULONG size : {55u, 20u, 19u, 4u, 1u}) {
    EXPECT_THAT(
        session->OpenEntry(size, reinterpret_cast<LPENTRYID>(cut.data()), nullptr, 0, &type, object.GetAddressOf()),
        Gives(MAPI_E_INVALID_ENTRYID))
        << size;
  }
}

TEST_F(SessionTest, AnotherProfilesMailboxIsNotFound) {
  createProfile(L"Bernd", L"secret");
  ComPtr<IMAPISession> bernd;
  ASSERT_EQ(mapi().logonEx(0, const_cast<LPTSTR>(L"Bernd"), const_cast<LPTSTR>(L"secret"), MAPI_UNICODE,
                           bernd.GetAddressOf()),
            S_OK);
  Bytes id = binary(*openStore(*bernd.Get(), L"Mailbox").Get(), PR_ENTRYID);
  ComPtr<IMsgStore> store;
  EXPECT_THAT(session->OpenMsgStore(0, static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()), nullptr,
                                    0, store.GetAddressOf()),
              Gives(MAPI_E_NOT_FOUND));
}

TEST_F(SessionTest, OpenMsgStoreKnowsItsInterfaceAlone) {
  Bytes id = binary(*openStore(*session.Get(), L"Public").Get(), PR_ENTRYID);
  ComPtr<IMsgStore> store;
  EXPECT_THAT(session->OpenMsgStore(0, static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()),
                                    &IID_IMAPIFolder, 0, store.GetAddressOf()),
              Gives(MAPI_E_INTERFACE_NOT_SUPPORTED));
}

TEST_F(SessionTest, EntryIdentifiersCompareByObject) {
  Bytes first = binary(*openStore(*session.Get(), L"Public").Get(), PR_ENTRYID);
  Bytes second = binary(*openStore(*session.Get(), L"Mailbox").Get(), PR_ENTRYID);
  ULONG equal = 7;
  const auto size = static_cast<ULONG>(first.size());
  EXPECT_EQ(session->CompareEntryIDs(size, reinterpret_cast<LPENTRYID>(first.data()), size,
                                     reinterpret_cast<LPENTRYID>(first.data()), 0, &equal),
            S_OK);
  EXPECT_EQ(equal, 1u);
  EXPECT_EQ(session->CompareEntryIDs(size, reinterpret_cast<LPENTRYID>(first.data()), size,
                                     reinterpret_cast<LPENTRYID>(second.data()), 0, &equal),
            S_OK);
  EXPECT_EQ(equal, 0u);
  EXPECT_THAT(session->CompareEntryIDs(3, reinterpret_cast<LPENTRYID>(first.data()), size,
                                       reinterpret_cast<LPENTRYID>(second.data()), 0, &equal),
              Gives(MAPI_E_INVALID_ENTRYID));
}

TEST_F(SessionTest, AfterLogoffTheSessionHasEndedButItsObjectsLiveOn) {
  auto subtree = openSubtree(*openStore(*session.Get(), L"Public").Get());
  EXPECT_EQ(session->Logoff(0, 0, 0), S_OK);
  ComPtr<IMAPITable> table;
  EXPECT_THAT(session->GetMsgStoresTable(0, table.GetAddressOf()), Gives(MAPI_E_END_OF_SESSION));
  session.Reset();
  EXPECT_EQ(text(*createFolder(*subtree.Get(), L"Daily").Get(), PR_DISPLAY_NAME_W), L"Daily");
}

TEST_F(SessionTest, WhatIsNotSupportedSaysSo) {
  ComPtr<IAddrBook> book;
  EXPECT_THAT(session->OpenAddressBook(0, nullptr, 0, book.GetAddressOf()), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(session->Advise(0, nullptr, 0, nullptr, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(session->Unadvise(1), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(session->ShowForm(0, nullptr, nullptr, nullptr, 0, nullptr, 0, 0, 0, 0, nullptr),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(session->SetDefaultStore(0, 0, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(session->QueryDefaultMessageOpt(nullptr, 0, nullptr, nullptr), Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(SessionTest, NullWhereAnAnswerGoesIsAnInvalidParameter) {
  EXPECT_THAT(session->GetMsgStoresTable(0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(session->GetStatusTable(0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(session->QueryIdentity(nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(session->OpenEntry(0, nullptr, nullptr, 0, nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(mapi().logonEx(0, nullptr, nullptr, 0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(SessionTest, TheStatusRowHasAnIdentifier) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(session->GetStatusTable(0, table.GetAddressOf()), S_OK);
  Block<SPropTagArray> columns;
  ASSERT_EQ(table->QueryColumns(0, receive(columns)), S_OK);
  EXPECT_THAT(std::vector<ULONG>(columns->aulPropTag, columns->aulPropTag + columns->cValues),
              testing::Contains(PR_ENTRYID));
  Tags asked{PR_ENTRYID};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), asked, nullptr, nullptr, 0, receive(rows)), S_OK);
  EXPECT_FALSE(bytesOf(rows->aRow[0].lpProps[0]).empty());
}

TEST_F(SessionTest, AStoreOpenedWithBestAccessIsForWriting) {
  for (const ULONG flags : {ULONG{MAPI_BEST_ACCESS}, ULONG{MDB_WRITE}, ULONG{MDB_WRITE | MAPI_BEST_ACCESS}}) {
    auto store = openStore(*session.Get(), L"Public", flags);
    EXPECT_EQ(number(*store.Get(), PR_ACCESS_LEVEL), static_cast<LONG>(MAPI_MODIFY)) << flags;
    const std::wstring name = L"Made with " + std::to_wstring(flags);
    createFolder(*openSubtree(*store.Get()).Get(), name.c_str());
  }
  auto readOnly = openStore(*session.Get(), L"Public", 0);
  EXPECT_EQ(number(*readOnly.Get(), PR_ACCESS_LEVEL), 0);
  ComPtr<IMAPITable> table;
  ASSERT_EQ(openSubtree(*openStore(*logon().Get(), L"Public").Get())->GetHierarchyTable(0, table.GetAddressOf()), S_OK);
  EXPECT_EQ(column(*table.Get(), PR_DISPLAY_NAME_W).size(), 3u);
}

TEST_F(SessionTest, ASharedSessionIsGivenToWhoeverNamesNoProfile) {
  createProfile(L"Bernd", L"secret");
  const auto logonWithoutName = [](ULONG flags, ComPtr<IMAPISession>& given) {
    return mapi().logonEx(0, nullptr, nullptr, flags | MAPI_EXTENDED, given.ReleaseAndGetAddressOf());
  };
  ComPtr<IMAPISession> first, second, third;
  EXPECT_THAT(logonWithoutName(0, second), Gives(MAPI_E_LOGON_FAILED)) << "nobody has offered a session";
  ASSERT_THAT(mapi().logonEx(0, const_cast<LPTSTR>(L"Bernd"), const_cast<LPTSTR>(L"secret"),
                             MAPI_UNICODE | MAPI_EXTENDED | MAPI_ALLOW_OTHERS, first.GetAddressOf()),
              Gives(S_OK));
  ASSERT_THAT(logonWithoutName(0, second), Gives(S_OK));
  EXPECT_NE(openStore(*second.Get(), L"Mailbox - Bernd"), nullptr);
  ASSERT_THAT(logonWithoutName(MAPI_USE_DEFAULT, third), Gives(S_OK));
  EXPECT_NE(openStore(*third.Get(), L"Mailbox - Bernd"), nullptr);
  EXPECT_NE(openStore(*logon().Get(), L"Mailbox - Anna"), nullptr) << "who names a profile gets it";
  EXPECT_THAT(logonWithoutName(MAPI_NEW_SESSION, third), Gives(MAPI_E_LOGON_FAILED));
  // It lasts as long as one of its sessions.
  ASSERT_EQ(first->Logoff(0, 0, 0), S_OK);
  EXPECT_NE(openStore(*second.Get(), L"Mailbox - Bernd"), nullptr);
  ASSERT_THAT(logonWithoutName(0, first), Gives(S_OK));
  ASSERT_EQ(first->Logoff(0, 0, 0), S_OK);
  second.Reset();
  EXPECT_THAT(logonWithoutName(0, third), Gives(MAPI_E_LOGON_FAILED));
}

TEST_F(SessionTest, ASessionOfOnesOwnIsNotShared) {
  ComPtr<IMAPISession> other;
  EXPECT_THAT(mapi().logonEx(0, nullptr, nullptr, MAPI_EXTENDED, other.GetAddressOf()), Gives(MAPI_E_LOGON_FAILED));
}

}  // namespace
