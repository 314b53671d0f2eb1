// The choice of messages in list, delete and export.
#include <gmock/gmock.h>

#include <filesystem>

#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Selection : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    for (const wchar_t* name : {L"sales.pdf", L"stock.csv", L"sales.csv", L"notes.txt"})
      ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(name, "content")}).exitCode, 0);
  }

  std::vector<std::string> subjects(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"list", daily, "--json"});
    std::vector<std::string> found;
    const nlohmann::json document = fendrel(arguments).json();
    for (const auto& message : document["messages"]) found.push_back(message["subject"]);
    std::ranges::sort(found);
    return found;
  }
};

TEST_F(Selection, SubjectAndClassAreMatched) {
  EXPECT_EQ(subjects({"--subject", "SALES*"}), (std::vector<std::string>{"sales.csv", "sales.pdf"}));
  EXPECT_EQ(subjects({"--class", "ipm.document.?csv"}), (std::vector<std::string>{"sales.csv", "stock.csv"}));
  EXPECT_EQ(subjects({"--subject", "sales*", "--class", "*csv"}), (std::vector<std::string>{"sales.csv"}));
}

TEST_F(Selection, TimesAreMatched) {
  EXPECT_EQ(subjects({"--since", "2020-01-01"}).size(), 4u);
  EXPECT_EQ(subjects({"--until", "2020-01-01"}).size(), 0u);
  EXPECT_EQ(subjects({"--older-than", "1h"}).size(), 0u);
  EXPECT_EQ(subjects({"--until", "2199-12-31 23:59"}).size(), 4u);
}

TEST_F(Selection, DayOfTheEndIsIncluded) {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  char today[16];
  std::snprintf(today, sizeof today, "%04u-%02u-%02u", now.wYear, now.wMonth, now.wDay);
  EXPECT_EQ(subjects({"--since", today, "--until", today}).size(), 4u) << today;
}

TEST_F(Selection, WhatIsNoDateOrAgeIsWrongUsage) {
  for (const char* option : {"--since", "--until"})
    for (const char* date : {"yesterday", "2026-13-01", "2026-02-30", "2026-01-01 25:00", "2026-01-01x"})
      EXPECT_EQ(fendrel({"list", daily, option, date}).exitCode, 2) << date;
  for (const char* age : {"90", "d", "-1d", "0d", "9999999999999999999d", "1y"})
    EXPECT_EQ(fendrel({"list", daily, "--older-than", age}).exitCode, 2) << age;
}

TEST_F(Selection, RangesNameNumbers) {
  EXPECT_EQ(subjects({"1-2,4"}).size(), 3u);
  EXPECT_EQ(subjects({"2", "2-3"}).size(), 2u);
  EXPECT_EQ(fendrel({"list", daily, "3-5"}).exitCode, 5);
  EXPECT_EQ(fendrel({"list", daily, "3-1"}).exitCode, 2);
  EXPECT_EQ(fendrel({"list", daily, "1-"}).exitCode, 2);
}

TEST_F(Selection, IdentifierStaysWhenNumbersMove) {
  const auto before = fendrel({"list", daily, "--json"}).json()["messages"];
  const std::string id = before[2]["id"], subject = before[2]["subject"];
  EXPECT_THAT(fendrel({"list", daily, "--ids"}).out, HasSubstr(id));
  ASSERT_EQ(fendrel({"delete", daily, "1"}).exitCode, 0);
  EXPECT_EQ(subjects({"--id", id}), std::vector<std::string>{subject});
  EXPECT_EQ(fendrel({"delete", daily, "--id", id}).exitCode, 0);
  EXPECT_EQ(fendrel({"delete", daily, "--id", id}).exitCode, 5);
  EXPECT_EQ(subjects({}).size(), 2u);
}

TEST_F(Selection, DeletionByDescriptionWantsYesWhereNobodyCanBeAsked) {
  const Outcome refused = fendrel({"delete", daily, "--subject", "sales*"});
  EXPECT_EQ(refused.exitCode, 2);
  EXPECT_THAT(refused.err, AllOf(HasSubstr("2 messages"), HasSubstr("--yes")));
  EXPECT_EQ(subjects({}).size(), 4u);
  const Outcome run = fendrel({"delete", daily, "--subject", "sales*", "--yes"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(subjects({}), (std::vector<std::string>{"notes.txt", "stock.csv"}));
}

TEST_F(Selection, DryRunOfADeletionDeletesNothing) {
  const Outcome run = fendrel({"delete", daily, "--subject", "sales*", "--dry-run"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, AllOf(HasSubstr("'sales.pdf', would be deleted."), Not(HasSubstr("stock.csv"))));
  EXPECT_EQ(subjects({}).size(), 4u);
}

TEST_F(Selection, ExportTakesWhatMatches) {
  const std::string target = inFolder(L"out");
  EXPECT_THAT(fendrel({"export", daily, target, "--subject", "sales*", "--dry-run"}).out,
              HasSubstr("2 messages would be exported"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / L"out"));
  ASSERT_EQ(fendrel({"export", daily, target, "--subject", "sales*"}).exitCode, 0);
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.path() / L"out")) ++files;
  EXPECT_EQ(files, 2u);
}

TEST_F(Selection, LongNamesAreShortenedInTheMiddleOnATerminal) {
  const std::wstring name = L"quarterly-report-of-all-the-branches-of-the-company-in-the-north.csv";
  ASSERT_EQ(fendrel({"post", "--to", daily, newFile(name, "x")}).exitCode, 0);
  SetEnvironmentVariableW(L"FENDREL_COLUMNS", L"100");
  const Outcome narrow = fendrel({"list", daily}), wide = fendrel({"list", daily, "--wide"});
  SetEnvironmentVariableW(L"FENDREL_COLUMNS", nullptr);
  EXPECT_THAT(narrow.out, Not(HasSubstr(utf8(name))));
  EXPECT_THAT(narrow.out, HasSubstr("\xE2\x80\xA6"));
  EXPECT_THAT(wide.out, HasSubstr(utf8(name)));
  EXPECT_THAT(fendrel({"list", daily}).out, HasSubstr(utf8(name)));
}

}  // namespace
}  // namespace fendrel::test
