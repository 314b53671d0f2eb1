#include <cmath>
#include <cstring>
#include <limits>

#include "engine_fixture.h"

namespace fendrel::store {
namespace {

struct ValueCase {
  const char* name;
  PropertyTag tag;
  PropertyValue value;
};

class EveryTypeTest : public EngineTest, public testing::WithParamInterface<ValueCase> {};

// Each value goes through a message, an attachment and a folder.
TEST_P(EveryTypeTest, ComesBackAsItWasSet) {
  const Property property{GetParam().tag, GetParam().value};
  MessageDraft draft;
  draft.folder = top;
  draft.set = {property};
  draft.attachments.emplace_back().set = {property};
  const MessageInfo message = save(draft);
  ASSERT_EQ(changeFolderProperties(*database, top, {&property, 1}, {}), Status::Ok);
  reopen();
  std::vector<Property> found;
  ASSERT_EQ(readMessageProperties(*database, message.id, {}, found), Status::Ok) << database->lastError();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].tag, property.tag);
  EXPECT_TRUE(found[0].value == property.value);
  ASSERT_EQ(readAttachmentProperties(*database, message.id, 0, {}, found), Status::Ok);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(found[0].value == property.value);
  ASSERT_EQ(readFolderProperties(*database, top, {}, found), Status::Ok);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(found[0].value == property.value);
}

constexpr std::uint16_t someId = 0x6001;
using Limits32 = std::numeric_limits<std::int32_t>;
using Limits64 = std::numeric_limits<std::int64_t>;

