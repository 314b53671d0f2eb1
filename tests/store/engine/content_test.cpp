#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <fstream>

#include "content_spool.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class ContentTest : public EngineTest {
 protected:
  // Saves the bytes as an attachment and returns the message.
  Id saveBytes(const Bytes& bytes) { return save(draftWithAttachment(top, bytes)).id; }

  std::wstring onlyContentFile() const {
    const auto files = contentFiles();
    EXPECT_EQ(files.size(), 1u);
    return files.empty() ? L"" : contentFolder() + L"\\" + files[0];
  }

  std::shared_ptr<ContentReader> readerOf(const Id& message) {
    std::shared_ptr<ContentReader> reader;
    EXPECT_EQ(openContent(*database, message, 0, attachDataTag, reader), Status::Ok);
    return reader;
  }

  static void overwrite(const std::wstring& file, std::uint64_t position, char byte) {
    std::fstream stream(std::filesystem::path(file), std::ios::binary | std::ios::in | std::ios::out);
    stream.seekp(static_cast<std::streamoff>(position));
    stream.put(byte);
    ASSERT_TRUE(stream.good());
  }
};

struct SizeCase {
  const char* name;
  std::size_t size;
  std::size_t files;
};

class ContentSizeTest : public ContentTest, public testing::WithParamInterface<SizeCase> {};

TEST_P(ContentSizeTest, ComesBackUnchangedFromWhereItBelongs) {
  const Bytes bytes = pattern(GetParam().size);
  const Id message = saveBytes(bytes);
  EXPECT_EQ(contentFiles().size(), GetParam().files);
  EXPECT_TRUE(spoolFiles().empty());
  reopen();
  Bytes found;
  ASSERT_EQ(readAll(message, 0, attachDataTag, found), Status::Ok) << database->lastError();
  EXPECT_TRUE(found == bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, ContentSizeTest,
    testing::Values(SizeCase{"Empty", 0, 0}, SizeCase{"OneByte", 1, 0},
                    SizeCase{"BlockLessOne", contentBlockSize - 1, 0}, SizeCase{"Block", contentBlockSize, 0},
                    SizeCase{"BlockAndOne", contentBlockSize + 1, 1}, SizeCase{"TwoBlocks", contentBlockSize * 2, 1},
                    SizeCase{"TwoBlocksAndOne", contentBlockSize * 2 + 1, 1}, SizeCase{"Megabytes", 5'000'003, 1}),
    [](const auto& test) { return test.param.name; });

TEST_F(ContentTest, SmallWritesOneAfterAnotherAddUp) {
  const Bytes bytes = pattern(1'000'000);
  auto writer = createContent(*database);
  for (std::size_t done = 0; done < bytes.size();) {
    const std::size_t count = std::min<std::size_t>(4096, bytes.size() - done);
    ASSERT_EQ(writer->write(done, std::span(bytes).subspan(done, count)), Status::Ok);
    done += count;
  }
  EXPECT_EQ(writer->size(), bytes.size());
  MessageDraft draft = draftWith(top, u"s");
  draft.contents = {{attachDataTag, writer}};
  const Id message = save(draft).id;
  EXPECT_TRUE(writer->saved());
  Bytes found;
  ASSERT_EQ(readAll(message, std::nullopt, attachDataTag, found), Status::Ok);
  EXPECT_TRUE(found == bytes);
}

// Random writes, reads and resizes against a plain vector, in memory and over several blocks.
TEST_F(ContentTest, BehavesLikeAVectorOfBytes) {
  std::uint64_t state = 42;
  const auto random = [&](std::uint64_t below) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    return static_cast<std::size_t>((state >> 33) % below);
  };
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    const std::size_t extent = round < 4 ? 5000 : contentBlockSize * 4;
    auto writer = createContent(*database);
    Bytes model;
    for (int step = 0; step < 120; ++step) {
      const std::size_t position = random(extent);
      switch (random(5)) {
        case 0: {
          const std::size_t size = random(4) == 0 ? random(20) : random(extent);
          ASSERT_EQ(writer->resize(size), Status::Ok);
          model.resize(size);
          break;
        }
        case 1: {
          Bytes found(random(extent));
          std::size_t count = 99;
          ASSERT_EQ(writer->read(position, found, count), Status::Ok);
          const std::size_t expected = position >= model.size() ? 0 : std::min(found.size(), model.size() - position);
          ASSERT_EQ(count, expected);
          ASSERT_TRUE(std::equal(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(count),
                                 model.begin() + static_cast<std::ptrdiff_t>(std::min(position, model.size()))));
          break;
        }
        default: {
          const Bytes piece = pattern(random(extent / 3) + 1, state);
          ASSERT_EQ(writer->write(position, piece), Status::Ok);
          if (model.size() < position + piece.size()) model.resize(position + piece.size());
          std::ranges::copy(piece, model.begin() + static_cast<std::ptrdiff_t>(position));
        }
      }
      ASSERT_EQ(writer->size(), model.size());
    }
    MessageDraft draft = draftWith(top, u"s");
    draft.contents = {{attachDataTag, writer}};
    Bytes found;
    ASSERT_EQ(readAll(save(draft).id, std::nullopt, attachDataTag, found), Status::Ok) << database->lastError();
    ASSERT_TRUE(found == model);
  }
}

