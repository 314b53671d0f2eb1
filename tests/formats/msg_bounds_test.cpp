// Messages beyond the limits of .msg are refused before anything is written.
#include <gmock/gmock.h>

#include "msg_writer.h"

namespace fendrel::host {
namespace {

Attachment ofSize(std::uint64_t size) { return {.name = L"big.bin", .isFile = true, .size = size}; }

TEST(MsgBounds, LongestAttachmentIsTaken) {
  EXPECT_NO_THROW(checkMsgBounds(std::vector{ofSize(0x7FFFFFFF), ofSize(0x7FFFFFFF)}));
}

TEST(MsgBounds, ALongerOneIsRefusedWithTheWayOut) {
  try {
    checkMsgBounds(std::vector{ofSize(1), ofSize(0x80000000)});
    FAIL() << "nothing was thrown";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.exitCode(), ExitCode::failed);
    EXPECT_STREQ(failure.what(),
                 "Attachment 'big.bin' has 2,147,483,648 bytes; a .msg file holds at most 2,147,483,647 of each. "
                 "Save it as eml or file, which have no such limit.");
  }
}

TEST(MsgBounds, AttachmentsAreCounted) {
  std::vector<Attachment> attachments(2048, ofSize(0));
  EXPECT_NO_THROW(checkMsgBounds(attachments));
  attachments.push_back(ofSize(0));
  EXPECT_THROW(checkMsgBounds(attachments), Failure);
}

}  // namespace
}  // namespace fendrel::host
