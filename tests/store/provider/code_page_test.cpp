// 8-bit text in the system's ANSI code page. Registered once more under a Japanese locale.
#include "store_fixture.h"

namespace {

// A word that the present code page has, not plain ASCII.
const wchar_t* foreignWord() { return GetACP() == 932 ? L"\u65e5\u5831\u8868" : L"B\u00fccher"; }

std::string ansi(const wchar_t* text) {
  char bytes[64] = {};
  WideCharToMultiByte(CP_ACP, 0, text, -1, bytes, sizeof bytes, nullptr, nullptr);
  return bytes;
}

struct CodePageTest : FolderTest {};

TEST_F(CodePageTest, AFoldersNameIsTheSameInBothForms) {
  createFolder(*reports.Get(), foreignWord());
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetHierarchyTable(0, table.GetAddressOf()), S_OK);
  Tags columns{PR_DISPLAY_NAME_A, PR_DISPLAY_NAME_W};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_EQ(rows->aRow[0].lpProps[0].Value.lpszA, ansi(foreignWord()));
  EXPECT_STREQ(rows->aRow[0].lpProps[1].Value.lpszW, foreignWord());
}

TEST_F(CodePageTest, TextSet8BitIsStoredWide) {
  const std::string word = ansi(foreignWord());
  ASSERT_NE(word.find_first_of("\x81\x82\x93\xfc"), std::string::npos) << "the code page has the word";
  SPropValue comment = ansiValue(PR_COMMENT_A, word.c_str());
  ASSERT_EQ(reports->SetProps(1, &comment, nullptr), S_OK);
  EXPECT_EQ(text(*reports.Get(), PR_COMMENT_W), foreignWord());
}

TEST_F(CodePageTest, An8BitStreamIsInTheCodePageToo) {
  ComPtr<IMessage> message;
  ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
  const std::string word = ansi(foreignWord());
  openStream(*message.Get(), PR_BODY_A, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY)
      ->Write(word.data(), static_cast<ULONG>(word.size()), nullptr);
  EXPECT_EQ(text(*message.Get(), PR_BODY_W), foreignWord());
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  const Bytes read = readAll(*openStream(*openFirst(*reports.Get()).Get(), PR_BODY_A, 0, 0).Get());
  EXPECT_EQ(std::string(read.begin(), read.end()), word);
}

}  // namespace
