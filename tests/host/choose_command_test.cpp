// fendrel choose, used as a person does, and posting with what was saved.
#include <fendrel/fendrel.h>
#include <gmock/gmock.h>

#include "choose_fixture.h"
#include "failure.h"
#include "kept_choice.h"
#include "text.h"

using namespace fendrel::test;
using fendrel::host::KeptChoice;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

TEST_F(ChooseCommand, PrintsThePathOfTheChosenFolder) {
  const Outcome run = fendrel({"choose"}, choosing());
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Public Folders@Reports\n");
}

TEST_F(ChooseCommand, SavedChoicePostsWithoutAnyDialog) {
  ASSERT_EQ(fendrel({"choose", "--save", saved()}, choosing()).exitCode, 0);
  const Outcome run = fendrel({"post", "--options", saved(), newFile(L"second.txt", "second")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("second.txt -> Public Folders@Reports, 6 bytes"));
}

TEST_F(ChooseCommand, SavedFileIsThePackedRecordWithAllItsStrings) {
  ASSERT_EQ(fendrel({"choose", "--save", saved()}, choosing()).exitCode, 0);
  const std::string bytes = readFile(fendrel::host::toWide(saved()));
  ASSERT_EQ(bytes.size(), sizeof(DestinationOptions) + 2 * (sizeof "jane" + sizeof "Public Folders@Reports"));
  DestinationOptions header;
  std::memcpy(&header, bytes.data(), sizeof header);
  EXPECT_EQ(header.version, 1);
  EXPECT_EQ(header.destinationType, FENDREL_REPORT_INSTANCE);
  EXPECT_EQ(header.packedSize, bytes.size() - 30);
  EXPECT_STREQ(reinterpret_cast<const wchar_t*>(bytes.data() + header.folderPathOffset), L"Public Folders@Reports");
}

TEST_F(ChooseCommand, JsonTellsProfileFolderAndType) {
  const auto json = fendrel({"choose", "--json"}, choosing()).json();
  EXPECT_EQ(json["profile"], "jane");
  EXPECT_EQ(json["folder"], "Public Folders@Reports");
  EXPECT_EQ(json["type"], 1011);
}

TEST_F(ChooseCommand, CancelledLogonAnswers8AndSavesNothing) {
  const Outcome run = fendrel({"choose", "--save", saved()}, [](DWORD threadId) {
    click(DialogThread(threadId).dialog(L"Choose Profile"), IDCANCEL);
  });
  EXPECT_EQ(run.exitCode, 8) << run.err;
  EXPECT_EQ(readFile(fendrel::host::toWide(saved())), "");
}

TEST_F(ChooseCommand, CancelledFolderDialogAnswers8) {
  const Outcome run = fendrel({"choose"}, [](DWORD threadId) {
    const DialogThread dialogs(threadId);
    logOn(dialogs);
    click(dialogs.dialog(L"Select a folder"), IDCANCEL);
  });
  EXPECT_EQ(run.exitCode, 8) << run.err;
}

TEST_F(ChooseCommand, ProfileIsNotGivenOnTheCommandLine) {
  EXPECT_EQ(fendrel({"choose", "--profile", "jane"}).exitCode, 2);
  EXPECT_EQ(fendrel({"choose", "--language", "xx"}).exitCode, 2);
}

class ChooseCommandWithPassword : public ChooseCommand {
 protected:
  void SetUp() override {
    const std::string file = newFile(L"first.txt", "first");
    ASSERT_EQ(fendrel({"profile", "add", "jane", "--user", "Jane Doe", "--password-file", secret("geheim")}).exitCode,
              0);
    ASSERT_EQ(
        fendrel({"post", "--to", "Public Folders@Reports@Daily", "--create", "--password-file", secret("geheim"), file})
            .exitCode,
        0);
  }
};

TEST_F(ChooseCommandWithPassword, PasswordIsKeptUnreadableAndUsed) {
  ASSERT_EQ(fendrel({"choose", "--save", saved(), "--password-file", secret("geheim")}, choosing(L"geheim")).exitCode,
            0);
  const std::string bytes = readFile(fendrel::host::toWide(saved()));
  EXPECT_THAT(bytes, StartsWith("FendrelProtected"));
  EXPECT_THAT(bytes, Not(HasSubstr(std::string("g\0e\0h\0e\0i\0m", 11))));
  const Outcome run = fendrel({"post", "--options", saved(), newFile(L"second.txt", "second")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
}

TEST_F(ChooseCommandWithPassword, ChoiceWithoutPasswordTakesTheOneGivenLater) {
  ASSERT_EQ(fendrel({"choose", "--save", saved()}, choosing(L"geheim")).exitCode, 0);
  const std::string file = newFile(L"second.txt", "second");
  EXPECT_EQ(fendrel({"post", "--options", saved(), file}).exitCode, 4);
  EXPECT_EQ(fendrel({"post", "--options", saved(), "--password-file", secret("geheim"), file}).exitCode, 0);
}

TEST_F(ChooseCommandWithPassword, DamagedProtectionIsTold) {
  ASSERT_EQ(fendrel({"choose", "--save", saved(), "--password-file", secret("geheim")}, choosing(L"geheim")).exitCode,
            0);
  std::string bytes = readFile(fendrel::host::toWide(saved()));
  bytes[bytes.size() / 2] ^= 1;
  const Outcome run = fendrel({"post", "--options", newFile(L"damaged.choice", bytes), newFile(L"a.txt", "a")});
  EXPECT_NE(run.exitCode, 0);
  EXPECT_THAT(run.err, HasSubstr("save the choice again"));
}

class KeptChoiceFile : public FendrelTest {
 protected:
  // A packed record of profile "jane" and folder "Store".
  static fendrel::host::Bytes record() {
    DestinationOptions header = {};
    header.version = 1;
    header.destinationType = FENDREL_REPORT_INSTANCE;
    header.profileNameOffset = 48;
    header.folderPathOffset = 58;
    header.packedSize = 48 + 10 + 12 - 30;
    fendrel::host::Bytes bytes(48 + 10 + 12);
    std::memcpy(bytes.data(), &header, sizeof header);
    std::memcpy(bytes.data() + 48, L"jane", 10);
    std::memcpy(bytes.data() + 58, L"Store", 12);
    return bytes;
  }

  static DestinationOptions& header(fendrel::host::Bytes& bytes) {
    return *reinterpret_cast<DestinationOptions*>(bytes.data());
  }

  static void expectRefused(fendrel::host::Bytes bytes) {
    EXPECT_THROW(KeptChoice(std::move(bytes), "it"), fendrel::host::Failure);
  }
};

TEST_F(KeptChoiceFile, ComesBackAsItWasSaved) {
  KeptChoice(record(), "it").save(inFolder(L"a.choice"));
  const KeptChoice choice = KeptChoice::load(inFolder(L"a.choice"));
  EXPECT_EQ(choice.record(), record());
  EXPECT_EQ(choice.profile(), L"jane");
  EXPECT_EQ(choice.password(), std::nullopt);
  EXPECT_EQ(choice.folderPath(), L"Store");
}

TEST_F(KeptChoiceFile, ReplacesTheFileThatIsThere) {
  const std::string file = newFile(L"a.choice", std::string(5000, 'x'));
  KeptChoice(record(), "it").save(file);
  EXPECT_EQ(KeptChoice::load(file).profile(), L"jane");
}

TEST_F(KeptChoiceFile, RefusesWhatIsNoRecord) {
  expectRefused({});
  expectRefused(fendrel::host::Bytes(47));
  expectRefused(fendrel::host::Bytes(200));
}

TEST_F(KeptChoiceFile, RefusesACutRecord) {
  auto bytes = record();
  bytes.pop_back();
  expectRefused(bytes);
}

TEST_F(KeptChoiceFile, RefusesOffsetsOutsideTheRecordAndStringsWithoutEnd) {
  auto outside = record();
  header(outside).folderPathOffset = 1'000'000;
  expectRefused(outside);
  auto inHeader = record();
  header(inHeader).folderPathOffset = 8;
  expectRefused(inHeader);
  auto huge = record();
  header(huge).folderPathOffset = ~std::uint64_t{0};
  expectRefused(huge);
  auto endless = record();
  endless[68] = endless[69] = std::byte{0x41};
  expectRefused(endless);
}

TEST_F(KeptChoiceFile, RefusesAnUnknownPostingType) {
  auto bytes = record();
  header(bytes).destinationType = 7;
  expectRefused(bytes);
}

}  // namespace
