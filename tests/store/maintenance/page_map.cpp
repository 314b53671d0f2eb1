#include "page_map.h"

#include "unicode.h"

namespace fendrel::store {
namespace {

constexpr std::size_t mappedPageSize = 8192;

class Mapper {
 public:
  Mapper(const std::vector<std::byte>& file) : file_(file), usable_(mappedPageSize - byte(20)) {
    map_.pages = static_cast<std::uint32_t>(number(28, 4));
    map_.names[1] = "first page";
  }

  // `ownerOf` gives the message of a row number, or of the first value of a row in a table without row numbers.
  template <class OwnerOf>
  void tree(const std::string& table, std::uint32_t page, OwnerOf ownerOf) {
    const std::size_t start = startOf(page);
    const std::uint64_t kind = byte(start);
    const bool isLeaf = kind == 13 || kind == 10, isTable = kind == 13 || kind == 5;
    map_.names[page] = (isLeaf ? "leaf of " : "inside of ") + table;
    const std::uint64_t cells = number(start + 3, 2);
    for (std::uint64_t i = 0; i < cells; ++i) {
      std::size_t at = start + number(start + (isLeaf ? 8 : 12) + i * 2, 2);
      if (!isLeaf) {
        tree(table, static_cast<std::uint32_t>(number(at, 4)), ownerOf);
        at += 4;
      }
      if (kind == 5) continue;
      const std::uint64_t size = varint(at);
      const std::uint64_t rowNumber = isTable ? varint(at) : 0;
      const std::int64_t owner = ownerOf(static_cast<std::int64_t>(isTable ? rowNumber : firstValue(at)));
      note(page, owner);
      const std::uint64_t local = localSize(size, isTable);
      if (local < size) chain(static_cast<std::uint32_t>(number(at + local, 4)), owner);
    }
    if (!isLeaf) tree(table, static_cast<std::uint32_t>(number(start + 8, 4)), ownerOf);
  }

  PageMap take() { return std::move(map_); }

 private:
  static std::size_t startOf(std::uint32_t page) { return static_cast<std::size_t>(page - 1) * mappedPageSize; }
  std::uint64_t byte(std::size_t at) const { return std::to_integer<std::uint64_t>(file_.at(at)); }

  std::uint64_t number(std::size_t at, int bytes) const {
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i) value = value * 256 + byte(at + static_cast<std::size_t>(i));
    return value;
  }

  std::uint64_t varint(std::size_t& at) const {
    std::uint64_t value = 0;
    for (;;) {
      const std::uint64_t next = byte(at++);
      value = value * 128 + next % 128;
      if (next < 128) return value;
    }
  }

  // Row numbers are small and positive here.
  std::uint64_t firstValue(std::size_t record) const {
    const std::uint64_t type = byte(record + 1);
    return type >= 8 ? type - 8 : number(record + byte(record), static_cast<int>(type));
  }

  std::uint64_t localSize(std::uint64_t size, bool isTable) const {
    const std::uint64_t most = isTable ? usable_ - 35 : (usable_ - 12) * 64 / 255 - 23;
    const std::uint64_t least = (usable_ - 12) * 32 / 255 - 23;
    if (size <= most) return size;
    const std::uint64_t even = least + (size - least) % (usable_ - 4);
    return even <= most ? even : least;
  }

  void chain(std::uint32_t page, std::int64_t owner) {
    for (; page != 0; page = static_cast<std::uint32_t>(number(startOf(page), 4))) {
      map_.names[page] = "overflow";
      note(page, owner);
    }
  }

  void note(std::uint32_t page, std::int64_t owner) {
    if (owner != 0) map_.messages[page].insert(owner);
  }

  const std::vector<std::byte>& file_;
  std::uint64_t usable_;
  PageMap map_;
};

}  // namespace

PageMap mapPages(Connection& connection, const std::vector<std::byte>& file) {
  std::map<std::int64_t, std::int64_t> messageOfContent;
  Query contents(connection.statement("SELECT content, message FROM message_property WHERE content IS NOT NULL"));
  while (contents.step()) messageOfContent[contents->integer(0)] = contents->integer(1);
  Mapper mapper(file);
  Query roots(connection.statement("SELECT name, rootpage FROM sqlite_schema WHERE rootpage > 0"));
  while (roots.step()) {
    const std::string name(roots->text(0));
    mapper.tree(name, static_cast<std::uint32_t>(roots->integer(1)), [&](std::int64_t number) -> std::int64_t {
      if (name == "content") return messageOfContent.at(number);
      return name == "message" || name == "attachment" || name == "message_property" ? number : 0;
    });
  }
  return mapper.take();
}

namespace {

std::map<std::int64_t, std::string> describe(sqlite3* database) {
  std::map<std::int64_t, std::string> messages;
  const auto add = [&](const char* sql) {
    Statement rows(database, sql, false);
    while (rows.step()) messages[rows.integer(0)] += std::string(rows.text(1)) + "\n";
  };
  add("SELECT id, 'folder ' || folder FROM message");
  add("SELECT id, 'message ' || hex(guid) || '|' || associated || '|' || is_read || '|' || size || "
      "'|' || attachment_count || '|' || created || '|' || modified || '|' || hex(search_key) || '|' || revision || "
      "'|' || "
      "ifnull(checksum, 'none') "
      "FROM message ORDER BY id");
  add("SELECT message, 'attachment ' || number || '|' || size FROM attachment ORDER BY message, number");
  add("SELECT message, 'property ' || part || '|' || id || '|' || type || '|' || size || '|' || quote(value) || '|' || "
      "ifnull(content, 0) FROM message_property ORDER BY message, part, id");
  add("SELECT p.message, 'content ' || c.id || '|' || c.size || '|' || hex(c.checksums) || '|' || "
      "ifnull(length(c.data), -1) || '|' || ifnull(c.file, '') "
      "FROM message_property p JOIN content c ON c.id = p.content ORDER BY p.message, p.part, p.id");
  return messages;
}

}  // namespace

std::map<std::int64_t, std::string> describeMessages(Connection& connection) { return describe(connection.handle()); }

std::map<std::int64_t, std::string> describeMessages(const std::wstring& store) {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(toUtf8(store).c_str(), &database, SQLITE_OPEN_READONLY, "win32-longpath");
  const std::unique_ptr<sqlite3, decltype(&sqlite3_close_v2)> closing(database, sqlite3_close_v2);
  checkSqlite(code, database, "Opening the store");
  return describe(database);
}

}  // namespace fendrel::store
