#include "platform/profile_file.h"

// Templates from the header itself: the compiled library would bring conversions that nobody needs.
#define SI_IMPLEMENTATION
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>

#include "platform/file_error.h"
#include "platform/whole_file.h"

namespace halveron::platform {

namespace {

/// False if the file exists but cannot be read.
bool Load(const std::string& path, CSimpleIniA& profile) {
  std::error_code error;
  if (path.empty() || !std::filesystem::exists(path, error)) return true;
  const auto size = std::filesystem::file_size(path, error);
  if (error || size > ProfileFile::kMostBytes) return false;
  try {
    const std::vector<std::byte> bytes = ReadWholeFile(path);
    return profile.LoadData(reinterpret_cast<const char*>(bytes.data()), bytes.size()) >= 0;
  } catch (const FileError&) {
    return false;
  }
}

bool IsQuoted(std::string_view text) {
  return text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
         text.back() == text.front();
}

bool IsBlank(char letter) { return letter == ' ' || letter == '\t'; }

std::optional<std::string> ValueIn(const CSimpleIniA& profile, const std::string& section,
                                   const std::string& key) {
  const char* value = profile.GetValue(section.c_str(), key.c_str(), nullptr);
  if (!value) return std::nullopt;
  const std::string_view text = value;
  return std::string(IsQuoted(text) ? text.substr(1, text.size() - 2) : text);
}

std::vector<std::string> InOrder(CSimpleIniA::TNamesDepend names) {
  names.sort(CSimpleIniA::Entry::LoadOrder());
  std::vector<std::string> texts;
  for (const CSimpleIniA::Entry& name : names) texts.emplace_back(name.pItem);
  return texts;
}

/// What a line of the file holds so that Find gives `value` back.
std::string Stored(std::string value) {
  for (char& letter : value) {
    if (letter == '\n' || letter == '\r' || letter == '\0') letter = ' ';
  }
  if (!value.empty() && (IsBlank(value.front()) || IsBlank(value.back()) || IsQuoted(value))) {
    value = '"' + value + '"';
  }
  return value;
}

/// Blanks and a plus sign may precede a number; std::from_chars accepts neither.
std::string_view NumberPart(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  if (text.starts_with('+')) text.remove_prefix(1);
  return text;
}

}  // namespace

std::optional<std::string> ProfileFile::Find(const std::string& section,
                                             const std::string& key) const {
  CSimpleIniA profile;
  if (!Load(path_, profile)) return std::nullopt;
  return ValueIn(profile, section, key);
}

std::vector<std::string> ProfileFile::GetTexts(const std::string& section,
                                               const std::vector<std::string>& keys) const {
  std::vector<std::string> texts(keys.size());
  CSimpleIniA profile;
  if (keys.empty() || !Load(path_, profile)) return texts;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    texts[i] = ValueIn(profile, section, keys[i]).value_or("");
  }
  return texts;
}

std::vector<std::string> ProfileFile::Sections() const {
  CSimpleIniA profile;
  if (!Load(path_, profile)) return {};
  CSimpleIniA::TNamesDepend names;
  profile.GetAllSections(names);
  return InOrder(std::move(names));
}

std::vector<std::string> ProfileFile::Keys(const std::string& section) const {
  CSimpleIniA profile;
  if (!Load(path_, profile)) return {};
  CSimpleIniA::TNamesDepend names;
  profile.GetAllKeys(section.c_str(), names);
  return InOrder(std::move(names));
}

std::size_t ProfileFile::Count(const std::string& section, const std::string& key) const {
  CSimpleIniA profile;
  profile.SetMultiKey(true);
  CSimpleIniA::TNamesDepend values;
  if (!Load(path_, profile)) return 0;
  profile.GetAllValues(section.c_str(), key.c_str(), values);
  return values.size();
}

std::string ProfileFile::GetText(const std::string& section, const std::string& key,
                                 const std::string& fallback) const {
  return Find(section, key).value_or(fallback);
}

int ProfileFile::GetInt(const std::string& section, const std::string& key, int fallback) const {
  const std::string text = GetText(section, key, "");
  const std::string_view number = NumberPart(text);
  int value = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), value);
  return read.ec == std::errc() ? value : fallback;
}

double ProfileFile::GetNumber(const std::string& section, const std::string& key,
                              double fallback) const {
  const std::string text = GetText(section, key, "");
  const std::string_view number = NumberPart(text);
  double value = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), value);
  return read.ec == std::errc() && std::isfinite(value) ? value : fallback;
}

bool ProfileFile::SetText(const std::string& section, const std::string& key,
                          const std::string& value) const {
  CSimpleIniA profile;
  if (path_.empty() || !Load(path_, profile)) return false;
  profile.SetSpaces(false);
  std::string text;
  if (profile.SetValue(section.c_str(), key.c_str(), Stored(value).c_str()) < 0 ||
      profile.Save(text) < 0) {
    return false;
  }
  try {
    WriteWholeFile(path_, std::as_bytes(std::span(text)));
  } catch (const FileError&) {
    return false;
  }
  return true;
}

}  // namespace halveron::platform
