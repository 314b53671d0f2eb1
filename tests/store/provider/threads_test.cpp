// Objects of one session and of many, used by many threads at once.
#include <atomic>
#include <set>
#include <thread>

#include "store_fixture.h"

namespace {

struct ThreadsTest : FolderTest {
  static constexpr int threads = 4, messagesEach = 10;

  // Posts with an attachment; counts failures.
  static void postMany(IMAPIFolder& target, int thread, std::atomic<int>& failures) {
    for (int i = 0; i < messagesEach; ++i) {
      const std::wstring subject = std::to_wstring(thread) + L"-" + std::to_wstring(i);
      SPropValue value = textValue(PR_SUBJECT_W, subject.c_str());
      ComPtr<IMessage> message;
      ComPtr<IAttach> attachment;
      ComPtr<IStream> stream;
      ULONG index = 0;
      const Bytes content = patternBytes(20'000, static_cast<unsigned>(thread));
      const bool done = target.CreateMessage(nullptr, 0, message.GetAddressOf()) == S_OK &&
                        message->SetProps(1, &value, nullptr) == S_OK &&
                        message->CreateAttach(nullptr, 0, &index, attachment.GetAddressOf()) == S_OK &&
                        attachment->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_WRITE,
                                                 MAPI_CREATE | MAPI_MODIFY, unknownOut(stream)) == S_OK &&
                        stream->Write(content.data(), 20'000, nullptr) == S_OK && attachment->SaveChanges(0) == S_OK &&
                        message->SaveChanges(0) == S_OK;
      if (!done) ++failures;
    }
  }
};

TEST_F(ThreadsTest, OneSessionServesManyThreads) {
  std::atomic<int> failures{0};
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([&, thread] { postMany(*reports.Get(), thread, failures); });
  }
  for (auto& thread : running) thread.join();
  EXPECT_EQ(failures, 0);
  const auto found = subjects(*reports.Get());
  EXPECT_EQ(std::set<std::wstring>(found.begin(), found.end()).size(), std::size_t{threads * messagesEach});
}

TEST_F(ThreadsTest, ManySessionsPostIntoOneFolder) {
  std::atomic<int> failures{0};
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([&, thread] {
      auto own = logon();
      auto ownSubtree = openSubtree(*openStore(*own.Get(), L"Public").Get());
      ComPtr<IMAPIFolder> same;
      if (FAILED(ownSubtree->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"Reports"), nullptr, nullptr,
                                          MAPI_UNICODE | OPEN_IF_EXISTS, same.GetAddressOf()))) {
        ++failures;
        return;
      }
      postMany(*same.Get(), thread, failures);
    });
  }
  for (auto& thread : running) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_COUNT), threads * messagesEach);
}

TEST_F(ThreadsTest, MemoryBlocksCanBeChainedAndFreedEverywhere) {
  std::atomic<int> failures{0};
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        void *top = nullptr, *more = nullptr;
        if (mapi().allocateBuffer(16, &top) != S_OK || mapi().allocateMore(16, top, &more) != S_OK ||
            mapi().freeBuffer(top) != 0) {
          ++failures;
        }
      }
    });
  }
  for (auto& thread : running) thread.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
