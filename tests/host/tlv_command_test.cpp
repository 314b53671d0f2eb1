// fendrel tlv on files of records.
#include "fendrel_run.h"

namespace fendrel::test {
namespace {

std::string record(int tag, std::string_view value) {
  std::string result;
  for (const std::size_t part : {static_cast<std::size_t>(tag), value.size()}) {
    result += static_cast<char>(part & 0xFF);
    result += static_cast<char>(part >> 8);
  }
  return result.append(value);
}

class TlvCommandTest : public FendrelTest {};

TEST_F(TlvCommandTest, ListsEachRecordWithOffsetTagLengthAndPreview) {
  const std::string wide("\xF2\x58\x0A\x4E\0\0", 6);
  const std::string file = newFile(
      L"a.rpt", record(4121, wide) + record(4122, "body") + record(7, "") + record(8, std::string("\0\1\2\xFF", 4)));
  const Outcome run = fendrel({"--json", "tlv", file});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "");
  const auto records = run.json()["records"];
  ASSERT_EQ(records.size(), 4u);
  EXPECT_EQ(records[0], (nlohmann::json{{"offset", 0}, {"tag", 4121}, {"length", 6}, {"preview", "\"売上\""}}));
  EXPECT_EQ(records[1], (nlohmann::json{{"offset", 10}, {"tag", 4122}, {"length", 4}, {"preview", "\"body\""}}));
  EXPECT_EQ(records[2], (nlohmann::json{{"offset", 18}, {"tag", 7}, {"length", 0}, {"preview", ""}}));
  EXPECT_EQ(records[3]["offset"], 22);
  EXPECT_EQ(records[3]["preview"].get<std::string>().substr(0, 2), "00");
}

TEST_F(TlvCommandTest, AFileOfManyRecordsIsListedToItsEnd) {
  std::string content;
  for (int count = 0; count < 200; ++count)
    content += record(5, std::string(static_cast<std::size_t>(count) * 300, 'x'));
  const Outcome run = fendrel({"--json", "tlv", newFile(L"a.rpt", content)});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.json()["records"].size(), 200u);
}

TEST_F(TlvCommandTest, AnEmptyFileHasNoRecords) {
  const Outcome run = fendrel({"tlv", newFile(L"a.rpt", "")});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.out.find("0 records"), std::string::npos) << run.out;
}

struct Fault {
  const char* name;
  std::string tail;
  const char* words;
};
class TlvFaults : public TlvCommandTest, public testing::WithParamInterface<Fault> {};

TEST_P(TlvFaults, AreToldWithTheirPlaceAndReason) {
  const Outcome run = fendrel({"--json", "tlv", newFile(L"a.rpt", record(4121, "abc") + GetParam().tail)});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.err.find("is malformed at offset 7 (0x7), after 1 record"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find(GetParam().words), std::string::npos) << run.err;
  const auto document = run.json();
  EXPECT_EQ(document["records"].size(), 1u);
  EXPECT_EQ(document["fault"]["offset"], 7);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TlvFaults,
    testing::Values(Fault{"HeaderCut", std::string("\5\0\1", 3), "ends inside the four bytes of a record's header"},
                    Fault{"TagZero", record(0, "ab"), "the tag is 0"},
                    Fault{"LengthTooLarge", std::string("\5\0\xF1\xFF", 4), "a length of 65,521 bytes"},
                    Fault{"ValueCut", record(5, "abcdef").substr(0, 7), "the file ends after 3 of them"}),
    [](const auto& row) { return row.param.name; });

TEST_F(TlvCommandTest, AMissingFileIsNamedWithItsCode) {
  const Outcome run = fendrel({"tlv", inFolder(L"missing.rpt")});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.err.find("missing.rpt"), std::string::npos);
  EXPECT_NE(run.err.find("0x80070002"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace fendrel::test
