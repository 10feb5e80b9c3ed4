#include "media/playlist.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <map>
#include <utility>

namespace halveron::media {

namespace {

constexpr std::string_view kPlsMark = "[playlist]";
constexpr std::string_view kM3uMark = "#EXTM3U";
constexpr std::string_view kEntryMark = "#EXTINF:";
constexpr std::string_view kSegmentMarks = "#EXT-X-";

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view WithoutByteOrderMark(std::string_view text) {
  return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

bool StartsWithMark(std::string_view text, std::string_view mark) {
  return text.size() >= mark.size() &&
         std::equal(mark.begin(), mark.end(), text.begin(), [](unsigned char a, unsigned char b) {
           return std::tolower(a) == std::tolower(b);
         });
}

/// Calls f(line) for each line without its blanks.
template <class F>
void ForEachLine(std::string_view text, F&& f) {
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    if (const std::string_view line = Trimmed(text.substr(0, end)); !line.empty()) f(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

/// "File1=address", "Title1=name", in any order of numbers.
std::vector<PlaylistEntry> ReadPls(std::string_view text) {
  std::map<unsigned, PlaylistEntry> numbered;
  ForEachLine(text, [&](std::string_view line) {
    const bool isFile = StartsWithMark(line, "file");
    const bool isTitle = StartsWithMark(line, "title");
    const auto equals = line.find('=');
    if ((!isFile && !isTitle) || equals == std::string_view::npos) return;
    const std::string_view digits = line.substr(isFile ? 4 : 5, equals - (isFile ? 4 : 5));
    unsigned number = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (read.ec != std::errc() || numbered.size() > Playlist::kMostEntries) return;
    (isFile ? numbered[number].address : numbered[number].title) = Trimmed(line.substr(equals + 1));
  });
  std::vector<PlaylistEntry> entries;
  for (auto& [number, entry] : numbered) {
    if (!entry.address.empty()) entries.push_back(std::move(entry));
  }
  return entries;
}

Playlist ReadM3u(std::string_view text) {
  Playlist list{Playlist::Kind::kStations, {}};
  std::string title;
  ForEachLine(text, [&](std::string_view line) {
    if (StartsWithMark(line, kSegmentMarks)) {
      list.kind = Playlist::Kind::kSegments;
    } else if (StartsWithMark(line, kEntryMark)) {
      const auto comma = line.find(',');
      title = comma == std::string_view::npos ? "" : Trimmed(line.substr(comma + 1));
    } else if (!line.starts_with('#') && list.entries.size() < Playlist::kMostEntries) {
      list.entries.push_back({std::string(line), std::exchange(title, {})});
    }
  });
  return list;
}

}  // namespace

bool LooksLikePlaylist(std::string_view beginning) {
  const std::string_view text = Trimmed(WithoutByteOrderMark(beginning));
  return StartsWithMark(text, kPlsMark) || StartsWithMark(text, kM3uMark);
}

Playlist ReadPlaylist(std::string_view text) {
  text = Trimmed(WithoutByteOrderMark(text));
  if (StartsWithMark(text, kPlsMark)) return {Playlist::Kind::kStations, ReadPls(text)};
  if (StartsWithMark(text, kM3uMark)) return ReadM3u(text);
  return {};
}

std::vector<PlaylistEntry> ReadStationList(std::string_view text) {
  Playlist list = ReadPlaylist(text);
  if (list.kind == Playlist::Kind::kNone) list = ReadM3u(WithoutByteOrderMark(text));
  return std::move(list.entries);
}

}  // namespace halveron::media
