// What can be searched of the presets of a library: names, folders, authors, descriptions.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "framework/background_worker.h"
#include "presets/preset_format.h"

namespace halveron {

class PresetLibrary;

/// The presets that the user has marked, in a text file of one path a line, from the presets
/// folder on.
class FavouritePresets {
 public:
  /// Reads the file; nothing is kept with an empty path.
  explicit FavouritePresets(std::string file);

  bool Contains(const std::string& preset) const { return marked_.contains(preset); }
  /// Marks a preset or takes its mark. False if that could not be written; it holds all the same.
  bool Toggle(const std::string& preset);

 private:
  void Read();

  std::string file_;
  std::set<std::string> marked_;
};

struct IndexedPreset {
  std::string path;
  std::string title;
  std::string folder;  ///< from the presets folder on; empty for that itself
  PresetTexts texts;   ///< empty until they are read
  std::string words;   ///< all of it, folded, to search in
  bool isFavourite = false;
};

/// Lists a library at once and reads the texts of its presets on a thread of its own. Belongs to
/// the window thread.
class PresetIndex {
 public:
  PresetIndex(PresetLibrary& library, std::string presetsFolder, const std::string& favourites);

  /// Lists the library again. Texts of files that did not change are kept.
  void Collect();
  /// Takes over what was read meanwhile; false if that is nothing.
  bool TakeTexts();
  bool IsReading() const { return reader_.IsBusy(); }
  const std::vector<IndexedPreset>& Presets() const { return presets_; }

  /// The places in Presets() of those that hold all words of `typed` somewhere, favourites first.
  std::vector<int> Find(const std::string& typed) const;
  /// False if the mark could not be written.
  bool ToggleFavourite(int preset);

 private:
  struct Reading;

  void SetWords(IndexedPreset& preset) const;

  PresetLibrary& library_;
  std::string folder_;
  FavouritePresets favourites_;
  std::vector<IndexedPreset> presets_;
  std::map<std::string, int> places_;  // in presets_, by path
  std::shared_ptr<Reading> reading_;
  BackgroundWorker reader_;
};

}  // namespace halveron
