// Folders and entry identifiers: the tree in one table, long-term identifiers, copies of messages.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>

#include "conditions.h"
#include "posted_reports.h"

namespace client {
namespace {

class PostedFolders : public testing::Test {
 protected:
  // Display paths below a folder with the number of messages, from one table of all depths.
  static std::map<std::wstring, std::int64_t> tree(IMAPIFolder& top, const std::wstring& topPath) {
    std::map<Bytes, std::wstring> paths{{getOne(top, PR_ENTRYID).bytes, topPath}};
    std::map<std::wstring, std::int64_t> counts;
    std::map<Bytes, std::int64_t> depths;
    const Rows rows = queryAll(*hierarchy(top, CONVENIENT_DEPTH | MAPI_UNICODE).Get(),
                               {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_PARENT_ENTRYID, PR_DEPTH, PR_CONTENT_COUNT});
    for (const Row& row : rows) {
      const auto parent = paths.find(row[2].bytes);
      if (parent == paths.end()) {
        ADD_FAILURE() << "a folder before its parent";
        continue;
      }
      const std::wstring path = parent->second + L'@' + row[0].text;
      paths[row[1].bytes] = path;
      counts[path] = row[4].number;
      const auto depth = depths.find(row[2].bytes);
      const std::int64_t expected = depth == depths.end() ? rows.front()[3].number : depth->second + 1;
      EXPECT_EQ(row[3].number, expected) << "one more than its parent's";
      depths[row[1].bytes] = row[3].number;
    }
    return counts;
  }

  ULONG equal(const Bytes& left, const Bytes& right) {
    ULONG bySession = 0xBAD;
    EXPECT_EQ(session.mapi().CompareEntryIDs(sizeOf(left), entryId(left), sizeOf(right), entryId(right), 0, &bySession),
              S_OK);
    ULONG byStore = 0xBAD;
    EXPECT_EQ(session.openStore(publicStore)
                  ->CompareEntryIDs(sizeOf(left), entryId(left), sizeOf(right), entryId(right), 0, &byStore),
              S_OK);
    EXPECT_EQ(bySession, byStore);
    return bySession;
  }

  static std::set<Bytes> identifiers(const std::vector<std::wstring>& paths, Session& in) {
    std::set<Bytes> found;
    for (const std::wstring& path : paths) {
      const ComPtr<IMAPIFolder> folder = in.openFolder(path);
      found.insert(getOne(*folder.Get(), PR_ENTRYID).bytes);
      for (const Row& row : queryAll(*contents(*folder.Get()).Get(), {PR_ENTRYID})) found.insert(row[0].bytes);
    }
    return found;
  }

