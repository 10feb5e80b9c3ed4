#include "media/song.h"

#include <gtest/gtest.h>
#include <immintrin.h>

#include <cmath>
#include <random>

#include "media/song_archive.h"
#include "media/tempo_stream.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/web/tracker_file.h"
#include "tests/support/web/web_server.h"

namespace halveron::media {
namespace {

using namespace halveron::testing;

std::unique_ptr<Song> OpenBytes(const std::string& bytes) {
  return OpenSong(std::vector<std::uint8_t>(bytes.begin(), bytes.end()), "a file", {}, {});
}

template <class Source>
std::vector<float> ReadAll(Source& song) {
  std::vector<float> all;
  std::vector<float> piece(2 * 700);
  const auto channels = static_cast<std::size_t>(song.Facts().channels);
  while (const std::size_t frames = song.Read(piece.data(), 700)) {
    all.insert(all.end(), piece.begin(),
               piece.begin() + static_cast<std::ptrdiff_t>(frames * channels));
    if (all.size() > 50'000'000) break;
  }
  return all;
}

/// Hertz of the first channel, by its rising zeros from 0.3 s to 0.3 s before the end.
double PitchOf(const std::vector<float>& samples, int channels, int rate) {
  const auto step = static_cast<std::size_t>(channels);
  const auto edge = static_cast<std::size_t>(0.3 * rate) * step;
  double first = -1, last = -1;
  int periods = -1;
  for (std::size_t i = edge; i + edge < samples.size(); i += step) {
    if (samples[i] >= 0.0f || samples[i + step] < 0.0f) continue;
    last = static_cast<double>(i / step) +
           static_cast<double>(samples[i] / (samples[i] - samples[i + step]));
    if (first < 0) first = last;
    ++periods;
  }
  return periods > 0 ? periods * rate / (last - first) : 0.0;
}

TEST(Song, ReadsTrackerMusic) {
  const auto song = OpenBytes(TrackerFile());
  EXPECT_EQ(song->Facts().title, "Four rows");
  EXPECT_EQ(song->Facts().format, "4ch MOD");
  EXPECT_EQ(song->Facts().extension, "mod");
  ASSERT_TRUE(song->Facts().tempo);
  EXPECT_NEAR(*song->Facts().tempo, 125.0f, 0.01f);
  EXPECT_NEAR(song->Facts().seconds, kTrackerSeconds, 0.05);
  const std::vector<float> all = ReadAll(*song);
  EXPECT_NEAR(static_cast<double>(all.size()) / 2 / 44100, kTrackerSeconds, 0.15);
  EXPECT_NEAR(PitchOf(all, 2, 44100), kTrackerHertz, 0.1);
  song->Seek(1.0);
  EXPECT_NEAR(song->Position(), 1.0, 0.7) << "to a row";
  EXPECT_LT(ReadAll(*song).size(), all.size() * 3 / 4);
}

TEST(Song, ReadsSoundFilesWithTheirTags) {
  const ScratchFolder folder;
  const std::string path =
      folder.Write("a.ogg", SineFile("ogg", 1.0, 500, 48000, 1, "Somebody", "Something"));
  const auto song = OpenSong(path, {}, {});
  EXPECT_EQ(song->Facts().title, "Something");
  EXPECT_EQ(song->Facts().artist, "Somebody");
  EXPECT_EQ(song->Facts().format, "1ch VORBIS 48.0kHz");
  EXPECT_FALSE(song->Facts().tempo);
  EXPECT_NEAR(static_cast<double>(ReadAll(*song).size()), 48000.0, 200.0);
  song->Seek(0.5);
  EXPECT_NEAR(static_cast<double>(ReadAll(*song).size()), 24000.0, 2000.0);
}

TEST(Song, RefusesWhatIsNone) {
  const ScratchFolder folder;
  std::mt19937 random(5);
  std::string noise(100000, '\0');
  for (char& byte : noise) byte = static_cast<char>(random());
  for (const std::string& bytes :
       {std::string(), std::string("hello"), noise, TrackerFile().substr(0, 1080),
        std::string("#EXTM3U\n/etc/passwd\n")}) {
    EXPECT_THROW(ReadAll(*OpenBytes(bytes)), platform::UserError) << bytes.size();
  }
  EXPECT_THROW(OpenSong(folder.At("gone.mod"), {}, {}), platform::UserError);
  EXPECT_THROW(OpenSong(folder.At(""), {}, {}), platform::UserError);
  // Damaged tracker music is read as far as it makes sense.
  std::string damaged = TrackerFile();
  for (std::size_t i = 20; i < damaged.size(); i += 3) {
    if (i < 1080 || i > 1084) damaged[i] = static_cast<char>(random());
  }
  try {
    const auto song = OpenBytes(damaged);
    std::vector<float> piece(2 * 44100);
    for (int i = 0; i < 60; ++i) song->Read(piece.data(), 44100);
  } catch (const platform::UserError&) {
  }
}

TEST(TempoStream, MovesTempoAndPitchApart) {
  const auto play = [](double tempo, double pitch) {
    TempoStream stream(OpenBytes(SineFile("wav", 4.0, 400.0, 44100, 1)));
    stream.Set(tempo, pitch);
    return ReadAll(stream);
  };
  const auto plain = OpenBytes(SineFile("wav", 4.0, 400.0, 44100, 1));
  EXPECT_EQ(play(1.0, 1.0), ReadAll(*plain)) << "unmoved, it passes to the bit";
  for (const double tempo : {0.5, 0.9, 2.0}) {
    const std::vector<float> moved = play(tempo, 1.0);
    EXPECT_NEAR(static_cast<double>(moved.size()) / 44100, 4.0 / tempo, 0.15) << tempo;
    EXPECT_NEAR(PitchOf(moved, 1, 44100), 400.0, 2.0) << tempo;
  }
  const std::vector<float> higher = play(1.0, 1.5);
  EXPECT_NEAR(static_cast<double>(higher.size()) / 44100, 4.0, 0.15);
  EXPECT_NEAR(PitchOf(higher, 1, 44100), 600.0, 3.0);
  TempoStream stream(OpenBytes(SineFile("wav", 4.0, 400.0, 44100, 1)));
  stream.Set(1e9, std::nan(""));
  stream.Set(2.0, 1.0);
  stream.Seek(3.0);
  EXPECT_NEAR(static_cast<double>(ReadAll(stream).size()) / 44100, 0.5, 0.1);
}

TEST(TempoStream, LeavesDenormalsAsTheyAre) {
  constexpr unsigned kFlushing = 0x8040;
  EXPECT_EQ(_mm_getcsr() & kFlushing, 0u) << "a library that is linked has switched them off";
  TempoStream stream(OpenBytes(SineFile("wav", 0.1, 400.0, 44100, 1)));
  stream.Set(2.0, 1.0);
  EXPECT_EQ(_mm_getcsr() & kFlushing, 0u);
}

TEST(SongArchive, AsksForANumberAndFetchesIt) {
  EXPECT_EQ(IdInAnswer("<a><b><id> 42 </id></b><id>7</id></a>"), 42);
  EXPECT_EQ(IdInAnswer("<a><id>42</id><cut"), 42);
  for (const char* none : {"", "<a/>", "<id>-1</id>", "<id>x</id>", "<id>99999999999</id>", "42"}) {
    EXPECT_EQ(IdInAnswer(none), 0) << none;
  }
  WebServer server;
  server.Serve("/x/xml-tools.php", "text/xml", "<modland><module><id>42</id></module></modland>");
  server.Serve("/x/downloads.php", "application/octet-stream", TrackerFile());
  SongArchive archive;
  archive.address = server.Address("/x");
  archive.key = "a1-b2 &";
  const ArchivedSong song = FetchRandomSong(archive, {});
  EXPECT_EQ(server.LastTarget(), "/x/downloads.php?moduleid=42");
  EXPECT_EQ(server.Targets().front(), "/x/xml-tools.php?key=a1-b2%20%26&request=random");
  EXPECT_EQ(song.id, 42);
  EXPECT_EQ(std::string(song.bytes.begin(), song.bytes.end()), TrackerFile());
  EXPECT_EQ(archive.Page(42), server.Address("/x/module.php?42"));

  server.Serve("/k/xml-tools.php", "text/xml", "<error>Invalid key</error>");
  archive.address = server.Address("/k/");
  EXPECT_THROW(FetchRandomSong(archive, {}), ArchiveKeyError);
  server.SetDown(true);
  EXPECT_THROW(FetchRandomSong(archive, {}), HttpRefusal);
}

}  // namespace
}  // namespace halveron::media
