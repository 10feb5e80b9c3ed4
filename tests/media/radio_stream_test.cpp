#include "media/radio_stream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <random>
#include <thread>

#include "tests/support/web/web_server.h"

namespace halveron::media {
namespace {

using halveron::testing::SineFile;
using halveron::testing::WebServer;
using halveron::testing::WithInBandTexts;
using After = WebServer::After;
using namespace std::chrono_literals;

HttpRequest RequestFor(const std::string& address) {
  HttpRequest request;
  request.address = address;
  request.connectTime = request.stallTime = 1s;
  return request;
}

struct Heard {
  std::vector<float> samples;
  std::vector<std::string> titles;  // each once, as they come
};

Heard Listen(RadioStream& stream, double seconds = 100.0) {
  Heard heard;
  std::vector<float> piece(2048);
  const auto most = static_cast<std::size_t>(seconds * stream.SampleRate() * stream.Channels());
  while (heard.samples.size() < most) {
    const std::size_t frames = stream.Read(piece.data(), 1024);
    if (frames == 0) break;
    heard.samples.insert(heard.samples.end(), piece.begin(),
                         piece.begin() + static_cast<std::ptrdiff_t>(
                                             frames * static_cast<std::size_t>(stream.Channels())));
    if (heard.titles.empty() || heard.titles.back() != stream.Title()) {
      heard.titles.push_back(stream.Title());
    }
  }
  return heard;
}

/// Hertz of the first channel, by its rising zeros, without 0.1 s at either end.
double PitchOf(const std::vector<float>& samples, int channels, int rate) {
  double first = -1, last = -1;
  int periods = -1;
  const auto step = static_cast<std::size_t>(channels);
  for (auto i = static_cast<std::size_t>(rate / 10) * step;
       i + static_cast<std::size_t>(rate / 10) * step < samples.size(); i += step) {
    if (samples[i] < 0.0f && samples[i + step] >= 0.0f) {
      last = static_cast<double>(i / step) +
             static_cast<double>(samples[i] / (samples[i] - samples[i + step]));
      if (first < 0) first = last;
      ++periods;
    }
  }
  return periods > 0 ? periods * rate / (last - first) : 0.0;
}

std::string FailureOf(const HttpRequest& request) {
  try {
    RadioStream stream(request, {});
    Listen(stream);
  } catch (const platform::UserError& error) {
    return error.what();
  }
  return {};
}

TEST(RadioStream, PlaysAStationWithItsHeadersAndInBandTitles) {
  WebServer server;
  const std::string sound = SineFile("mp3", 6.0, 440.0);
  server.Stream("/live", "audio/mpeg",
                WithInBandTexts(sound, 40000,
                                {"StreamTitle='First';StreamUrl='';", "", "StreamTitle='cut off",
                                 "StreamTitle='It's second';"}),
                After::kEnd,
                {{"icy-metaint", "40000"}, {"ICY-Name", " A station "}, {"icy-url", "http://a/"}});
  server.Redirect("/moved", "/live");
  RadioStream stream(RequestFor(server.Address("/moved")), {});
  EXPECT_EQ(stream.Headers().name, "A station");
  EXPECT_EQ(stream.Headers().url, "http://a/");
  EXPECT_EQ(stream.Channels(), 2);
  EXPECT_EQ(stream.SampleRate(), 44100);
  const Heard heard = Listen(stream);
  EXPECT_NEAR(PitchOf(heard.samples, 2, 44100), 440.0, 0.1) << "no text is heard";
  EXPECT_NEAR(static_cast<double>(heard.samples.size()) / 2 / 44100, 6.0, 0.1);
  EXPECT_EQ(heard.titles.back(), "It's second");
  EXPECT_EQ(std::count(heard.titles.begin(), heard.titles.end(), "First"), 1)
      << "a title that is cut off shows nothing new";
}

TEST(RadioStream, ShowsCommentsOfOggStreams) {
  WebServer server;
  const auto titleOf = [&](const std::string& artist, const std::string& title) {
    const std::string path = "/" + artist + title;
    server.Stream(path, "application/ogg", SineFile("ogg", 0.5, 440, 48000, 1, artist, title),
                  After::kEnd);
    RadioStream stream(RequestFor(server.Address(path)), {});
    EXPECT_EQ(stream.Channels(), 1);
    EXPECT_EQ(stream.SampleRate(), 48000);
    return stream.Title();
  };
  EXPECT_EQ(titleOf("Somebody", "Something"), "Somebody - Something");
  EXPECT_EQ(titleOf("", "Something"), "Something");
  EXPECT_EQ(titleOf("Somebody", ""), "");
  EXPECT_EQ(titleOf(std::string(70, 'a'), std::string(70, 'b')).size(), 99u);
}

TEST(RadioStream, FollowsPlaylistsByTheirContents) {
  WebServer server;
  server.Stream("/sound/live", "audio/mpeg", SineFile("mp3", 1.0, 440), After::kEnd);
  server.Serve("/one.pls", "text/html", "[playlist]\nFile1=/gone\nFile2=sound/list.m3u\n");
  server.Serve("/sound/list.m3u", "audio/mpeg", "#EXTM3U\nlive\n");
  RadioStream stream(RequestFor(server.Address("/one.pls")), {});
  EXPECT_GT(Listen(stream).samples.size(), 80000u);
  server.Serve("/circle.m3u", "audio/x-mpegurl", "#EXTM3U\ncircle.m3u\n");
  EXPECT_NE(FailureOf(RequestFor(server.Address("/circle.m3u"))), "");
  EXPECT_LE(server.Requests("/circle.m3u"), 5);
  server.Serve("/empty.m3u", "audio/x-mpegurl", "#EXTM3U\n");
  EXPECT_NE(FailureOf(RequestFor(server.Address("/empty.m3u"))), "");
  server.Serve("/file.m3u", "audio/x-mpegurl", "#EXTM3U\nfile:///etc/passwd\n");
  EXPECT_NE(FailureOf(RequestFor(server.Address("/file.m3u"))).find("no web address"),
            std::string::npos);
}

TEST(RadioStream, PlaysLivePlaylistsWithTheTitlesOfTheirPieces) {
  WebServer server;
  const std::string sound = SineFile("mp3", 4.0, 440);
  const std::size_t half = sound.size() / 2;
  server.Serve("/hls/a/1.mp3", "audio/mpeg", sound.substr(0, half));
  server.Serve("/hls/a/2.mp3", "audio/mpeg", sound.substr(half));
  server.Serve("/hls/master.m3u8", "application/vnd.apple.mpegurl",
               "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=128000,CODECS=\"mp4a.40.34\"\na/list.m3u8\n");
  server.Serve("/hls/a/list.m3u8", "application/vnd.apple.mpegurl",
               "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:2\n#EXT-X-MEDIA-SEQUENCE:0\n"
               "#EXTINF:2.0,First piece\n1.mp3\n#EXTINF:2.0,Second, piece\n2.mp3\n"
               "#EXT-X-ENDLIST\n");
  server.Redirect("/station", "/hls/master.m3u8");
  RadioStream stream(RequestFor(server.Address("/station")), {});
  const Heard heard = Listen(stream);
  EXPECT_GT(heard.samples.size(), 2 * 44100 * 3u);
  EXPECT_EQ(heard.titles.front(), "First piece");
  EXPECT_EQ(heard.titles.back(), "Second, piece");
  // Pieces come from web servers only.
  server.Serve("/bad.m3u8", "application/vnd.apple.mpegurl",
               "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2.0,\nfile:///etc/passwd\n"
               "#EXT-X-ENDLIST\n");
  EXPECT_NE(FailureOf(RequestFor(server.Address("/bad.m3u8"))), "");
}

TEST(RadioStream, BearsServersThatMisbehave) {
  WebServer server;
  const std::string sound = SineFile("mp3", 1.0, 440);
  server.Stream("/liar", "text/html", sound, After::kEnd);
  EXPECT_EQ(FailureOf(RequestFor(server.Address("/liar"))), "") << "the bytes are sound";
  server.Serve("/page", "audio/mpeg", "<html><body>No sound here</body></html>");
  EXPECT_NE(FailureOf(RequestFor(server.Address("/page"))), "");
  server.Redirect("/circle", "/circle");
  EXPECT_NE(FailureOf(RequestFor(server.Address("/circle"))), "");
  EXPECT_LE(server.Requests("/circle"), 10);
  EXPECT_NE(FailureOf(RequestFor(server.Address("/nothing"))).find("404"), std::string::npos);
  std::mt19937 random(1);
  std::string garbage(1 << 20, '\0');
  for (char& byte : garbage) byte = static_cast<char>(random());
  server.Stream("/garbage", "audio/mpeg", garbage, After::kSilence);
  EXPECT_NE(FailureOf(RequestFor(server.Address("/garbage"))), "");
  server.Serve("/empty", "audio/mpeg", "");
  EXPECT_NE(FailureOf(RequestFor(server.Address("/empty"))), "");
  server.Stream("/stall", "audio/mpeg", sound, After::kSilence);
  EXPECT_NE(FailureOf(RequestFor(server.Address("/stall"))).find("too long"), std::string::npos);
  EXPECT_NE(FailureOf(RequestFor("http://127.0.0.1:1/")), "");
  EXPECT_NE(FailureOf(RequestFor("file:///etc/passwd")), "");
  // Damage in the middle costs a piece, not the stream.
  std::string damaged = SineFile("mp3", 3.0, 440);
  for (std::size_t i = 20000; i < 22000; ++i) damaged[i] = static_cast<char>(random());
  server.Stream("/damaged", "audio/mpeg", damaged, After::kEnd);
  RadioStream stream(RequestFor(server.Address("/damaged")), {});
  EXPECT_GT(Listen(stream).samples.size(), 2 * 44100 * 2u);
}

TEST(RadioStream, EndsAtOnceWhenItIsStopped) {
  WebServer server;
  server.Hang("/hang");
  server.Stream("/silent", "audio/mpeg", SineFile("mp3", 0.5, 440), After::kSilence);
  // The last one is an address that no machine has.
  for (const std::string& address :
       {server.Address("/hang"), server.Address("/silent"), std::string("http://192.0.2.1/")}) {
    std::stop_source stop;
    std::chrono::steady_clock::time_point asked;
    std::thread asker([&] {
      std::this_thread::sleep_for(200ms);
      asked = std::chrono::steady_clock::now();
      stop.request_stop();
    });
    HttpRequest request = RequestFor(address);
    request.connectTime = request.stallTime = 20s;
    EXPECT_THROW(
        {
          RadioStream stream(request, stop.get_token());
          Listen(stream);
        },
        platform::UserError);
    const auto ended = std::chrono::steady_clock::now();
    asker.join();
    EXPECT_LT(ended - std::min(asked, ended), 5s) << address << " waits for 20 s by itself";
  }
}

TEST(HttpStream, RefusesDownloadsThatAreTooLargeOrTooSlow) {
  WebServer server;
  server.Serve("/a", "text/plain", std::string(1000, 'x'));
  EXPECT_EQ(Download(RequestFor(server.Address("/a")), {}, 1000).size(), 1000u);
  EXPECT_THROW(Download(RequestFor(server.Address("/a")), {}, 999), StreamError);
  server.Stream("/long", "text/plain", std::string(1 << 22, 'x'), After::kEnd);
  EXPECT_THROW(Download(RequestFor(server.Address("/long")), {}, 1 << 23, 0ms), StreamError);
}

TEST(StreamTitle, TakesTheFirstKindThatIsThere) {
  EXPECT_EQ(TitleOf({}, "old"), "");
  EXPECT_EQ(TitleOf({"StreamTitle='a';x';", {"title=b"}, "1,c"}, "old"), "a");
  EXPECT_EQ(TitleOf({"StreamTitle='a", {"title=b"}, "1,c"}, "old"), "old");
  EXPECT_EQ(TitleOf({std::nullopt, {"ARTIST=x", "Title=b"}, "1,c"}, "old"), "x - b");
  EXPECT_EQ(TitleOf({std::nullopt, {"artist=x"}, "1,c"}, "old"), "");
  EXPECT_EQ(TitleOf({std::nullopt, {}, "1.5,c, d"}, "old"), "c, d");
  EXPECT_EQ(TitleOf({std::nullopt, {}, "1.5"}, "old"), "");
}

TEST(IcyFilter, TakesTextsOutHoweverTheBytesAreCut) {
  std::string sound;
  for (int i = 0; i < 1000; ++i) sound += static_cast<char>(i * 7);
  const std::string mixed = WithInBandTexts(sound, 64, {"", "A text", std::string(300, 'z')});
  for (const std::size_t piece : {1u, 3u, 65u, 5000u}) {
    IcyFilter filter(64);
    std::string kept;
    std::vector<std::string> texts;
    for (std::size_t at = 0; at < mixed.size(); at += piece) {
      const std::string bytes = mixed.substr(at, piece);
      std::vector<std::uint8_t> part(bytes.begin(), bytes.end());
      const std::size_t count = filter.Strip(part);
      kept.append(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
      if (const auto text = filter.TakeText()) texts.push_back(*text);
    }
    EXPECT_EQ(kept, sound) << piece;
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.back(), std::string(300, 'z'));
    EXPECT_EQ(texts.front(), piece < 300 ? "A text" : std::string(300, 'z'));
  }
}

}  // namespace
}  // namespace halveron::media
