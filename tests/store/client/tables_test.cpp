// Tables walked in all directions: whole, backwards, by fraction, bookmark and search, sorted by several columns.
#include <gmock/gmock.h>

#include <algorithm>
#include <ranges>

#include "conditions.h"
#include "posted_reports.h"

namespace client {
namespace {

using testing::ElementsAreArray;

constexpr const wchar_t* daily = L"Public Folders@Reports@Daily";

class PostedTables : public testing::Test {
 protected:
  void SetUp() override {
    const ComPtr<IMAPIFolder> folder = session.openFolder(daily);
    ASSERT_TRUE(folder);
    table = contents(*folder.Get(), MAPI_UNICODE);
    ASSERT_TRUE(table);
    Tags columns{PR_SUBJECT_W};
    ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
    all = texts(queryAll(*table.Get(), {}), 0);
    ASSERT_EQ(all.size(), reportsIn(daily).size());
    ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
  }

  std::vector<std::wstring> query(LONG count, ULONG flags = 0) {
    return texts(queryRows(*table.Get(), count, flags), 0);
  }

  LONG seek(BOOKMARK origin, LONG rows) {
    LONG moved = 0xBAD;
    EXPECT_EQ(table->SeekRow(origin, rows, &moved), S_OK);
    return moved;
  }

  std::vector<std::wstring> part(std::size_t begin, std::size_t end) const {
    return {all.begin() + static_cast<std::ptrdiff_t>(begin), all.begin() + static_cast<std::ptrdiff_t>(end)};
  }

  Session session{profileName};
  ComPtr<IMAPITable> table;
  std::vector<std::wstring> all;  // in the table's own order
};

TEST_F(PostedTables, AllRowsAreThereOnceAndAtMostAsManyAsWanted) {
  std::vector<std::wstring> names;
  for (const PostedReport& report : reportsIn(daily)) names.push_back(report.name);
  EXPECT_THAT(all, testing::UnorderedElementsAreArray(names));
  SRowSet* rows = nullptr;
  const auto count = static_cast<LONG>(all.size());
  EXPECT_EQ(library().hrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, count, &rows), S_OK);
  EXPECT_EQ(rowsOf(Owned<SRowSet>(rows).get()).size(), all.size());
  rows = nullptr;
  EXPECT_EQ(library().hrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, count - 1, &rows), MAPI_E_TABLE_TOO_BIG);
  EXPECT_EQ(rows, nullptr);
}

TEST_F(PostedTables, AreReadBackwards) {
  const auto count = static_cast<LONG>(all.size());
  EXPECT_EQ(seek(BOOKMARK_END, -2), -2);
  EXPECT_EQ(position(*table.Get()), all.size() - 2);
  EXPECT_THAT(query(10), ElementsAreArray(part(all.size() - 2, all.size())));
  EXPECT_THAT(query(10), testing::IsEmpty()) << "at the end";
  // The last three, read backwards but returned in forward order; the cursor is before or after them.
  EXPECT_THAT(query(-3, TBL_NOADVANCE), ElementsAreArray(part(all.size() - 3, all.size())));
  EXPECT_EQ(position(*table.Get()), all.size() - 3);
  EXPECT_THAT(query(-2), ElementsAreArray(part(all.size() - 5, all.size() - 3)));
  EXPECT_EQ(position(*table.Get()), all.size() - 3);
  EXPECT_THAT(query(-1000, TBL_NOADVANCE), ElementsAreArray(part(0, all.size() - 3))) << "not beyond the beginning";
  EXPECT_THAT(query(-1), testing::IsEmpty());
  EXPECT_EQ(seek(BOOKMARK_CURRENT, count + 5), count) << "no further than the end";
  EXPECT_EQ(seek(BOOKMARK_CURRENT, -count - 5), -count);
  EXPECT_EQ(seek(BOOKMARK_BEGINNING, 3), 3);
  EXPECT_EQ(seek(BOOKMARK_CURRENT, -1), -1);
  EXPECT_THAT(query(1), ElementsAreArray(part(2, 3)));
  SRowSet* none = nullptr;
  EXPECT_EQ(table->QueryRows(0, 0, &none), MAPI_E_INVALID_PARAMETER);
}

