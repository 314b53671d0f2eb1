#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class MessagesTest : public EngineTest {
 protected:
  MessagesTest() : folder(makeFolder(u"Reports")) {}
  Id folder;
};

TEST_F(MessagesTest, SavedOneComesBackWhole) {
  MessageDraft draft = draftWithAttachment(folder, pattern(5000));
  draft.set.push_back({classTag, u"Report.pdf"});
  const MessageInfo saved = save(draft);
  reopen();

  MessageInfo found;
  ASSERT_EQ(findMessage(*database, saved.id, found), Status::Ok);
  EXPECT_EQ(found.folder, folder);
  EXPECT_EQ(found.kind, MessageKind::Ordinary);
  EXPECT_TRUE(found.hasAttachments);
  EXPECT_FALSE(found.isRead);
  EXPECT_EQ(found.created, saved.created);
  EXPECT_EQ(found.searchKey, saved.searchKey);
  const auto properties = propertiesOf(saved.id);
  ASSERT_EQ(properties.size(), 2u);
  EXPECT_EQ(properties[0].tag, classTag);
  EXPECT_EQ(properties[0].value, PropertyValue(u"Report.pdf"));
  EXPECT_EQ(properties[1].value, PropertyValue(u"with attachment"));
  std::vector<Property> attachment;
  ASSERT_EQ(readAttachmentProperties(*database, saved.id, 0, {}, attachment), Status::Ok);
  ASSERT_EQ(attachment.size(), 2u);
  EXPECT_EQ(attachment[0].value, PropertyValue(pattern(5000)));
  EXPECT_EQ(attachment[1].value, PropertyValue(u"report.pdf"));
}

TEST_F(MessagesTest, SizeCountsAllValues) {
  MessageDraft draft;
  draft.folder = folder;
  draft.set = {{subjectTag, u"12345"}, {makeTag(0x0017, PropertyType::int32), 1}};
  auto& attachment = draft.attachments.emplace_back();
  attachment.set = {{attachNameTag, u"ab"}};
  attachment.contents = {{attachDataTag, writerWith(pattern(1000))}};
  EXPECT_EQ(save(draft).size, 10u + 4 + 4 + 1000);
}

TEST_F(MessagesTest, TimesAndSearchKeyAreGivenOrTaken) {
  const FileTime before = now();
  const MessageInfo plain = save(draftWith(folder, u"plain"));
  EXPECT_GT(plain.created, before);
  EXPECT_EQ(plain.created, plain.modified);
  EXPECT_NE(plain.searchKey, noGuid);
  MessageDraft draft = draftWith(folder, u"given");
  draft.created = FileTime{132'000'000'000'000'000};
  draft.searchKey = plain.searchKey;
  const MessageInfo given = save(draft);
  EXPECT_EQ(given.created, *draft.created);
  EXPECT_GT(given.modified, plain.modified);
  EXPECT_EQ(given.searchKey, plain.searchKey);
}

TEST_F(MessagesTest, ChangeReplacesRemovesAndAdds) {
  const MessageInfo first = save(draftWithAttachment(folder, pattern(100)));
  MessageDraft change;
  change.message = first.id;
  change.set = {{classTag, u"IPM.Note"}};
  change.remove = {subjectTag};
  change.isRead = true;
  change.attachments.resize(2);
  change.attachments[0].action = AttachmentAction::Change;
  change.attachments[0].contents = {{attachDataTag, writerWith(pattern(50, 2))}};
  change.attachments[1].number = 1;
  change.attachments[1].set = {{attachNameTag, u"second"}};
  const MessageInfo second = save(change);

  EXPECT_EQ(second.id, first.id);
  EXPECT_GT(second.revision, first.revision);
  EXPECT_GT(second.modified, first.modified);
  EXPECT_EQ(second.created, first.created);
  EXPECT_TRUE(second.isRead);
  EXPECT_EQ(folderNow(folder).unreadCount, 0u);
  const auto properties = propertiesOf(first.id);
  ASSERT_EQ(properties.size(), 1u);
  EXPECT_EQ(properties[0].tag, classTag);
  Bytes bytes;
  ASSERT_EQ(readAll(first.id, 0, attachDataTag, bytes), Status::Ok);
  EXPECT_EQ(bytes, pattern(50, 2));
  std::vector<AttachmentRow> rows;
  ASSERT_EQ(readAttachmentRows(*database, first.id, {}, rows), Status::Ok);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1].number, 1u);
}

