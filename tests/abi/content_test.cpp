// Copying the file's bytes into the attachment.
#include <thread>

#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::IsEmpty;

class ContentTest : public JobTest {};

// ---- The content, in pieces of 4096 bytes ----

struct ContentSize {
  std::size_t size;
  std::vector<std::size_t> writes;
};

class PieceTest : public ContentTest, public ::testing::WithParamInterface<ContentSize> {};

TEST_P(PieceTest, IsWrittenInPieces) {
  std::string content(GetParam().size, '\0');
  for (std::size_t index = 0; index < content.size(); ++index)
    content[index] = static_cast<char>(index * 31 + index / 256);
  const PostedMessage message = postOne(L"sales.pdf", content);
  EXPECT_EQ(message.attachments.at(0).content, bytesOf(content));
  std::vector<std::string> expected;
  for (const std::size_t write : GetParam().writes) expected.push_back("bytes=" + std::to_string(write));
  std::vector<std::string> written;
  for (const Call& call : mapi.callsOf("IStream::Write")) written.push_back(call.arguments);
  EXPECT_EQ(written, expected);
}

INSTANTIATE_TEST_SUITE_P(OfBytes, PieceTest,
                         ::testing::Values(ContentSize{0, {}}, ContentSize{1, {1}}, ContentSize{4095, {4095}},
                                           ContentSize{4096, {4096}}, ContentSize{4097, {4096, 1}},
                                           ContentSize{8192, {4096, 4096}}, ContentSize{10000, {4096, 4096, 1808}}),
                         [](const auto& test) { return std::to_string(test.param.size); });

// ---- Files that cannot be read ----

TEST_F(ContentTest, MissingFileGivesCallFailedAndLeavesTheMessageUnsaved) {
  open();
  EXPECT_EQ(postAndRead(job, {missingFile()}), (Answer{FENDREL_FAILED, L"MAPI_E_CALL_FAILED"}));
  ASSERT_EQ(mapi.messages().size(), 1u);
  EXPECT_FALSE(mapi.messages()[0].saved);
  EXPECT_THAT(mapi.messages()[0].readFlags, IsEmpty());
  EXPECT_THAT(mapi.callsOf("IAttach::SaveChanges"), IsEmpty());
}

TEST_F(ContentTest, FileIsOpenedAfterTheStream) {
  open();
  EXPECT_EQ(post(job, {missingFile()}), FENDREL_FAILED);
  EXPECT_EQ(mapi.callsOf("IAttach::OpenProperty").size(), 1u);
}

TEST_F(ContentTest, DirectoryInPlaceOfAFileGivesCallFailed) {
  open();
  const std::wstring path = file();
  EXPECT_EQ(postAndRead(job, {path.substr(0, path.find_last_of(L"\\/"))}),
            (Answer{FENDREL_FAILED, L"MAPI_E_CALL_FAILED"}));
}

TEST_F(ContentTest, FileThatIsOpenForReadingElsewhereIsPosted) {
  open();
  const std::wstring path = file();
  const HANDLE reader = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(reader, INVALID_HANDLE_VALUE);
  EXPECT_EQ(post(job, {path}), FENDREL_SUCCESS);
  CloseHandle(reader);
}

TEST_F(ContentTest, FileThatIsOpenForWritingElsewhereGivesCallFailed) {
  open();
  const std::wstring path = file();
  const HANDLE writer =
      CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(writer, INVALID_HANDLE_VALUE);
  EXPECT_EQ(postAndRead(job, {path}), (Answer{FENDREL_FAILED, L"MAPI_E_CALL_FAILED"}));
  CloseHandle(writer);
}

TEST_F(ContentTest, FileIsClosedAfterwards) {
  open();
  const std::wstring path = file();
  ASSERT_EQ(post(job, {path}), FENDREL_SUCCESS);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(ContentTest, FileIsClosedAfterAFailedWrite) {
  open();
  mapi.fail("IStream::Write", 1, MAPI_E_NOT_ENOUGH_DISK);
  const std::wstring path = file();
  EXPECT_EQ(post(job, {path}), FENDREL_NOT_ENOUGH_DISK);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
}

// A pipe whose server closes it during a read simulates a file on a failing medium.
TEST_F(ContentTest, FailedReadGivesTheSystemsErrorAsAnHresult) {
  open();
  const std::wstring name = L"\\\\.\\pipe\\fendrel-test-" + std::to_wstring(GetCurrentProcessId());
  const HANDLE pipe =
      CreateNamedPipeW(name.c_str(), PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 4096, 4096, 0, nullptr);
  ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
  std::thread server([pipe] {
    ConnectNamedPipe(pipe, nullptr);
    CloseHandle(pipe);
  });
  const Answer answer = postAndRead(job, {name});
  server.join();
  EXPECT_EQ(answer, (Answer{FENDREL_FAILED, L"Error code 0x8007006D returned."}));  // ERROR_BROKEN_PIPE
  EXPECT_FALSE(mapi.messages().at(0).saved);
}

TEST_F(ContentTest, PathIsReadWithNonAsciiCharacters) {
  const std::wstring plain = file(L"plain.pdf", "x");
  const std::wstring path = plain.substr(0, plain.find_last_of(L"\\/") + 1) + L"Übersicht 日報.pdf";
  if (!MoveFileW(plain.c_str(), path.c_str())) GTEST_SKIP() << "needs a locale with file names outside ASCII";
  open();
  EXPECT_EQ(post(job, {path}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().at(0).attachments.at(0).content, bytesOf("x"));
}

}  // namespace
}  // namespace fendrel::test
