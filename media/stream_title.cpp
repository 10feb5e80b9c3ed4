#include "media/stream_title.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace halveron::media {

namespace {

constexpr std::string_view kTitleBegins = "StreamTitle='";
constexpr std::string_view kTitleEnds = "';";
constexpr std::size_t kMostTitleBytes = 99;
constexpr std::size_t kTextUnit = 16;

/// The value of a comment, by its name in small letters.
std::optional<std::string> Comment(const std::vector<std::string>& comments,
                                   std::string_view name) {
  for (const std::string& comment : comments) {
    if (comment.size() <= name.size() || comment[name.size()] != '=') continue;
    if (std::equal(name.begin(), name.end(), comment.begin(), [](char wanted, unsigned char found) {
          return wanted == std::tolower(found);
        })) {
      return comment.substr(name.size() + 1);
    }
  }
  return std::nullopt;
}

/// Cuts between two characters of UTF-8.
std::string Limited(std::string text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
  text.resize(bytes);
  return text;
}

std::string TitleOfComments(const std::vector<std::string>& comments) {
  const auto artist = Comment(comments, "artist");
  const auto title = Comment(comments, "title");
  if (!title) return {};
  return artist ? Limited(*artist + " - " + *title, kMostTitleBytes) : *title;
}

}  // namespace

std::string TitleOf(const StreamTags& tags, const std::string& shown) {
  if (tags.icy) {
    const auto begin = tags.icy->find(kTitleBegins);
    if (begin == std::string::npos) return shown;
    const auto first = begin + kTitleBegins.size();
    const auto end = tags.icy->find(kTitleEnds, first);
    return end == std::string::npos ? shown : tags.icy->substr(first, end - first);
  }
  if (!tags.comments.empty()) return TitleOfComments(tags.comments);
  if (tags.segment) {
    const auto comma = tags.segment->find(',');
    return comma == std::string::npos ? std::string() : tags.segment->substr(comma + 1);
  }
  return {};
}

std::size_t IcyFilter::Strip(std::span<std::uint8_t> bytes) {
  if (interval_ == 0) return bytes.size();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < bytes.size();) {
    if (part_ == Part::kLength) {
      left_ = kTextUnit * bytes[i++];
      part_ = left_ > 0 ? Part::kText : Part::kSound;
      text_.clear();
    } else {
      const std::size_t count = std::min(left_, bytes.size() - i);
      const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(i);
      const auto to = from + static_cast<std::ptrdiff_t>(count);
      if (part_ == Part::kSound) {
        std::copy(from, to, bytes.begin() + static_cast<std::ptrdiff_t>(kept));
        kept += count;
      } else {
        text_.append(from, to);
      }
      i += count;
      left_ -= count;
      if (left_ > 0) continue;
      if (part_ == Part::kText) {
        complete_ = text_.substr(0, text_.find('\0'));
        part_ = Part::kSound;
      } else {
        part_ = Part::kLength;
      }
    }
    if (part_ == Part::kSound && left_ == 0) left_ = interval_;
  }
  return kept;
}

std::optional<std::string> IcyFilter::TakeText() { return std::exchange(complete_, std::nullopt); }

}  // namespace halveron::media