TEST_F(MessagesTest, RemovedAttachmentTakesItsValuesAndFileAlong) {
  const MessageInfo first = save(draftWithAttachment(folder, pattern(contentBlockSize + 1)));
  ASSERT_EQ(contentFiles().size(), 1u);
  MessageDraft change;
  change.message = first.id;
  change.attachments = {{AttachmentAction::Remove, 0, {}, {}, {}}};
  const MessageInfo second = save(change);
  EXPECT_FALSE(second.hasAttachments);
  EXPECT_EQ(second.size, std::u16string(u"with attachment").size() * 2);
  EXPECT_TRUE(contentFiles().empty());
  std::vector<Property> gone;
  EXPECT_EQ(readAttachmentProperties(*database, first.id, 0, {}, gone), Status::NotFound);
}

TEST_F(MessagesTest, AttachmentNumbersAreChecked) {
  const MessageInfo first = save(draftWithAttachment(folder, pattern(10)));
  MessageDraft change;
  change.message = first.id;
  MessageInfo ignored;
  change.attachments = {{AttachmentAction::Add, 0, {}, {}, {}}};
  EXPECT_EQ(saveMessage(*database, change, ignored), Status::AlreadyExists);
  change.attachments = {{AttachmentAction::Change, 7, {}, {}, {}}};
  EXPECT_EQ(saveMessage(*database, change, ignored), Status::NotFound);
  change.attachments = {{AttachmentAction::Remove, 7, {}, {}, {}}};
  EXPECT_EQ(saveMessage(*database, change, ignored), Status::NotFound);
}

TEST_F(MessagesTest, ChangeOfAnOlderRevisionIsRefused) {
  const MessageInfo first = save(draftWith(folder, u"one"));
  MessageDraft mine, theirs;
  mine.message = theirs.message = first.id;
  mine.expectedRevision = theirs.expectedRevision = first.revision;
  theirs.set = {{subjectTag, u"theirs"}};
  mine.set = {{subjectTag, u"mine"}};
  save(theirs);
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*database, mine, saved), Status::Changed);
  EXPECT_EQ(subjectsIn(folder), std::vector<std::u16string>{u"theirs"});
  mine.expectedRevision.reset();
  EXPECT_EQ(saveMessage(*database, mine, saved), Status::Ok);
  EXPECT_EQ(subjectsIn(folder), std::vector<std::u16string>{u"mine"});
}

TEST_F(MessagesTest, NothingIsVisibleBeforeTheSave) {
  const MessageDraft draft = draftWithAttachment(folder, pattern(contentBlockSize * 3));
  const auto other = openAnother();
  FolderInfo info;
  ASSERT_EQ(findFolder(*other, folder, info), Status::Ok);
  EXPECT_EQ(info.messageCount, 0u);
  EXPECT_TRUE(contentFiles().empty());
  save(draft);
  ASSERT_EQ(findFolder(*other, folder, info), Status::Ok);
  EXPECT_EQ(info.messageCount, 1u);
}

// The last attachment is refused when everything else has been written already.
TEST_F(MessagesTest, RefusedSaveLeavesNothingAndCanBeRepeated) {
  MessageDraft draft = draftWithAttachment(folder, pattern(contentBlockSize * 2));
  draft.attachments.push_back({AttachmentAction::Change, 99, {}, {}, {}});
  MessageInfo saved;
  ASSERT_EQ(saveMessage(*database, draft, saved), Status::NotFound);
  EXPECT_EQ(folderNow(folder).messageCount, 0u);
  EXPECT_TRUE(contentFiles().empty());
  EXPECT_TRUE(subjectsIn(folder).empty());

  draft.attachments.pop_back();
  saved = save(draft);
  Bytes bytes;
  ASSERT_EQ(readAll(saved.id, 0, attachDataTag, bytes), Status::Ok);
  EXPECT_EQ(bytes, pattern(contentBlockSize * 2));
}

TEST_F(MessagesTest, RefusedChangeLeavesTheOldContent) {
  const MessageInfo first = save(draftWithAttachment(folder, pattern(contentBlockSize * 2)));
  MessageDraft change;
  change.message = first.id;
  change.attachments.resize(2);
  change.attachments[0].action = AttachmentAction::Remove;
  change.attachments[1].action = AttachmentAction::Remove;
  change.attachments[1].number = 5;
  MessageInfo saved;
  ASSERT_EQ(saveMessage(*database, change, saved), Status::NotFound);
  Bytes bytes;
  ASSERT_EQ(readAll(first.id, 0, attachDataTag, bytes), Status::Ok);
  EXPECT_EQ(bytes, pattern(contentBlockSize * 2));
}

