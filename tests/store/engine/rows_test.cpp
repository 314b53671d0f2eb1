#include "engine_fixture.h"

#include <chrono>

#include "connection.h"

namespace fendrel::store {
namespace {

class RowsTest : public EngineTest {
 protected:
  std::vector<MessageRow> rowsOf(const Id& folder, std::vector<PropertyTag> columns,
                                 MessageKind kind = MessageKind::Ordinary) {
    std::vector<MessageRow> rows;
    EXPECT_EQ(readMessageRows(*database, folder, kind, columns,
                              [&](MessageRow&& row) {
                                rows.push_back(std::move(row));
                                return true;
                              }),
              Status::Ok)
        << database->lastError();
    return rows;
  }
};

TEST_F(RowsTest, ColumnsComeInTheOrderAskedFor) {
  MessageDraft draft = draftWith(top, u"first");
  draft.set.push_back({classTag, u"Report.csv"});
  save(draft);
  save(draftWith(top, u"second"));
  const auto rows = rowsOf(top, {subjectTag, bodyTag, classTag});
  ASSERT_EQ(rows.size(), 2u);
  ASSERT_EQ(rows[0].values.size(), 3u);
  EXPECT_EQ(rows[0].values[0].value, PropertyValue(u"first"));
  EXPECT_EQ(rows[0].values[1].tag, 0u);
  EXPECT_EQ(rows[0].values[1].value, PropertyValue());
  EXPECT_EQ(rows[0].values[2].value, PropertyValue(u"Report.csv"));
  EXPECT_EQ(rows[1].values[0].value, PropertyValue(u"second"));
  EXPECT_EQ(rows[1].values[2].value, PropertyValue());
}

TEST_F(RowsTest, SameColumnTwiceOtherTypeAndAnyType) {
  save(draftWith(top, u"s"));
  const auto rows = rowsOf(
      top, {subjectTag, subjectTag, makeTag(0x0037, PropertyType::binary), makeTag(0x0037, PropertyType::unspecified)});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].values[0].value, PropertyValue(u"s"));
  EXPECT_EQ(rows[0].values[1].value, PropertyValue(u"s"));
  EXPECT_EQ(rows[0].values[2].value, PropertyValue());
  EXPECT_EQ(rows[0].values[3].tag, subjectTag);
}

TEST_F(RowsTest, WithoutColumnsThereIsTheMessageItself) {
  const MessageInfo saved = save(draftWithAttachment(top, pattern(10)));
  const auto rows = rowsOf(top, {});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].message.id, saved.id);
  EXPECT_EQ(rows[0].message.folder, top);
  EXPECT_TRUE(rows[0].message.hasAttachments);
  EXPECT_EQ(rows[0].message.size, saved.size);
}

TEST_F(RowsTest, AttachmentValuesAreNoColumnsOfTheMessage) {
  save(draftWithAttachment(top, pattern(10)));
  EXPECT_EQ(rowsOf(top, {attachNameTag})[0].values[0].value, PropertyValue());
}

TEST_F(RowsTest, AssociatedOnesAreApart) {
  MessageDraft view = draftWith(top, u"view");
  view.kind = MessageKind::Associated;
  save(view);
  save(draftWith(top, u"mail"));
  EXPECT_EQ(rowsOf(top, {subjectTag}).size(), 1u);
  const auto associated = rowsOf(top, {subjectTag}, MessageKind::Associated);
  ASSERT_EQ(associated.size(), 1u);
  EXPECT_EQ(associated[0].values[0].value, PropertyValue(u"view"));
  EXPECT_EQ(associated[0].message.kind, MessageKind::Associated);
}

TEST_F(RowsTest, OrderIsThatOfArrivalAlsoAfterAChange) {
  const MessageInfo a = save(draftWith(top, u"a"));
  save(draftWith(top, u"b"));
  MessageDraft change;
  change.message = a.id;
  change.set = {{subjectTag, u"a2"}};
  save(change);
  EXPECT_EQ(subjectsIn(top), (std::vector<std::u16string>{u"a2", u"b"}));
}