  Session session{profileName};
};

TEST_F(PostedFolders, StandInOneTableOfAllDepths) {
  for (const wchar_t* const store : {publicStore, mailbox}) {
    const auto found = tree(*session.openFolder(store).Get(), store);
    std::int64_t messages = 0, expected = 0;
    for (const auto& [path, count] : found) {
      EXPECT_EQ(count, static_cast<std::int64_t>(reportsIn(path).size())) << testing::PrintToString(path);
      messages += count;
    }
    for (const PostedReport& report : postedReports()) expected += report.folder.starts_with(store);
    EXPECT_EQ(messages, expected);
  }
}

TEST_F(PostedFolders, OfOneLevelAreTheFirstOfThatTable) {
  const ComPtr<IMAPIFolder> top = session.openFolder(publicStore);
  const auto children = texts(queryAll(*hierarchy(*top.Get()).Get(), {PR_DISPLAY_NAME_W}), 0);
  EXPECT_THAT(children, testing::UnorderedElementsAre(L"Reports", L"Büro"));
  Conditions is;
  SRestriction deep = is.number(RELOP_GT, PR_DEPTH, 0);
  SortOrder byName{{PR_DISPLAY_NAME_W, TABLE_SORT_DESCEND}};
  const ComPtr<IMAPITable> all = hierarchy(*top.Get(), CONVENIENT_DEPTH);
  const auto below = texts(queryAll(*all.Get(), {PR_DISPLAY_NAME_W}, &deep, byName), 0);
  EXPECT_EQ(below, (std::vector<std::wstring>{L"Übersicht", L"tief", L"Größen", L"Daily"}));
}

TEST_F(PostedFolders, CountTheirMessagesAndFolders) {
  for (const std::wstring& path : foldersWithReports()) {
    const ComPtr<IMAPIFolder> folder = session.openFolder(path);
    const auto count = static_cast<std::int64_t>(reportsIn(path).size());
    EXPECT_EQ(getOne(*folder.Get(), PR_CONTENT_COUNT).number, count);
    EXPECT_EQ(getOne(*folder.Get(), PR_CONTENT_UNREAD).number, count) << "nobody has read them";
    ULONG rows = 0;
    EXPECT_EQ(contents(*folder.Get())->GetRowCount(0, &rows), S_OK);
    EXPECT_EQ(rows, count);
    EXPECT_EQ(contents(*folder.Get(), MAPI_ASSOCIATED)->GetRowCount(0, &rows), S_OK);
    EXPECT_EQ(rows, 0u);
    EXPECT_EQ(hierarchy(*folder.Get())->GetRowCount(0, &rows), S_OK);
    EXPECT_EQ(getOne(*folder.Get(), PR_SUBFOLDERS).number, rows > 0);
  }
}

TEST_F(PostedFolders, AndMessagesHaveIdentifiersForLonger) {
  const std::vector<std::wstring> paths = foldersWithReports();
  const std::set<Bytes> now = identifiers(paths, session);
  EXPECT_EQ(now.size(), paths.size() + 13);
  Session later(profileName);
  EXPECT_EQ(identifiers(paths, later), now) << "the same in another session";
  for (const Bytes& id : now) {
    EXPECT_EQ(id[0], 0) << "the flag of a short-term identifier";
    ComPtr<IMAPIProp> object;
    ULONG type = 0;
    EXPECT_EQ(later.mapi().OpenEntry(sizeOf(id), entryId(id), &IID_IMAPIProp, MAPI_BEST_ACCESS, &type,
                                     reinterpret_cast<LPUNKNOWN*>(object.GetAddressOf())),
              S_OK);
    if (!object) continue;
    EXPECT_EQ(getOne(*object.Get(), PR_OBJECT_TYPE).number, static_cast<std::int64_t>(type));
    EXPECT_EQ(equal(getOne(*object.Get(), PR_ENTRYID).bytes, id), 1u);
    for (const Bytes& other : now) EXPECT_EQ(equal(id, other), static_cast<ULONG>(id == other));
  }
}

TEST_F(PostedFolders, TakeCopiesOfTheirMessages) {
  const ComPtr<IMAPIFolder> source = session.openFolder(L"Public Folders@Reports@Daily", MAPI_MODIFY);
  const ComPtr<IMAPIFolder> top = session.openFolder(publicStore, MAPI_MODIFY);
  ComPtr<IMAPIFolder> target;
  ASSERT_EQ(top->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"Copies"), nullptr, nullptr, MAPI_UNICODE, &target),
            S_OK);
  const std::vector<ULONG> columns{PR_SUBJECT_W, PR_MESSAGE_SIZE, PR_CLIENT_SUBMIT_TIME, PR_SEARCH_KEY, PR_ENTRYID};
  SortOrder order{{PR_SUBJECT_W, TABLE_SORT_ASCEND}};
  const Rows rows = queryAll(*contents(*source.Get()).Get(), Tags(columns), nullptr, order);
  std::vector<SBinary> ids;
  for (const Row& row : rows)
    ids.push_back({sizeOf(row[4].bytes), reinterpret_cast<BYTE*>(const_cast<char*>(row[4].bytes.data()))});
  ENTRYLIST list{static_cast<ULONG>(ids.size()), ids.data()};
  ASSERT_EQ(source->CopyMessages(&list, &IID_IMAPIFolder, target.Get(), 0, nullptr, 0), S_OK);
  Rows copies = queryAll(*contents(*target.Get()).Get(), Tags(columns), nullptr, order);
  ASSERT_EQ(copies.size(), rows.size());
  const ComPtr<IMsgStore> store = session.openStore(publicStore);
  const auto attached = [&](const Bytes& id) {
    ComPtr<IAttach> attachment;
    EXPECT_EQ(openEntry<IMessage>(*store.Get(), id)->OpenAttach(0, nullptr, 0, &attachment), S_OK);
    return attachment ? readStream(*openStream(*attachment.Get(), PR_ATTACH_DATA_BIN).Get(), 4096) : Bytes("none");
  };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_NE(copies[i][4], rows[i][4]) << "a copy is another message";
    EXPECT_TRUE(attached(copies[i][4].bytes) == attached(rows[i][4].bytes)) << i;
    copies[i][4] = rows[i][4];
    EXPECT_EQ(copies[i], rows[i]);
  }
  const Bytes gone = getOne(*target.Get(), PR_ENTRYID).bytes;
  target.Reset();
  EXPECT_EQ(top->DeleteFolder(sizeOf(gone), entryId(gone), 0, nullptr, 0), MAPI_E_HAS_MESSAGES);
  EXPECT_EQ(top->DeleteFolder(sizeOf(gone), entryId(gone), 0, nullptr, DEL_MESSAGES), S_OK);
  EXPECT_EQ(queryAll(*contents(*source.Get()).Get(), {PR_ENTRYID}).size(), rows.size());
}

}  // namespace
}  // namespace client