TEST_F(MessagesTest, BadDraftsAreInvalid) {
  MessageInfo saved;
  MessageDraft wrongType = draftWith(folder, u"x");
  wrongType.set.push_back({classTag, 5});
  EXPECT_EQ(saveMessage(*database, wrongType, saved), Status::Invalid);
  MessageDraft twice = draftWith(folder, u"x");
  twice.set.push_back({subjectTag, u"again"});
  EXPECT_EQ(saveMessage(*database, twice, saved), Status::Invalid);
  MessageDraft oddText = draftWith(folder, u"x");
  oddText.contents = {{bodyTag, writerWith(pattern(3))}};
  EXPECT_EQ(saveMessage(*database, oddText, saved), Status::Invalid);
  MessageDraft noWriter = draftWith(folder, u"x");
  noWriter.contents = {{bodyTag, nullptr}};
  EXPECT_EQ(saveMessage(*database, noWriter, saved), Status::Invalid);
  MessageDraft unloaded = draftWith(folder, u"x");
  unloaded.set.push_back({bodyTag, UnloadedValue{5}});
  EXPECT_EQ(saveMessage(*database, unloaded, saved), Status::Invalid);
  MessageDraft nowhere = draftWith(newGuid(), u"x");
  EXPECT_EQ(saveMessage(*database, nowhere, saved), Status::NotFound);
  const auto other = openAnother();
  MessageDraft foreign = draftWith(folder, u"x");
  foreign.contents = {{bodyTag, writerWith(*other, pattern(4))}};
  EXPECT_EQ(saveMessage(*database, foreign, saved), Status::Invalid);
  EXPECT_EQ(folderNow(folder).messageCount, 0u);
}

TEST_F(MessagesTest, DeletedOneIsGoneWithItsFile) {
  const MessageInfo message = save(draftWithAttachment(folder, pattern(contentBlockSize * 2)));
  ASSERT_EQ(deleteMessage(*database, message.id), Status::Ok);
  MessageInfo found;
  EXPECT_EQ(findMessage(*database, message.id, found), Status::NotFound);
  EXPECT_EQ(deleteMessage(*database, message.id), Status::NotFound);
  EXPECT_TRUE(contentFiles().empty());
}

TEST_F(MessagesTest, SeveralAreDeletedAtOnceAndMissingOnesPassedOver) {
  const Id messages[] = {save(draftWith(folder, u"1")).id, newGuid(), save(draftWith(folder, u"2")).id};
  save(draftWith(folder, u"3"));
  ASSERT_EQ(deleteMessages(*database, messages), Status::Ok);
  EXPECT_EQ(subjectsIn(folder), std::vector<std::u16string>{u"3"});
}

TEST_F(MessagesTest, MovedOneKeepsItsIdentifier) {
  const Id other = makeFolder(u"Other");
  const MessageInfo message = save(draftWith(folder, u"m"));
  ASSERT_EQ(moveMessage(*database, message.id, other), Status::Ok);
  MessageInfo found;
  ASSERT_EQ(findMessage(*database, message.id, found), Status::Ok);
  EXPECT_EQ(found.folder, other);
  EXPECT_EQ(moveMessage(*database, message.id, newGuid()), Status::NotFound);
}

TEST_F(MessagesTest, CopyIsWholeAndOfItsOwn) {
  const Id other = makeFolder(u"Other");
  MessageDraft draft = draftWithAttachment(folder, pattern(contentBlockSize * 2 + 1));
  draft.contents = {{bodyTag, writerWith(pattern(100'000))}};
  const MessageInfo original = save(draft);
  MessageInfo copy;
  ASSERT_EQ(copyMessage(*database, original.id, other, copy), Status::Ok) << database->lastError();
  EXPECT_NE(copy.id, original.id);
  EXPECT_EQ(copy.folder, other);
  EXPECT_EQ(copy.searchKey, original.searchKey);
  EXPECT_EQ(copy.created, original.created);
  EXPECT_EQ(copy.size, original.size);
  ASSERT_EQ(deleteMessage(*database, original.id), Status::Ok);
  Bytes bytes;
  ASSERT_EQ(readAll(copy.id, 0, attachDataTag, bytes), Status::Ok);
  EXPECT_EQ(bytes, pattern(contentBlockSize * 2 + 1));
  ASSERT_EQ(readAll(copy.id, std::nullopt, bodyTag, bytes), Status::Ok);
  EXPECT_EQ(bytes, pattern(100'000));
  EXPECT_EQ(copyMessage(*database, original.id, other, copy), Status::NotFound);
}

}  // namespace
}  // namespace fendrel::store
