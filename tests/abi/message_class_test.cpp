// The message class, which grows by each file's extension.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;

class MessageClassTest : public JobTest {
 protected:
  std::vector<std::wstring> classesOf(std::initializer_list<const wchar_t*> templates) {
    open(templates);
    std::vector<std::wstring> paths(templates.size(), file());
    EXPECT_EQ(post(job, paths), FENDREL_SUCCESS);
    return posted();
  }

  std::vector<std::wstring> posted() {
    std::vector<std::wstring> classes;
    for (const PostedMessage& message : mapi.messages())
      classes.push_back(valueOf(message.properties, PR_MESSAGE_CLASS_W).text);
    return classes;
  }
};

TEST_F(MessageClassTest, EndsInTheExtensionInUpperCase) {
  EXPECT_THAT(classesOf({L"sales.pdf"}), ElementsAre(L"IPM.DOCUMENT.*PDF"));
}

TEST_F(MessageClassTest, GrowsFromFileToFile) {
  EXPECT_THAT(classesOf({L"one.rpt", L"two.pdf"}), ElementsAre(L"IPM.DOCUMENT.*RPT", L"IPM.DOCUMENT.*RPTPDF"));
}

TEST_F(MessageClassTest, GrowsByFilesThatFailToo) {
  open({L"one.rpt", L"two.pdf"});
  ASSERT_EQ(post(job, {missingFile(), file()}), FENDREL_SUCCESS);
  EXPECT_THAT(posted(), ElementsAre(L"IPM.DOCUMENT.*RPT", L"IPM.DOCUMENT.*RPTPDF"));
}

TEST_F(MessageClassTest, StartsAnewWithEachExport) {
  open({L"one.rpt"});
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_THAT(posted(), ElementsAre(L"IPM.DOCUMENT.*RPT", L"IPM.DOCUMENT.*RPT"));
}

TEST_F(MessageClassTest, TakesTheTextAfterTheLastDot) {
  EXPECT_THAT(classesOf({L"sales.2024.pdf"}), ElementsAre(L"IPM.DOCUMENT.*PDF"));
}

TEST_F(MessageClassTest, OfANameWithoutExtensionIsTheBareClass) {
  FileList files;
  files.addGivenName(L"notes");
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  ASSERT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_THAT(posted(), ElementsAre(L"IPM.DOCUMENT.*"));
}

TEST_F(MessageClassTest, UpperCasesNonAsciiLettersToo) {
  EXPECT_THAT(classesOf({L"sales.äöü"}), ElementsAre(L"IPM.DOCUMENT.*ÄÖÜ"));
}

TEST_F(MessageClassTest, IsBoundedTo255Characters) {
  const std::wstring extension(100, L'x');
  const std::wstring name = L"n." + extension;
  EXPECT_THAT(classesOf({name.c_str(), name.c_str(), name.c_str(), name.c_str()}),
              ElementsAre(L"IPM.DOCUMENT.*" + std::wstring(100, L'X'), L"IPM.DOCUMENT.*" + std::wstring(200, L'X'),
                          L"IPM.DOCUMENT.*" + std::wstring(241, L'X'), L"IPM.DOCUMENT.*" + std::wstring(241, L'X')));
}

TEST_F(MessageClassTest, AttachmentExtensionIsThatOfItsOwnFileAsItWasGiven) {
  open({L"one.Rpt", L"two.Pdf"});
  ASSERT_EQ(post(job, {file(), file()}), FENDREL_SUCCESS);
  std::vector<std::wstring> extensions;
  for (const PostedMessage& message : mapi.messages())
    extensions.push_back(valueOf(message.attachments.at(0).properties, PR_ATTACH_EXTENSION_W).text);
  EXPECT_THAT(extensions, ElementsAre(L"Rpt", L"Pdf"));
}

}  // namespace
}  // namespace fendrel::test
