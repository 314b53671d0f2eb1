// Options records without memory: code 2, nothing left, the input's version at 1.
#include <gtest/gtest.h>

#include "destination_options.h"
#include "failing_memory.h"
#include "options_conversion.h"
#include "options_encoding.h"

using namespace fendrel;

namespace {

constexpr int noLimit = 100;

class OptionsMemory : public testing::Test {
 protected:
  OptionsMemory() {
    wide.version = ansi.version = 2;
    wide.profileName = wideName.data();
    wide.profilePassword = widePassword.data();
    wide.folderPath = widePath.data();
    ansi.profileName = ansiName.data();
    ansi.profilePassword = ansiPassword.data();
    ansi.folderPath = ansiPath.data();
  }

  // Converts with each allocation failing in turn; returns the number of allocations.
  template <class From, class To>
  static int sweep(From& options) {
    for (int nth = 1; nth < noLimit; ++nth) {
      SCOPED_TRACE(nth);
      options.version = 2;
      To* result = nullptr;
      std::uint32_t code = 0;
      std::uint16_t size = 99;
      const auto outcome = withFailingAllocation(nth, [&] { code = convertOptions(&options, result, &size); });
      if (options.packedSize == 0) {
        EXPECT_EQ(size, 0);
      }
      if (!outcome.failed) {
        EXPECT_EQ(code, 0u);
        freeOptions(result);
        return nth - 1;
      }
      EXPECT_EQ(code, 2u);
      EXPECT_EQ(result, nullptr);
      EXPECT_EQ(outcome.blocks, 0);
      EXPECT_EQ(options.version, 1u) << "kept for hosts that look at it";
    }
    return noLimit;
  }

  std::wstring wideName = L"Sales", widePassword = L"secret", widePath = L"A@B";
  std::string ansiName = "Sales", ansiPassword = "secret", ansiPath = "A@B";
  DestinationOptions wide{};
  DestinationOptionsA ansi{};
  const Destination sales{L"Sales", L"secret", L"A@B", FENDREL_FOLDER_REPORT};
};

TEST_F(OptionsMemory, ConversionOfAnUnpackedRecordIsUndone) {
  EXPECT_EQ((sweep<DestinationOptions, DestinationOptionsA>(wide)), 5) << "the copy, the record and three strings";
  EXPECT_EQ((sweep<DestinationOptionsA, DestinationOptions>(ansi)), 5);
}

TEST_F(OptionsMemory, ConversionOfAPackedRecordIsUndone) {
  EncodedOptions encoded;
  std::uint16_t size = 0;
  ASSERT_EQ(encodeDestination(sales, encoded, size), 0u);
  EXPECT_EQ((sweep<DestinationOptions, DestinationOptionsA>(*encoded)), 2) << "the copy and the block";
}

TEST_F(OptionsMemory, EncodingLeavesNoBlock) {
  EncodedOptions encoded;
  std::uint16_t size = 0;
  ASSERT_EQ(encodeDestination(sales, encoded, size), 0u);
  std::uint32_t code = 0;
  const auto outcome = withFailingAllocation(1, [&] { code = encodeDestination(sales, encoded, size); });
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(code, 2u);
  EXPECT_EQ(encoded, nullptr) << "the block before is gone too";
  EXPECT_EQ(outcome.blocks, -1);
}

TEST_F(OptionsMemory, DecodingIsUndone) {
  for (int nth = 1; nth <= 4; ++nth) {
    SCOPED_TRACE(nth);
    DestinationOptions* options = nullptr;
    std::uint32_t code = 0;
    const auto outcome = withFailingAllocation(nth, [&] { code = decodeDestination(sales, options); });
    EXPECT_TRUE(outcome.failed);
    EXPECT_EQ(code, 2u);
    EXPECT_EQ(options, nullptr);
    EXPECT_EQ(outcome.blocks, 0);
  }
}

}  // namespace
