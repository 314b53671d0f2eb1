// fendrel doctor: tests every cross.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <fstream>

#include "build_paths.h"
#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

constexpr const char* cross = "\xE2\x9C\x97";

class Doctor : public FendrelTest {
 protected:
  // fendrel.exe in a folder of its own, with these files beside it.
  std::wstring copyOfProgram(std::initializer_list<const wchar_t*> files) const {
    for (const wchar_t* file : files) {
      const fs::path to = folder.path() / L"copy" / file;
      fs::create_directories(to.parent_path());
      fs::copy_file(buildFile(std::wstring(L"bin/") + file), to, fs::copy_options::overwrite_existing);
    }
    return (folder.path() / L"copy" / L"fendrel.exe").wstring();
  }
  void writeBytes(const fs::path& path, std::string_view bytes) const {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
};

// The text after the first cross; a test failure if there is none.
std::string firstCross(const Outcome& run) {
  const std::size_t at = run.out.find(cross);
  EXPECT_NE(at, std::string::npos) << run.out << run.err;
  return at == std::string::npos ? std::string() : run.out.substr(at, run.out.find('\n', at) - at);
}

TEST_F(Doctor, EverythingThatIsInOrderHasATick) {
  addJane();
  ASSERT_EQ(fendrel({"folder", "create", daily}).exitCode, 0);
  const Outcome run = fendrel({"doctor", "--to", daily});
  EXPECT_EQ(run.exitCode, 0) << run.out;
  EXPECT_THAT(run.out, Not(HasSubstr(cross)));
  for (const char* what :
       {"MAPI library", "64-bit", "Exports", "Initialise", "Local store", "free on its disk", "Profiles", "Logon",
        "Stores", "Target folder", "Right to post", "Names", "Languages", "Store check", "Versions", "FENDREL.DLL 1."})
    EXPECT_THAT(run.out, HasSubstr(what));
  const auto document = fendrel({"doctor", "--to", daily, "--json"}).json();
  EXPECT_EQ(document["exitCode"], 0);
  for (const auto& finding : document["findings"]) EXPECT_EQ(finding["good"], true) << finding;
}

TEST_F(Doctor, NothingIsChanged) {
  addJane();
  ASSERT_EQ(fendrel({"folder", "create", daily}).exitCode, 0);
  ASSERT_EQ(fendrel({"doctor", "--to", daily}).exitCode, 0);
  EXPECT_EQ(fendrel({"list", daily, "--json"}).json()["count"], 0);
}

TEST_F(Doctor, MissingLocalStoreLibraryIsACross) {
  const Outcome run = runProgram(copyOfProgram({L"fendrel.exe", L"FENDREL.DLL"}), {"doctor"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("MAPI library"), HasSubstr("is missing"), HasSubstr("--mapi system")));
}

TEST_F(Doctor, LibraryThatIsNoneIsACross) {
  const std::wstring program = copyOfProgram({L"fendrel.exe", L"FENDREL.DLL"});
  fs::create_directories(folder.path() / L"copy" / L"store");
  writeBytes(folder.path() / L"copy" / L"store" / L"MAPI32.DLL", "no library");
  EXPECT_THAT(firstCross(runProgram(program, {"doctor"})),
              HasSubstr("is not a library, and fendrel is a 64-bit program"));
}

TEST_F(Doctor, LibraryWithoutAnExportIsACross) {
  const std::wstring program = copyOfProgram({L"fendrel.exe", L"FENDREL.DLL"});
  fs::create_directories(folder.path() / L"copy" / L"store");
  fs::copy_file(buildFile(L"tests/incomplete_mapi/without_HrGetOneProp/MAPI32.DLL"),
                folder.path() / L"copy" / L"store" / L"MAPI32.DLL");
  const Outcome run = runProgram(program, {"doctor"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Exports"), HasSubstr("has no HrGetOneProp")));
}

TEST_F(Doctor, StoreThatIsNotThereIsACrossAndIsNotMade) {
  const Outcome run = fendrel({"doctor"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Local store"), HasSubstr("fendrel profile add")));
  EXPECT_FALSE(fs::exists(folder.path() / L"store.db"));
}

TEST_F(Doctor, FileThatIsNoStoreIsACrossWithItsName) {
  newFile(L"store.db", "this is a letter to my grandmother, and no store at all");
  const Outcome run = fendrel({"doctor"});
  EXPECT_EQ(run.exitCode, 6);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Local store"), HasSubstr("store.db")));
}

TEST_F(Doctor, MissingProfileIsACross) {
  addJane();
  ASSERT_EQ(fendrel({"profile", "remove", "jane"}).exitCode, 0);
  const Outcome none = fendrel({"doctor"});
  EXPECT_EQ(none.exitCode, 4);
  EXPECT_THAT(firstCross(none), AllOf(HasSubstr("Profiles"), HasSubstr("There is no profile yet.")));
}

TEST_F(Doctor, WrongPasswordIsACross) {
  ASSERT_EQ(fendrel({"profile", "add", "jane", "--password-file", secret("sesame")}).exitCode, 0);
  const Outcome run = fendrel({"doctor", "--password-file", secret("wrong")});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Logon"), HasSubstr("MAPI_E_LOGON_FAILED")));
}

TEST_F(Doctor, MissingFolderIsACross) {
  addJane();
  const Outcome run = fendrel({"doctor", "--to", "Public Folders@None"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Target folder"), HasSubstr("'None' was not found")));
}

TEST_F(Doctor, JobIsLookedAtWithItsFolder) {
  addJane();
  const std::string job = newFile(L"nightly.toml", "folder = 'Public Folders@None'\nfiles = 'a.csv'\n");
  EXPECT_THAT(firstCross(fendrel({"doctor", "--job", job})), HasSubstr("'None' was not found"));
  newFile(L"nightly.toml", "folder = 'Public Folders@None'\nfiles = 'a.csv'\ncreate = true\n");
  EXPECT_EQ(fendrel({"doctor", "--job", job}).exitCode, 0);
  newFile(L"nightly.toml", "folder = 'Public Folders@None'\nfile = 'a.csv'\n");
  const Outcome wrong = fendrel({"doctor", "--job", job});
  EXPECT_EQ(wrong.exitCode, 2);
  EXPECT_THAT(firstCross(wrong), HasSubstr("did you mean 'files'?"));
}

TEST_F(Doctor, LanguageLibraryThatIsNoneIsACross) {
  addJane();
  const std::wstring program = copyOfProgram({L"fendrel.exe", L"FENDREL.DLL", L"store/MAPI32.DLL"});
  writeBytes(folder.path() / L"copy" / L"R7Kqede.dll", "no library");
  const Outcome run = runProgram(program, {"doctor"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Languages"), HasSubstr("R7Kqede.dll")));
}

TEST_F(Doctor, DamagedStoreIsACross) {
  addJane();
  ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"a.bin", std::string(300'000, 'a'))}).exitCode, 0);
  for (const auto& entry : fs::recursive_directory_iterator(folder.path() / L"store.db.files"))
    if (entry.is_regular_file()) {
      std::fstream file(entry.path(), std::ios::binary | std::ios::in | std::ios::out);
      file.seekp(1000);
      file << "damage";
    }
  const Outcome run = fendrel({"doctor"});
  EXPECT_EQ(run.exitCode, 6);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Store check"), HasSubstr("salvage")));
}

TEST_F(Doctor, MissingPluginIsACross) {
  addJane();
  const Outcome run = runProgram(copyOfProgram({L"fendrel.exe", L"store/MAPI32.DLL"}), {"doctor"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("Versions"), HasSubstr("FENDREL.DLL")));
}

// Registry entries of mail programs; the destructor restores the previous ones.
class MailClients {
 public:
  // name: of the default mail program.
  explicit MailClients(DWORD wantedView, const wchar_t* name = L"Fendrel Test Mail")
      : view(wantedView), before{defaultOf(KEY_WOW64_64KEY), defaultOf(KEY_WOW64_32KEY)} {
    setText(L"Software\\Clients\\Mail", nullptr, L"", KEY_WOW64_64KEY);
    setText(L"Software\\Clients\\Mail", nullptr, L"", KEY_WOW64_32KEY);
    setText(L"Software\\Clients\\Mail", nullptr, name, view);
  }
  ~MailClients() {
    RegDeleteKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Clients\\Mail\\Fendrel Test Mail", view, 0);
    setText(L"Software\\Clients\\Mail", nullptr, before[0], KEY_WOW64_64KEY);
    setText(L"Software\\Clients\\Mail", nullptr, before[1], KEY_WOW64_32KEY);
  }
  MailClients(const MailClients&) = delete;
  MailClients& operator=(const MailClients&) = delete;

  void setLibrary(const std::wstring& file) const {
    setText(L"Software\\Clients\\Mail\\Fendrel Test Mail", L"DLLPathEx", file, view);
  }

 private:
  static std::wstring defaultOf(DWORD where) {
    wchar_t text[256] = L"";
    DWORD size = sizeof text - sizeof(wchar_t);
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Clients\\Mail", 0, KEY_QUERY_VALUE | where, &key) != 0) return {};
    RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    return text;
  }
  static void setText(const wchar_t* path, const wchar_t* name, const std::wstring& text, DWORD where) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_SET_VALUE | where, nullptr, &key, nullptr),
              0);
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
  }

  DWORD view;
  std::wstring before[2];
};

TEST_F(Doctor, MachineWithoutAMailProgramIsACross) {
  const MailClients none(KEY_WOW64_64KEY, L"");
  const Outcome run = fendrel({"doctor", "--mapi", "system"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("MAPI library"), HasSubstr("no default mail program")));
}

TEST_F(Doctor, MailProgramForThirtyTwoBitsAloneIsACross) {
  const MailClients clients(KEY_WOW64_32KEY);
  clients.setLibrary(L"C:\\Program Files (x86)\\Mail\\mapi32.dll");
  const Outcome run = fendrel({"doctor", "--mapi", "system"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(firstCross(run), AllOf(HasSubstr("'Fendrel Test Mail'"), HasSubstr("for 32-bit programs")));
}

TEST_F(Doctor, MailProgramWithoutExtendedMapiOrWithoutItsLibraryIsACross) {
  const MailClients clients(KEY_WOW64_64KEY);
  EXPECT_THAT(firstCross(fendrel({"doctor", "--mapi", "system"})), HasSubstr("offers no Extended MAPI"));
  clients.setLibrary((folder.path() / L"gone.dll").wstring());
  EXPECT_THAT(firstCross(fendrel({"doctor", "--mapi", "system"})), HasSubstr("which is missing"));
}

}  // namespace
}  // namespace fendrel::test
