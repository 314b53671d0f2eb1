// The platform's helpers without memory.
#include <gtest/gtest.h>

#include "build_paths.h"
#include "failing_memory.h"
#include "resource_module.h"
#include "text_conversion.h"

using namespace fendrel;

namespace {

TEST(PlatformMemory, ConversionToWideFailsWithNull) {
  HeapText wide;
  int written = -1;
  const auto outcome = withFailingAllocation(1, [&] { written = AnsiToWideAlloc("text", wide); });
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(written, 0);
  EXPECT_EQ(wide, nullptr);
}

TEST(PlatformMemory, ConversionToAnsiFailsWithNull) {
  HeapAnsiText ansi;
  int written = -1;
  const auto outcome = withFailingAllocation(1, [&] { written = WideToAnsiAlloc(L"text", ansi); });
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(written, 0);
  EXPECT_EQ(ansi, nullptr);
}

TEST(PlatformMemory, ConversionOfAPrefixFailsWithNull) {
  HeapAnsiText ansi;
  int written = -1;
  const auto outcome = withFailingAllocation(1, [&] { written = WideToAnsiPrefixAlloc(L"text", 2, ansi); });
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(written, 0);
  EXPECT_EQ(ansi, nullptr);
}

TEST(PlatformMemory, TextFromAnsiThrowsAndIsNotTakenForOneThatCannotBeConverted) {
  bool thrown = false;
  const auto outcome = withFailingAllocation(1, [&] {
    try {
      wideFromAnsi("a text that is longer than a string's own room");
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
  });
  EXPECT_TRUE(outcome.failed);
  EXPECT_TRUE(thrown);
}

TEST(PlatformMemory, StringThatCannotBeCopiedIsCodeTwo) {
  const HMODULE library = LoadLibraryW(buildFile(L"tests/language/valid.dll").c_str());
  g_hResInstance = library;
  HeapText text;
  DWORD code = 0;
  const auto outcome = withFailingAllocation(1, [&] { code = LoadResStringAlloc(1, text); });
  g_hResInstance = nullptr;
  FreeLibrary(library);
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(code, 2u);
  EXPECT_EQ(text, nullptr);
}

TEST(PlatformMemory, LanguageSearchWithoutMemoryIsThePluginItself) {
  const HMODULE own = GetModuleHandleW(nullptr);
  HMODULE library = nullptr, chosen = nullptr;
  // Permanent allocations of the first exception are not counted.
  withFailingAllocation(1, [&] { chosen = LoadResourceModule(own, L"R7Kqe", library); });
  const auto outcome = withFailingAllocation(1, [&] { chosen = LoadResourceModule(own, L"R7Kqe", library); });
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(chosen, own);
  EXPECT_EQ(library, nullptr);
  EXPECT_EQ(outcome.blocks, 0);
}

}  // namespace