TEST_F(ContentTest, WriterLeavesNothingWhenItIsDropped) {
  auto writer = writerWith(pattern(contentBlockSize * 3));
  EXPECT_EQ(spoolFiles().size(), 1u);
  writer.reset();
  EXPECT_TRUE(spoolFiles().empty());
  EXPECT_TRUE(filesIn(contentFolder()).empty());
}

TEST_F(ContentTest, ShrunkBelowABlockItNeedsNoFile) {
  auto writer = writerWith(pattern(contentBlockSize * 3));
  ASSERT_EQ(writer->resize(10), Status::Ok);
  MessageDraft draft = draftWith(top, u"s");
  draft.contents = {{attachDataTag, writer}};
  const Id message = save(draft).id;
  EXPECT_TRUE(filesIn(contentFolder()).empty());
  EXPECT_TRUE(spoolFiles().empty());
  Bytes found;
  ASSERT_EQ(readAll(message, std::nullopt, attachDataTag, found), Status::Ok);
  Bytes expected = pattern(contentBlockSize * 3);
  expected.resize(10);
  EXPECT_EQ(found, expected);
}

TEST_F(ContentTest, SavedWriterTakesNoMore) {
  MessageDraft draft = draftWithAttachment(top, pattern(10));
  save(draft);
  auto& writer = *draft.attachments[0].contents[0].content;
  const Bytes byte(1);
  EXPECT_EQ(writer.write(0, byte), Status::Invalid);
  EXPECT_EQ(writer.size(), 10u);
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*database, draft, saved), Status::Invalid);
}

TEST_F(ContentTest, AbsurdPositionsAreInvalid) {
  auto writer = createContent(*database);
  const Bytes byte(1);
  EXPECT_EQ(writer->write(~std::uint64_t{0}, byte), Status::Invalid);
  EXPECT_EQ(writer->resize(~std::uint64_t{0}), Status::Invalid);
  EXPECT_EQ(writer->size(), 0u);
}

TEST_F(ContentTest, ReaderReadsAnywhere) {
  const Bytes bytes = pattern(contentBlockSize * 3 + 77);
  const auto reader = readerOf(saveBytes(bytes));
  ASSERT_EQ(reader->size(), bytes.size());
  for (const std::size_t position : {std::size_t{0}, contentBlockSize - 3, contentBlockSize * 3, bytes.size() - 5}) {
    SCOPED_TRACE(position);
    Bytes piece(10);
    std::size_t count = 0;
    ASSERT_EQ(reader->read(position, piece, count), Status::Ok);
    EXPECT_EQ(count, std::min<std::size_t>(10, bytes.size() - position));
    EXPECT_TRUE(std::equal(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count),
                           bytes.begin() + static_cast<std::ptrdiff_t>(position)));
  }
  std::size_t count = 1;
  Bytes piece(1);
  ASSERT_EQ(reader->read(bytes.size(), piece, count), Status::Ok);
  EXPECT_EQ(count, 0u);
}

TEST_F(ContentTest, ReaderGoesOnAfterTheMessageAndTheDatabaseAreGone) {
  const Bytes bytes = pattern(contentBlockSize * 3);
  const Id message = saveBytes(bytes);
  const auto reader = readerOf(message);
  ASSERT_EQ(deleteMessage(*database, message), Status::Ok);
  database.reset();
  Bytes found(bytes.size());
  std::size_t count = 0;
  ASSERT_EQ(reader->read(0, found, count), Status::Ok);
  EXPECT_TRUE(found == bytes);
}

