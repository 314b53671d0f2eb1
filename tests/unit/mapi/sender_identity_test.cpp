// The user that messages name as their sender.
#include <gtest/gtest.h>

#include "profile_logon.h"

using fendrel::SenderIdentity;

namespace {

TEST(SenderIdentityRecord, IsCompleteOnlyWithAllThreeParts) {
  const std::vector some{std::byte{'x'}};
  EXPECT_TRUE((SenderIdentity{some, L"Ann", some}.isComplete()));
  EXPECT_TRUE((SenderIdentity{some, std::wstring(), some}.isComplete())) << "an empty name is a name";
  EXPECT_FALSE((SenderIdentity{{}, L"Ann", some}.isComplete()));
  EXPECT_FALSE((SenderIdentity{some, std::nullopt, some}.isComplete()));
  EXPECT_FALSE((SenderIdentity{some, L"Ann", {}}.isComplete()));
}

}  // namespace
