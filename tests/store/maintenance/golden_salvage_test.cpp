// Stores of every version with a damaged first page: everything is recovered.
#include <fstream>
#include <iterator>

#include "build_paths.h"
#include "golden_store.h"
#include "maintenance_fixture.h"
#include "migrations.h"
#include "sample_store.h"

namespace fendrel::store {
namespace {

using testing::IsEmpty;

class GoldenSalvageTest : public testing::TestWithParam<int> {
 protected:
  static std::string contentsOf(const std::wstring& name) {
    std::ifstream file(std::filesystem::path(buildFile(L"tests/stores/" + name)), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::wstring path() const { return temp.file(L"store.db"); }

  // The store of that version, as files.
  void unpack() {
    const std::string text = contentsOf(L"version-" + std::to_wstring(GetParam()) + L".store");
    const auto bytes = std::as_bytes(std::span(text));
    std::filesystem::create_directory(path() + L".files");
    for (const auto& [name, content] : unpacked(Bytes(bytes.begin(), bytes.end())).files) {
      if (!name.starts_with(storePath) || name.find(L"\\tmp\\") != std::wstring::npos) continue;
      put(path() + name.substr(storePath.size()), content);
    }
  }

  static void put(const std::wstring& file, const Bytes& bytes) {
    std::ofstream stream(std::filesystem::path(file), std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  // Zeros, in the file and in the log.
  void wipeFirstPage() {
    std::fstream file(std::filesystem::path(path()), std::ios::binary | std::ios::in | std::ios::out);
    file.seekg(16);
    const int high = file.get(), low = file.get();
    const std::string zeros(static_cast<std::size_t>(high * 256 + low), '\0');
    file.seekp(0);
    file.write(zeros.data(), static_cast<std::streamsize>(zeros.size()));
    std::ofstream(std::filesystem::path(path() + L"-wal"), std::ios::binary | std::ios::trunc);
  }

  void checkpoint() {
    std::unique_ptr<Database> database;
    std::string error;
    ASSERT_EQ(Database::openExisting(path(), database, error), Status::Ok) << error;
    sqlite3_wal_checkpoint_v2(database->connection().handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  }

  TempFolder temp;
};

TEST_P(GoldenSalvageTest, LostFirstPageCostsNothing) {
  const std::string expected = contentsOf(L"version-" + std::to_wstring(GetParam()) + L".txt");
  ASSERT_FALSE(expected.empty());
  unpack();
  checkpoint();
  wipeFirstPage();
  EXPECT_THROW(checkStore(path(), {}), StatusFailure);
  const SalvageResult result = salvageStore(path(), temp.file(L"rescued.db"), {});
  EXPECT_THAT(result.leftOut, IsEmpty());
  std::unique_ptr<Database> database;
  std::string error;
  ASSERT_EQ(Database::openExisting(temp.file(L"rescued.db"), database, error), Status::Ok) << error;
  EXPECT_EQ(listing(*database), expected);
}

std::vector<int> everyVersion() {
  std::vector<int> versions;
  for (const Migration& migration : schemaMigrations()) versions.push_back(migration.version);
  return versions;
}

INSTANTIATE_TEST_SUITE_P(Version, GoldenSalvageTest, testing::ValuesIn(everyVersion()),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace fendrel::store
