// The user's list of radio stations.
#pragma once

#include <string>
#include <vector>

#include "media/playlist.h"

namespace halveron {

inline constexpr const char* kStationsFile = "Stations.m3u";

/// The stations of the list in the user's data folder (with a slash at its end). Where there is no
/// list yet, a first one is written; one that is there is never changed. Nothing for no folder, or
/// if the list cannot be read.
std::vector<media::PlaylistEntry> LoadStations(const std::string& dataFolder);

}  // namespace halveron
