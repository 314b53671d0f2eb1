#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class ProfilesTest : public EngineTest {
 protected:
  Profile add(const std::u16string& profileName, const std::u16string& user) {
    Profile profile;
    profile.name = profileName;
    profile.userName = user;
    EXPECT_EQ(createProfile(*database, profile), Status::Ok) << database->lastError();
    return profile;
  }
};

TEST_F(ProfilesTest, EachHasAMailboxWithStandardFolders) {
  const Profile profile = add(u"Work", u"Grace Höpper \u5831");
  StoreInfo mailbox;
  ASSERT_EQ(findStore(*database, profile.mailbox, mailbox), Status::Ok);
  EXPECT_EQ(mailbox.kind, StoreKind::Mailbox);
  EXPECT_EQ(mailbox.displayName, u"Mailbox - Grace Höpper \u5831");
  EXPECT_EQ(folderNow(mailbox.root).parent, Id{});
  EXPECT_EQ(folderNow(mailbox.ipmSubtree).parent, mailbox.root);
  EXPECT_EQ(folderNow(mailbox.commonViews).parent, mailbox.root);
  EXPECT_EQ(folderNow(mailbox.finder).parent, mailbox.root);
  EXPECT_EQ(folderNow(mailbox.inbox).name, u"Inbox");
  EXPECT_EQ(folderNow(mailbox.inbox).parent, mailbox.ipmSubtree);
  EXPECT_EQ(folderNow(mailbox.outbox).name, u"Outbox");
  EXPECT_EQ(folderNow(mailbox.wastebasket).name, u"Deleted Items");
  EXPECT_EQ(folderNow(mailbox.sentItems).name, u"Sent Items");
}

TEST_F(ProfilesTest, PublicStoreIsOneForAllAndHasNoInbox) {
  add(u"A", u"a");
  StoreInfo store;
  ASSERT_EQ(findPublicStore(*database, store), Status::Ok);
  EXPECT_EQ(store.kind, StoreKind::Public);
  EXPECT_EQ(store.displayName, u"Public Folders");
  EXPECT_NE(store.commonViews, Id{});
  EXPECT_EQ(store.inbox, Id{});
  const Id id = store.id;
  reopen();
  ASSERT_EQ(findPublicStore(*database, store), Status::Ok);
  EXPECT_EQ(store.id, id);
}

