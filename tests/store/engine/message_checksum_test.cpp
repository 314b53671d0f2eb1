// A message has a checksum of its rows: changes by other programs are found when the message is opened.
#include "message_checksum.h"

#include "connection.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class MessageChecksumTest : public EngineTest {
 protected:
  Status statusOfOpening(const MessageInfo& message) {
    MessageInfo found;
    return findMessage(*database, message.id, found);
  }

  bool hasChecksum() {
    Query query(database->connection().statement("SELECT checksum IS NOT NULL FROM message"));
    EXPECT_TRUE(query.step());
    return query->integer(0) != 0;
  }

  MessageInfo saveOne() {
    MessageDraft draft = draftWithAttachment(top, pattern(1000));
    draft.set.push_back({0x00170003, std::int32_t{2}});
    draft.set.push_back({0x80010005, 0.5});
    draft.set.push_back({0x80020102, pattern(10)});
    draft.contents = {{bodyTag, writerWith(pattern(2000))}};
    return save(draft);
  }
};

struct Change {
  const char* name;
  const char* sql;
};

class ChangedByAnotherHandTest : public MessageChecksumTest, public testing::WithParamInterface<Change> {};

TEST_P(ChangedByAnotherHandTest, IsCorruptWhenTheMessageIsOpenedAndNoSaveHidesIt) {
  const MessageInfo message = saveOne();
  ASSERT_EQ(statusOfOpening(message), Status::Ok) << database->lastError();
  database->connection().execute(GetParam().sql);
  EXPECT_EQ(statusOfOpening(message), Status::Corrupt);
  MessageDraft change;
  change.message = message.id;
  change.set = {{commentTag, u"changed"}};
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*database, change, saved), Status::Corrupt);
  MessageInfo copy;
  EXPECT_EQ(copyMessage(*database, message.id, top, copy), Status::Corrupt);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ChangedByAnotherHandTest,
    testing::Values(
        Change{"Text", "UPDATE message_property SET value = 'with Attachment' WHERE id = 0x37 AND part = 0"},
        Change{"Integer", "UPDATE message_property SET value = 3 WHERE id = 0x17"},
        Change{"Real", "UPDATE message_property SET value = 0.25 WHERE id = 0x8001"},
        Change{"Blob", "UPDATE message_property SET value = zeroblob(10) WHERE id = 0x8002"},
        Change{"StorageClass", "UPDATE message_property SET value = CAST(value AS BLOB) WHERE id = 0x37"},
        Change{"Type", "UPDATE message_property SET type = 0x0014 WHERE id = 0x17"},
        Change{"Identifier", "UPDATE message_property SET id = 0x18 WHERE id = 0x17"},
        Change{"Content", "UPDATE message_property SET content = content + 1 WHERE id = 0x1000"},
        Change{"LostProperty", "DELETE FROM message_property WHERE id = 0x17"},
        Change{"PropertyOfAnAttachment", "UPDATE message_property SET value = 'x.pdf' WHERE part = 1 AND id = 0x3707"},
        Change{"SizeOfAnAttachment", "UPDATE attachment SET size = size + 1"},
        Change{"LostAttachment", "DELETE FROM attachment"},
        Change{"TimeOfTheMessage", "UPDATE message SET created = created + 1"},
        Change{"IdentifierOfACopy", "UPDATE message SET search_key = zeroblob(16)"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(MessageChecksumTest, FollowsEveryChangeOfOurOwn) {
  const MessageInfo message = saveOne();
  MessageDraft change;
  change.message = message.id;
  change.set = {{subjectTag, u"another subject"}};
  change.remove = {bodyTag};
  auto& attachment = change.attachments.emplace_back();
  attachment.action = AttachmentAction::Change;
  attachment.set = {{attachNameTag, u"renamed.pdf"}};
  save(change);
  EXPECT_TRUE(hasChecksum());
  EXPECT_EQ(statusOfOpening(message), Status::Ok) << database->lastError();
  EXPECT_EQ(setRead(*database, message.id, true), Status::Ok);
  EXPECT_EQ(moveMessage(*database, message.id, makeFolder(u"elsewhere")), Status::Ok);
  EXPECT_EQ(statusOfOpening(message), Status::Ok) << database->lastError();
  MessageInfo copy;
  ASSERT_EQ(copyMessage(*database, message.id, top, copy), Status::Ok) << database->lastError();
  EXPECT_EQ(statusOfOpening(copy), Status::Ok) << database->lastError();
  reopen();
  EXPECT_EQ(statusOfOpening(message), Status::Ok) << database->lastError();
}

TEST_F(MessageChecksumTest, StaysRightInARebuiltDatabase) {
  const MessageInfo message = saveOne();
  save(draftWith(top, u"goes"));
  database->connection().execute("DELETE FROM message WHERE id = 2");
  database->connection().execute("VACUUM");
  EXPECT_EQ(statusOfOpening(message), Status::Ok) << database->lastError();
}

// Like an older program that had the store open during the migration.
TEST_F(MessageChecksumTest, OfAProgramThatKnowsNoneIsNoneUntilTheNextSave) {
  const MessageInfo message = saveOne();
  database->connection().execute("UPDATE message SET revision = revision + 1, modified = modified + 1");
  database->connection().execute("UPDATE message_property SET value = 'older' WHERE id = 0x37");
  EXPECT_FALSE(hasChecksum());
  EXPECT_EQ(statusOfOpening(message), Status::Ok) << database->lastError();
  MessageDraft change;
  change.message = message.id;
  change.set = {{commentTag, u"changed"}};
  save(change);
  EXPECT_TRUE(hasChecksum());
}

TEST_F(MessageChecksumTest, OfAMessageThatIsNotThereIsNotFound) {
  try {
    database->connection().messageChecksum().of(99);
    FAIL() << "there is one";
  } catch (const EngineError& error) {
    EXPECT_EQ(error.status, Status::NotFound);
  }
}

}  // namespace
}  // namespace fendrel::store
