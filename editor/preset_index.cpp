#include "editor/preset_index.h"

#include <algorithm>
#include <mutex>
#include <span>
#include <utility>

#include "editor/preset_library.h"
#include "gui/text_search.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFavouritesBytes = std::size_t{1} << 20;

PresetTexts ReadTexts(const std::string& path) {
  try {
    return ReadPresetTexts(platform::ReadFileBeginning(path, kPresetTextsBytes))
        .value_or(PresetTexts{});
  } catch (const platform::FileError&) {
    return {};
  }
}

}  // namespace

FavouritePresets::FavouritePresets(std::string file) : file_(std::move(file)) { Read(); }

void FavouritePresets::Read() {
  std::error_code error;
  if (file_.empty() || !fs::is_regular_file(file_, error)) return;
  marked_.clear();
  try {
    const std::vector<std::byte> bytes = platform::ReadFileBeginning(file_, kMostFavouritesBytes);
    std::string line;
    for (const std::byte byte : bytes) {
      const char letter = static_cast<char>(byte);
      if (letter != '\n') {
        line += letter;
      } else if (!line.empty()) {
        marked_.insert(std::exchange(line, {}));
      }
    }
    if (!line.empty()) marked_.insert(line);
  } catch (const platform::FileError&) {
    return;
  }
}

bool FavouritePresets::Toggle(const std::string& preset) {
  const bool marks = !Contains(preset);
  Read();  // another instance may have written meanwhile
  if (marks) {
    marked_.insert(preset);
  } else {
    marked_.erase(preset);
  }
  std::string text;
  for (const std::string& path : marked_) text += path + '\n';
  try {
    if (!file_.empty()) platform::WriteWholeFile(file_, std::as_bytes(std::span(text)));
  } catch (const platform::FileError&) {
    return false;
  }
  return true;
}

/// Between the window thread and the one that reads.
struct PresetIndex::Reading {
  struct Known {
    fs::file_time_type time;
    PresetTexts texts;
  };
  std::mutex mutex;
  std::map<std::string, Known> known;
  std::vector<std::string> news;  ///< paths
};

PresetIndex::PresetIndex(PresetLibrary& library, std::string presetsFolder,
                         const std::string& favourites)
    : library_(library),
      folder_(std::move(presetsFolder)),
      favourites_(favourites),
      reading_(std::make_shared<Reading>()) {}

void PresetIndex::SetWords(IndexedPreset& preset) const {
  preset.words = FoldedCase(preset.title + " " + preset.folder + " " + preset.texts.author + " " +
                            preset.texts.description);
}

void PresetIndex::Collect() {
  presets_.clear();
  places_.clear();
  std::vector<std::string> paths;
  library_.ForEachPreset([&](const std::string& path, const std::string& title) {
    IndexedPreset preset;
    preset.path = path;
    preset.title = title;
    const std::size_t begin = std::min(folder_.size(), path.size());
    const std::size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > begin) {
      preset.folder = path.substr(begin, slash - begin);
    }
    preset.isFavourite = favourites_.Contains(path.substr(begin));
    SetWords(preset);
    places_[path] = static_cast<int>(presets_.size());
    presets_.push_back(std::move(preset));
    paths.push_back(path);
  });
  reader_.Restart([reading = reading_, paths = std::move(paths)](const std::stop_token& stop) {
    for (const std::string& path : paths) {
      if (stop.stop_requested()) return;
      std::error_code error;
      const fs::file_time_type time = fs::last_write_time(path, error);
      {
        const std::lock_guard lock(reading->mutex);
        const auto known = reading->known.find(path);
        if (known != reading->known.end() && known->second.time == time) {
          reading->news.push_back(path);
          continue;
        }
      }
      PresetTexts texts = ReadTexts(path);
      const std::lock_guard lock(reading->mutex);
      reading->known[path] = {time, std::move(texts)};
      reading->news.push_back(path);
    }
  });
}

bool PresetIndex::TakeTexts() {
  const std::lock_guard lock(reading_->mutex);
  for (const std::string& path : reading_->news) {
    const auto place = places_.find(path);
    if (place == places_.end()) continue;
    IndexedPreset& preset = presets_[static_cast<std::size_t>(place->second)];
    preset.texts = reading_->known[path].texts;
    SetWords(preset);
  }
  return !std::exchange(reading_->news, {}).empty();
}

std::vector<int> PresetIndex::Find(const std::string& typed) const {
  const std::string folded = FoldedCase(typed);
  std::vector<int> found;
  for (std::size_t i = 0; i < presets_.size(); ++i) {
    if (HoldsAllPieces(presets_[i].words, folded)) found.push_back(static_cast<int>(i));
  }
  std::stable_partition(found.begin(), found.end(), [this](int i) {
    return presets_[static_cast<std::size_t>(i)].isFavourite;
  });
  return found;
}

bool PresetIndex::ToggleFavourite(int place) {
  IndexedPreset& preset = presets_[static_cast<std::size_t>(place)];
  preset.isFavourite = !preset.isFavourite;
  const std::string key = preset.path.substr(std::min(folder_.size(), preset.path.size()));
  return favourites_.Contains(key) == preset.isFavourite || favourites_.Toggle(key);
}

}  // namespace halveron
