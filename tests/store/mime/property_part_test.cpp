#include "property_part.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace fendrel::mime {
namespace {

using namespace fendrel::store;
using testing::HasSubstr;
using testing::IsEmpty;

Bytes bytes(std::string_view text) {
  const auto* begin = reinterpret_cast<const std::byte*>(text.data());
  return Bytes(begin, begin + text.size());
}

constexpr Guid someGuid = {{std::byte{0x28}, std::byte{3}, std::byte{2}, std::byte{0}, std::byte{0}, std::byte{0},
                            std::byte{0}, std::byte{0}, std::byte{0xC0}, std::byte{0}, std::byte{0}, std::byte{0},
                            std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0x46}}};

void expectEqual(const std::vector<Property>& left, const std::vector<Property>& right) {
  ASSERT_EQ(left.size(), right.size());
  for (std::size_t at = 0; at < left.size(); ++at) {
    EXPECT_EQ(left[at].tag, right[at].tag);
    EXPECT_TRUE(left[at].value == right[at].value) << std::hex << left[at].tag;
  }
}

TEST(PropertyPartTest, EveryTypeComesBackAsItWas) {
  PropertyPart part;
  part.message = {
      {0x10000002, std::int16_t{-32768}},
      {0x10010003, std::int32_t{-2147483647}},
      {0x10020004, 0.1f},
      {0x10030005, 0.1},
      {0x10040006, std::numeric_limits<std::int64_t>::min()},
      {0x10050007, -std::numeric_limits<double>::infinity()},
      {0x1006000B, true},
      {0x10070014, std::numeric_limits<std::int64_t>::max()},
      {0x1008001F, std::u16string(u"\u65E5\u672C \"q\" \\ \n\t\0 \xD83D\xDCC8", 16)},
      {0x10090040, FileTime{135'792'468'000'000'001}},
      {0x100A0048, someGuid},
      {0x100B0102, bytes(std::string_view("\0\x01\xFF", 3))},
      {0x100C0102, Bytes()},
      {0x100D001F, std::u16string()},
      {0x11001002, std::vector<std::int16_t>{1, -2}},
      {0x11011003, std::vector<std::int32_t>{}},
      {0x11021004, std::vector<float>{1.5f}},
      {0x11031005, std::vector<double>{1e300, -0.0}},
      {0x11041006, std::vector<std::int64_t>{5}},
      {0x11051007, std::vector<double>{2}},
      {0x11061014, std::vector<std::int64_t>{1, -9'000'000'000'000'000'000}},
      {0x1107101F, std::vector<std::u16string>{u"a", u""}},
      {0x11081040, std::vector<FileTime>{FileTime{7}}},
      {0x11091048, std::vector<Guid>{someGuid, Guid{}}},
      {0x110A1102, std::vector<Bytes>{bytes("x"), Bytes()}},
  };
  part.attachments = {{{0x3707001F, std::u16string(u"sales.pdf")}}, {}};
  part.names[0x8001] = {someGuid, std::u16string(u"Period")};
  part.names[0x8002] = {someGuid, std::int32_t{-7}};
  const std::string text = writePropertyPart(part);
  EXPECT_TRUE(std::ranges::all_of(text, [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); })) << text;
  const PropertyPart read = readPropertyPart(text);
  expectEqual(read.message, part.message);
  ASSERT_EQ(read.attachments.size(), 2u);
  expectEqual(read.attachments[0], part.attachments[0]);
  EXPECT_THAT(read.attachments[1], IsEmpty());
  EXPECT_EQ(read.names, part.names);
}

TEST(PropertyPartTest, NotANumberComesBackAsOne) {
  const PropertyPart read = readPropertyPart(writePropertyPart({{}, {{0x10030005, std::nan("")}}, {}}));
  ASSERT_EQ(read.message.size(), 1u);
  EXPECT_TRUE(std::isnan(std::get<double>(read.message[0].value)));
}

TEST(PropertyPartTest, HalfASurrogatePairIsReplaced) {
  const PropertyPart read = readPropertyPart(writePropertyPart({{},
                                                                {{0x1000001F, std::u16string(u"a\xD83D"
                                                                                             u"b\xDC00")}},
                                                                {}}));
  ASSERT_EQ(read.message.size(), 1u);
  EXPECT_EQ(std::get<std::u16string>(read.message[0].value),
            u"a\xFFFD"
            u"b\xFFFD");
}

TEST(PropertyPartTest, WhatIsNotLoadedIsLeftOut) {
  EXPECT_EQ(writePropertyPart({{}, {{0x10000102, UnloadedValue{7}}, {0x10010003, std::monostate()}}, {{}}}), "");
}

TEST(PropertyPartTest, ItsFormIsTheDocumentedOne) {
  PropertyPart part;
  part.message = {{0x3001001F, std::u16string(u"M\u00E4rz")}, {0x00390040, FileTime{12}}};
  part.names[0x8001] = {someGuid, std::u16string(u"Period")};
  EXPECT_EQ(writePropertyPart(part),
            "{\n \"message\": {\n  \"00390040\": \"12\",\n  \"3001001F\": \"M\\u00e4rz\"\n },\n \"names\": {\n"
            "  \"8001\": {\n   \"name\": \"Period\",\n   \"set\": \"2803020000000000C000000000000046\"\n  }\n },\n"
            " \"version\": 1\n}\n");
}

TEST(PropertyPartTest, WhatIsNotUnderstoodIsSkipped) {
  const PropertyPart read =
      readPropertyPart(R"({"version": 9, "more": [], "names": {"8001": 5, "zz": {}, "8002": {"set": "00"}},
    "message": {"00170003": 1, "0017": 2, "0018000D": 3, "00190003": "4", "001A0003": 5000000000, "001B0102": "A?==",
                "001C0040": "12x", "001D0048": "12", "001E001F": 5, "001F1003": [1, "2"], "0020000B": 0},
    "attachments": [5, {"00170003": 2}]})");
  expectEqual(read.message, {{0x00170003, std::int32_t{1}}});
  ASSERT_EQ(read.attachments.size(), 2u);
  expectEqual(read.attachments[1], {{0x00170003, std::int32_t{2}}});
  EXPECT_TRUE(read.names.empty());
  for (const char* none :
       {"", "{", "[]", "null", R"({"message": {"00170003": 1}})", R"({"version": 1, "message": []})"})
    EXPECT_THAT(readPropertyPart(none).message, IsEmpty()) << none;
}

}  // namespace
}  // namespace fendrel::mime
