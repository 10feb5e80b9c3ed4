// What a stream says of itself while it plays.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halveron::media {

/// The texts that a stream has sent so far, as they came.
struct StreamTags {
  std::optional<std::string> icy;      ///< "StreamTitle='...';StreamUrl='...';"
  std::vector<std::string> comments;   ///< "name=value" of a Vorbis or Opus stream
  std::optional<std::string> segment;  ///< "seconds,title" of a segment of a live playlist

  bool operator==(const StreamTags&) const = default;
};

/// The title to show: of the in-band metadata, else "artist - title" or "title" of the comments,
/// else the segment's. `shown` is the title so far, which stays where the metadata are cut off.
std::string TitleOf(const StreamTags& tags, const std::string& shown);

/// Takes the in-band metadata out of a stream: after every `interval` bytes of sound comes a byte
/// that counts 16 bytes of text each.
class IcyFilter {
 public:
  /// 0: nothing is taken out.
  explicit IcyFilter(std::size_t interval = 0) : interval_(interval), left_(interval) {}

  /// Moves the sound together at the start of `bytes` and returns how much that is.
  std::size_t Strip(std::span<std::uint8_t> bytes);
  /// The newest complete text, which is then forgotten; none if there is no new one.
  std::optional<std::string> TakeText();

 private:
  enum class Part { kSound, kLength, kText };

  std::size_t interval_;
  std::size_t left_;  // bytes of the present part
  Part part_ = Part::kSound;
  std::string text_;
  std::optional<std::string> complete_;
};

}  // namespace halveron::media
