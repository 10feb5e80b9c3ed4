#include "media/song_archive.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <pugixml.hpp>
#include <string_view>

#include "media/song.h"

namespace halveron::media {

namespace {

constexpr std::size_t kMostAnswerBytes = std::size_t{1} << 20;
constexpr int kUnauthorised = 401, kForbidden = 403;

/// As a part of an address.
std::string Escaped(const std::string& text) {
  std::string result;
  for (const unsigned char byte : text) {
    if (std::isalnum(byte) ||
        std::string_view("-._~").find(static_cast<char>(byte)) != std::string_view::npos) {
      result += static_cast<char>(byte);
    } else {
      std::array<char, 4> code{};
      std::snprintf(code.data(), code.size(), "%%%02X", byte);
      result += code.data();
    }
  }
  return result;
}

std::string With(std::string path, std::string_view mark, const std::string& value) {
  for (auto at = path.find(mark); at != std::string::npos;
       at = path.find(mark, at + value.size())) {
    path.replace(at, mark.size(), value);
  }
  return path;
}

std::string AddressOf(const SongArchive& archive, const std::string& path, int id) {
  const std::string slash = archive.address.ends_with('/') ? "" : "/";
  return archive.address + slash +
         With(With(path, "{key}", Escaped(archive.key)), "{id}", std::to_string(id));
}

}  // namespace

std::string SongArchive::Page(int id) const { return AddressOf(*this, pagePath, id); }

int IdInAnswer(const std::string& xml) {
  pugi::xml_document document;
  // A document that is cut off still has what came before.
  document.load_buffer(xml.data(), xml.size());
  const pugi::xml_node node = document.find_node(
      [](const pugi::xml_node& candidate) { return std::string_view(candidate.name()) == "id"; });
  std::string_view digits = node.text().get();
  while (!digits.empty() && std::isspace(static_cast<unsigned char>(digits.front()))) {
    digits.remove_prefix(1);
  }
  int id = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), id);
  return read.ec == std::errc() && id > 0 ? id : 0;
}

ArchivedSong FetchRandomSong(const SongArchive& archive, std::stop_token stop) {
  HttpRequest request;
  request.address = AddressOf(archive, archive.randomPath, 0);
  std::vector<std::uint8_t> answer;
  try {
    answer = Download(request, stop, kMostAnswerBytes);
  } catch (const HttpRefusal& refusal) {
    if (refusal.status != kUnauthorised && refusal.status != kForbidden) throw;
    throw ArchiveKeyError(archive.address, "", "the archive refuses the key");
  }
  const std::string text(answer.begin(), answer.end());
  ArchivedSong song;
  song.id = IdInAnswer(text);
  if (song.id == 0) {
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    // Its refusal comes as an answer, too.
    if (lower.find("key") != std::string::npos) {
      throw ArchiveKeyError(archive.address, "", "the archive refuses the key");
    }
    throw StreamError(archive.address, "", "the archive names no module");
  }
  request.address = AddressOf(archive, archive.downloadPath, song.id);
  song.bytes = Download(request, std::move(stop), Song::kMostTrackerBytes);
  return song;
}

}  // namespace halveron::media
