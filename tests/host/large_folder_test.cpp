// Prints the time to leave out files in a folder of many messages; docs/jobs.md quotes it.
#include <gtest/gtest.h>

#include <cstdio>

#include "fendrel_run.h"
#include "filled_folder.h"

namespace fendrel::test {
namespace {

class LargeFolder : public FendrelTest {
 protected:
  void SetUp() override { addJane(); }

  // Writes files and a list of their names.
  std::string makeFiles(const std::string& prefix, int count) const {
    std::string names;
    for (int number = 0; number < count; ++number) {
      const std::string name = prefix + std::to_string(number) + ".csv";
      newFile(std::wstring(name.begin(), name.end()), name + " of this night\n" + std::string(4000, 'x'));
      names += name + "\n";
    }
    return newFile(std::wstring(prefix.begin(), prefix.end()) + L".names", names);
  }
};

TEST_F(LargeFolder, FilesAmongTenThousandMessagesAreLeftOutInSeconds) {
  ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"old.csv", std::string(4000, 'x'))}).exitCode, 0);
  fillWithCopies(folder.file(L"store.db"), {u"Reports", u"Daily"}, 9'700);
  const std::string nightly = makeFiles("nightly", 300);
  ASSERT_EQ(fendrel({"post", "--to", daily, "--together", "--quiet", "--files-from", nightly}).exitCode, 0);
  const ULONGLONG start = GetTickCount64();
  const Outcome run = fendrel({"post", "--to", daily, "--skip-existing", "--json", "--files-from", nightly});
  const double seconds = static_cast<double>(GetTickCount64() - start) / 1000;
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.json()["leftOut"], 300);
  std::printf("300 files among 10,000 messages were left out in %.1f s\n", seconds);
  EXPECT_LT(seconds, 30);

  // And where every one is new.
  const ULONGLONG begun = GetTickCount64();
  const Outcome posted =
      fendrel({"post", "--to", daily, "--skip-existing", "--json", "--files-from", makeFiles("new", 300)});
  EXPECT_EQ(posted.json()["posted"], 300) << posted.err;
  std::printf("300 new files were posted among them in %.1f s\n", static_cast<double>(GetTickCount64() - begun) / 1000);
}

}  // namespace
}  // namespace fendrel::test
