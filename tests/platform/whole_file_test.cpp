#include "platform/whole_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "platform/file_error.h"
#include "platform/file_lock.h"
#include "platform/time_text.h"
#include "tests/support/scratch_folder.h"

namespace halveron::platform {
namespace {

namespace fs = std::filesystem;
using halveron::testing::ReadFile;

class WholeFile : public ::testing::Test {
 protected:
  static void Write(const std::string& path, const std::string& text) {
    WriteWholeFile(path, std::as_bytes(std::span(text)));
  }
  const testing::ScratchFolder scratch_;
  const std::string path_ = scratch_.At("a.hvp");
};

TEST_F(WholeFile, KeepsPermissionsAndFollowsLinks) {
  scratch_.Write("a.hvp", "old");
  fs::permissions(path_, fs::perms(0640));
  fs::create_symlink("a.hvp", scratch_.At("link"));
  fs::create_symlink("link", scratch_.At("link to it"));
  fs::create_symlink("not there yet", scratch_.At("loose link"));
  Write(scratch_.At("link to it"), "new");
  EXPECT_EQ(ReadFile(path_), "new");
  EXPECT_TRUE(fs::is_symlink(scratch_.At("link")));
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0640));
  Write(scratch_.At("loose link"), "made");
  EXPECT_EQ(ReadFile(scratch_.At("not there yet")), "made");
  EXPECT_EQ(scratch_.Names().size(), 5u) << "nothing else is left";
  // A name may be as long as the system allows.
  Write(scratch_.At(std::string(255, 'x')), "long");
  EXPECT_EQ(ReadFile(scratch_.At(std::string(255, 'x'))), "long");
}

TEST_F(WholeFile, LeavesTheOldFileAndNothingElseWhenItFails) {
  fs::create_directories(scratch_.At("folder"));
  EXPECT_THROW(Write(scratch_.At("folder"), "x"), FileError);
  EXPECT_THROW(Write(scratch_.At("no folder/a"), "x"), FileError);
  EXPECT_EQ(scratch_.Names(), std::vector<std::string>{"folder"});
  if (geteuid() == 0) return;  // whom no permission stops
  scratch_.Write("a.hvp", "kept");
  fs::permissions(path_, fs::perms(0444));
  EXPECT_THROW(Write(path_, "x"), FileError) << "its user has protected it";
  EXPECT_EQ(ReadFile(path_), "kept");
}

TEST_F(WholeFile, IsOldOrNewWhoeverReadsIt) {
  const std::string some(20000, 'a');
  const std::string other(30000, 'b');
  Write(path_, some);
  std::jthread writer([&](const std::stop_token& stop) {
    for (int i = 0; !stop.stop_requested(); ++i) {
      const std::string& text = i % 2 ? some : other;
      WriteWholeFile(path_, std::as_bytes(std::span(text)), Durability::kAtomic);
    }
  });
  for (int i = 0; i < 500; ++i) {
    const std::string text = ReadFile(path_);
    ASSERT_TRUE(text == some || text == other) << text.size();
  }
}

TEST_F(WholeFile, WritesToAPipeAsItIs) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  std::string read;
  std::thread reader([&] { read = ReadFile(path_); });
  Write(path_, "through");
  reader.join();
  EXPECT_EQ(read, "through");
  EXPECT_TRUE(fs::is_fifo(path_));
}

TEST_F(WholeFile, ALockHasOneHolderAtATime) {
  auto lock = FileLock::TryTake(path_);
  ASSERT_TRUE(lock);
  EXPECT_FALSE(FileLock::TryTake(path_));
  lock.reset();
  lock = FileLock::TryTake(path_);
  ASSERT_TRUE(lock);
  lock->RemoveAtEnd();
  lock.reset();
  EXPECT_FALSE(fs::exists(path_));
  EXPECT_FALSE(FileLock::TryTake(scratch_.At("no folder/a")));
}

TEST_F(WholeFile, NamesOfTimesSortByTime) {
  const auto now = fs::file_time_type::clock::now();
  const std::string name = TimeForFileName(now);
  EXPECT_EQ(name.size(), std::string("2026-11-23 15.55.30").size());
  EXPECT_LT(name, TimeForFileName(now + std::chrono::hours(24 * 40)));
  EXPECT_NE(TimeInWords(now), TimeInWords(now + std::chrono::seconds(1)));
}

}  // namespace
}  // namespace halveron::platform
