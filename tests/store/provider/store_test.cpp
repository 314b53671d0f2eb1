// IMsgStore.
#include "store_fixture.h"

namespace {

struct MessageStoreTest : StoreTest {
  ComPtr<IMAPISession> session = logon();
  ComPtr<IMsgStore> mailbox = openStore(*session.Get(), L"Mailbox");
  ComPtr<IMsgStore> publicStore = openStore(*session.Get(), L"Public");
};

LPENTRYID entryId(Bytes& bytes) { return reinterpret_cast<LPENTRYID>(bytes.data()); }

TEST_F(MessageStoreTest, TheMailboxHasAllItsStandardFolders) {
  const LONG mask = number(*mailbox.Get(), PR_VALID_FOLDER_MASK).value();
  EXPECT_EQ(mask, static_cast<LONG>(FOLDER_IPM_SUBTREE_VALID | FOLDER_IPM_INBOX_VALID | FOLDER_IPM_OUTBOX_VALID |
                                    FOLDER_IPM_WASTEBASKET_VALID | FOLDER_IPM_SENTMAIL_VALID |
                                    FOLDER_COMMON_VIEWS_VALID | FOLDER_FINDER_VALID));
}

TEST_F(MessageStoreTest, ThePublicStoreHasNoInbox) {
  const LONG mask = number(*publicStore.Get(), PR_VALID_FOLDER_MASK).value();
  EXPECT_EQ(mask & static_cast<LONG>(FOLDER_IPM_INBOX_VALID), 0);
  EXPECT_NE(mask & static_cast<LONG>(FOLDER_IPM_SUBTREE_VALID), 0);
  ULONG size = 0;
  Block<ENTRYID> id;
  EXPECT_THAT(publicStore->GetReceiveFolder(nullptr, 0, &size, receive(id), nullptr), Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(MessageStoreTest, MaskAndCommonViewsComeInOneCall) {
  Tags tags{PR_VALID_FOLDER_MASK, PR_COMMON_VIEWS_ENTRYID};
  ULONG count = 0;
  Block<SPropValue> values;
  ASSERT_EQ(mailbox->GetProps(tags, 0, &count, receive(values)), S_OK);
  ASSERT_EQ(count, 2u);
  ASSERT_EQ(values.get()[1].ulPropTag, PR_COMMON_VIEWS_ENTRYID);
  Bytes id = bytesOf(values.get()[1]);
  ComPtr<IMAPIFolder> views;
  ULONG type = 0;
  ASSERT_EQ(mailbox->OpenEntry(static_cast<ULONG>(id.size()), entryId(id), nullptr, MAPI_BEST_ACCESS, &type,
                               unknownOut(views)),
            S_OK);
  EXPECT_EQ(type, MAPI_FOLDER);
  ComPtr<IMessage> message;
  EXPECT_THAT(views->CreateMessage(nullptr, MAPI_ASSOCIATED, message.GetAddressOf()), Gives(S_OK));
}

TEST_F(MessageStoreTest, StoresKnowTheirKind) {
  EXPECT_EQ(text(*mailbox.Get(), PR_DISPLAY_NAME_W), L"Mailbox - Anna");
  EXPECT_EQ(number(*mailbox.Get(), PR_DEFAULT_STORE), 1);
  EXPECT_EQ(number(*publicStore.Get(), PR_DEFAULT_STORE), 0);
  EXPECT_EQ(number(*mailbox.Get(), PR_OBJECT_TYPE), static_cast<LONG>(MAPI_STORE));
  EXPECT_NE(binary(*mailbox.Get(), PR_RECORD_KEY), binary(*publicStore.Get(), PR_RECORD_KEY));
  EXPECT_EQ(binary(*mailbox.Get(), PR_MDB_PROVIDER), binary(*publicStore.Get(), PR_MDB_PROVIDER));
  EXPECT_NE(number(*publicStore.Get(), PR_STORE_SUPPORT_MASK).value() & static_cast<LONG>(STORE_PUBLIC_FOLDERS), 0);
  EXPECT_NE(number(*mailbox.Get(), PR_STORE_SUPPORT_MASK).value() & static_cast<LONG>(STORE_CREATE_OK), 0);
  EXPECT_EQ(number(*mailbox.Get(), PR_STORE_SUPPORT_MASK).value() & static_cast<LONG>(STORE_OLE_OK), 0)
      << "OLE attachments are refused";
}

TEST_F(MessageStoreTest, NoIdentifierOpensTheRootFolder) {
  ComPtr<IMAPIFolder> root;
  ULONG type = 0;
  ASSERT_EQ(mailbox->OpenEntry(0, nullptr, nullptr, 0, &type, unknownOut(root)), S_OK);
  EXPECT_EQ(number(*root.Get(), PR_FOLDER_TYPE), static_cast<LONG>(FOLDER_ROOT));
  EXPECT_EQ(binary(*root.Get(), PR_PARENT_ENTRYID), binary(*root.Get(), PR_ENTRYID));
}

TEST_F(MessageStoreTest, MessagesAreReceivedInTheInbox) {
  ULONG size = 0;
  Block<ENTRYID> id;
  Block<wchar_t> messageClass;
  ASSERT_EQ(mailbox->GetReceiveFolder(const_cast<LPTSTR>(L"IPM.Note"), MAPI_UNICODE, &size, receive(id),
                                      receive(messageClass)),
            S_OK);
  EXPECT_STREQ(messageClass.get(), L"");
  ComPtr<IMAPIFolder> inbox;
  ULONG type = 0;
  ASSERT_EQ(mailbox->OpenEntry(size, id.get(), nullptr, 0, &type, unknownOut(inbox)), S_OK);
  EXPECT_EQ(text(*inbox.Get(), PR_DISPLAY_NAME_W), L"Inbox");
}

TEST_F(MessageStoreTest, AnIdentifierOfTheOtherStoreIsInvalidHere) {
  Bytes id = binary(*openSubtree(*publicStore.Get()).Get(), PR_ENTRYID);
  ComPtr<IUnknown> object;
  ULONG type = 0;
  EXPECT_THAT(mailbox->OpenEntry(static_cast<ULONG>(id.size()), entryId(id), nullptr, 0, &type, object.GetAddressOf()),
              Gives(MAPI_E_INVALID_ENTRYID));
}

TEST_F(MessageStoreTest, AnIdentifierOfNothingIsNotFound) {
  Bytes id = binary(*openSubtree(*publicStore.Get()).Get(), PR_ENTRYID);
  id[45] ^= 0xFF;
  ComPtr<IUnknown> object;
  ULONG type = 0;
  EXPECT_THAT(
      publicStore->OpenEntry(static_cast<ULONG>(id.size()), entryId(id), nullptr, 0, &type, object.GetAddressOf()),
      Gives(MAPI_E_NOT_FOUND));
}

TEST_F(MessageStoreTest, TheInterfaceMustSuitTheObject) {
  Bytes id = binary(*openSubtree(*publicStore.Get()).Get(), PR_ENTRYID);
  ComPtr<IUnknown> object;
  ULONG type = 0;
  const auto size = static_cast<ULONG>(id.size());
  EXPECT_THAT(publicStore->OpenEntry(size, entryId(id), &IID_IMessage, 0, &type, object.GetAddressOf()),
              Gives(MAPI_E_INTERFACE_NOT_SUPPORTED));
  EXPECT_THAT(publicStore->OpenEntry(size, entryId(id), &IID_IMAPIContainer, 0, &type, object.GetAddressOf()),
              Gives(S_OK));
  EXPECT_THAT(publicStore->OpenEntry(size, entryId(id), &IID_IMAPIProp, 0, &type, object.ReleaseAndGetAddressOf()),
              Gives(S_OK));
}

TEST_F(MessageStoreTest, AStoreOpenedWithoutWriteCannotBeChanged) {
  auto readOnly = openStore(*session.Get(), L"Public", 0);
  auto subtree = openSubtree(*readOnly.Get());
  ComPtr<IMAPIFolder> created;
  EXPECT_THAT(subtree->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"x"), nullptr, nullptr, MAPI_UNICODE,
                                    created.GetAddressOf()),
              Gives(MAPI_E_NO_ACCESS));
  EXPECT_EQ(number(*subtree.Get(), PR_ACCESS), static_cast<LONG>(MAPI_ACCESS_READ));
  Bytes id = binary(*subtree.Get(), PR_ENTRYID);
  ULONG type = 0;
  EXPECT_THAT(
      readOnly->OpenEntry(static_cast<ULONG>(id.size()), entryId(id), nullptr, MAPI_MODIFY, &type, unknownOut(created)),
      Gives(MAPI_E_NO_ACCESS));
}

TEST_F(MessageStoreTest, AStoresOwnPropertiesCanBeSetButNotTheComputedOnes) {
  SPropValue values[] = {textValue(PR_COMMENT_W, L"for all"), textValue(PR_DISPLAY_NAME_W, L"Mine")};
  Block<SPropProblemArray> problems;
  ASSERT_EQ(publicStore->SetProps(2, values, receive(problems)), S_OK);
  ASSERT_NE(problems, nullptr);
  ASSERT_EQ(problems->cProblem, 1u);
  EXPECT_EQ(problems->aProblem[0].ulIndex, 1u);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_COMPUTED));
  EXPECT_EQ(text(*openStore(*session.Get(), L"Public").Get(), PR_COMMENT_W), L"for all");
}

