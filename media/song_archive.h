// An online archive of tracker music that gives away modules by chance.
#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "media/http_stream.h"

namespace halveron::media {

/// Where the archive is. In the paths "{key}" and "{id}" stand for the user's key and the number of
/// a module.
struct SongArchive {
  std::string address{};  ///< http or https
  std::string key{};
  std::string randomPath = "xml-tools.php?key={key}&request=random";
  std::string downloadPath = "downloads.php?moduleid={id}";
  std::string pagePath = "module.php?{id}";

  /// The page that shows a module to people.
  std::string Page(int id) const;
};

struct ArchivedSong {
  int id = 0;
  std::vector<std::uint8_t> bytes{};
};

/// The archive refuses the key.
class ArchiveKeyError : public StreamError {
 public:
  using StreamError::StreamError;
};

/// Asks for the number of a module and fetches that: for workers. Throws StreamError, and once
/// `stop` is requested.
ArchivedSong FetchRandomSong(const SongArchive& archive, std::stop_token stop);

/// The number in the first element "id" of the archive's answer; 0 if there is none.
int IdInAnswer(const std::string& xml);

}  // namespace halveron::media
