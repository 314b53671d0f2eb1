// Items as bytes.
#include "tlv_item.h"

#include "tlv_test.h"

namespace fendrel::test {
namespace {

TEST(TlvHeader, IsLittleEndian) {
  const auto stream = bytes({0x19, 0x10, 0x34, 0x12});
  const TlvHeader header = readTlvHeader(std::span(stream).first<4>());
  EXPECT_EQ(header.tag, 4121);
  EXPECT_EQ(header.length, 0x1234);
  EXPECT_THAT(tlvHeaderBytes({.tag = 4121, .length = 0x1234}), testing::ElementsAreArray(stream));
}

TEST(TlvHeader, ALengthOf65520IsAcceptedAnd65521Refused) {
  EXPECT_TRUE((TlvHeader{.tag = 1, .length = 65520}.isWellFormed()));
  EXPECT_FALSE((TlvHeader{.tag = 1, .length = 65521}.isWellFormed()));
  EXPECT_FALSE((TlvHeader{.tag = 1, .length = 65535}.isWellFormed()));
}

TEST(TlvHeader, TheTag0IsRefused) { EXPECT_FALSE((TlvHeader{.tag = 0, .length = 1}.isWellFormed())); }

TEST(TlvItem, AnItemIsFoundWithItsValue) {
  const auto stream = bytes({1, 0, 2, 0, 'a', 'b', 9});
  const TlvItem item = tlvItemAt(stream, 0);
  EXPECT_EQ(item.finding, TlvFinding::item);
  EXPECT_EQ(item.value.size(), 2u);
  EXPECT_EQ(item.value.data(), stream.data() + 4);
}

struct Finding {
  const char* name;
  std::vector<std::byte> stream;
  std::size_t offset;
  TlvFinding finding;
};
class TlvFindings : public testing::TestWithParam<Finding> {};

TEST_P(TlvFindings, SayWhyThereIsNoItem) {
  EXPECT_EQ(tlvItemAt(GetParam().stream, GetParam().offset).finding, GetParam().finding);
}

INSTANTIATE_TEST_SUITE_P(Streams, TlvFindings,
                         testing::Values(Finding{"Empty", {}, 0, TlvFinding::end},
                                         Finding{"AtTheEnd", bytes({1, 0, 0, 0}), 4, TlvFinding::end},
                                         Finding{"PastTheEnd", bytes({1, 0, 0, 0}), 5, TlvFinding::end},
                                         Finding{"CutHeader", bytes({1, 0, 0}), 0, TlvFinding::cutHeader},
                                         Finding{"NoTag", bytes({0, 0, 0, 0}), 0, TlvFinding::noTag},
                                         Finding{"TooLong", bytes({1, 0, 0xF1, 0xFF}), 0, TlvFinding::lengthTooLarge},
                                         Finding{"CutValue", bytes({1, 0, 2, 0, 'a'}), 0, TlvFinding::cutValue},
                                         Finding{"EmptyValue", bytes({1, 0, 0, 0}), 0, TlvFinding::item}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace fendrel::test