TEST_F(PostedTables, AreSoughtByFractions) {
  for (ULONG row = 0; row < all.size(); ++row) {
    EXPECT_EQ(table->SeekRowApprox(row, static_cast<ULONG>(all.size())), S_OK);
    EXPECT_EQ(position(*table.Get()), row);
    EXPECT_THAT(query(1, TBL_NOADVANCE), ElementsAreArray(part(row, row + 1)));
  }
  EXPECT_EQ(table->SeekRowApprox(1, 1), S_OK);
  EXPECT_EQ(position(*table.Get()), all.size());
  EXPECT_EQ(table->SeekRowApprox(9, 3), S_OK) << "more than all is the end";
  EXPECT_EQ(position(*table.Get()), all.size());
  EXPECT_EQ(table->SeekRowApprox(1, 0), MAPI_E_INVALID_PARAMETER);
}

TEST_F(PostedTables, AreSoughtByBookmarks) {
  ULONG_PTR wide[2] = {};  // the published width of a bookmark
  seek(BOOKMARK_BEGINNING, 1);
  ASSERT_EQ(table->CreateBookmark(reinterpret_cast<BOOKMARK*>(&wide[0])), S_OK);
  seek(BOOKMARK_END, -1);
  ASSERT_EQ(table->CreateBookmark(reinterpret_cast<BOOKMARK*>(&wide[1])), S_OK);
  const auto second = static_cast<BOOKMARK>(wide[0]), last = static_cast<BOOKMARK>(wide[1]);
  EXPECT_EQ(seek(second, 0), 0);
  EXPECT_THAT(query(2), ElementsAreArray(part(1, 3)));
  EXPECT_EQ(seek(last, -2), -2);
  EXPECT_THAT(query(1), ElementsAreArray(part(all.size() - 3, all.size() - 2)));
  EXPECT_EQ(seek(second, -9), -1) << "rows to the beginning";
  EXPECT_EQ(table->FreeBookmark(second), S_OK);
  EXPECT_EQ(table->SeekRow(second, 0, nullptr), MAPI_E_INVALID_BOOKMARK);
  EXPECT_EQ(seek(last, 5), 1);
}

TEST_F(PostedTables, AreSearchedFromEverywhere) {
  Conditions is;
  const auto place = [&](const std::wstring& name) { return std::ranges::find(all, name) - all.begin(); };
  for (const std::wstring& name : all) {
    SRestriction wanted = is.text(RELOP_EQ, PR_SUBJECT_W, name);
    EXPECT_EQ(table->FindRow(&wanted, BOOKMARK_BEGINNING, 0), S_OK);
    EXPECT_EQ(position(*table.Get()), static_cast<ULONG>(place(name)));
    EXPECT_EQ(table->FindRow(&wanted, BOOKMARK_CURRENT, 0), S_OK) << "the row at the cursor counts";
    EXPECT_EQ(table->FindRow(&wanted, BOOKMARK_CURRENT, DIR_BACKWARD), MAPI_E_NOT_FOUND)
        << "backwards it begins before the cursor";
    EXPECT_EQ(position(*table.Get()), static_cast<ULONG>(place(name))) << "a search in vain moves nothing";
    EXPECT_EQ(table->FindRow(&wanted, BOOKMARK_END, DIR_BACKWARD), S_OK);
    EXPECT_EQ(position(*table.Get()), static_cast<ULONG>(place(name)));
    EXPECT_EQ(query(1), std::vector<std::wstring>{name});
    EXPECT_EQ(table->FindRow(&wanted, BOOKMARK_CURRENT, 0), MAPI_E_NOT_FOUND);
  }
  // The next of several in each direction.
  SRestriction binary = is.content(PR_SUBJECT_W, L".bin", FL_SUBSTRING | FL_IGNORECASE);
  std::vector<std::wstring> forward, backward;
  seek(BOOKMARK_BEGINNING, 0);
  while (table->FindRow(&binary, BOOKMARK_CURRENT, 0) == S_OK) forward.push_back(query(1).at(0));
  seek(BOOKMARK_END, 0);
  while (table->FindRow(&binary, BOOKMARK_CURRENT, DIR_BACKWARD) == S_OK)
    backward.push_back(query(1, TBL_NOADVANCE).at(0));
  EXPECT_EQ(forward.size(), 3u);
  std::ranges::reverse(backward);
  EXPECT_EQ(forward, backward);
}

