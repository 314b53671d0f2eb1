// The 8-bit host program on the local store, whose content is then looked at with fendrel.exe.
#include <gmock/gmock.h>

#include "../../host/fendrel_run.h"
#include "build_paths.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;
using testing::Not;

bool isDoubleByte() { return GetACP() == 932; }

class AnsiHostTest : public FendrelTest {
 protected:
  std::wstring folderPath() const {
    return isDoubleByte() ? L"Public Folders@公開報告@予定表ファイル" : L"Public Folders@Öffentlich@Größe";
  }
  std::wstring fileName() const { return isDoubleByte() ? L"売上表ソース.txt" : L"Übersicht über Erlöse.txt"; }

  // A profile and the folder, as an administrator makes them.
  void prepare(const std::wstring& profile) {
    const std::string user = isDoubleByte() ? "山田太郎" : "Jörg Müller";
    Outcome run = fendrel({"profile", "add", utf8(profile), "--user", user});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    run = fendrel({"post", "--profile", utf8(profile), "--create", "--to", utf8(folderPath()),
                   newFile(L"first.txt", "makes the folder")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
  }

  Outcome runHost(const std::wstring& profile) {
    return runProgram(buildFile(L"tests/ansi_host.exe"),
                      {utf8(buildFile(L"bin/store/MAPI32.DLL")), utf8(buildFile(L"bin/FENDREL.DLL")), utf8(profile),
                       utf8(folderPath()), utf8(folderPath() + (isDoubleByte() ? L"@無し" : L"@fehlt")),
                       newFile(fileName(), content)});
  }

  // `count` messages of the host program besides the one that made the folder, with every byte of the file.
  void expectPosted(const std::wstring& profile, std::size_t count) {
    const auto messages =
        fendrel({"--json", "--profile", utf8(profile), "list", utf8(folderPath())}).json()["messages"];
    ASSERT_EQ(messages.size(), count + 1);
    for (std::size_t at = 1; at <= count; ++at) {
      EXPECT_EQ(messages[at]["subject"], utf8(fileName()));
      EXPECT_EQ(messages[at]["attachments"][0]["name"], utf8(fileName()));
      EXPECT_EQ(messages[at]["attachments"][0]["size"], content.size());
    }
    const Outcome saved = fendrel({"--profile", utf8(profile), "save", utf8(folderPath()), "2", inFolder(L"saved")});
    EXPECT_EQ(saved.exitCode, 0) << saved.err;
    EXPECT_EQ(readFile(folder.file(L"saved\\" + fileName())), content);
  }

  const std::string content = std::string(10000, 'x') + "\r\n\x1A end";
};

TEST_F(AnsiHostTest, DoesTheWholeJobWithEightBitTextAlone) {
  const std::wstring profile = isDoubleByte() ? L"ﾎｳｺｸ" : L"Zoë Größe";
  prepare(profile);
  const Outcome run = runHost(profile);
  EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
  EXPECT_THAT(run.out, HasSubstr(isDoubleByte() ? "code page 932" : "code page 1252"));
  EXPECT_THAT(run.out, HasSubstr("destination Exchange Folder"));
  EXPECT_THAT(run.out, HasSubstr("posted by options"));
  EXPECT_THAT(run.out, HasSubstr("posted from kept bytes"));
  EXPECT_THAT(run.out, HasSubstr("posted from a kept record"));
  EXPECT_THAT(run.out, HasSubstr("words: MAPI object not found."));
  EXPECT_THAT(run.out, HasSubstr("done"));
  expectPosted(profile, 3);
}

// The packed form does not hold a double-byte name; the decoded record does.
TEST_F(AnsiHostTest, AProfileNameOfWideLettersIsKeptByTheDecodedRecord) {
  const std::wstring profile = isDoubleByte() ? L"営業部の報告" : L"Büro";
  prepare(profile);
  const Outcome run = runHost(profile);
  EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
  EXPECT_THAT(run.out, isDoubleByte() ? testing::Matcher<std::string>(Not(HasSubstr("posted from kept bytes")))
                                      : testing::Matcher<std::string>(HasSubstr("posted from kept bytes")));
  EXPECT_THAT(run.out, HasSubstr("posted from a kept record"));
  expectPosted(profile, isDoubleByte() ? 2 : 3);
}

}  // namespace
}  // namespace fendrel::test