TEST_F(ProfilesTest, EverythingComesBackAfterReopening) {
  Profile profile;
  profile.name = u"Tresor";
  profile.userName = u"U";
  profile.password = {pattern(16), 210'000, pattern(32, 2)};
  ASSERT_EQ(createProfile(*database, profile), Status::Ok);
  reopen();
  Profile found;
  ASSERT_EQ(findProfile(*database, u"tresor", found), Status::Ok);
  EXPECT_EQ(found.name, u"Tresor");
  EXPECT_EQ(found.password.salt, pattern(16));
  EXPECT_EQ(found.password.iterations, 210'000u);
  EXPECT_EQ(found.password.hash, pattern(32, 2));
  EXPECT_EQ(found.mailbox, profile.mailbox);
  EXPECT_EQ(found.id, profile.id);
  EXPECT_EQ(found.created, profile.created);
}

TEST_F(ProfilesTest, PasswordCanBeReplacedAndRemoved) {
  add(u"P", u"u");
  ASSERT_EQ(setPassword(*database, u"P", {pattern(8), 5, pattern(9)}), Status::Ok);
  Profile found;
  ASSERT_EQ(findProfile(*database, u"P", found), Status::Ok);
  EXPECT_EQ(found.password.hash, pattern(9));
  ASSERT_EQ(setPassword(*database, u"P", {}), Status::Ok);
  ASSERT_EQ(findProfile(*database, u"P", found), Status::Ok);
  EXPECT_TRUE(found.password.empty());
  EXPECT_EQ(setPassword(*database, u"none", {}), Status::NotFound);
}

TEST_F(ProfilesTest, ServerIsKeptAndCanBeReplaced) {
  Profile profile;
  profile.name = u"team";
  profile.userName = u"reports";
  profile.server = ServerAccess{u"https://mail.example", u"reports", pattern(70), u"public", u"C:\\ca \u65E5.pem"};
  ASSERT_EQ(createProfile(*database, profile), Status::Ok);
  add(u"local", u"u");
  reopen();
  std::vector<Profile> profiles;
  ASSERT_EQ(listProfiles(*database, profiles), Status::Ok);
  ASSERT_EQ(profiles.size(), 2u);
  ASSERT_TRUE(profiles[0].server);
  EXPECT_EQ(profiles[0].server->url, u"https://mail.example");
  EXPECT_EQ(profiles[0].server->user, u"reports");
  EXPECT_EQ(profiles[0].server->sealedSecret, pattern(70));
  EXPECT_EQ(profiles[0].server->publicAccount, u"public");
  EXPECT_EQ(profiles[0].server->tlsCaFile, u"C:\\ca \u65E5.pem");
  EXPECT_FALSE(profiles[1].server) << "its messages are in the database";

  ASSERT_EQ(setServer(*database, u"TEAM", {u"https://other.example", {}, {}, {}, {}}), Status::Ok);
  ASSERT_EQ(findProfile(*database, u"team", profile), Status::Ok);
  EXPECT_EQ(profile.server->url, u"https://other.example");
  EXPECT_EQ(profile.server->user, u"");
  EXPECT_TRUE(profile.server->sealedSecret.empty());
  EXPECT_EQ(setServer(*database, u"nobody", {}), Status::NotFound);
}

TEST_F(ProfilesTest, NameIsTakenWhateverItsCase) {
  add(u"Work", u"a");
  Profile second;
  second.name = u"WORK";
  second.userName = u"b";
  EXPECT_EQ(createProfile(*database, second), Status::AlreadyExists);
  std::vector<Profile> all;
  ASSERT_EQ(listProfiles(*database, all), Status::Ok);
  EXPECT_EQ(all.size(), 1u);
}

TEST_F(ProfilesTest, NamelessOneIsInvalid) {
  Profile nameless;
  EXPECT_EQ(createProfile(*database, nameless), Status::Invalid);
}

TEST_F(ProfilesTest, FirstIsTheDefaultUntilAnotherIsMade) {
  add(u"First", u"a");
  add(u"Second", u"b");
  Profile found;
  ASSERT_EQ(findDefaultProfile(*database, found), Status::Ok);
  EXPECT_EQ(found.name, u"First");
  ASSERT_EQ(setDefaultProfile(*database, u"Second"), Status::Ok);
  ASSERT_EQ(findDefaultProfile(*database, found), Status::Ok);
  EXPECT_EQ(found.name, u"Second");
  std::vector<Profile> all;
  ASSERT_EQ(listProfiles(*database, all), Status::Ok);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_FALSE(all[0].isDefault);
  EXPECT_TRUE(all[1].isDefault);
}

TEST_F(ProfilesTest, NoneIsTheDefaultOfAnEmptyStore) {
  Profile found;
  EXPECT_EQ(findDefaultProfile(*database, found), Status::NotFound);
}

TEST_F(ProfilesTest, MailboxOutlivesItsProfileAndGoesToTheNextOneOfItsUser) {
  const Profile first = add(u"First", u"Jane");
  StoreInfo mailbox;
  ASSERT_EQ(findStore(*database, first.mailbox, mailbox), Status::Ok);
  save(draftWith(mailbox.inbox, u"kept"));
  ASSERT_EQ(deleteProfile(*database, u"First", MailboxFate::Kept), Status::Ok) << database->lastError();
  EXPECT_EQ(findStore(*database, first.mailbox, mailbox), Status::Ok);
  EXPECT_NE(add(u"Another", u"John").mailbox, first.mailbox);
  EXPECT_EQ(add(u"Second", u"Jane").mailbox, first.mailbox);
  EXPECT_NE(add(u"Third", u"Jane").mailbox, first.mailbox) << "it has a profile again";
}

// Like a program that sets the user's name afterwards.
TEST_F(ProfilesTest, MailboxGoesToAProfileThatIsGivenItsUserLater) {
  const Profile first = add(u"First", u"Jane");
  StoreInfo mailbox;
  ASSERT_EQ(findStore(*database, first.mailbox, mailbox), Status::Ok);
  save(draftWith(mailbox.inbox, u"kept"));
  ASSERT_EQ(deleteProfile(*database, u"First", MailboxFate::Kept), Status::Ok);
  const Profile used = add(u"used", u"used"), unused = add(u"unused", u"unused");
  ASSERT_EQ(findStore(*database, used.mailbox, mailbox), Status::Ok);
  save(draftWith(mailbox.inbox, u"its own"));
  Profile found;
  ASSERT_EQ(setUserName(*database, u"used", u"Jane"), Status::Ok);
  ASSERT_EQ(findProfile(*database, u"used", found), Status::Ok);
  EXPECT_EQ(found.mailbox, used.mailbox) << "it has messages of its own";
  ASSERT_EQ(setUserName(*database, u"unused", u"Jane"), Status::Ok);
  ASSERT_EQ(findProfile(*database, u"unused", found), Status::Ok);
  EXPECT_EQ(found.mailbox, first.mailbox);
  EXPECT_EQ(findStore(*database, unused.mailbox, mailbox), Status::NotFound);
}

TEST_F(ProfilesTest, MailboxThatWasNeverUsedIsNotKept) {
  const Profile made = add(u"First", u"Jane");
  ASSERT_EQ(deleteProfile(*database, u"First", MailboxFate::Kept), Status::Ok);
  StoreInfo mailbox;
  EXPECT_EQ(findStore(*database, made.mailbox, mailbox), Status::NotFound);
}

TEST_F(ProfilesTest, ProfileWithAPasswordIsNotDeleted) {
  add(u"First", u"Jane");
  ASSERT_EQ(setPassword(*database, u"First", {Bytes(16), 5, Bytes(32)}), Status::Ok);
  EXPECT_EQ(deleteProfile(*database, u"First", MailboxFate::Deleted), Status::NoAccess);
  ASSERT_EQ(setPassword(*database, u"First", {}), Status::Ok);
  EXPECT_EQ(deleteProfile(*database, u"First", MailboxFate::Deleted), Status::Ok);
}

TEST_F(ProfilesTest, DeletedOneTakesItsMailboxAlongIfAskedToAndPassesOnTheDefault) {
  const Profile first = add(u"First", u"a");
  add(u"Second", u"b");
  StoreInfo mailbox;
  ASSERT_EQ(findStore(*database, first.mailbox, mailbox), Status::Ok);
  save(draftWithAttachment(mailbox.inbox, pattern(contentBlockSize * 2)));
  ASSERT_EQ(contentFiles().size(), 1u);

  ASSERT_EQ(deleteProfile(*database, u"First", MailboxFate::Deleted), Status::Ok) << database->lastError();

  EXPECT_EQ(findStore(*database, first.mailbox, mailbox), Status::NotFound);
  EXPECT_TRUE(contentFiles().empty());
  Profile found;
  ASSERT_EQ(findDefaultProfile(*database, found), Status::Ok);
  EXPECT_EQ(found.name, u"Second");
  EXPECT_EQ(deleteProfile(*database, u"First", MailboxFate::Deleted), Status::NotFound);
}

TEST_F(ProfilesTest, NewUserNameIsAlsoTheMailboxs) {
  const Profile made = add(u"Work", u"Old");
  ASSERT_EQ(setUserName(*database, u"Work", u"New"), Status::Ok);
  EXPECT_EQ(setUserName(*database, u"Work", u""), Status::Invalid);
  EXPECT_EQ(setUserName(*database, u"none", u"x"), Status::NotFound);
  Profile found;
  ASSERT_EQ(findProfile(*database, u"Work", found), Status::Ok);
  EXPECT_EQ(found.userName, u"New");
  StoreInfo mailbox;
  ASSERT_EQ(findStore(*database, made.mailbox, mailbox), Status::Ok);
  EXPECT_EQ(mailbox.displayName, u"Mailbox - New");
}

TEST_F(ProfilesTest, RenamedOneKeepsItsMailbox) {
  const Profile made = add(u"Old", u"a");
  add(u"Taken", u"b");
  EXPECT_EQ(renameProfile(*database, u"Old", u"taken"), Status::AlreadyExists);
  EXPECT_EQ(renameProfile(*database, u"Old", u""), Status::Invalid);
  ASSERT_EQ(renameProfile(*database, u"Old", u"OLD"), Status::Ok);
  Profile found;
  ASSERT_EQ(findProfile(*database, u"old", found), Status::Ok);
  EXPECT_EQ(found.name, u"OLD");
  EXPECT_EQ(found.mailbox, made.mailbox);
}

}  // namespace
}  // namespace fendrel::store
