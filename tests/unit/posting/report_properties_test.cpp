// The texts of a posted message, which template mode sets, and the names of its attachment.
#include <filesystem>
#include <fstream>

#include "posting_world.h"
#include "report_message.h"
#include "temp_folder.h"

using namespace fendrel;

namespace {

std::vector<std::byte> bytes(const std::string& text) {
  const auto* const start = reinterpret_cast<const std::byte*>(text.data());
  return {start, start + text.size()};
}

class ReportProperties : public testing::Test {
 protected:
  ReportProperties() : path(temporary.file(L"file.bin")) { std::ofstream(std::filesystem::path(path)) << "content"; }

  PostedMessage& post(const wchar_t* name = L"sales.rpt", const wchar_t* extension = L"rpt") {
    EXPECT_EQ(postReport(&folder, false, {path.c_str(), name, extension, messageClass, sender, texts}), S_OK);
    return *folder.messages.back();
  }

  BoundMapi mapi32;
  TempFolder temporary;
  const std::wstring path;
  wchar_t messageClass[256] = L"IPM.Document.*rpt";
  SenderIdentity sender;
  ReportTexts texts;
  TestFolder folder{mapi32.heap};
};

TEST_F(ReportProperties, OfAMessageWithEverything) {
  sender = {bytes("id"), L"Ann", bytes("KEY")};
  texts = {L"Sales of May", L"Draft", L"All sales"};
  const auto& set = post().properties;
  ASSERT_EQ(set.size(), 16u);
  const std::vector<SetProperty> fromSender(set.begin() + 6, set.end());
  EXPECT_THAT(fromSender, testing::ElementsAre(SetProperty{.tag = PR_SENDER_ENTRYID, .bytes = "id"},
                                               SetProperty{.tag = PR_SENDER_NAME_W, .text = L"Ann"},
                                               SetProperty{.tag = PR_SENDER_SEARCH_KEY, .bytes = "KEY"},
                                               SetProperty{.tag = PR_SENT_REPRESENTING_ENTRYID, .bytes = "id"},
                                               SetProperty{.tag = PR_SENT_REPRESENTING_NAME_W, .text = L"Ann"},
                                               SetProperty{.tag = PR_SENT_REPRESENTING_SEARCH_KEY, .bytes = "KEY"},
                                               SetProperty{.tag = PR_DISPLAY_NAME_W, .text = L"Sales of May"},
                                               SetProperty{.tag = PR_COMMENT_W, .text = L"Draft"},
                                               SetProperty{.tag = PR_BODY_W, .text = L"All sales"},
                                               SetProperty{.tag = PR_IMPORTANCE, .number = 1}));
}

TEST_F(ReportProperties, TextsAreSetOneByOne) {
  texts.comment = L"Draft";
  const auto& message = post();
  EXPECT_EQ(message.properties.size(), 8u);
  ASSERT_NE(message.find(PR_COMMENT_W), nullptr);
  EXPECT_EQ(message.find(PR_DISPLAY_NAME_W), nullptr);
  EXPECT_EQ(message.find(PR_BODY_W), nullptr);
}

TEST_F(ReportProperties, EmptyTextIsSetToo) {
  texts.body = L"";
  ASSERT_NE(post().find(PR_BODY_W), nullptr);
}

TEST_F(ReportProperties, ClassIsUpperCasedInPlace) {
  std::wcscpy(messageClass, L"IPM.Document.*Größe");
  post();
  EXPECT_STREQ(messageClass, L"IPM.DOCUMENT.*GRÖßE");
}

struct ShortName {
  const char* row;
  std::wstring name, expected;
  friend void PrintTo(const ShortName& value, std::ostream* out) { *out << value.row; }
};

class AttachmentShortName : public ReportProperties, public testing::WithParamInterface<ShortName> {};

TEST_P(AttachmentShortName, HasAtMostEightCharactersAndTheWholeExtension) {
  EXPECT_EQ(post(GetParam().name.c_str()).attachmentProperties[3].text, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(, AttachmentShortName,
                         testing::Values(ShortName{"OfEight", L"12345678.rpt", L"12345678.rpt"},
                                         ShortName{"OfNine", L"123456789.rpt", L"12345678.rpt"},
                                         ShortName{"OfTen", L"1234567890.report", L"12345678.report"},
                                         ShortName{"WithoutExtension", L"1234567890", L"12345678"},
                                         ShortName{"WithTwoDots", L"sales.2024.rpt", L"sales.20.rpt"},
                                         ShortName{"WithDirectory", L"C:\\out\\1234567890.rpt",
                                                   L"C:\\out\\12345678.rpt"},
                                         ShortName{"OfNothing", L"", L""},
                                         ShortName{"CutTo260Characters", L"name." + std::wstring(300, L'e'),
                                                   L"name." + std::wstring(255, L'e')}),
                         [](const auto& row) { return std::string(row.param.row); });

}  // namespace
