// Callers whose headers have ULONG_PTR where ours have ULONG reach the same methods: what stands in the upper half of
// such an argument's slot is not read.
#include "store_fixture.h"

namespace {

constexpr ULONG_PTR garbage = 0xDEADBEEF00000000;

// A method by its slot of the virtual table.
template <class... Arguments>
HRESULT callSlot(IUnknown* object, std::size_t slot, Arguments... arguments) {
  using Method = HRESULT(STDMETHODCALLTYPE*)(IUnknown*, Arguments...);
  return reinterpret_cast<Method>((*reinterpret_cast<void***>(object))[slot])(object, arguments...);
}

// IUnknown has 3 slots; the slots below are those of the published interfaces.
constexpr std::size_t tableSeekRow = 10, tableCreateBookmark = 15, tableFreeBookmark = 16;
constexpr std::size_t propCopyTo = 10, storeUnadvise = 15, folderDeleteMessages = 21;

struct WidthTest : FolderTest {};

TEST_F(WidthTest, BookmarksOf64Bits) {
  post(*reports.Get(), L"one");
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  ULONG_PTR place = garbage;
  ASSERT_THAT(callSlot(table.Get(), tableCreateBookmark, &place), Gives(S_OK));
  EXPECT_THAT(callSlot(table.Get(), tableSeekRow, place, LONG{0}, static_cast<LONG*>(nullptr)), Gives(S_OK));
  EXPECT_THAT(callSlot(table.Get(), tableFreeBookmark, place), Gives(S_OK));
  EXPECT_THAT(callSlot(table.Get(), tableFreeBookmark, place), Gives(MAPI_E_INVALID_BOOKMARK));
}

TEST_F(WidthTest, WindowsOf64Bits) {
  post(*reports.Get(), L"one");
  Bytes id = binary(*openFirst(*reports.Get()).Get(), PR_ENTRYID);
  SBinary entry{static_cast<ULONG>(id.size()), id.data()};
  ENTRYLIST list{1, &entry};
  EXPECT_THAT(callSlot(reports.Get(), folderDeleteMessages, &list, garbage, static_cast<void*>(nullptr), ULONG{0}),
              Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), 0);
}

TEST_F(WidthTest, ConnectionsOf64Bits) {
  EXPECT_THAT(callSlot(store.Get(), storeUnadvise, garbage | 1), Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(WidthTest, CopyToOf64Bits) {
  void* nothing = nullptr;
  EXPECT_THAT(callSlot(reports.Get(), propCopyTo, ULONG{0}, nothing, nothing, garbage, nothing, nothing, nothing,
                       ULONG{0}, nothing),
              Gives(MAPI_E_NO_SUPPORT));
}

}  // namespace
