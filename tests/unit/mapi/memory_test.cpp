// Owners of MAPI's memory, and the reading of values.
#include "bound_mapi.h"
#include "mapi_memory.h"
#include "mapi_row.h"
#include "mapi_values.h"

using namespace fendrel;

namespace {

class MapiMemory : public testing::Test {
 protected:
  SRow row(const TestRow& values) {
    SRow made{};
    made.cValues = static_cast<ULONG>(values.size());
    owned_.reset(makeValues(mapi32.heap, values));
    made.lpProps = owned_.get();
    return made;
  }

  BoundMapi mapi32;

 private:
  MapiBuffer<SPropValue> owned_;
};

TEST_F(MapiMemory, OwnerFreesItsBlockAndWhatIsChainedToIt) {
  auto* const top = mapi32.heap.make<SPropValue>();
  mapi32.heap.make<char>(10, top);
  { const MapiBuffer<SPropValue> owner(top); }
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

TEST_F(MapiMemory, RowSetIsFreedWithThePropertyArrayOfEachRow) {
  { const RowSet rows(makeRowSet(mapi32.heap, {{text(PR_SUBJECT_A, "a")}, {text(PR_SUBJECT_A, "b")}}, 0, 2)); }
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

TEST_F(MapiMemory, RowWithoutPropertyArrayIsFreed) {
  SRowSet* const set = makeRowSet(mapi32.heap, {{text(PR_SUBJECT_A, "a")}}, 0, 1);
  MapiBuffer<SPropValue> taken(set->aRow[0].lpProps);
  set->aRow[0].lpProps = nullptr;
  { const RowSet rows(set); }
  EXPECT_EQ(mapi32.heap.liveBlocks(), 1u);
}

TEST_F(MapiMemory, ReceiveEmptiesTheOwnerBeforeTheCallAndTakesWhatWasWritten) {
  MapiBuffer<SPropValue> owner(mapi32.heap.make<SPropValue>());
  auto* const second = mapi32.heap.make<SPropValue>();
  const auto call = [&](SPropValue** out) {
    EXPECT_EQ(mapi32.heap.liveBlocks(), 1u) << "the first block still lives during the call";
    EXPECT_EQ(*out, nullptr);
    *out = second;
  };
  call(receive(owner));
  EXPECT_EQ(owner.get(), second);
}

TEST_F(MapiMemory, ReceiveLeavesTheOwnerEmptyWhenNothingIsWritten) {
  MapiBuffer<SPropValue> owner(mapi32.heap.make<SPropValue>());
  [](SPropValue**) {}(receive(owner));
  EXPECT_EQ(owner, nullptr);
}

TEST_F(MapiMemory, ValueIsReadWhenItsTagIsTheOneAskedFor) {
  const SRow values = row({number(PR_RESOURCE_TYPE, 39)});
  ASSERT_NE(valueAt(values, 0, PR_RESOURCE_TYPE), nullptr);
  EXPECT_EQ(valueAt(values, 0, PR_RESOURCE_TYPE)->Value.l, 39);
}

TEST_F(MapiMemory, ErrorInThePlaceOfAValueIsNotRead) {
  const SRow values = row({missing(PR_DISPLAY_NAME_A), missing(PR_ENTRYID)});
  EXPECT_EQ(valueAt(values, 0, PR_DISPLAY_NAME_A), nullptr);
  EXPECT_EQ(textAt(values, 0, PR_DISPLAY_NAME_A), nullptr);
  EXPECT_TRUE(binaryAt(values, 1, PR_ENTRYID).empty());
}

TEST_F(MapiMemory, ColumnBehindTheRowIsNotRead) {
  const SRow values = row({text(PR_DISPLAY_NAME_A, "one")});
  EXPECT_EQ(valueAt(values, 1, PR_DISPLAY_NAME_A), nullptr);
  EXPECT_EQ(textAt(values, 1, PR_DISPLAY_NAME_A), nullptr);
  EXPECT_TRUE(binaryAt(values, 1, PR_ENTRYID).empty());
}

TEST_F(MapiMemory, TextIsReadInItsEightBitForm) {
  const SRow values = row({text(PR_DISPLAY_NAME_A, "Mailbox")});
  EXPECT_STREQ(textAt(values, 0, PR_DISPLAY_NAME_A), "Mailbox");
}

TEST_F(MapiMemory, BinaryWithoutAddressIsEmptyWhateverItsSizeSays) {
  SPropValue value{.ulPropTag = PR_ENTRYID};
  value.Value.bin.cb = 20;
  EXPECT_TRUE(binaryOf(value).empty());
}

TEST_F(MapiMemory, BinaryHasTheSizeThatTheValueTells) {
  const SRow values = row({binary(PR_ENTRYID, "12345")});
  const BinaryView bytes = binaryAt(values, 0, PR_ENTRYID);
  ASSERT_EQ(bytes.size(), 5u);
  EXPECT_EQ(bytes[4], std::byte{'5'});
  EXPECT_EQ(sizeArgument(bytes), 5u);
  EXPECT_EQ(static_cast<const void*>(entryIdArgument(bytes)), bytes.data());
}

TEST_F(MapiMemory, TagArrayHasMapisLayout) {
  static constexpr auto tags = propertyTags(PR_ENTRYID, PR_DISPLAY_NAME_A);
  EXPECT_EQ(tags.array().cValues, 2u);
  EXPECT_EQ(tags.array().aulPropTag[0], PR_ENTRYID);
  EXPECT_EQ(tags.argument()->aulPropTag[1], PR_DISPLAY_NAME_A);
}

}  // namespace
