#include "framework/class_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace halveron {
namespace {

TEST(ClassPool, ObjectsOutliveTheClassesShareAndLieInCacheLines) {
  constexpr std::size_t kSize = 1000;
  std::optional<ClassPool> pool(kSize);
  std::vector<void*> objects;
  for (int i = 0; i < 200; ++i) {
    objects.push_back(pool->Take(kSize));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(objects.back()) % 64, 0u);
    std::fill_n(static_cast<char*>(objects.back()), kSize, static_cast<char>(i));
  }
  pool.reset();
  for (int i = 0; i < 200; ++i) {
    const char* bytes = static_cast<const char*>(objects[static_cast<std::size_t>(i)]);
    EXPECT_EQ(bytes[0], static_cast<char>(i));
    EXPECT_EQ(bytes[kSize - 1], static_cast<char>(i));
    ClassPool::GiveBack(objects[static_cast<std::size_t>(i)], kSize);
  }
}

}  // namespace
}  // namespace halveron
