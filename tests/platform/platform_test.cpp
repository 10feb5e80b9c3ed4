#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <thread>

#include "platform/cpu_features.h"
#include "platform/denormals.h"
#include "platform/library_path.h"
#include "platform/recursive_lock.h"

namespace halveron::platform {
namespace {

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

TEST(LibraryPath, NamesAFileThatExists) { EXPECT_TRUE(std::filesystem::exists(LibraryPath())); }

}  // namespace
}  // namespace halveron::platform
