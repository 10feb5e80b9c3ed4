#include "editor/autosave_folder.h"

#include <algorithm>
#include <chrono>
#include <system_error>

#include "platform/file_error.h"
#include "platform/profile_file.h"
#include "platform/time_text.h"
#include "platform/whole_file.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::hours kOldest{24 * 31};
constexpr int kMostInOneSecond = 1000;
constexpr const char* kLock = ".lock";
constexpr const char* kRack = ".hvp";
constexpr const char* kFacts = ".ini";
constexpr const char* kSection = "Preset";
constexpr const char* kName = "name";
constexpr const char* kPath = "path";

void RemoveFile(const std::string& path) {
  std::error_code error;
  fs::remove(path, error);
}

}  // namespace

std::string Leftover::Title() const {
  return (name.empty() ? "Untitled" : name) + ", " + platform::TimeInWords(time);
}

std::unique_ptr<AutosaveFiles> AutosaveFiles::Make(const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  const std::string time = platform::TimeForFileName(fs::file_time_type::clock::now());
  for (int i = 1; i <= kMostInOneSecond; ++i) {
    const std::string stem = folder + time + " " + std::to_string(i);
    auto lock = platform::FileLock::TryTake(stem + kLock);
    if (!lock || fs::exists(stem + kRack, error)) continue;
    return std::unique_ptr<AutosaveFiles>(new AutosaveFiles(stem, std::move(lock)));
  }
  return nullptr;
}

std::unique_ptr<AutosaveFiles> AutosaveFiles::TakeOver(const Leftover& leftover) {
  auto lock = platform::FileLock::TryTake(leftover.stem + kLock);
  if (!lock) return nullptr;
  return std::unique_ptr<AutosaveFiles>(new AutosaveFiles(leftover.stem, std::move(lock)));
}

void AutosaveFiles::Write(const std::string& name, const std::string& path,
                          const std::vector<std::byte>& rack) {
  const platform::ProfileFile facts(stem_ + kFacts);
  if (facts.GetText(kSection, kName, "") != name) facts.SetText(kSection, kName, name);
  if (facts.GetText(kSection, kPath, "") != path) facts.SetText(kSection, kPath, path);
  platform::WriteWholeFile(stem_ + kRack, rack);
}

void AutosaveFiles::Clear() {
  RemoveFile(stem_ + kRack);
  RemoveFile(stem_ + kFacts);
}

AutosaveFiles::~AutosaveFiles() {
  if (leaves_) return;
  Clear();
  lock_->RemoveAtEnd();
}

std::vector<Leftover> FindLeftovers(const std::string& folder) {
  std::vector<Leftover> leftovers;
  std::error_code error;
  if (folder.empty()) return leftovers;
  const auto oldest = fs::file_time_type::clock::now() - kOldest;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    const fs::path extension = at->path().extension();
    if (extension != kRack && extension != kLock) continue;
    Leftover leftover;
    leftover.stem = fs::path(at->path()).replace_extension().string();
    std::error_code unreadable;
    if (extension == kLock && fs::exists(leftover.File(), unreadable)) continue;
    leftover.time = at->last_write_time(unreadable);
    const auto files = AutosaveFiles::TakeOver(leftover);
    if (!files) continue;
    if (unreadable) {
      files->Leave();
      continue;
    }
    if (extension == kLock) {
      // An instance that had nothing to leave; it may have written its rack since the look above.
      if (fs::exists(leftover.File(), unreadable) || unreadable) files->Leave();
      continue;
    }
    if (leftover.time < oldest) continue;
    files->Leave();
    const platform::ProfileFile facts(leftover.stem + kFacts);
    leftover.name = facts.GetText(kSection, kName, "");
    leftover.path = facts.GetText(kSection, kPath, "");
    leftovers.push_back(std::move(leftover));
  }
  std::sort(leftovers.begin(), leftovers.end(), [](const Leftover& a, const Leftover& b) {
    return std::tie(a.time, a.stem) > std::tie(b.time, b.stem);
  });
  return leftovers;
}

}  // namespace halveron
