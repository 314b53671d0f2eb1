// Folders with thousands of children: their order, and the work that it takes.
#include <algorithm>
#include <random>

#include "failing_memory.h"
#include "folder_tree_fixture.h"
#include "import_hook.h"

using namespace fendrel;
using testing::_;

namespace {

int g_comparisons;

int WINAPI countComparison(LPCWSTR left, LPCWSTR right) {
  ++g_comparisons;
  return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, left, -1, right, -1) - CSTR_EQUAL;
}

// The guarded heap has no room for so many blocks.
class FolderTreeRuntimeHeap : public FolderTree {};

TEST_F(FolderTreeRuntimeHeap, TenThousandChildrenTakeComparisonsInTheOrderOfNLogN) {
  constexpr int count = 10'000;
  std::vector<TestRow> rows;
  for (int i = 0; i < count; ++i) rows.push_back(folderRow("f", ("Folder " + std::to_string(100'000 + i)).c_str()));
  std::shuffle(rows.begin(), rows.end(), std::mt19937(1));
  TestTable& hierarchy = table(std::move(rows));
  testing::StrictMock<MockFolder> folder;
  EXPECT_CALL(session, OpenEntry).WillOnce(handsOutAs(store, MAPI_STORE));
  giveSubtree("subtree");
  EXPECT_CALL(store, OpenEntry).WillOnce(handsOutAs(folder, MAPI_FOLDER));
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(hierarchy));
  EXPECT_CALL(hierarchy, QueryRows(50, 0, _)).Times(count / 50 + 1);
  FOLDERDATA root(&session, L"Default");
  root.AddChildLabelled(CreateFolderNode(&session, id("s"), L"Store", true, true));

  const test::ImportHook counted("KERNEL32.dll", "lstrcmpiW", &countComparison);
  g_comparisons = 0;
  child(root).Expand();

  const std::vector<std::wstring> read = names(child(root));
  ASSERT_EQ(read.size(), std::size_t{count});
  EXPECT_TRUE(std::ranges::is_sorted(read));
  EXPECT_LT(g_comparisons, 15 * count) << "log2 of 10,000 is 13.3, and one more comparison places a child";
  EXPECT_GT(g_comparisons, count) << "the comparisons are not seen";
}

TEST_F(FolderTree, EqualNamesAmongManyStandInTheReverseOfTheirRows) {
  std::vector<TestRow> rows;
  const auto identifier = [](int i) { return "id" + std::to_string(1000 + i); };
  for (int i = 0; i < 200; ++i) rows.push_back(folderRow(identifier(i).c_str(), i % 2 == 0 ? "same" : "SAME"));
  TestTable& hierarchy = table(std::move(rows));
  testing::StrictMock<MockFolder> folder;
  EXPECT_CALL(session, OpenEntry).WillOnce(handsOutAs(store, MAPI_STORE));
  giveSubtree("subtree");
  EXPECT_CALL(store, OpenEntry).WillOnce(handsOutAs(folder, MAPI_FOLDER));
  EXPECT_CALL(folder, GetHierarchyTable).WillOnce(handsOut(hierarchy));
  FOLDERDATA root(&session, L"Default");
  root.AddChildLabelled(CreateFolderNode(&session, id("s"), L"Store", true, true));
  child(root).Expand();
  int expected = 199;
  for (const CNODE* node = child(root).firstChild; node; node = node->nextSibling, --expected) {
    const auto bytes = static_cast<const FOLDERDATA*>(node)->entryIdBytes();
    ASSERT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), identifier(expected));
  }
  EXPECT_EQ(expected, -1);
}

}  // namespace