INSTANTIATE_TEST_SUITE_P(
    Values, EveryTypeTest,
    testing::Values(
        ValueCase{"Int16", makeTag(someId, PropertyType::int16), std::int16_t{-32768}},
        ValueCase{"Int32", makeTag(someId, PropertyType::int32), Limits32::min()},
        ValueCase{"Int64", makeTag(someId, PropertyType::int64), Limits64::min()},
        ValueCase{"Currency", makeTag(someId, PropertyType::currency), std::int64_t{-12'345'600}},
        ValueCase{"Float", makeTag(someId, PropertyType::float32), 0.1f},
        ValueCase{"FloatWhole", makeTag(someId, PropertyType::float32), 3.0f},
        ValueCase{"Double", makeTag(someId, PropertyType::float64), -0.1},
        ValueCase{"DoubleInfinite", makeTag(someId, PropertyType::float64), std::numeric_limits<double>::infinity()},
        ValueCase{"DoubleWhole", makeTag(someId, PropertyType::float64), 1e15},
        ValueCase{"AppTime", makeTag(someId, PropertyType::appTime), 45'000.25},
        ValueCase{"True", makeTag(someId, PropertyType::boolean), true},
        ValueCase{"False", makeTag(someId, PropertyType::boolean), false},
        ValueCase{"Time", makeTag(someId, PropertyType::time), FileTime{133'000'000'000'000'001}},
        ValueCase{"TimeHighest", makeTag(someId, PropertyType::time), FileTime{~std::uint64_t{0}}},
        ValueCase{"Guid", makeTag(someId, PropertyType::guid), Guid{{std::byte{1}, std::byte{0xFF}}}},
        ValueCase{"Text", makeTag(someId, PropertyType::text), u"Grüße 日本 \U0001F600"},
        ValueCase{"TextEmpty", makeTag(someId, PropertyType::text), std::u16string()},
        ValueCase{"TextWithNul", makeTag(someId, PropertyType::text), std::u16string(u"a\0b", 3)},
        ValueCase{"TextUnpaired", makeTag(someId, PropertyType::text), std::u16string{0xDC00, u'x', 0xD83D}},
        ValueCase{"TextByteOrderMark", makeTag(someId, PropertyType::text), u"\uFEFFx"},
        ValueCase{"TextLooksLikeNumber", makeTag(someId, PropertyType::text), u"007"},
        ValueCase{"TextLong", makeTag(someId, PropertyType::text), std::u16string(16 * 1024, u'é')},
        ValueCase{"Binary", makeTag(someId, PropertyType::binary), pattern(1000)},
        ValueCase{"BinaryEmpty", makeTag(someId, PropertyType::binary), Bytes()},
        ValueCase{"ManyInt32", makeTag(someId, PropertyType::manyInt32),
                  std::vector<std::int32_t>{1, -1, Limits32::max()}},
        ValueCase{"ManyInt32None", makeTag(someId, PropertyType::manyInt32), std::vector<std::int32_t>{}},
        ValueCase{"ManyInt16", makeTag(someId, PropertyType::manyInt16), std::vector<std::int16_t>{1, -1}},
        ValueCase{"ManyInt64", makeTag(someId, PropertyType::manyInt64), std::vector<std::int64_t>{1, -5'000'000'000}},
        ValueCase{"ManyCurrency", makeTag(someId, PropertyType::manyCurrency), std::vector<std::int64_t>{-1}},
        ValueCase{"ManyFloat32", makeTag(someId, PropertyType::manyFloat32), std::vector<float>{1.5f, -0.25f}},
        ValueCase{"ManyFloat64", makeTag(someId, PropertyType::manyFloat64), std::vector<double>{1.5, -0.25}},
        ValueCase{"ManyAppTime", makeTag(someId, PropertyType::manyAppTime), std::vector<double>{40'000.5}},
        ValueCase{"ManyTime", makeTag(someId, PropertyType::manyTime), std::vector<FileTime>{{1}, {~std::uint64_t{0}}}},
        ValueCase{"ManyGuid", makeTag(someId, PropertyType::manyGuid), std::vector<Guid>{Guid{}, Guid{{std::byte{1}}}}},
        ValueCase{"ManyText", makeTag(someId, PropertyType::manyText), std::vector<std::u16string>{u"ä", u"", u"bc"}},
        ValueCase{"ManyBinary", makeTag(someId, PropertyType::manyBinary),
                  std::vector<Bytes>{pattern(3), {}, pattern(9)}}),
    [](const auto& test) { return test.param.name; });

using PropertiesTest = EngineTest;

TEST_F(PropertiesTest, NotANumberStaysOne) {
  MessageDraft draft;
  draft.folder = top;
  draft.set = {{makeTag(someId, PropertyType::float64), std::nan("")}};
  const auto found = propertiesOf(save(draft).id);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(std::isnan(std::get<double>(found[0].value)));
}

TEST_F(PropertiesTest, OnlyAskedForOnesComeBack) {
  const MessageInfo message = save(draftWith(top, u"subject"));
  std::vector<Property> found;
  const PropertyTag otherType[] = {makeTag(0x0037, PropertyType::binary)};
  ASSERT_EQ(readMessageProperties(*database, message.id, otherType, found), Status::Ok);
  EXPECT_TRUE(found.empty());
  const PropertyTag anyType[] = {classTag, makeTag(0x0037, PropertyType::unspecified)};
  ASSERT_EQ(readMessageProperties(*database, message.id, anyType, found), Status::Ok);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].tag, subjectTag);
}

TEST_F(PropertiesTest, ValueOverTheLimitIsNotLoadedButCanBeOpened) {
  const std::u16string body(200'000, u'本');
  MessageDraft draft = draftWith(top, u"s");
  draft.set.push_back({bodyTag, body});
  const MessageInfo message = save(draft);
  const PropertyTag wanted[] = {bodyTag};
  std::vector<Property> found;
  ASSERT_EQ(readMessageProperties(*database, message.id, wanted, found), Status::Ok);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].value, PropertyValue(UnloadedValue{400'000}));
  ASSERT_EQ(readMessageProperties(*database, message.id, wanted, found, 400'000), Status::Ok);
  EXPECT_EQ(found[0].value, PropertyValue(body));
  Bytes bytes;
  ASSERT_EQ(readAll(message.id, std::nullopt, bodyTag, bytes), Status::Ok);
  ASSERT_EQ(bytes.size(), 400'000u);
  EXPECT_EQ(std::memcmp(bytes.data(), body.data(), bytes.size()), 0);
}

TEST_F(PropertiesTest, ShortValueCanBeOpenedTooAndContentReadAsValue) {
  MessageDraft draft = draftWith(top, u"äb");
  const std::u16string text = u"streamed";
  const auto raw = std::as_bytes(std::span(text));
  draft.contents = {{bodyTag, writerWith(Bytes(raw.begin(), raw.end()))}};
  const MessageInfo message = save(draft);
  Bytes bytes;
  ASSERT_EQ(readAll(message.id, std::nullopt, subjectTag, bytes), Status::Ok);
  EXPECT_EQ(bytes, (Bytes{std::byte{0xE4}, std::byte{0}, std::byte{'b'}, std::byte{0}}));
  const PropertyTag wanted[] = {bodyTag};
  std::vector<Property> found;
  ASSERT_EQ(readMessageProperties(*database, message.id, wanted, found), Status::Ok);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].value, PropertyValue(text));
}

TEST_F(PropertiesTest, OtherTypesCannotBeOpened) {
  MessageDraft draft = draftWith(top, u"s");
  draft.set.push_back({makeTag(someId, PropertyType::int32), 5});
  const MessageInfo message = save(draft);
  Bytes bytes;
  EXPECT_EQ(readAll(message.id, std::nullopt, makeTag(someId, PropertyType::unspecified), bytes), Status::Invalid);
  EXPECT_EQ(readAll(message.id, std::nullopt, bodyTag, bytes), Status::NotFound);
  EXPECT_EQ(readAll(message.id, 3, attachDataTag, bytes), Status::NotFound);
}

}  // namespace
}  // namespace fendrel::store