TEST_F(RowsTest, LongValueIsNamedNotLoaded) {
  MessageDraft draft = draftWith(top, u"s");
  draft.set.push_back({bodyTag, std::u16string(100'000, u'x')});
  save(draft);
  EXPECT_EQ(rowsOf(top, {bodyTag})[0].values[0].value, PropertyValue(UnloadedValue{200'000}));
}

TEST_F(RowsTest, ChosenMessagesComeInTheOrderAskedFor) {
  const Id other = makeFolder(u"Other");
  const Id a = save(draftWith(top, u"a")).id;
  const Id b = save(draftWith(top, u"b")).id;
  const Id elsewhere = save(draftWith(other, u"x")).id;
  const Id chosen[] = {b, newGuid(), elsewhere, a};
  const PropertyTag columns[] = {subjectTag};
  std::u16string subjects;
  ASSERT_EQ(readMessageRowsOf(*database, top, chosen, columns,
                              [&](MessageRow&& row) {
                                subjects += std::get<std::u16string>(row.values[0].value);
                                return true;
                              }),
            Status::Ok);
  EXPECT_EQ(subjects, u"ba");
  EXPECT_EQ(readMessageRowsOf(*database, newGuid(), chosen, columns, [](MessageRow&&) { return true; }),
            Status::NotFound);
}

TEST_F(RowsTest, SinkCanEndTheReading) {
  save(draftWith(top, u"a"));
  save(draftWith(top, u"b"));
  int rows = 0;
  EXPECT_EQ(readMessageRows(*database, top, MessageKind::Ordinary, {},
                            [&](MessageRow&&) {
                              ++rows;
                              return false;
                            }),
            Status::Ok);
  EXPECT_EQ(rows, 1);
  EXPECT_EQ(subjectsIn(top).size(), 2u) << "and the store goes on";
}

TEST_F(RowsTest, SinkThatThrowsLeavesTheStoreUsable) {
  save(draftWith(top, u"a"));
  EXPECT_THROW(static_cast<void>(readMessageRows(*database, top, MessageKind::Ordinary, {},
                                                 [](MessageRow&&) -> bool { throw std::bad_alloc(); })),
               std::bad_alloc);
  save(draftWith(top, u"b"));
  EXPECT_EQ(subjectsIn(top).size(), 2u);
}

TEST_F(RowsTest, MissingFolderIsNotFound) {
  EXPECT_EQ(readMessageRows(*database, newGuid(), MessageKind::Ordinary, {}, [](MessageRow&&) { return true; }),
            Status::NotFound);
  EXPECT_EQ(readFolderRows(*database, newGuid(), Depth::Children, {}, [](FolderRow&&) { return true; }),
            Status::NotFound);
}

TEST_F(RowsTest, FoldersComeParentFirstWithDepthAndColumns) {
  const Id a = makeFolder(u"A");
  makeFolder(u"B");
  makeFolder(a, u"A1");
  const Id a2 = makeFolder(a, u"A2");
  makeFolder(a2, u"A2x");
  const Property comment{commentTag, u"about A2"};
  ASSERT_EQ(changeFolderProperties(*database, a2, {&comment, 1}, {}), Status::Ok);
  const auto namesOf = [&](Depth depth) {
    std::u16string names;
    const PropertyTag columns[] = {bodyTag, commentTag};
    EXPECT_EQ(readFolderRows(*database, top, depth, columns,
                             [&](FolderRow&& row) {
                               names += row.folder.name + u":" + static_cast<char16_t>(u'0' + row.depth) + u" ";
                               EXPECT_EQ(row.values.size(), 2u);
                               EXPECT_EQ(row.values[1].value == PropertyValue(u"about A2"), row.folder.id == a2);
                               return true;
                             }),
              Status::Ok);
    return names;
  };
  EXPECT_EQ(namesOf(Depth::Children), u"A:1 B:1 ");
  EXPECT_EQ(namesOf(Depth::AllBelow), u"A:1 A1:2 A2:2 A2x:3 B:1 ");
}

TEST_F(RowsTest, AttachmentRowsShowNumberSizeAndColumns) {
  MessageDraft draft = draftWithAttachment(top, pattern(contentBlockSize * 2));
  draft.attachments.push_back({AttachmentAction::Add, 7, {{attachNameTag, u"b.csv"}}, {}, {}});
  const MessageInfo message = save(draft);
  std::vector<AttachmentRow> rows;
  const PropertyTag columns[] = {attachNameTag, attachDataTag};
  ASSERT_EQ(readAttachmentRows(*database, message.id, columns, rows), Status::Ok);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].number, 0u);
  EXPECT_EQ(rows[0].size, contentBlockSize * 2 + 20);
  EXPECT_EQ(rows[0].values[0].value, PropertyValue(u"report.pdf"));
  EXPECT_EQ(rows[0].values[1].value, PropertyValue(UnloadedValue{contentBlockSize * 2}));
  EXPECT_EQ(rows[1].number, 7u);
  EXPECT_EQ(rows[1].values[0].value, PropertyValue(u"b.csv"));
}

// Writes rows for a big folder by SQL, which is faster than saving each.
void fill(Database& database, const Id& folder, int first, int count) {
  const std::string from = std::to_string(first), to = std::to_string(first + count - 1);
  Connection& connection = database.connection();
  Query folderId(connection.statement("SELECT id FROM folder WHERE guid = ?"), folder);
  ASSERT_TRUE(folderId.step());
  const std::string id = std::to_string(folderId->integer(0));
  folderId->reset();
  connection.execute("BEGIN; WITH RECURSIVE n (i) AS (SELECT " + from + " UNION ALL SELECT i + 1 FROM n WHERE i < " +
                     to +
                     ") INSERT INTO message (id, guid, folder, associated, is_read, size, attachment_count, "
                     "created, modified, search_key, revision) SELECT i, randomblob(16), " +
                     id +
                     ", 0, 0, 10, 0, 1, 1, randomblob(16), 1 FROM n;"
                     "WITH RECURSIVE n (i) AS (SELECT " +
                     from + " UNION ALL SELECT i + 1 FROM n WHERE i < " + to +
                     "), p (id) AS (VALUES (55), (26), (3591), (4096), (3613), (100)) "
                     "INSERT INTO message_property (message, part, id, type, size, value) "
                     "SELECT i, 0, id, 31, 40, 'property ' || id || ' of ' || i FROM n, p; COMMIT");
}

TEST_F(RowsTest, TimeIsLinearInTheRows) {
  const Id small = makeFolder(u"small");
  const Id large = makeFolder(u"large");
  fill(*database, small, 1'000, 5'000);
  fill(*database, large, 10'000, 50'000);
  EXPECT_EQ(folderNow(large).messageCount, 50'000u);
  using Clock = std::chrono::steady_clock;
  const auto timeOf = [&](const Id& folder, std::size_t expected) {
    auto best = Clock::duration::max();
    for (int round = 0; round < 3; ++round) {
      const auto start = Clock::now();
      std::size_t rows = 0;
      const PropertyTag columns[] = {subjectTag, classTag, bodyTag};
      EXPECT_EQ(
          readMessageRows(*database, folder, MessageKind::Ordinary, columns, [&](MessageRow&&) { return ++rows > 0; }),
          Status::Ok);
      EXPECT_EQ(rows, expected);
      best = std::min(best, Clock::now() - start);
    }
    return std::chrono::duration<double, std::micro>(best).count() / static_cast<double>(expected);
  };
  const double perRowSmall = timeOf(small, 5'000);
  const double perRowLarge = timeOf(large, 50'000);
  RecordProperty("microsecondsPerRow", std::to_string(perRowLarge));
  EXPECT_LT(perRowLarge, perRowSmall * 3) << "small " << perRowSmall << " us, large " << perRowLarge << " us a row";
}

}  // namespace
}  // namespace fendrel::store