TEST_F(ContentTest, CopyFromAReaderIsEqual) {
  const Bytes bytes = pattern(contentBlockSize * 2 + 9);
  const auto reader = readerOf(saveBytes(bytes));
  auto writer = writerWith(pattern(99));
  ASSERT_EQ(writer->copyFrom(*reader), Status::Ok);
  Bytes found(bytes.size() + 1);
  std::size_t count = 0;
  ASSERT_EQ(writer->read(0, found, count), Status::Ok);
  found.resize(count);
  EXPECT_TRUE(found == bytes);
}

TEST_F(ContentTest, ChangedByteInAFileIsCorruptAndNotHandedOut) {
  const Bytes bytes = pattern(contentBlockSize * 3);
  const Id message = saveBytes(bytes);
  const auto other = ~bytes[contentBlockSize + 5];
  overwrite(onlyContentFile(), contentBlockSize + 5, static_cast<char>(other));
  const auto reader = readerOf(message);
  Bytes piece(100);
  std::size_t count = 0;
  EXPECT_EQ(reader->read(0, piece, count), Status::Ok) << "the first block is whole";
  EXPECT_EQ(reader->read(contentBlockSize, piece, count), Status::Corrupt);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(reader->read(contentBlockSize * 2, piece, count), Status::Ok) << "the last block is whole";
}

TEST_F(ContentTest, MissingFileIsCorrupt) {
  const Id message = saveBytes(pattern(contentBlockSize * 3));
  std::filesystem::remove(onlyContentFile());
  Bytes found;
  EXPECT_EQ(readAll(message, 0, attachDataTag, found), Status::Corrupt);
  EXPECT_NE(database->lastError().find("missing"), std::string::npos) << database->lastError();
}

TEST_F(ContentTest, ShortenedFileIsCorrupt) {
  const Id message = saveBytes(pattern(contentBlockSize * 3));
  std::filesystem::resize_file(onlyContentFile(), contentBlockSize * 2);
  Bytes found;
  EXPECT_EQ(readAll(message, 0, attachDataTag, found), Status::Corrupt);
}

TEST_F(ContentTest, ChangedByteInTheDatabaseIsCorrupt) {
  const Id message = saveBytes(pattern(1000));
  database->connection().execute("UPDATE content SET data = zeroblob(1000)");
  Bytes found;
  EXPECT_EQ(readAll(message, 0, attachDataTag, found), Status::Corrupt);
}

TEST_F(ContentTest, FileNameThatPointsElsewhereIsCorrupt) {
  const Id message = saveBytes(pattern(contentBlockSize * 2));
  database->connection().execute("UPDATE content SET file = '..\\store.db'");
  Bytes found;
  EXPECT_EQ(readAll(message, 0, attachDataTag, found), Status::Corrupt);
}

TEST_F(ContentTest, StreamingAGreatDealTakesLittleMemory) {
  const Bytes piece = pattern(4096);
  PROCESS_MEMORY_COUNTERS before{}, after{};
  GetProcessMemoryInfo(GetCurrentProcess(), &before, sizeof before);
  auto writer = createContent(*database);
  constexpr std::uint64_t total = 128ull << 20;
  for (std::uint64_t done = 0; done < total; done += piece.size()) {
    ASSERT_EQ(writer->write(done, piece), Status::Ok);
  }
  MessageDraft draft = draftWith(top, u"great");
  draft.contents = {{attachDataTag, writer}};
  const Id message = save(draft).id;
  std::shared_ptr<ContentReader> reader;
  ASSERT_EQ(openContent(*database, message, std::nullopt, attachDataTag, reader), Status::Ok);
  ASSERT_EQ(reader->size(), total);
  Bytes found(4096);
  std::size_t count = 0;
  for (std::uint64_t done = 0; done < total; done += count) {
    ASSERT_EQ(reader->read(done, found, count), Status::Ok);
    ASSERT_TRUE(found == piece);
  }
  GetProcessMemoryInfo(GetCurrentProcess(), &after, sizeof after);
  EXPECT_LT(after.PagefileUsage, before.PagefileUsage + (8u << 20));
}

}  // namespace
}  // namespace fendrel::store
