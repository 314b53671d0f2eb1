// Compares the store with the model.
#include <gtest/gtest.h>

#include <algorithm>

#include "world.h"

namespace model {
namespace {

// Tables do not return longer values.
constexpr std::size_t longestInTable = 32 * 1024;

bool isLong(const Value& value) { return std::max(value.bytes.size(), value.text.size() * 2) > longestInTable; }

// Values of all identifiers that steps write, without those that the store computes.
Properties storedOf(IMAPIProp& object) {
  Properties stored;
  for (const Value& value : client::getProps(object, {}, MAPI_UNICODE).values) {
    const ULONG id = PROP_ID(value.tag);
    if (id >> 8 != 0x68 && id != PROP_ID(PR_SUBJECT_W) && id != PROP_ID(PR_MESSAGE_CLASS_W) &&
        id != PROP_ID(PR_ATTACH_DATA_BIN))
      continue;
    stored[id] = value;
    // A long value must be read separately.
    if (value.isError() && value.number == MAPI_E_NOT_ENOUGH_MEMORY)
      stored[id] = client::getProps(object, {PROP_TAG(PT_UNSPECIFIED, id)}, MAPI_UNICODE).get(value.tag);
  }
  return stored;
}

void expectSame(const Properties& real, const Properties& expected) {
  for (const auto& [id, value] : expected) {
    const auto found = real.find(id);
    ASSERT_TRUE(found != real.end()) << "missing: " << client::describe(value);
    ASSERT_TRUE(found->second == value) << client::describe(found->second) << "\nexpected " << client::describe(value);
  }
  for (const auto& [id, value] : real) ASSERT_TRUE(expected.contains(id)) << "unknown: " << client::describe(value);
}

}  // namespace

void World::compareSome() {
  compareFolders();
  compareFolder(anyFolder());
}

void World::compareAll() {
  compareFolders();
  for (const auto& [id, folder] : contents_.folders) {
    if (testing::Test::HasFailure()) return;
    compareFolder(id);
  }
}

void World::compareFolders() {
  std::size_t found = 0;
  for (const auto& [top, one] : contents_.folders) {
    if (one.parent != top) continue;
    const ComPtr<IMAPIFolder> real = openFolder(top);
    for (const client::Row& row : client::queryAll(*client::hierarchy(*real.Get(), CONVENIENT_DEPTH).Get(),
                                                   {PR_ENTRYID, PR_DISPLAY_NAME_W, PR_PARENT_ENTRYID, PR_CONTENT_COUNT,
                                                    PR_CONTENT_UNREAD, PR_ASSOC_CONTENT_COUNT, PR_SUBFOLDERS})) {
      const auto known = std::ranges::find_if(
          contents_.folders, [&](const auto& folder) { return folder.second.entryId == row[0].bytes; });
      ASSERT_TRUE(known != contents_.folders.end()) << "an unknown folder";
      const auto& [id, folder] = *known;
      EXPECT_EQ(row[1].text, folder.name);
      EXPECT_EQ(row[2].bytes, contents_.folders.at(folder.parent).entryId) << "folder " << id;
      EXPECT_EQ(row[3].number, contents_.countIn(id, false)) << "messages of folder " << id;
      EXPECT_EQ(row[4].number, contents_.countIn(id, false, true)) << "unread of folder " << id;
      EXPECT_EQ(row[5].number, contents_.countIn(id, true)) << "associated of folder " << id;
      EXPECT_EQ(row[6].number, !contents_.childrenOf(id).empty()) << "folder " << id;
      ++found;
    }
  }
  EXPECT_EQ(found + 2, contents_.folders.size());
}

void World::compareFolder(int folder) {
  SCOPED_TRACE(testing::Message() << "folder " << folder);
  expectSame(storedOf(*openFolder(folder, 0).Get()), contents_.folders.at(folder).properties);
  for (const bool associated : {false, true}) compareTable(folder, associated);
  compareOrder(folder);
  for (int questions = 0; questions < 4; ++questions) compareRestricted(folder);
  for (const bool associated : {false, true})
    for (const int id : contents_.messagesIn(folder, associated)) compareMessage(contents_.messages.at(id));
}

void World::compareTable(int folder, bool associated) {
  std::vector<ULONG> columns{PR_ENTRYID, PR_MESSAGE_FLAGS, PR_HASATTACH, PR_SUBJECT_W, keyTag};
  const std::size_t firstOther = columns.size();
  for (ULONG id = 0x6810; id < 0x681C; ++id) columns.push_back(PROP_TAG(PT_UNSPECIFIED, id));
  const auto table = client::contents(*openFolder(folder, 0).Get(), MAPI_UNICODE | (associated ? MAPI_ASSOCIATED : 0));
  const client::Rows rows = client::queryAll(*table.Get(), client::Tags(columns));
  EXPECT_EQ(rows.size(), contents_.messagesIn(folder, associated).size());
  for (const client::Row& row : rows) {
    const auto known = std::ranges::find_if(
        contents_.messages, [&](const auto& message) { return message.second.entryId == row[0].bytes; });
    ASSERT_TRUE(known != contents_.messages.end()) << "a message that should not be";
    const Message& message = known->second;
    SCOPED_TRACE(testing::Message() << "message " << keyOf(message));
    EXPECT_EQ(message.folder, folder);
    EXPECT_EQ((row[1].number & MSGFLAG_READ) != 0, message.isRead);
    EXPECT_EQ((row[1].number & MSGFLAG_ASSOCIATED) != 0, associated);
    EXPECT_EQ(row[2].number != 0, !message.attachments.empty());
    EXPECT_EQ(row[3], message.properties.at(PROP_ID(PR_SUBJECT_W)));
    EXPECT_EQ(row[4], message.properties.at(PROP_ID(keyTag)));
    for (std::size_t i = firstOther; i < columns.size(); ++i) {
      const auto value = message.properties.find(PROP_ID(columns[i]));
      const auto error = [&](HRESULT why) {
        return Value{.tag = PROP_TAG(PT_ERROR, PROP_ID(columns[i])), .number = why};
      };
      const Value expected = value == message.properties.end() ? error(MAPI_E_NOT_FOUND) : value->second;
      EXPECT_TRUE(row[i] == expected || (isLong(expected) && row[i] == error(MAPI_E_NOT_ENOUGH_MEMORY)))
          << client::describe(row[i]) << "\nexpected " << client::describe(expected);
    }
  }
}

void World::compareOrder(int folder) {
  const bool subjectsUp = random_.oneIn(2), keysUp = random_.oneIn(2);
  const auto way = [](bool up) { return up ? ULONG{TABLE_SORT_ASCEND} : ULONG{TABLE_SORT_DESCEND}; };
  client::SortOrder order{{PR_SUBJECT_W, way(subjectsUp)}, {keyTag, way(keysUp)}};
  std::vector<std::pair<std::wstring, std::int64_t>> expected, real;
  for (const int id : contents_.messagesIn(folder, false)) {
    const Message& message = contents_.messages.at(id);
    expected.emplace_back(message.properties.at(PROP_ID(PR_SUBJECT_W)).text, keyOf(message));
  }
  std::ranges::sort(expected, [&](const auto& left, const auto& right) {
    if (left.first != right.first) return (left.first < right.first) == subjectsUp;
    return keysUp ? left.second < right.second : left.second > right.second;
  });
  const auto table = client::contents(*openFolder(folder, 0).Get());
  for (const client::Row& row : client::queryAll(*table.Get(), {PR_SUBJECT_W, keyTag}, nullptr, order))
    real.emplace_back(row[0].text, row[1].number);
  EXPECT_EQ(real, expected);
}

void World::compareRestricted(int folder) {
  client::Conditions is;
  Predicate predicate;
  SRestriction restriction = question(is, predicate, 0);
  std::vector<Bytes> expected, real;
  for (const int id : contents_.messagesIn(folder, false))
    if (predicate(contents_.messages.at(id))) expected.push_back(contents_.messages.at(id).entryId);
  const auto table = client::contents(*openFolder(folder, 0).Get());
  for (const client::Row& row : client::queryAll(*table.Get(), {PR_ENTRYID}, &restriction))
    real.push_back(row[0].bytes);
  std::ranges::sort(expected);
  std::ranges::sort(real);
  EXPECT_TRUE(real == expected) << "restricted to " << real.size() << " rows, expected " << expected.size();
}

SRestriction World::question(client::Conditions& is, Predicate& predicate, int depth) {
  const auto key = static_cast<std::int64_t>(random_.below(static_cast<std::size_t>(nextKey_) + 1));
  const ULONG id = random_.propertyId();
  switch (random_.below(depth < 3 ? 9 : 6)) {
    case 0:
      predicate = [=](const Message& message) { return keyOf(message) <= key; };
      return is.number(RELOP_LE, keyTag, key);
    case 1:
      predicate = [=](const Message& message) { return (keyOf(message) & 5) != 0; };
      return is.bits(BMR_NEZ, keyTag, 5);
    case 2:
      predicate = [=](const Message& message) { return message.properties.contains(id); };
      return is.exists(PROP_TAG(PT_UNSPECIFIED, id));
    case 3: {
      const std::wstring part(1 + random_.below(2), static_cast<wchar_t>(L'a' + random_.below(3)));
      predicate = [=](const Message& message) {
        return message.properties.at(PROP_ID(PR_SUBJECT_W)).text.find(part) != std::wstring::npos;
      };
      return is.content(PR_SUBJECT_W, part, FL_SUBSTRING);
    }
    case 4: {
      predicate = [=](const Message& message) { return !message.isRead; };
      return is.bits(BMR_EQZ, PR_MESSAGE_FLAGS, MSGFLAG_READ);
    }
    case 5: {
      // Bytes, or a text with its end; exactly the size of one that there is.
      const ULONG type = random_.oneIn(2) ? PT_UNICODE : PT_BINARY;
      const auto sizeIn = [=](const Message& message) -> std::size_t {
        const auto value = message.properties.find(id);
        if (value == message.properties.end() || PROP_TYPE(value->second.tag) != type) return 0;
        return type == PT_BINARY ? value->second.bytes.size() : (value->second.text.size() + 1) * 2;
      };
      std::vector<std::size_t> sizes{1};
      for (const auto& [number, message] : contents_.messages)
        if (const std::size_t size = sizeIn(message); size > 0) sizes.push_back(size);
      const std::size_t size = random_.oneIn(2) ? std::ranges::max(sizes) : random_.of(sizes);
      predicate = [=](const Message& message) { return sizeIn(message) >= size; };
      const ULONG tag = PROP_TAG(type, id);
      return is.all({is.exists(tag), is.size(RELOP_GE, tag, static_cast<ULONG>(size))});
    }
    case 6: {
      Predicate part;
      const SRestriction negated = is.negated(question(is, part, depth + 1));
      predicate = [=](const Message& message) { return !part(message); };
      return negated;
    }
    default: {
      Predicate left, right;
      const bool both = random_.oneIn(2);
      const SRestriction one = question(is, left, depth + 1), other = question(is, right, depth + 1);
      predicate = [=](const Message& message) {
        return both ? left(message) && right(message) : left(message) || right(message);
      };
      return both ? is.all({one, other}) : is.any({one, other});
    }
  }
}

void World::compareMessage(const Message& message) {
  if (testing::Test::HasFailure()) return;
  SCOPED_TRACE(testing::Message() << "message " << keyOf(message));
  const ComPtr<IMessage> real = openMessage(message);
  ASSERT_TRUE(real);
  expectSame(storedOf(*real.Get()), message.properties);
  compareAttachments(*real.Get(), message);
}

void World::compareAttachments(IMessage& real, const Message& message) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(real.GetAttachmentTable(0, &table), S_OK);
  std::vector<ULONG> numbers, expected;
  for (const client::Row& row : client::queryAll(*table.Get(), {PR_ATTACH_NUM}))
    numbers.push_back(static_cast<ULONG>(row[0].number));
  for (const auto& [number, properties] : message.attachments) expected.push_back(number);
  ASSERT_EQ(numbers, expected);
  for (const auto& [number, properties] : message.attachments) {
    SCOPED_TRACE(testing::Message() << "attachment " << number);
    ComPtr<IAttach> attachment;
    ASSERT_EQ(real.OpenAttach(number, nullptr, 0, &attachment), S_OK);
    expectSame(storedOf(*attachment.Get()), properties);
    const auto data = properties.find(PROP_ID(PR_ATTACH_DATA_BIN));
    if (data == properties.end()) continue;
    const ComPtr<IStream> stream = client::openStream(*attachment.Get(), PR_ATTACH_DATA_BIN);
    ASSERT_TRUE(stream);
    ASSERT_TRUE(client::readStream(*stream.Get(), 50'000) == data->second.bytes);
  }
}

}  // namespace model