TEST_F(PostedTables, SortByOneColumnInBothDirections) {
  SortOrder up{{PR_MESSAGE_SIZE, TABLE_SORT_ASCEND}}, down{{PR_MESSAGE_SIZE, TABLE_SORT_DESCEND}};
  const Rows rising = queryAll(*table.Get(), {PR_SUBJECT_W, PR_MESSAGE_SIZE}, nullptr, up);
  EXPECT_TRUE(std::ranges::is_sorted(rising, {}, [](const Row& row) { return row[1].number; }));
  Rows falling = queryAll(*table.Get(), {PR_SUBJECT_W, PR_MESSAGE_SIZE}, nullptr, down);
  std::ranges::reverse(falling);
  EXPECT_EQ(rising, falling) << "all sizes are different";
  SSortOrderSet* kept = nullptr;
  ASSERT_EQ(table->QuerySortOrder(&kept), S_OK);
  const Owned<SSortOrderSet> owner(kept);
  ASSERT_EQ(kept->cSorts, 1u);
  EXPECT_EQ(kept->aSort[0].ulPropTag, static_cast<ULONG>(PR_MESSAGE_SIZE));
  EXPECT_EQ(kept->aSort[0].ulOrder, static_cast<ULONG>(TABLE_SORT_DESCEND));
}

// Equal rows of the first column keep the order of the second, each column in its own direction.
TEST_F(PostedTables, SortBySeveralColumnsUpAndDown) {
  for (const ULONG first : {TABLE_SORT_ASCEND, TABLE_SORT_DESCEND}) {
    for (const ULONG second : {TABLE_SORT_ASCEND, TABLE_SORT_DESCEND}) {
      SortOrder order{{PR_MESSAGE_CLASS_W, first}, {PR_IMPORTANCE, TABLE_SORT_ASCEND}, {PR_MESSAGE_SIZE, second}};
      const Rows rows = queryAll(*table.Get(), {PR_MESSAGE_CLASS_W, PR_MESSAGE_SIZE, PR_SUBJECT_W}, nullptr, order);
      ASSERT_EQ(rows.size(), all.size());
      for (std::size_t i = 1; i < rows.size(); ++i) {
        const int classes = rows[i - 1][0].text.compare(rows[i][0].text);
        const bool rises = classes != 0 ? classes < 0 : rows[i - 1][1].number < rows[i][1].number;
        EXPECT_EQ(rises, (classes != 0 ? first : second) == TABLE_SORT_ASCEND) << i;
      }
    }
  }
}

TEST_F(PostedTables, SortRestrictedRows) {
  Conditions is;
  SRestriction large = is.number(RELOP_GE, PR_MESSAGE_SIZE, 128 * 1024);
  SortOrder order{{PR_SUBJECT_W, TABLE_SORT_DESCEND}};
  EXPECT_EQ(texts(queryAll(*table.Get(), {PR_SUBJECT_W}, &large, order), 0),
            (std::vector<std::wstring>{L"over a block.BIN", L"mega.pdf", L"block.bin"}));
  EXPECT_EQ(table->Restrict(nullptr, 0), S_OK);
  ULONG count = 0;
  EXPECT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, all.size());
}

