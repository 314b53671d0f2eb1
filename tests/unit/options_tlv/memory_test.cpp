// Tagged streams in memory.
#include "tlv_memory.h"

#include <cstring>

#include "tlv_test.h"

namespace fendrel::test {
namespace {

class TlvMemoryReading : public testing::Test {
 protected:
  void open(const std::string& content) {
    block = blockOf(content);
    ASSERT_EQ(OpenTLVMemory(block, stream), 0);
  }
  MemoryBlock block, value;
  std::unique_ptr<TLVMemory> stream;
  std::uint16_t tag = 0, length = 0;
};

TEST_F(TlvMemoryReading, IsAMemoryStream) {
  open("");
  EXPECT_TRUE(stream->IsMemory());
  EXPECT_FALSE(stream->IsFile());
}

TEST_F(TlvMemoryReading, ItemsAreReadOneAfterTheOther) {
  open(item(4121, "comment") + item(4122, "body"));
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(tag, 4121);
  EXPECT_EQ(length, 7);
  EXPECT_EQ(textOf(value), "comment");
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(textOf(value), "body");
  EXPECT_EQ(stream->ReadItem(tag, length, value), 264);
}

TEST_F(TlvMemoryReading, AnEmptyValueIsABlockOfSize0) {
  open(item(5, ""));
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(BlockSize(value), 0u);
}

TEST_F(TlvMemoryReading, PeekDoesNotMove) {
  open(item(5, "ab"));
  EXPECT_EQ(stream->PeekItem(tag, length), 0);
  EXPECT_EQ(stream->PeekItem(tag, length), 0);
  EXPECT_EQ(tag, 5);
  EXPECT_EQ(length, 2);
  EXPECT_EQ(stream->position(), 0);
}

TEST_F(TlvMemoryReading, TheValuesAddressLiesInsideTheBlock) {
  open(item(5, "ab") + item(6, "c"));
  std::byte* address = nullptr;
  EXPECT_EQ(stream->GetValuePointer(tag, length, address), 0);
  EXPECT_EQ(address, block.get() + 4);
  EXPECT_EQ(stream->position(), 6);
}

TEST_F(TlvMemoryReading, SkipStepsOverOneItem) {
  open(item(5, "ab") + item(6, "c"));
  EXPECT_EQ(stream->SkipItem(), 0);
  EXPECT_EQ(stream->PeekItem(tag, length), 0);
  EXPECT_EQ(tag, 6);
}

TEST_F(TlvMemoryReading, FindTagStandsBeforeTheItem) {
  open(item(5, "ab") + item(6, "c") + item(7, ""));
  EXPECT_EQ(stream->FindTag(6), 0);
  EXPECT_EQ(stream->ReadItem(tag, length, value), 0);
  EXPECT_EQ(textOf(value), "c");
}

TEST_F(TlvMemoryReading, FindTagOnAStreamThatLacksTheTagEndsWith264) {
  open(item(5, "ab") + item(6, "c"));
  EXPECT_EQ(stream->FindTag(9), 264);
}

TEST_F(TlvMemoryReading, FindTagStopsAtAMalformedItem) {
  open(item(5, "ab") + item(0, ""));
  EXPECT_EQ(stream->FindTag(9), 268);
}

struct Malformed {
  const char* name;
  std::string content;
  int code;
};
class TlvMemoryMalformed : public TlvMemoryReading, public testing::WithParamInterface<Malformed> {};

TEST_P(TlvMemoryMalformed, IsRefusedAndTheStreamDoesNotMove) {
  open(GetParam().content);
  std::byte* address = nullptr;
  EXPECT_EQ(stream->PeekItem(tag, length), GetParam().code);
  EXPECT_EQ(stream->SkipItem(), GetParam().code);
  EXPECT_EQ(stream->GetValuePointer(tag, length, address), GetParam().code);
  EXPECT_EQ(stream->ReadItem(tag, length, value), GetParam().code);
  EXPECT_EQ(stream->position(), 0);
  EXPECT_EQ(value, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Items, TlvMemoryMalformed,
                         testing::Values(Malformed{"EndOfStream", "", 264},
                                         Malformed{"HeaderCut", std::string("\5\0\0", 3), 268},
                                         Malformed{"TagZero", item(0, "ab"), 268},
                                         Malformed{"Length65521", std::string("\5\0\xF1\xFF", 4), 268},
                                         Malformed{"ValueCut", item(5, "abc").substr(0, 6), 268}),
                         [](const auto& row) { return row.param.name; });

TEST_F(TlvMemoryReading, ALengthOf65520IsAcceptedAnd65521Refused) {
  open(item(5, std::string(65520, 'x')));
  EXPECT_EQ(stream->PeekItem(tag, length), 0);
  EXPECT_EQ(length, 65520);
  std::string longer = item(5, std::string(65520, 'x')) + "x";
  longer[2] = '\xF1';
  open(longer);
  EXPECT_EQ(stream->PeekItem(tag, length), 268);
}

// The position has 16 bits: after 65,535 bytes it wraps to the start.
TEST_F(TlvMemoryReading, APositionBehind65535ComesRound) {
  open(item(5, std::string(65520, 'x')) + item(6, std::string(8, 'y')) + item(7, "z"));
  EXPECT_EQ(stream->SkipItem(), 0);
  EXPECT_EQ(stream->position(), 65524);
  EXPECT_EQ(stream->SkipItem(), 0);
  EXPECT_EQ(stream->position(), 0);
  EXPECT_EQ(stream->PeekItem(tag, length), 0);
  EXPECT_EQ(tag, 5);
}

TEST_F(TlvMemoryReading, FindTagEndsWith264WhereThePositionWouldComeRound) {
  open(item(5, std::string(65520, 'x')) + item(6, std::string(8, 'y')) + item(7, "z"));
  EXPECT_EQ(stream->FindTag(7), 264);
}

TEST_F(TlvMemoryReading, AnItemMayBeReadIntoTheBlockThatItStandsIn) {
  open(item(5, "ab"));
  EXPECT_EQ(stream->ReadItem(tag, length, block), 0);
  EXPECT_EQ(textOf(block), "ab");
}

TEST_F(TlvMemoryReading, AClosedStreamHasNothing) {
  open(item(5, "ab"));
  EXPECT_EQ(stream->Close(), 0);
  EXPECT_EQ(stream->PeekItem(tag, length), 264);
  EXPECT_EQ(stream->WriteItem(5, 1, "x"), 267);
  EXPECT_EQ(stream->Close(), 0);
}

TEST_F(TlvMemoryReading, AReadersBlockKeepsItsSize) {
  open(item(5, "ab") + item(6, "c"));
  stream->SkipItem();
  stream.reset();
  EXPECT_EQ(textOf(block), item(5, "ab") + item(6, "c"));
}

class TlvMemoryWriting : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(CreateTLVMemory(block, stream), 0); }
  MemoryBlock block;
  std::unique_ptr<TLVMemory> stream;
};

TEST_F(TlvMemoryWriting, TheFirstBlockHas256Bytes) { EXPECT_EQ(BlockSize(block), 256u); }

TEST_F(TlvMemoryWriting, TheFinalBlockIsExactlyAsLongAsTheItems) {
  EXPECT_EQ(stream->WriteItem(4121, 7, "comment"), 0);
  EXPECT_EQ(stream->WriteItem(4122, 0, nullptr), 0);
  EXPECT_EQ(BlockSize(block), 256u);
  stream.reset();
  EXPECT_EQ(textOf(block), item(4121, "comment") + item(4122, ""));
}

TEST_F(TlvMemoryWriting, AnEmptyStreamLeavesAnEmptyBlock) {
  stream.reset();
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(BlockSize(block), 0u);
}

TEST_F(TlvMemoryWriting, GrowthLeaves256BytesOfMargin) {
  const std::string value(252, 'x');
  EXPECT_EQ(stream->WriteItem(1, 252, value.data()), 0);  // fits to the byte
  EXPECT_EQ(BlockSize(block), 256u);
  EXPECT_EQ(stream->WriteItem(2, 1, "y"), 0);
  EXPECT_EQ(BlockSize(block), 256u + 5 + 256);
}

TEST_F(TlvMemoryWriting, TheLargestGrowthReaches65535) {
  const std::string value(65275, 'x');
  EXPECT_EQ(stream->WriteItem(1, 65275, value.data()), 0);
  EXPECT_EQ(BlockSize(block), 65535u);
}

TEST_F(TlvMemoryWriting, AnItemWithoutRoomForTheMarginIsWrittenWhole) {
  for (const std::uint16_t length : {65276, 65520}) {
    stream.reset();
    ASSERT_EQ(CreateTLVMemory(block, stream), 0);
    const std::string value(length, 'x');
    EXPECT_EQ(stream->WriteItem(1, length, value.data()), 0);
    EXPECT_EQ(BlockSize(block), 65535u);
    stream.reset();
    EXPECT_EQ(textOf(block), item(1, value));
  }
}

TEST_F(TlvMemoryWriting, AnItemThatEndsAt65535IsWrittenAndNoneFurther) {
  EXPECT_EQ(stream->WriteItem(1, 7, "comment"), 0);
  const std::string value(65520, 'x');
  EXPECT_EQ(stream->WriteItem(2, 65521, value.data()), 267);
  EXPECT_EQ(stream->WriteItem(2, 65520, value.data()), 0);
  EXPECT_EQ(stream->position(), 65535);
}

TEST_F(TlvMemoryWriting, DataInTheStreamsOwnBlockIsWrittenAlsoWhenThatGrows) {
  const std::string value(200, 'v');
  ASSERT_EQ(stream->WriteItem(1, 200, value.data()), 0);
  EXPECT_EQ(stream->WriteItem(2, 200, block.get() + 4), 0);
  EXPECT_EQ(stream->WriteItem(3, 200, block.get() + 4 + 204), 0);
  stream.reset();
  EXPECT_EQ(textOf(block), item(1, value) + item(2, value) + item(3, value));
}

TEST_F(TlvMemoryWriting, DataThatTheItemFallsOnIsWrittenAsItWas) {
  std::memcpy(block.get() + 2, "abcdefgh", 8);
  EXPECT_EQ(stream->WriteItem(1, 8, block.get() + 2), 0);
  stream.reset();
  EXPECT_EQ(textOf(block), item(1, "abcdefgh"));
}

TEST_F(TlvMemoryWriting, ClosingLeavesTheBlockAndDestructionCutsIt) {
  ASSERT_EQ(stream->WriteItem(1, 3, "abc"), 0);
  EXPECT_EQ(stream->Close(), 0);
  EXPECT_EQ(BlockSize(block), 256u);
  EXPECT_EQ(stream->WriteItem(1, 3, "abc"), 267);
  stream.reset();
  EXPECT_EQ(textOf(block), item(1, "abc"));
}

TEST_F(TlvMemoryWriting, ABlockThatIsGoneBeforeItsStreamStaysGone) {
  ASSERT_EQ(stream->WriteItem(1, 3, "abc"), 0);
  stream->Close();
  BlockFree(block);
  stream.reset();
  EXPECT_EQ(block, nullptr);
}

TEST_F(TlvMemoryWriting, AnItemThatDoesNotFitIs267AndNothingIsTorn) {
  EXPECT_EQ(stream->WriteItem(1, 3, "abc"), 0);
  const std::string value(65535, 'x');
  EXPECT_EQ(stream->WriteItem(2, 65525, value.data()), 267);
  EXPECT_EQ(stream->WriteItem(2, 65535, value.data()), 267);
  EXPECT_EQ(BlockSize(block), 256u);
  EXPECT_EQ(stream->position(), 7);
  EXPECT_EQ(stream->WriteItem(3, 1, "d"), 0);
  stream.reset();
  EXPECT_EQ(textOf(block), item(1, "abc") + item(3, "d"));
}

TEST_F(TlvMemoryWriting, AFullBlockRefusesMore) {
  const std::string value(65275, 'x');
  ASSERT_EQ(stream->WriteItem(1, 65275, value.data()), 0);
  EXPECT_EQ(stream->position(), 65279);
  EXPECT_EQ(stream->WriteItem(2, 252, value.data()), 0);  // fills the margin to the byte
  EXPECT_EQ(stream->position(), 65535);
  EXPECT_EQ(stream->WriteItem(3, 0, nullptr), 267);
  stream.reset();
  EXPECT_EQ(BlockSize(block), 65535u);
}

TEST_F(TlvMemoryWriting, ABlockThatHoldsNothingIs267) {
  EXPECT_EQ(stream->WriteItemFromHandle(1, 3, nullptr), 267);
  EXPECT_EQ(stream->WriteItemFromHandle(1, 5, blockOf("abcd")), 267);
  EXPECT_EQ(stream->WriteItem(1, 3, nullptr), 267);
  EXPECT_EQ(stream->position(), 0);
}

TEST_F(TlvMemoryWriting, ABlocksBytesAreWrittenAsAnItem) {
  EXPECT_EQ(stream->WriteItemFromHandle(1, 4, blockOf("abcd")), 0);
  stream.reset();
  EXPECT_EQ(textOf(block), item(1, "abcd"));
}

TEST_F(TlvMemoryWriting, WhatWasWrittenIsRead) {
  stream->WriteItem(1, 2, "ab");
  stream->WriteItem(2, 0, nullptr);
  stream.reset();
  std::unique_ptr<TLVMemory> reader;
  ASSERT_EQ(OpenTLVMemory(block, reader), 0);
  std::uint16_t tag = 0, length = 0;
  MemoryBlock value;
  EXPECT_EQ(reader->FindTag(2), 0);
  EXPECT_EQ(reader->ReadItem(tag, length, value), 0);
  EXPECT_EQ(length, 0);
}

TEST(TlvDescriptor, SupportsNothingByItself) {
  TLVDescriptor stream;
  std::uint16_t tag = 0, length = 0;
  std::byte* address = nullptr;
  MemoryBlock block = blockOf("x");
  EXPECT_FALSE(stream.IsFile());
  EXPECT_FALSE(stream.IsMemory());
  EXPECT_EQ(stream.Close(), 0);
  EXPECT_EQ(stream.GetValuePointer(tag, length, address), 257);
  EXPECT_EQ(stream.ReadItem(tag, length, block), 257);
  EXPECT_EQ(stream.WriteItem(1, 1, "x"), 257);
  EXPECT_EQ(stream.WriteItemFromHandle(1, 1, block), 257);
  EXPECT_EQ(stream.WriteItemFromHandle(1, 1, nullptr), 267);
  EXPECT_EQ(stream.FindTag(1), 257);
  EXPECT_EQ(stream.PeekItem(tag, length), 257);
  EXPECT_EQ(stream.SkipItem(), 257);
}

}  // namespace
}  // namespace fendrel::test
