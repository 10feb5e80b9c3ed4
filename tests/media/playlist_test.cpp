#include "media/playlist.h"

#include <gtest/gtest.h>

namespace halveron::media {
namespace {

using Kind = Playlist::Kind;

TEST(Playlist, ReadsBothFormsInTheirOrder) {
  const Playlist pls = ReadPlaylist(
      "\xEF\xBB\xBF[Playlist]\r\nNumberOfEntries=2\r\nFile2=http://b/2\r\nTitle1 = x\r\n"
      "Title2=Second\r\nFile1=http://a/1\r\nFile=none\r\nFilex=none\r\n");
  ASSERT_EQ(pls.kind, Kind::kStations);
  ASSERT_EQ(pls.entries.size(), 2u);
  EXPECT_EQ(pls.entries[0].address, "http://a/1");
  EXPECT_EQ(pls.entries[1].title, "Second");

  const Playlist m3u =
      ReadPlaylist("#EXTM3U\n#EXTINF:-1,One, two\nhttp://a/1\n\n# a comment\nsub/2.mp3\n");
  ASSERT_EQ(m3u.kind, Kind::kStations);
  ASSERT_EQ(m3u.entries.size(), 2u);
  EXPECT_EQ(m3u.entries[0].title, "One, two");
  EXPECT_EQ(m3u.entries[1].address, "sub/2.mp3");
  EXPECT_EQ(m3u.entries[1].title, "");
}

TEST(Playlist, TellsPiecesOfAStreamFromStations) {
  EXPECT_EQ(ReadPlaylist("#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\na.ts\n").kind,
            Kind::kSegments);
  EXPECT_EQ(ReadPlaylist("ID3 something").kind, Kind::kNone);
  EXPECT_EQ(ReadPlaylist("").kind, Kind::kNone);
  EXPECT_TRUE(LooksLikePlaylist("\n[playlist]"));
  EXPECT_FALSE(LooksLikePlaylist("<!DOCTYPE html>"));
  // The list that users edit needs no first line.
  EXPECT_EQ(ReadStationList("http://a/1\nhttp://a/2\n").size(), 2u);
  EXPECT_EQ(ReadStationList(std::string(5000, '\n') + "x\n").size(), 1u);
  std::string many;
  for (int i = 0; i < 2000; ++i) many += "http://a\n";
  EXPECT_EQ(ReadStationList(many).size(), Playlist::kMostEntries);
}

}  // namespace
}  // namespace halveron::media
