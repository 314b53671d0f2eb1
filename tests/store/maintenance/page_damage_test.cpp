// Whatever pages of a store are damaged, all messages come over that have nothing in these, and the others are named.
#include <algorithm>
#include <cstdlib>
#include <random>

#include "maintenance_fixture.h"
#include "page_map.h"

namespace fendrel::store {
namespace {

using testing::IsEmpty;

class PageDamageTest : public MaintenanceTest {
protected:
  std::wstring rescued() const { return temp.file(L"rescued.db"); }

  // Enough for trees of several levels: rows of a few bytes and of many, and long ones that go on in other pages.
  void fillWithEverything() {
    Profile profile;
    profile.name = profile.userName = u"jane";
    ASSERT_EQ(createProfile(*database, profile), Status::Ok);
    StoreInfo mailbox;
    ASSERT_EQ(findStore(*database, profile.mailbox, mailbox), Status::Ok);
    reports = makeFolder(u"Reports");
    const Guid deep = makeFolder(makeFolder(mailbox.inbox, u"Daily"), u"Sales");
    int count = 0;
    const auto subject = [&] {
      std::u16string text = u"message ";
      for (const char c : std::to_string(++count)) text += static_cast<char16_t>(c);
      return text;
    };
    for (int i = 0; i < 250; ++i) save(draftWith(i % 3 ? reports : deep, subject()));
    for (int i = 0; i < 30; ++i) {
      MessageDraft draft = draftWith(i % 2 ? reports : mailbox.inbox, subject());
      if (i % 5 == 0) draft.kind = MessageKind::Associated;
      draft.set.push_back({bodyTag, std::u16string(static_cast<std::size_t>(600 * (i % 24) + 1700), u'b')});
      save(draft);
    }
    for (const std::size_t size : {33'000, 60'000, 131'072, 300, 140'000, 90'000, 128'000, 0, 300'000}) {
      save(draftWith(size % 7 ? reports : deep, subject(), size));
    }
    // Free pages among the others.
    const Guid gone = makeFolder(u"Gone");
    for (int i = 0; i < 4; ++i) save(draftWith(gone, u"gone", 50'000));
    ASSERT_EQ(deleteFolder(*database, gone, {true, true}), Status::Ok);
  }

  void learn() {
    sqlite3_wal_checkpoint_v2(database->connection().handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    described = describeMessages(database->connection());
    whole = read(path());
    map = mapPages(database->connection(), whole);
    for (const auto& [number, words] : described) numberOf["message number " + std::to_string(number)] = number;
    learnSubjects();
    database.reset();
  }

  void learnSubjects() {
    Query subjects(database->connection().statement("SELECT message, value FROM message_property WHERE part = 0 AND id = 55"));
    while (subjects.step()) numberOf[std::string(subjects->text(1))] = subjects->integer(0);
  }

  void removeRescued() {
    database.reset();
    for (const wchar_t* ending : {L"", L"-wal", L"-shm", L".files"}) std::filesystem::remove_all(rescued() + ending);
  }

  std::set<std::int64_t> named(const SalvageResult& result) const {
    std::set<std::int64_t> numbers;
    for (const Finding& finding : result.leftOut) {
      if (finding.isMessage) numbers.insert(numberOf.at(finding.message));
    }
    return numbers;
  }

  // Salvages a store with damaged pages and compares the outcome with what these pages held.
  void expectTheRest(const std::set<std::uint32_t>& pages, std::size_t at = 9000) {
    std::string where;
    std::set<std::int64_t> touched;
    auto bytes = whole;
    for (const std::uint32_t page : pages) {
      where += "page " + std::to_string(page) + " (" + map.nameOf(page) + ") ";
      bytes[(page - 1) * 16384 + at] ^= std::byte{64};
      if (map.messages.contains(page)) touched.insert(map.messages[page].begin(), map.messages[page].end());
    }
    SCOPED_TRACE(where);
    write(path(), bytes);
    expectAllBut(touched);
  }

  void expectAllBut(const std::set<std::int64_t>& touched) {
    removeRescued();
    SalvageResult result;
    try {
      result = salvageStore(path(), rescued(), {});
    } catch (const MaintenanceFailure& failure) {
      FAIL() << failure.what();
    }
    EXPECT_EQ(named(result), touched) << (result.leftOut.empty() ? "" : result.leftOut[0].what);
    std::string error;
    ASSERT_EQ(Database::openExisting(rescued(), database, error), Status::Ok) << error;
    auto expected = described;
    for (const std::int64_t number : touched) expected.erase(number);
    EXPECT_TRUE(describeMessages(database->connection()) == expected) << result.messages << " came over";
    EXPECT_THAT(checkStore(rescued(), {}).damage, IsEmpty());
    last = std::move(result);
  }

  std::map<std::int64_t, std::string> described;
  std::map<std::string, std::int64_t> numberOf;  // by the name that findings give a message
  std::vector<std::byte> whole;
  PageMap map;
  SalvageResult last;
};

TEST_F(PageDamageTest, AnyOnePageLosesNoMessageThatIsNotInIt) {
  fillWithEverything();
  learn();
  std::map<std::string, int> kinds;
  for (std::uint32_t page = 1; page <= map.pages && !HasFailure(); ++page) {
    expectTheRest({page}, page % 3 * 4000);
    ++kinds[map.nameOf(page)];
  }
  for (const auto& [kind, count] : kinds) std::printf("%s: %d\n", kind.c_str(), count);
  for (const char* kind : {"inside of message", "inside of message_property", "leaf of message_property", "overflow",
                           "leaf of attachment", "leaf of content", "leaf of folder", "first page", "no tree's"}) {
    EXPECT_GT(kinds[kind], 0) << kind;
  }
}

}  // namespace
}  // namespace fendrel::store
