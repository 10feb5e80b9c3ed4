#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <limits>
#include <thread>

#include "platform/cpu_features.h"
#include "platform/denormals.h"
#include "platform/desktop.h"
#include "platform/library_path.h"
#include "platform/recursive_lock.h"
#include "platform/utf8.h"

namespace halveron::platform {
namespace {

TEST(Utf8, IsToldFromOtherBytesAndCutBetweenLetters) {
  for (const char* text : {"", "abc", "Gr\xC3\xBC\xC3\x9F", "\xE2\x82\xAC", "\xED\x9F\xBF",
                           "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(IsUtf8(text)) << text;
  }
  // Alone, cut short, longer than needed, surrogates, above U+10FFFF.
  for (const char* text : {"Gr\xFC", "\x80", "\xE2\x82", "\xE2\x82x", "\xC0\xAF", "\xE0\x9F\xBF",
                           "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
    EXPECT_FALSE(IsUtf8(text)) << text;
  }
  EXPECT_EQ(Utf8Prefix("a\xE2\x82\xAC", 3), "a");
  EXPECT_EQ(Utf8Prefix("a\xE2\x82\xAC", 4), "a\xE2\x82\xAC");
}

TEST(RecursiveLock, IsReentrantAndKeepsOthersOut) {
  RecursiveLock lock;
  lock.lock();
  EXPECT_TRUE(lock.try_lock());
  lock.unlock();
  bool taken = true;
  std::thread([&] { taken = lock.try_lock(); }).join();
  EXPECT_FALSE(taken);
  lock.unlock();
  std::thread([&] {
    taken = lock.try_lock();
    if (taken) lock.unlock();
  }).join();
  EXPECT_TRUE(taken);
}

TEST(Denormals, AreOffInTheScopeAndTheControlWordComesBackWithoutFlags) {
  constexpr unsigned kStickyFlags = 0x3F;
  const unsigned before = _mm_getcsr() & ~kStickyFlags;
  volatile float tiny = std::numeric_limits<float>::min();
  {
    const DenormalsOff off;
    EXPECT_EQ(_mm_getcsr() & ~kStickyFlags, 0x9FC0u);
    EXPECT_EQ(tiny * 0.5f, 0.0f);
    volatile float zero = 0.0f;
    volatile float infinite = 1.0f / zero;
    (void)infinite;
  }
  EXPECT_EQ(_mm_getcsr(), before);
  EXPECT_NE(tiny * 0.5f, 0.0f);
}

TEST(Desktop, SaysWhichProgramIsMissing) {
  const char* const before = std::getenv("PATH");
  const std::string path = before ? before : "";
  EXPECT_FALSE(FindProgram("sh").empty());
  setenv("PATH", "/nowhere::/etc", 1);
  EXPECT_EQ(FindProgram("passwd"), "") << "cannot be run";
  const std::string problem = OpenOnDesktop("file:///nowhere");
  setenv("PATH", path.c_str(), 1);
  EXPECT_NE(problem.find("\"xdg-open\""), std::string::npos) << problem;
}

TEST(LibraryPath, NamesAFileThatExists) { EXPECT_TRUE(std::filesystem::exists(LibraryPath())); }

}  // namespace
}  // namespace halveron::platform
