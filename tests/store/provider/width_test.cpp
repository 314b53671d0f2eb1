// Every method with an argument that the published 64-bit interface declares as ULONG_PTR, called through its slot with
// all 64 bits set, as callers with those headers may do.
#include "store_fixture.h"

namespace {

constexpr ULONG_PTR allBits = ~ULONG_PTR{0};
void* const null = nullptr;

// A method by its slot of the virtual table.
template <class... Arguments>
HRESULT callSlot(IUnknown* object, std::size_t slot, Arguments... arguments) {
  using Method = HRESULT(STDMETHODCALLTYPE*)(IUnknown*, Arguments...);
  return reinterpret_cast<Method>((*reinterpret_cast<void***>(object))[slot])(object, arguments...);
}

// IUnknown has 3 slots; the slots are those of the published interfaces.
namespace Prop {
constexpr std::size_t copyTo = 10, copyProps = 11;
}
namespace Table {
constexpr std::size_t advise = 4, unadvise = 5, seekRow = 10, findRow = 13, createBookmark = 15, freeBookmark = 16,
                      setCollapseState = 25;
}
namespace Store {
constexpr std::size_t advise = 14, unadvise = 15;
}
namespace Folder {
constexpr std::size_t copyMessages = 20, deleteMessages = 21, copyFolder = 23, deleteFolder = 24, setReadFlags = 25,
                      emptyFolder = 29;
}
namespace Message {
constexpr std::size_t deleteAttach = 17;
}
namespace Session {
constexpr std::size_t openMsgStore = 5, openAddressBook = 6, advise = 11, unadvise = 12, messageOptions = 13,
                      logoff = 17, showForm = 20, prepareForm = 21;
}
namespace Profiles {
constexpr std::size_t createProfile = 5, copyProfile = 8, renameProfile = 9, adminServices = 11;
}
namespace Services {
constexpr std::size_t createMsgService = 5, copyMsgService = 7, configureMsgService = 9;
}

struct WidthTest : FolderTest {};

TEST_F(WidthTest, ABookmarkIsWrittenWhole) {
  post(*reports.Get(), L"one");
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  struct {
    ULONG_PTR place, behind;
  } memory{allBits, allBits};
  ASSERT_THAT(callSlot(table.Get(), Table::createBookmark, &memory.place), Gives(S_OK));
  EXPECT_EQ(memory.place >> 32, 0u);
  EXPECT_EQ(memory.behind, allBits);
  EXPECT_THAT(callSlot(table.Get(), Table::seekRow, memory.place, LONG{0}, null), Gives(S_OK));
  EXPECT_THAT(callSlot(table.Get(), Table::freeBookmark, memory.place), Gives(S_OK));
  EXPECT_THAT(callSlot(table.Get(), Table::freeBookmark, memory.place), Gives(MAPI_E_INVALID_BOOKMARK));
}

TEST_F(WidthTest, ABookmarkOfAllBitsIsNone) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  SRestriction any{};
  any.rt = RES_AND;
  EXPECT_THAT(callSlot(table.Get(), Table::seekRow, allBits, LONG{0}, null), Gives(MAPI_E_INVALID_BOOKMARK));
  EXPECT_THAT(callSlot(table.Get(), Table::findRow, &any, allBits, ULONG{0}), Gives(MAPI_E_INVALID_BOOKMARK));
  EXPECT_THAT(callSlot(table.Get(), Table::freeBookmark, allBits), Gives(MAPI_E_INVALID_BOOKMARK));
}

TEST_F(WidthTest, ConnectionsAreRefused) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  ULONG_PTR connection = allBits;
  EXPECT_THAT(callSlot(table.Get(), Table::advise, ULONG{0}, null, &connection), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(table.Get(), Table::unadvise, allBits), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(table.Get(), Table::setCollapseState, ULONG{0}, ULONG{0}, null, &connection),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(store.Get(), Store::advise, ULONG{0}, null, ULONG{0}, null, &connection),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(store.Get(), Store::unadvise, allBits), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(session.Get(), Session::advise, ULONG{0}, null, ULONG{0}, null, &connection),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(session.Get(), Session::unadvise, allBits), Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(WidthTest, WindowsOfFolders) {
  auto archive = createFolder(*reports.Get(), L"Archive");
  for (const wchar_t* subject : {L"one", L"two"}) post(*reports.Get(), subject);
  Entries list(messageIds(*reports.Get()));
  LPENTRYLIST entries = list;
  EXPECT_THAT(callSlot(reports.Get(), Folder::setReadFlags, entries, allBits, null, ULONG{CLEAR_READ_FLAG}),
              Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 2);
  EXPECT_THAT(callSlot(reports.Get(), Folder::copyMessages, entries, null, archive.Get(), allBits, null, ULONG{0}),
              Gives(S_OK));
  EXPECT_EQ(number(*archive.Get(), PR_CONTENT_COUNT), 2);
  EXPECT_THAT(callSlot(reports.Get(), Folder::deleteMessages, entries, allBits, null, ULONG{0}), Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), 0);
  EXPECT_THAT(callSlot(archive.Get(), Folder::emptyFolder, allBits, null, ULONG{0}), Gives(S_OK));
  EXPECT_EQ(number(*archive.Get(), PR_CONTENT_COUNT), 0);
  Bytes id = binary(*archive.Get(), PR_ENTRYID);
  const auto size = static_cast<ULONG>(id.size());
  const wchar_t* name = L"Copy";
  EXPECT_THAT(callSlot(reports.Get(), Folder::copyFolder, size, id.data(), null, reports.Get(), name, allBits, null,
                       ULONG{MAPI_UNICODE}),
              Gives(S_OK));
  EXPECT_THAT(callSlot(reports.Get(), Folder::deleteFolder, size, id.data(), allBits, null, ULONG{0}), Gives(S_OK));
}

