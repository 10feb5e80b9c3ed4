// Playlists: the texts (.pls, .m3u) that name where a station's sound is.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halveron::media {

struct PlaylistEntry {
  std::string address;  ///< as it stands in the text; may be relative to the playlist's own
  std::string title{};  ///< empty if the text gives none
};

struct Playlist {
  enum class Kind {
    kNone,      ///< no playlist
    kStations,  ///< places of which each has the sound
    kSegments,  ///< the sound in pieces: HTTP live streaming (RFC 8216)
  };
  static constexpr std::size_t kMostEntries = 1000;

  Kind kind = Kind::kNone;
  std::vector<PlaylistEntry> entries;  ///< of kSegments: the pieces, or the variants
};

/// Whether a text begins as a playlist does, however its server calls it.
bool LooksLikePlaylist(std::string_view beginning);

/// Reads the text of a playlist of either form. Lines that mean nothing are left out; of more than
/// kMostEntries entries the rest is.
Playlist ReadPlaylist(std::string_view text);

/// A list of stations as people edit it: ReadPlaylist, also where the first line that marks
/// a playlist is missing.
std::vector<PlaylistEntry> ReadStationList(std::string_view text);

}  // namespace halveron::media
