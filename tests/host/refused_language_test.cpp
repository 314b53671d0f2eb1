// The host recognises a refused post in any language of the plug-in's texts.
#include <gmock/gmock.h>

#include "build_paths.h"
#include "fendrel_run.h"

using namespace fendrel::test;
using testing::HasSubstr;

namespace {

class RefusedPost : public FendrelTest {};

TEST_F(RefusedPost, MeansTheSameInEveryLanguage) {
  addJane();
  const std::string file = newFile(L"sales.txt", "sales");
  const Outcome english = fendrel({"post", "--to", "Public Folders@Nobody's", file});
  ASSERT_EQ(english.exitCode, 5) << english.err;
  int libraries = 0;
  for (const auto& library : std::filesystem::directory_iterator(buildFile(L"languages"))) {
    if (library.path().extension() != ".dll") continue;
    SCOPED_TRACE(library.path().filename().string());
    const std::filesystem::path copy = folder.path() / ("copy" + std::to_string(++libraries));
    const std::wstring program = copyProgram(copy);
    std::filesystem::copy_file(library.path(), copy / "R7Kqexx.dll");  // comes before every language
    const Outcome run = runProgram(program, {"post", "--to", "Public Folders@Nobody's", file}, folder.path());
    EXPECT_EQ(run.exitCode, english.exitCode);
    EXPECT_EQ(run.err, english.err);
  }
  EXPECT_EQ(libraries, 5);
}

}  // namespace