TEST_F(WidthTest, WindowsOfObjects) {
  ComPtr<IMessage> source, target;
  ASSERT_EQ(reports->CreateMessage(nullptr, 0, source.GetAddressOf()), S_OK);
  ASSERT_EQ(reports->CreateMessage(nullptr, 0, target.GetAddressOf()), S_OK);
  SPropValue subject = textValue(PR_SUBJECT_W, L"one");
  ASSERT_EQ(source->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_THAT(callSlot(source.Get(), Prop::copyTo, ULONG{0}, null, null, allBits, null, &IID_IMessage, target.Get(),
                       ULONG{0}, null),
              Gives(S_OK));
  EXPECT_EQ(text(*target.Get(), PR_SUBJECT_W), L"one");
  Tags tags{PR_SUBJECT_W};
  LPSPropTagArray named = tags;
  EXPECT_THAT(
      callSlot(source.Get(), Prop::copyProps, named, allBits, null, &IID_IMessage, target.Get(), ULONG{0}, null),
      Gives(S_OK));
  ComPtr<IAttach> attachment;
  ULONG index = 9;
  ASSERT_EQ(source->CreateAttach(nullptr, 0, &index, attachment.GetAddressOf()), S_OK);
  ASSERT_EQ(attachment->SaveChanges(0), S_OK);
  EXPECT_THAT(callSlot(source.Get(), Message::deleteAttach, index, allBits, null, ULONG{0}), Gives(S_OK));
}

TEST_F(WidthTest, WindowsOfSessionsAndProfiles) {
  Bytes id = binary(*store.Get(), PR_ENTRYID);
  const auto size = static_cast<ULONG>(id.size());
  ComPtr<IMsgStore> opened;
  EXPECT_THAT(
      callSlot(session.Get(), Session::openMsgStore, allBits, size, id.data(), null, ULONG{0}, opened.GetAddressOf()),
      Gives(S_OK));
  ComPtr<IUnknown> book;
  EXPECT_THAT(callSlot(session.Get(), Session::openAddressBook, allBits, null, ULONG{0}, book.GetAddressOf()),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(session.Get(), Session::messageOptions, allBits, ULONG{0}, null, null),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(session.Get(), Session::showForm, allBits, null, null, null, allBits, null, ULONG{0}, ULONG{0},
                       ULONG{0}, ULONG{0}, null),
              Gives(MAPI_E_NO_SUPPORT));
  ULONG_PTR token = allBits;
  EXPECT_THAT(callSlot(session.Get(), Session::prepareForm, null, null, &token), Gives(MAPI_E_NO_SUPPORT));
  ComPtr<IProfAdmin> admin;
  ASSERT_EQ(mapi().adminProfiles(0, admin.GetAddressOf()), S_OK);
  const wchar_t *anna = L"Anna", *bernd = L"Bernd", *copy = L"Copy", *renamed = L"Renamed";
  constexpr ULONG wideText = MAPI_UNICODE;
  EXPECT_THAT(callSlot(admin.Get(), Profiles::createProfile, bernd, null, allBits, wideText), Gives(S_OK));
  EXPECT_THAT(callSlot(admin.Get(), Profiles::copyProfile, bernd, null, copy, allBits, wideText), Gives(S_OK));
  EXPECT_THAT(callSlot(admin.Get(), Profiles::renameProfile, copy, null, renamed, allBits, wideText), Gives(S_OK));
  ComPtr<IMsgServiceAdmin> services;
  EXPECT_THAT(callSlot(admin.Get(), Profiles::adminServices, anna, null, allBits, wideText, services.GetAddressOf()),
              Gives(S_OK));
  const wchar_t* ours = L"FENDREL";
  EXPECT_THAT(callSlot(services.Get(), Services::createMsgService, ours, null, allBits, wideText), Gives(S_OK));
  EXPECT_THAT(callSlot(services.Get(), Services::copyMsgService, null, null, null, null, null, allBits, ULONG{0}),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(services.Get(), Services::configureMsgService, null, allBits, ULONG{0}, ULONG{0}, null),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(callSlot(session.Get(), Session::logoff, allBits, ULONG{0}, ULONG{0}), Gives(S_OK));
  ComPtr<IMAPISession> again;
  EXPECT_THAT(mapi().logonEx(allBits, const_cast<LPTSTR>(anna), nullptr, MAPI_UNICODE, again.GetAddressOf()),
              Gives(S_OK));
}

}  // namespace
