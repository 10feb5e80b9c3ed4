// Profile files: sections of keys with text values (.ini), which users edit by hand.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace halveron::platform {

/// One profile file. Names of sections and keys are compared without regard to case; blanks around
/// a value are not part of it, and neither is a pair of quotes around all of it, so that quotes
/// keep blanks. Comments, order and unknown keys survive a write.
///
/// Every call reads the file again: these are small, and more than one instance writes them.
/// A file that is missing, cannot be read or is beyond kMostBytes counts as empty.
class ProfileFile {
 public:
  static constexpr std::size_t kMostBytes = 1 << 20;

  /// An empty path is a file that holds nothing and takes nothing.
  explicit ProfileFile(std::string path) : path_(std::move(path)) {}

  const std::string& Path() const { return path_; }

  /// Nothing if the key is not there; a key without a value holds the empty text.
  std::optional<std::string> Find(const std::string& section, const std::string& key) const;
  std::string GetText(const std::string& section, const std::string& key,
                      const std::string& fallback) const;
  /// The values of several keys by one reading of the file, empty for those that are not there.
  std::vector<std::string> GetTexts(const std::string& section,
                                    const std::vector<std::string>& keys) const;
  /// As they are written, in the order of the file, each once; "" for what stands before the first.
  std::vector<std::string> Sections() const;
  std::vector<std::string> Keys(const std::string& section) const;
  /// How many lines give the key a value; GetText reads the last of them.
  std::size_t Count(const std::string& section, const std::string& key) const;
  /// The whole number that the value begins with; `fallback` if it begins with none.
  int GetInt(const std::string& section, const std::string& key, int fallback) const;
  /// The same for a number with a decimal point; never infinite.
  double GetNumber(const std::string& section, const std::string& key, double fallback) const;

  /// Writes the value at once: the new file is renamed over the old one. Line breaks in the value
  /// become blanks. False, and the file as it was, if it cannot be written, or if one stands there
  /// that cannot be read.
  bool SetText(const std::string& section, const std::string& key, const std::string& value) const;
  bool SetInt(const std::string& section, const std::string& key, int value) const {
    return SetText(section, key, std::to_string(value));
  }

 private:
  std::string path_;
};

}  // namespace halveron::platform
