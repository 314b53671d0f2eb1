// Any bytes as the pages of a database: the scan ends, and each row that it finds has the shape of its table.
//
// Input: the roots of four trees and the first page of the free list (1 byte each), then pages of 512 bytes. A page that
// begins with 0xFE counts as damaged.
#include <cstring>
#include <map>
#include <vector>

#include "fuzz.h"
#include "page_scan.h"

using namespace fendrel::store;

namespace {

constexpr std::size_t pageSize = 512;
constexpr const char* tables[] = {"message", "attachment", "content", "message_property"};

class Pages final : public PageSource {
public:
  explicit Pages(std::span<const std::byte> bytes) : bytes_(bytes) {}

  std::uint32_t pageCount() const override { return static_cast<std::uint32_t>(bytes_.size() / pageSize); }
  bool isCompared() const override { return true; }

  std::optional<std::span<const std::byte>> page(std::uint32_t number) override {
    require(number >= 1, "pages are numbered from 1");
    if (number > pageCount()) return {};
    // A block of its own, so that a byte too far is seen; the one before is gone.
    const auto bytes = bytes_.subspan((number - 1) * pageSize, pageSize);
    page_ = std::vector<std::byte>(bytes.begin(), bytes.end());
    if (page_[0] == std::byte{0xFE}) return {};
    return std::span<const std::byte>(page_);
  }

private:
  std::span<const std::byte> bytes_;
  std::vector<std::byte> page_;
};

const TreeShape& shapeOf(std::string_view name) {
  for (const TreeShape& shape : treeShapes()) {
    if (shape.name == name) return shape;
  }
  require(false, "a table has a shape");
  return treeShapes().front();
}

void read(Pages& pages, const FoundRow& found) {
  Bytes row;
  if (!rowAt(pages, found.place, row)) return;
  const auto record = Record::read(row, row.size());
  require(record && fits(*record, *found.shape), "a row has the shape of its table");
  for (std::size_t column = 0; column < record->columns(); ++column) {
    const auto value = record->value(column, row);
    require(value && value->bytes.size() <= row.size(), "a row holds its values");
    const bool isKey = !found.shape->hasRowNumbers && column < found.shape->keys;
    require(!isKey || value->number == found.key[column], "a row has its key");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t header = std::size(tables) + 1;
  if (size < header) return 0;
  Pages pages(bytesOf(data + header, size - header));
  std::vector<ScannedTree> trees(std::size(tables));
  for (std::size_t i = 0; i < trees.size(); ++i) {
    trees[i].shape = &shapeOf(tables[i]);
    trees[i].root = data[i];
  }
  PageScan scan(pages, std::move(trees), data[header - 1]);
  std::vector<FoundRow> rows;
  scan.run([&](const FoundRow& row) { rows.push_back(row); });
  require(rows.size() <= pages.pageCount() * pageSize / 2, "no page is read twice");
  for (const FoundRow& row : rows) read(pages, row);
  return 0;
}
