// A session with message stores and folders made of mocks, and the rows of their tables.
#pragma once

#include <list>

#include "bound_mapi.h"
#include "folder_data.h"
#include "mapi_actions.h"

inline TestRow folderRow(const char* id, const char* name, bool subfolders = false) {
  return {binary(PR_ENTRYID, id), text(PR_DISPLAY_NAME_A, name), flag(PR_SUBFOLDERS, subfolders),
          number(PR_CONTENT_COUNT, 0)};
}

class FolderTree : public testing::Test {
 protected:
  BoundMapi mapi32;
  testing::StrictMock<MockSession> session;
  testing::StrictMock<MockStore> store;

  // A table that outlives the tree, whose nodes hold theirs open.
  TestTable& table(std::vector<TestRow> rows) { return tables_.emplace_back(mapi32.heap, std::move(rows)); }

  // Answers the store's subtree identifier.
  void giveSubtree(const char* id) {
    EXPECT_CALL(mapi32.functions, getOneProp(&store, PR_IPM_SUBTREE_ENTRYID, testing::_))
        .WillOnce([this, id](IMAPIProp*, ULONG, SPropValue** value) {
          *value = makeValues(mapi32.heap, {binary(PR_IPM_SUBTREE_ENTRYID, id)});
          return S_OK;
        });
  }

  static std::vector<std::wstring> names(const fendrel::CNODE& node) {
    std::vector<std::wstring> result;
    for (const fendrel::CNODE* child = node.firstChild; child; child = child->nextSibling)
      result.emplace_back(child->GetName());
    return result;
  }

  static fendrel::FOLDERDATA& child(const fendrel::CNODE& node, int index = 0) {
    fendrel::CNODE* found = node.firstChild;
    while (index-- > 0) found = found->nextSibling;
    return static_cast<fendrel::FOLDERDATA&>(*found);
  }

  // Bytes of an identifier as a node takes them.
  static fendrel::BinaryView id(std::string_view bytes) { return std::as_bytes(std::span(bytes)); }

 private:
  std::list<TestTable> tables_;
};
