// Blocks are written in their order while their maker goes on, and none is lost where the disk refuses.
#include "block_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "checksum.h"

namespace fendrel::store {
namespace {

class RefusingFile final : public DiskFile {
public:
  void write(std::uint64_t position, std::span<const std::byte> bytes) override {
    const std::lock_guard lock(mutex);
    if (refused) fail(Status::NotEnoughDisk, "The test's disk is full.");
    if (content.size() < position + bytes.size()) content.resize(static_cast<std::size_t>(position + bytes.size()));
    std::ranges::copy(bytes, content.begin() + static_cast<std::ptrdiff_t>(position));
    positions.push_back(position);
    threads.push_back(GetCurrentThreadId());
  }
  std::size_t read(std::uint64_t, std::span<std::byte>) override { return 0; }
  std::uint64_t size() override { return content.size(); }
  void resize(std::uint64_t) override {}
  void flush() override {
    ++flushes;
    if (flushFails) fail(Status::Failed, "The test's disk does not flush.");
  }
  void rename(const std::wstring&) override {}

  std::mutex mutex;
  Bytes content;
  std::vector<std::uint64_t> positions;
  std::vector<DWORD> threads;
  std::atomic<bool> refused = false, flushFails = false;
  std::atomic<int> flushes = 0;
};

constexpr std::size_t blockSize = 1000;

Bytes block(int number, std::size_t size = blockSize) { return Bytes(size, static_cast<std::byte>(number)); }

Bytes blocks(int count) {
  Bytes all;
  for (int i = 0; i < count; ++i) all.insert(all.end(), blockSize, static_cast<std::byte>(i));
  return all;
}

void write(BlockWriter& writer, int number) {
  Bytes bytes = block(number);
  writer.write(static_cast<std::uint64_t>(number) * blockSize, bytes);
  EXPECT_TRUE(bytes.empty());
}

TEST(BlockWriterTest, WritesAllBlocksInTheirOrder) {
  RefusingFile file;
  BlockWriter writer(file, true);
  for (int i = 0; i < 100; ++i) write(writer, i);
  writer.finish();
  EXPECT_TRUE(file.content == blocks(100));
  EXPECT_TRUE(std::ranges::is_sorted(file.positions));
}

TEST(BlockWriterTest, InTheBackground) {
  RefusingFile file;
  BlockWriter writer(file, true);
  for (int i = 0; i < 10; ++i) write(writer, i);
  writer.finish();
  EXPECT_EQ(std::ranges::count(file.threads, GetCurrentThreadId()), 0);
}

TEST(BlockWriterTest, WithoutBackgroundWritesAtOnceAndLeavesTheBlock) {
  RefusingFile file;
  BlockWriter writer(file, false);
  Bytes bytes = block(7);
  writer.write(0, bytes);
  EXPECT_TRUE(file.content == block(7));
  EXPECT_TRUE(bytes == block(7));
  writer.finish();
}

TEST(BlockWriterTest, RefusedBlocksAreToldOfAndTriedAgain) {
  RefusingFile file;
  BlockWriter writer(file, true);
  write(writer, 0);
  writer.finish();
  file.refused = true;
  write(writer, 1);  // one only: a further one would be refused, or not, as the background goes
  for (int attempt = 0; attempt < 2; ++attempt) {
    try {
      writer.finish();
      ADD_FAILURE() << "it says that all is written";
    } catch (const EngineError& error) {
      EXPECT_EQ(error.status, Status::NotEnoughDisk);
    }
  }
  file.refused = false;
  writer.finish();
  EXPECT_TRUE(file.content == blocks(2));
}

TEST(BlockWriterTest, AFullQueueBehindARefusedBlockTakesNoMore) {
  RefusingFile file;
  file.refused = true;
  BlockWriter writer(file, true);
  int taken = 0;
  Bytes bytes;
  try {
    for (; taken < 10; ++taken) {
      bytes = block(taken);
      writer.write(static_cast<std::uint64_t>(taken) * blockSize, bytes);
    }
    ADD_FAILURE() << "ten blocks were taken";
  } catch (const EngineError& error) {
    EXPECT_EQ(error.status, Status::NotEnoughDisk);
  }
  EXPECT_TRUE(bytes == block(taken)) << "the refused one is the caller's still";
  file.refused = false;
  writer.write(static_cast<std::uint64_t>(taken) * blockSize, bytes);
  writer.finish();
  EXPECT_TRUE(file.content == blocks(taken + 1));
}

// The positions of the blocks and their checksums, as the writer should tell them.
void expectChecksums(BlockWriter& writer, int count) {
  const auto& told = writer.checksums();
  ASSERT_EQ(told.size(), static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    EXPECT_EQ(told[static_cast<std::size_t>(i)].position, static_cast<std::uint64_t>(i) * blockSize);
    EXPECT_EQ(told[static_cast<std::size_t>(i)].sum, checksum(block(i))) << "block " << i;
  }
}

TEST(BlockWriterTest, TellsTheChecksumsTillTheyAreForgotten) {
  for (const bool inBackground : {false, true}) {
    RefusingFile file;
    BlockWriter writer(file, inBackground);
    for (int i = 0; i < 100; ++i) {
      Bytes bytes = block(i);
      writer.write(static_cast<std::uint64_t>(i) * blockSize, bytes);
    }
    writer.finish();
    for (int i = 0; i < 2; ++i) expectChecksums(writer, 100);
    writer.forgetChecksums();
    EXPECT_TRUE(writer.checksums().empty());
  }
}

TEST(BlockWriterTest, TellsTheChecksumsOfBlocksThatWereTriedAgain) {
  RefusingFile file;
  file.refused = true;
  BlockWriter writer(file, true);
  write(writer, 0);
  EXPECT_THROW(writer.finish(), EngineError);
  EXPECT_TRUE(writer.checksums().empty());
  file.refused = false;
  writer.finish();
  expectChecksums(writer, 1);
}

// A file of so many MiB.
void writeLongFile(BlockWriter& writer, int count) {
  constexpr std::size_t large = 1024 * 1024;
  for (int i = 0; i < count; ++i) {
    Bytes bytes = block(i, large);
    writer.write(static_cast<std::uint64_t>(i) * large, bytes);
  }
  writer.finish();
}

TEST(BlockWriterTest, DoesNotFlushShortFiles) {
  RefusingFile file;
  BlockWriter writer(file, true);
  writeLongFile(writer, 3);
  EXPECT_EQ(file.flushes, 0);
}

TEST(BlockWriterTest, FlushesLongFilesMeanwhile) {
  RefusingFile file;
  BlockWriter writer(file, true);
  writeLongFile(writer, 8);
  EXPECT_GE(file.flushes, 1);
  EXPECT_LE(file.flushes, 2);
}

TEST(BlockWriterTest, AFlushThatFailedSpoilsTheFile) {
  RefusingFile file;
  file.flushFails = true;
  BlockWriter writer(file, true);
  EXPECT_THROW(writeLongFile(writer, 8), EngineError);
  file.flushFails = false;
  EXPECT_THROW(writer.finish(), EngineError);
}

}  // namespace
}  // namespace fendrel::store
