// Records, pages and chains of pages byte by byte, as SQLite's file format describes them.
#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "page_scan.h"

namespace fendrel::store {
namespace {

std::vector<std::byte> bytesOf(std::initializer_list<int> numbers) {
  std::vector<std::byte> bytes;
  for (const int number : numbers) bytes.push_back(static_cast<std::byte>(number));
  return bytes;
}

std::optional<Record> recordOf(const std::vector<std::byte>& bytes) { return Record::read(bytes, bytes.size()); }

TEST(RecordTest, NumbersOfEachLength) {
  struct Case {
    std::initializer_list<int> bytes;
    std::uint64_t value;
  };
  for (const Case& one : {Case{{0x7F}, 127}, Case{{0x81, 0x00}, 128}, Case{{0x82, 0x80, 0x01}, 32769},
                          Case{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, ~std::uint64_t{0}}}) {
    const auto bytes = bytesOf(one.bytes);
    std::size_t at = 0;
    std::uint64_t value = 0;
    EXPECT_TRUE(readVarint(bytes, at, value));
    EXPECT_EQ(value, one.value);
    EXPECT_EQ(at, bytes.size());
    at = 0;
    EXPECT_FALSE(readVarint(std::span(bytes).first(bytes.size() - 1), at, value)) << "cut";
  }
}

TEST(RecordTest, ValuesOfEachType) {
  // NULL, 1 byte, 2 bytes, 0, 1, a double, two bytes, three letters.
  const auto bytes = bytesOf({9, 0, 1, 2, 8, 9, 7, 16, 19, 0xFF, 0x01, 0x02,
                              0x3F, 0xF8, 0, 0, 0, 0, 0, 0, 0xAA, 0xBB, 'a', 'b', 'c'});
  const auto record = recordOf(bytes);
  ASSERT_TRUE(record);
  ASSERT_EQ(record->columns(), 8u);
  EXPECT_EQ(record->kind(0), RecordValue::null);
  EXPECT_EQ(record->value(1, bytes)->number, -1);
  EXPECT_EQ(record->value(2, bytes)->number, 258);
  EXPECT_EQ(record->value(3, bytes)->number, 0);
  EXPECT_EQ(record->value(4, bytes)->number, 1);
  EXPECT_EQ(record->value(5, bytes)->fraction, 1.5);
  EXPECT_EQ(record->kind(6), RecordValue::blob);
  EXPECT_EQ(record->value(6, bytes)->bytes[1], std::byte{0xBB});
  EXPECT_EQ(record->kind(7), RecordValue::text);
  EXPECT_EQ(record->value(7, bytes)->bytes.size(), 3u);
  EXPECT_FALSE(record->value(7, std::span(bytes).first(bytes.size() - 1))) << "its end is in another page";
}

TEST(RecordTest, WhatIsNoRecord) {
  EXPECT_FALSE(recordOf({}));
  EXPECT_FALSE(recordOf(bytesOf({0}))) << "a header without itself";
  EXPECT_FALSE(recordOf(bytesOf({3, 1}))) << "a header longer than the record";
  EXPECT_FALSE(recordOf(bytesOf({2, 1, 5, 5}))) << "bytes behind the last value";
  EXPECT_FALSE(recordOf(bytesOf({2, 2, 5}))) << "a value behind the end";
  EXPECT_FALSE(recordOf(bytesOf({2, 10}))) << "a type that is never stored";
  EXPECT_FALSE(recordOf(bytesOf({2, 0x81}))) << "a cut type";
  EXPECT_FALSE(recordOf(std::vector<std::byte>(18, std::byte{17}))) << "more values than any table has";
}

// A page of `size` bytes with its header and one cell at its end.
std::vector<std::byte> pageWith(int kind, const std::vector<std::byte>& cell, std::size_t size = 512) {
  std::vector<std::byte> page(size);
  const std::size_t at = size - cell.size(), pointer = kind > 5 ? 8 : 12;
  page[0] = static_cast<std::byte>(kind);
  page[4] = std::byte{1};
  page[5] = page[pointer] = static_cast<std::byte>(at >> 8);
  page[6] = page[pointer + 1] = static_cast<std::byte>(at);
  std::copy(cell.begin(), cell.end(), page.begin() + static_cast<std::ptrdiff_t>(at));
  return page;
}

TEST(TreePageTest, CellOfEachKind) {
  const auto leaf = pageWith(13, bytesOf({3, 0x81, 0x00, 2, 1, 77}));
  const auto page = TreePage::read(leaf);
  ASSERT_TRUE(page);
  const auto cell = page->cell(0);
  ASSERT_TRUE(cell);
  EXPECT_EQ(cell->rowNumber, 128);
  EXPECT_EQ(cell->first.size(), 3u);
  EXPECT_EQ(cell->overflow, 0u);
  EXPECT_FALSE(page->cell(1));
  const auto inside = pageWith(2, bytesOf({0, 0, 1, 2, 3, 2, 1, 77}));
  EXPECT_EQ(TreePage::read(inside)->cell(0)->child, 258u);
  EXPECT_EQ(TreePage::read(inside)->cell(0)->first.size(), 3u);
  const auto insideTable = pageWith(5, bytesOf({0, 0, 0, 9, 5}));
  EXPECT_EQ(TreePage::read(insideTable)->cell(0)->rowNumber, 5);
}

TEST(TreePageTest, WhatLiesOutsideIsNoCell) {
  auto page = pageWith(13, bytesOf({0x83, 0x00, 1, 2, 1}));  // 384 bytes, of which the page has three
  EXPECT_FALSE(TreePage::read(page)->cell(0));
  page[8] = page[9] = std::byte{0xFF};
  EXPECT_FALSE(TreePage::read(page)->cell(0));
  page[8] = page[9] = std::byte{0};
  EXPECT_FALSE(TreePage::read(page)->cell(0)) << "a cell in the page's header";
  page[3] = std::byte{0x7F};
  EXPECT_FALSE(TreePage::read(page)) << "more cells than there is room for";
  page[0] = std::byte{4};
  EXPECT_FALSE(TreePage::read(page)) << "no kind of page";
  EXPECT_FALSE(TreePage::read(std::span(page).first(100))) << "too short for a page";
}

class Chain final : public PageSource {
public:
  std::vector<std::vector<std::byte>> pages;
  std::uint32_t pageCount() const override { return static_cast<std::uint32_t>(pages.size()); }
  bool isCompared() const override { return true; }
  std::optional<std::span<const std::byte>> page(std::uint32_t number) override {
    if (number == 0 || number > pages.size() || pages[number - 1].empty()) return {};
    return std::span<const std::byte>(pages[number - 1]);
  }
};

TEST(RowTest, GoesOnInOtherPagesUntilItsEnd) {
  Chain chain;
  chain.pages.assign(4, std::vector<std::byte>(512, std::byte{7}));
  const auto leadTo = [&](std::size_t page, int next) {
    for (std::size_t i = 0; i < 4; ++i) chain.pages[page - 1][i] = static_cast<std::byte>(i == 3 ? next : 0);
  };
  leadTo(2, 4);
  leadTo(4, 0);
  TreeCell cell;
  cell.size = 3 + 508 + 100;
  const auto first = bytesOf({1, 2, 3});
  cell.first = first;
  cell.overflow = 2;
  Bytes row;
  ASSERT_TRUE(readRow(chain, cell, row));
  EXPECT_EQ(row.size(), cell.size);
  EXPECT_EQ(row[2], std::byte{3});
  EXPECT_EQ(row.back(), std::byte{7});
  cell.size = 3 + 508 * 2 + 1;
  EXPECT_FALSE(readRow(chain, cell, row)) << "the chain is too short";
  leadTo(4, 2);
  EXPECT_TRUE(readRow(chain, cell, row)) << "it comes round, and ends with the row's bytes";
  cell.size = 1'000'000'000;
  EXPECT_FALSE(readRow(chain, cell, row)) << "it comes round for ever";
  chain.pages[3].clear();
  cell.size = 1000;
  EXPECT_FALSE(readRow(chain, cell, row)) << "a damaged page";
}

}  // namespace
}  // namespace fendrel::store