TEST_F(PostedTables, GiveTheirColumnsInBothForms) {
  const Rows wide = queryAll(*table.Get(), {PR_SUBJECT_W, PR_MESSAGE_CLASS_W, PR_ENTRYID});
  const Rows narrow = queryAll(*table.Get(), {PR_SUBJECT_A, PR_MESSAGE_CLASS_A, PR_ENTRYID});
  ASSERT_EQ(wide.size(), narrow.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    EXPECT_EQ(Bytes(wide[i][0].text.begin(), wide[i][0].text.end()), narrow[i][0].bytes) << "all names here are ASCII";
    EXPECT_EQ(Bytes(wide[i][1].text.begin(), wide[i][1].text.end()), narrow[i][1].bytes);
    EXPECT_EQ(wide[i][2], narrow[i][2]);
  }
  const Rows unspecified = queryAll(*table.Get(), {CHANGE_PROP_TYPE(PR_SUBJECT_W, PT_UNSPECIFIED)});
  EXPECT_EQ(texts(unspecified, 0), all) << "a table opened for wide text";
}

TEST_F(PostedTables, GiveForEveryRowWhatItsMessageSays) {
  const ComPtr<IMsgStore> store = session.openStore(publicStore);
  const std::vector<ULONG> tags{PR_ENTRYID,
                                PR_SUBJECT_W,
                                PR_NORMALIZED_SUBJECT_W,
                                PR_MESSAGE_CLASS_W,
                                PR_MESSAGE_FLAGS,
                                PR_MESSAGE_SIZE,
                                PR_HASATTACH,
                                PR_SENDER_NAME_W,
                                PR_SENDER_ENTRYID,
                                PR_CLIENT_SUBMIT_TIME,
                                PR_MESSAGE_DELIVERY_TIME,
                                PR_IMPORTANCE,
                                PR_SENSITIVITY,
                                PR_RECORD_KEY,
                                PR_SEARCH_KEY,
                                PR_INSTANCE_KEY,
                                PR_PARENT_ENTRYID,
                                PR_CREATION_TIME,
                                PR_CONVERSATION_TOPIC_W,
                                PR_BODY_W};
  for (const Row& row : queryAll(*table.Get(), Tags(tags))) {
    const ComPtr<IMessage> message = openEntry<IMessage>(*store.Get(), row[0].bytes);
    EXPECT_THAT(getProps(*message.Get(), Tags(tags)).values, ElementsAreArray(row));
  }
}

TEST_F(PostedTables, AreTables) {
  ULONG status = 0xBAD, type = 0xBAD;
  EXPECT_EQ(table->GetStatus(&status, &type), S_OK);
  EXPECT_EQ(status, static_cast<ULONG>(TBLSTAT_COMPLETE));
  EXPECT_EQ(table->WaitForCompletion(0, 1000, &status), S_OK);
  EXPECT_EQ(table->Abort(), S_OK);
  EXPECT_EQ(table->Advise(fnevTableModified, nullptr, nullptr), MAPI_E_NO_SUPPORT) << "nothing is announced";
  ULONG more = 0;
  SRowSet* rows = nullptr;
  EXPECT_EQ(table->ExpandRow(0, nullptr, 1, 0, &rows, &more), MAPI_E_NO_SUPPORT) << "there are no categories";
  SPropTagArray* columns = nullptr;
  ASSERT_EQ(table->QueryColumns(TBL_ALL_COLUMNS, &columns), S_OK);
  const Owned<SPropTagArray> owner(columns);
  const std::vector<ULONG> available(columns->aulPropTag, columns->aulPropTag + columns->cValues);
  EXPECT_THAT(available, testing::IsSupersetOf({ULONG{PR_SUBJECT_W}, ULONG{PR_ENTRYID}, ULONG{PR_SENDER_NAME_W},
                                                ULONG{PR_MESSAGE_SIZE}, ULONG{PR_CONVERSATION_TOPIC_W}}));
}

}  // namespace
}  // namespace client
