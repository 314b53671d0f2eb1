#include "tree_shapes.h"

namespace fendrel::store {
namespace {

constexpr TreeShape shapes[] = {
    {"store", true, true, 1, "ngit"},
    {"profile", true, true, 1, "ngttBIBiii"},
    {"folder", true, true, 1, "ngiItTiiiii"},
    {"message", true, true, 1, "ngiiiiiiigi"},
    {"attachment", true, false, 2, "iii"},
    {"content", true, true, 1, "nibBT"},
    {"message_property", true, false, 3, "iiiiiaI"},
    {"folder_property", true, false, 2, "iiia"},
    {"store_property", true, false, 2, "iiia"},
    {"sqlite_autoindex_store_1", false, false, 0, "gi"},
    {"one_public_store", false, false, 0, "ii"},
    {"sqlite_autoindex_profile_1", false, false, 0, "gi"},
    {"sqlite_autoindex_profile_2", false, false, 0, "ti"},
    {"sqlite_autoindex_profile_3", false, false, 0, "ii"},
    {"one_default_profile", false, false, 0, "ii"},
    {"sqlite_autoindex_folder_1", false, false, 0, "gi"},
    {"sqlite_autoindex_folder_2", false, false, 0, "Iti"},
    {"sqlite_autoindex_folder_3", false, false, 0, "iTi"},
    {"sqlite_autoindex_message_1", false, false, 0, "gi"},
    {"message_by_folder", false, false, 0, "iii"},
    {"content_by_file", false, false, 0, "ti"},
};

bool fits(RecordValue::Kind kind, std::uint64_t size, char letter) noexcept {
  const bool mayBeNull = letter == 'a' || letter == 'n' || (letter >= 'A' && letter <= 'Z');
  if (kind == RecordValue::null) return mayBeNull;
  switch (letter) {
    case 'a': return true;
    case 'i': case 'I': return kind == RecordValue::integer;
    case 't': case 'T': return kind == RecordValue::text;
    case 'b': case 'B': return kind == RecordValue::blob;
    case 'g': return kind == RecordValue::blob && size == 16;
    default: return false;
  }
}

}  // namespace

std::span<const TreeShape> treeShapes() noexcept { return shapes; }

bool fits(const Record& record, const TreeShape& shape) noexcept {
  if (record.columns() != shape.columns.size()) return false;
  for (std::size_t i = 0; i < record.columns(); ++i) {
    if (!fits(record.kind(i), record.size(i), shape.columns[i])) return false;
  }
  return true;
}

}  // namespace fendrel::store
