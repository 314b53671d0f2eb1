#include "engine_fixture.h"

namespace fendrel::store {
namespace {

using FoldersTest = EngineTest;

TEST_F(FoldersTest, CreatedOneIsThereAfterReopening) {
  const Id reports = makeFolder(u"Reports");
  const Id daily = makeFolder(reports, u"T\u00E4glich \u65E5\U0001F4C1");
  reopen();
  EXPECT_EQ(folderNow(daily).name, u"T\u00E4glich \u65E5\U0001F4C1");
  EXPECT_EQ(folderNow(daily).parent, reports);
  EXPECT_FALSE(folderNow(daily).isStandard);
  EXPECT_TRUE(folderNow(reports).hasSubfolders);
  EXPECT_FALSE(folderNow(daily).hasSubfolders);
}

TEST_F(FoldersTest, UnpairedSurrogateInANameSurvives) {
  const std::u16string strange{u'a', char16_t{0xD800}, u'b'};
  const Id folder = makeFolder(strange);
  reopen();
  EXPECT_EQ(folderNow(folder).name, strange);
}

TEST_F(FoldersTest, SameNameTwiceIsRefusedOrOpened) {
  const Id first = makeFolder(u"Reports");
  FolderInfo second;
  EXPECT_EQ(createFolder(*database, top, u"Reports", {}, IfExists::Refuse, second), Status::AlreadyExists);
  ASSERT_EQ(createFolder(*database, top, u"Reports", {}, IfExists::Open, second), Status::Ok);
  EXPECT_EQ(second.id, first);
}

TEST_F(FoldersTest, NamesDifferByCaseAndMayBeEqualInOtherFolders) {
  const Id reports = makeFolder(u"Reports");
  makeFolder(u"reports");
  makeFolder(reports, u"Reports");
}

TEST_F(FoldersTest, ChildIsFoundByItsExactName) {
  const Id reports = makeFolder(u"Reports");
  FolderInfo found;
  ASSERT_EQ(findChild(*database, top, u"Reports", found), Status::Ok);
  EXPECT_EQ(found.id, reports);
  EXPECT_EQ(findChild(*database, top, u"Report", found), Status::NotFound);
}

TEST_F(FoldersTest, BadRequestsAreRefused) {
  FolderInfo folder;
  EXPECT_EQ(createFolder(*database, top, u"", {}, IfExists::Refuse, folder), Status::Invalid);
  EXPECT_EQ(createFolder(*database, newGuid(), u"x", {}, IfExists::Refuse, folder), Status::NotFound);
  EXPECT_EQ(findFolder(*database, newGuid(), folder), Status::NotFound);
  EXPECT_EQ(renameFolder(*database, newGuid(), u"x"), Status::NotFound);
  EXPECT_EQ(deleteFolder(*database, newGuid(), {}), Status::NotFound);
}

TEST_F(FoldersTest, RenamedOneKeepsIdentifierAndContents) {
  const Id folder = makeFolder(u"Old");
  makeFolder(u"Taken");
  save(draftWith(folder, u"m"));
  EXPECT_EQ(renameFolder(*database, folder, u"Taken"), Status::AlreadyExists);
  EXPECT_EQ(renameFolder(*database, folder, u""), Status::Invalid);
  ASSERT_EQ(renameFolder(*database, folder, u"Old"), Status::Ok) << "its own name is free";
  ASSERT_EQ(renameFolder(*database, folder, u"New"), Status::Ok);
  EXPECT_EQ(folderNow(folder).name, u"New");
  EXPECT_EQ(folderNow(folder).messageCount, 1u);
}

TEST_F(FoldersTest, StandardOneCannotBeRenamedMovedOrDeleted) {
  const Id other = makeFolder(u"Other");
  EXPECT_TRUE(folderNow(top).isStandard);
  EXPECT_EQ(renameFolder(*database, top, u"x"), Status::NoAccess);
  EXPECT_EQ(moveFolder(*database, top, other, u""), Status::NoAccess);
  EXPECT_EQ(deleteFolder(*database, top, {true, true}), Status::NoAccess);
}

TEST_F(FoldersTest, MovedOneTakesEverythingBelowAlong) {
  const Id a = makeFolder(u"A");
  const Id b = makeFolder(u"B");
  const Id below = makeFolder(a, u"Below");
  ASSERT_EQ(moveFolder(*database, a, b, u"C"), Status::Ok) << database->lastError();
  EXPECT_EQ(folderNow(a).parent, b);
  EXPECT_EQ(folderNow(a).name, u"C");
  EXPECT_EQ(folderNow(below).parent, a);
  EXPECT_EQ(moveFolder(*database, b, below, u""), Status::Invalid) << "into itself";
  EXPECT_EQ(moveFolder(*database, b, b, u""), Status::Invalid);
}

TEST_F(FoldersTest, MoveToAnotherStoreIsInvalid) {
  Profile profile;
  profile.name = u"p";
  ASSERT_EQ(createProfile(*database, profile), Status::Ok);
  StoreInfo mailbox;
  ASSERT_EQ(findStore(*database, profile.mailbox, mailbox), Status::Ok);
  const Id folder = makeFolder(u"A");
  EXPECT_EQ(moveFolder(*database, folder, mailbox.inbox, u""), Status::Invalid);
}

TEST_F(FoldersTest, DeletingAsksWhatToDoWithTheContents) {
  const Id folder = makeFolder(u"A");
  const Id below = makeFolder(folder, u"B");
  save(draftWith(below, u"m"));
  EXPECT_EQ(deleteFolder(*database, folder, {}), Status::HasFolders);
  EXPECT_EQ(deleteFolder(*database, folder, {.withFolders = true}), Status::HasMessages);
  EXPECT_EQ(folderNow(below).messageCount, 1u);
  ASSERT_EQ(deleteFolder(*database, folder, {true, true}), Status::Ok) << database->lastError();
  FolderInfo gone;
  EXPECT_EQ(findFolder(*database, folder, gone), Status::NotFound);
  EXPECT_EQ(findFolder(*database, below, gone), Status::NotFound);
  EXPECT_FALSE(folderNow(top).hasSubfolders);
}

TEST_F(FoldersTest, DeletingRemovesMessagesAndTheirFiles) {
  const Id folder = makeFolder(u"A");
  const MessageInfo message = save(draftWithAttachment(folder, pattern(contentBlockSize * 2)));
  ASSERT_EQ(contentFiles().size(), 1u);
  ASSERT_EQ(deleteFolder(*database, folder, {.withMessages = true}), Status::Ok);
  EXPECT_TRUE(contentFiles().empty());
  MessageInfo gone;
  EXPECT_EQ(findMessage(*database, message.id, gone), Status::NotFound);
}

TEST_F(FoldersTest, VeryDeepTreeCanBeReadAndDeleted) {
  const Id first = makeFolder(u"0");
  Id deepest = first;
  for (int i = 0; i < 1100; ++i) deepest = makeFolder(deepest, u"x");
  int rows = 0;
  ASSERT_EQ(readFolderRows(*database, first, Depth::AllBelow, {}, [&](FolderRow&&) { return ++rows > 0; }), Status::Ok);
  EXPECT_EQ(rows, 1100);
  ASSERT_EQ(deleteFolder(*database, first, {true, true}), Status::Ok) << database->lastError();
}

TEST_F(FoldersTest, CountsFollowEveryChange) {
  const Id folder = makeFolder(u"A");
  const Id other = makeFolder(u"B");
  const auto counts = [&](const Id& id) {
    const FolderInfo info = folderNow(id);
    return std::vector<std::uint32_t>{info.messageCount, info.unreadCount, info.associatedCount};
  };
  using Counts = std::vector<std::uint32_t>;
  EXPECT_EQ(counts(folder), (Counts{0, 0, 0}));

  MessageDraft read = draftWith(folder, u"read");
  read.isRead = true;
  save(read);
  const MessageInfo unread = save(draftWith(folder, u"unread"));
  MessageDraft associated = draftWith(folder, u"view");
  associated.kind = MessageKind::Associated;
  const MessageInfo view = save(associated);
  EXPECT_EQ(counts(folder), (Counts{2, 1, 1}));

  ASSERT_EQ(setRead(*database, unread.id, true), Status::Ok);
  EXPECT_EQ(counts(folder), (Counts{2, 0, 1}));
  ASSERT_EQ(setRead(*database, unread.id, true), Status::Ok);
  EXPECT_EQ(counts(folder), (Counts{2, 0, 1}));
  ASSERT_EQ(setRead(*database, unread.id, false), Status::Ok);
  ASSERT_EQ(moveMessage(*database, unread.id, other), Status::Ok);
  EXPECT_EQ(counts(folder), (Counts{1, 0, 1}));
  EXPECT_EQ(counts(other), (Counts{1, 1, 0}));
  ASSERT_EQ(deleteMessage(*database, view.id), Status::Ok);
  EXPECT_EQ(counts(folder), (Counts{1, 0, 0}));
  ASSERT_EQ(deleteMessage(*database, unread.id), Status::Ok);
  EXPECT_EQ(counts(other), (Counts{0, 0, 0}));
}

TEST_F(FoldersTest, PropertiesAreSetReplacedAndRemoved) {
  const Id folder = makeFolder(u"A");
  const Property comment{commentTag, u"first"};
  ASSERT_EQ(changeFolderProperties(*database, folder, {&comment, 1}, {}), Status::Ok);
  const Property number{makeTag(0x3004, PropertyType::int32), 5};
  ASSERT_EQ(changeFolderProperties(*database, folder, {&number, 1}, {}), Status::Ok);
  reopen();
  std::vector<Property> found;
  ASSERT_EQ(readFolderProperties(*database, folder, {}, found), Status::Ok);
  ASSERT_EQ(found.size(), 1u) << "another type replaces";
  EXPECT_EQ(found[0].tag, number.tag);
  EXPECT_EQ(found[0].value, number.value);
  ASSERT_EQ(changeFolderProperties(*database, folder, {}, {&comment.tag, 1}), Status::Ok);
  ASSERT_EQ(readFolderProperties(*database, folder, {}, found), Status::Ok);
  EXPECT_TRUE(found.empty());
}

TEST_F(FoldersTest, RefusedPropertyChangesNothing) {
  const Id folder = makeFolder(u"A");
  const Property properties[] = {{commentTag, u"fine"}, {commentTag + 0x10000, 5}};
  EXPECT_EQ(changeFolderProperties(*database, folder, properties, {}), Status::Invalid);
  FolderInfo made;
  EXPECT_EQ(createFolder(*database, top, u"B", properties, IfExists::Refuse, made), Status::Invalid);
  std::vector<Property> found;
  ASSERT_EQ(readFolderProperties(*database, folder, {}, found), Status::Ok);
  EXPECT_TRUE(found.empty());
  EXPECT_EQ(findChild(*database, top, u"B", made), Status::NotFound);
}

TEST_F(FoldersTest, StorePropertiesAreKept) {
  StoreInfo store;
  ASSERT_EQ(findPublicStore(*database, store), Status::Ok);
  const Property comment{commentTag, u"about the store"};
  ASSERT_EQ(changeStoreProperties(*database, store.id, {&comment, 1}, {}), Status::Ok);
  reopen();
  std::vector<Property> found;
  ASSERT_EQ(readStoreProperties(*database, store.id, {}, found), Status::Ok);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].value, comment.value);
}

}  // namespace
}  // namespace fendrel::store