TEST_F(MessageStoreTest, WhatIsNotSupportedSaysSo) {
  EXPECT_THAT(mailbox->Advise(0, nullptr, 0, nullptr, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(mailbox->Unadvise(1), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(mailbox->SetReceiveFolder(nullptr, 0, 0, nullptr), Gives(MAPI_E_NO_SUPPORT));
  ComPtr<IMAPITable> table;
  EXPECT_THAT(publicStore->GetReceiveFolderTable(0, table.GetAddressOf()), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(mailbox->GetReceiveFolderTable(0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(mailbox->AbortSubmit(0, nullptr, 0), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(mailbox->GetOutgoingQueue(0, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(mailbox->SetLockState(nullptr, 0), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(mailbox->FinishedMsg(0, 0, nullptr), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(mailbox->NotifyNewMail(nullptr), Gives(MAPI_E_NO_SUPPORT));
  ULONG flags = 0;
  EXPECT_THAT(mailbox->StoreLogoff(&flags), Gives(S_OK));
}

TEST_F(MessageStoreTest, TheReceiveFolderTableHasTheInboxAlone) {
  ComPtr<IMAPITable> table;
  ASSERT_THAT(mailbox->GetReceiveFolderTable(MAPI_UNICODE, table.GetAddressOf()), Gives(S_OK));
  Tags columns{PR_MESSAGE_CLASS_W, PR_ENTRYID};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_STREQ(rows->aRow[0].lpProps[0].Value.lpszW, L"");
  ULONG size = 0;
  Block<ENTRYID> id;
  ASSERT_EQ(mailbox->GetReceiveFolder(nullptr, 0, &size, receive(id), nullptr), S_OK);
  const auto* bytes = reinterpret_cast<const unsigned char*>(id.get());
  EXPECT_EQ(bytesOf(rows->aRow[0].lpProps[1]), Bytes(bytes, bytes + size));
}

TEST_F(MessageStoreTest, MultiValuedPropertiesArePromisedAndKept) {
  EXPECT_NE(number(*mailbox.Get(), PR_STORE_SUPPORT_MASK).value() & static_cast<LONG>(STORE_MV_PROPS_OK), 0);
  LONG longs[] = {1, -2};
  SPropValue value{};
  value.ulPropTag = PROP_TAG(PT_MV_LONG, 0x6650);
  value.Value.MVl = {2, longs};
  ASSERT_EQ(mailbox->SetProps(1, &value, nullptr), S_OK);
  Block<SPropValue> found;
  ASSERT_EQ(mapi().hrGetOneProp(openStore(*logon().Get(), L"Mailbox").Get(), value.ulPropTag, receive(found)), S_OK);
  ASSERT_EQ(found->Value.MVl.cValues, 2u);
  EXPECT_EQ(found->Value.MVl.lpl[1], -2);
}

struct LastErrorTest : MessageStoreTest {
  static Block<MAPIERROR> lastError(IMAPIProp& object, HRESULT result, ULONG flags = MAPI_UNICODE) {
    Block<MAPIERROR> error;
    EXPECT_EQ(object.GetLastError(result, flags, receive(error)), S_OK);
    return error;
  }
  static std::wstring words(const MAPIERROR& error) { return reinterpret_cast<const wchar_t*>(error.lpszError); }
};

TEST_F(LastErrorTest, TheStoresLastWordsAreTold) {
  auto subtree = openSubtree(*publicStore.Get());
  createFolder(*subtree.Get(), L"Daily");
  ComPtr<IMAPIFolder> again;
  const HRESULT refused = subtree->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"Daily"), nullptr, nullptr,
                                                MAPI_UNICODE, again.GetAddressOf());
  ASSERT_THAT(refused, Gives(MAPI_E_COLLISION));
  const auto error = lastError(*subtree.Get(), refused);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->ulVersion, MAPI_ERROR_VERSION);
  EXPECT_THAT(words(*error), testing::HasSubstr(L"'Daily'"));
  const auto narrow = lastError(*subtree.Get(), refused, 0);
  EXPECT_THAT(reinterpret_cast<const char*>(narrow->lpszError), testing::HasSubstr("'Daily'"));
  EXPECT_THAT(reinterpret_cast<const char*>(narrow->lpszComponent), testing::HasSubstr("Fendrel"));
}

TEST_F(LastErrorTest, WhereTheStoreSaidNothingThereIsNothingToTell) {
  auto subtree = openSubtree(*publicStore.Get());
  EXPECT_EQ(lastError(*subtree.Get(), MAPI_E_COLLISION), nullptr) << "nothing has failed";
  createFolder(*subtree.Get(), L"Daily");
  ComPtr<IMAPIFolder> again;
  ASSERT_THAT(subtree->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"Daily"), nullptr, nullptr, MAPI_UNICODE,
                                    again.GetAddressOf()),
              Gives(MAPI_E_COLLISION));
  EXPECT_EQ(lastError(*subtree.Get(), S_OK), nullptr);
  EXPECT_EQ(lastError(*subtree.Get(), MAPI_E_INVALID_PARAMETER), nullptr) << "another failure's words";
  EXPECT_THAT(subtree->GetLastError(MAPI_E_COLLISION, 0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  ComPtr<IMAPITable> table;
  ASSERT_EQ(subtree->GetHierarchyTable(0, table.GetAddressOf()), S_OK);
  LPMAPIERROR told = nullptr;
  ASSERT_EQ(table->GetLastError(MAPI_E_COLLISION, MAPI_UNICODE, &told), S_OK);
  EXPECT_NE(told, nullptr) << "tables and sessions repeat the store's words as well";
  mapi().freeBuffer(told);
}

}  // namespace
