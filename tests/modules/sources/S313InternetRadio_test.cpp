#include "modules/sources/S313InternetRadio.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>

#include "framework/text_label.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/test_rack.h"
#include "tests/support/web/web_server.h"

namespace halveron::testing {
namespace {

using namespace std::chrono_literals;
using After = WebServer::After;
using State = RadioPlayer::State;

/// Feeds the ring ramps: frame n is n, in stereo n and -n.
struct RampFeed {
  explicit RampFeed(int channels) : channels(channels), feed(1 << 16) {
    feed.Begin(1, 48000, channels);
    feed.Update();
  }
  void Write(int frames) {
    for (int i = 0; i < frames; ++i, ++next) {
      const std::array<float, 2> frame{static_cast<float>(next), -static_cast<float>(next)};
      feed.Write(std::span(frame).first(static_cast<std::size_t>(channels)), channels);
    }
  }

  int channels;
  int next = 0;
  SampleFeed feed;
};

TEST(StreamRing, InterpolatesAtEveryRatioInMonoAndStereoAlike) {
  for (const int channels : {1, 2}) {
    for (const double step : {0.5, 44100.0 / 48000, 1.0, 48000.0 / 44100, 3.7}) {
      RampFeed source(channels);
      StreamRing ring;
      ring.Reserve(64, 4.0);
      ring.Restart(channels);
      ring.SetStep(step);
      double expected = 0.0;
      for (int block = 0; block < 100; ++block) {
        source.Write(300);
        ring.Fill(source.feed, 64, step);
        for (int i = 0; i < 64; ++i, expected += step) {
          ASSERT_TRUE(ring.Step());
          ASSERT_NEAR(ring.left, expected, 2e-3) << channels << " channels, step " << step;
          ASSERT_EQ(ring.right, channels == 1 ? ring.left : -ring.left);
        }
      }
    }
  }
}

TEST(StreamRing, StandsStillWithoutSoundAndKeepsWhatItHasWhenItGrows) {
  RampFeed source(2);
  StreamRing ring;
  ring.Restart(2);
  ring.SetStep(2.3);
  source.Write(10);
  ring.Fill(source.feed, 64, 1.0);
  while (ring.Step()) {
  }
  EXPECT_GE(ring.left, 7.0f);
  EXPECT_LE(ring.left, 9.0f) << "what was never written is not heard";
  const float last = ring.left;
  EXPECT_FALSE(ring.Step());
  EXPECT_EQ(ring.left, last);

  // Data across the seam survive.
  ring.SetStep(1.0);
  for (int round = 0; round < 3; ++round) {
    source.Write(400);
    ring.Fill(source.feed, 64, 1.0);
    for (int i = 0; i < 300; ++i) ring.Step();
  }
  const float before = ring.left;
  ring.Reserve(4096, 2.0);
  EXPECT_GE(ring.ring_size, 4096 * 2 * 4);
  for (int i = 1; i < 100; ++i) {
    ASSERT_TRUE(ring.Step());
    ASSERT_EQ(ring.left, before + static_cast<float>(i));
  }
}

TEST(SampleFeed, DropsWhatIsLeftOfTheStretchBefore) {
  SampleFeed feed(100);
  std::array<float, 10> samples{};
  feed.Begin(1, 44100, 2);
  samples.fill(1.0f);
  feed.Write(samples, 2);
  EXPECT_TRUE(feed.Update());
  std::array<float, 4> some{};
  EXPECT_EQ(feed.Read(some), 4u);
  feed.End();
  EXPECT_FALSE(feed.HasEnded()) << "6 samples are left";
  feed.Begin(2, 48000, 1);
  samples.fill(2.0f);
  feed.Write(samples, 1);
  EXPECT_EQ(feed.Read(some), 0u) << "which stretch this is becomes known by Update";
  EXPECT_TRUE(feed.Update());
  EXPECT_EQ(feed.Present().rate, 48000);
  EXPECT_EQ(feed.Read(some), 4u);
  EXPECT_EQ(some[0], 2.0f);
  feed.End();
  while (feed.Read(some) > 0) {
  }
  EXPECT_TRUE(feed.HasEnded());
}

/// A rack with a radio whose list has these addresses.
struct RadioRig {
  explicit RadioRig(const std::vector<std::string>& addresses, float rate = 48000.0f) : rack(rate) {
    std::string list = "#EXTM3U\n";
    for (const std::string& address : addresses) list += "#EXTINF:-1,A name\n" + address + "\n";
    folder.Write("Stations.m3u", list);
    rack.editor.files.dataFolder = folder.At("");
    module = &static_cast<S313InternetRadio&>(rack.Add("S313 Internet Radio"));
    module->player.times = {1s, 1s, 100ms, 400ms, 60s};
    rack.Tap(*module, "Left");
    rack.Tap(*module, "Right");
  }

  void Connect(int station = 1) {
    rack.SetControl(*module, "Station", static_cast<float>(station));
    rack.MoveControl(*module, "Connect", 1.0f);
    rack.MoveControl(*module, "Connect", 0.0f);
  }
  /// Until something holds, at most 10 s; blocks go on meanwhile.
  template <class F>
  bool Await(F&& holds) {
    for (int i = 0; i < 2000; ++i) {
      if (holds(module->player.Shown())) return true;
      rack.RunBlock(64);
      std::this_thread::sleep_for(5ms);
    }
    return false;
  }
  bool AwaitState(State state) {
    return Await([state](const RadioPlayer::Display& shown) { return shown.state == state; });
  }
  std::string Label(const std::string& role) {
    module->Refresh();
    return dynamic_cast<CTextLabelEx&>(rack.Control(*module, role)).Text();
  }

  ScratchFolder folder;
  TestRack rack;
  S313InternetRadio* module;
};

TEST(S313InternetRadio, WritesAFirstListOnceAndLeavesTheUsers) {
  const ScratchFolder folder;
  const auto first = LoadStations(folder.At(""));
  EXPECT_GE(first.size(), 5u);
  for (const auto& station : first) {
    EXPECT_TRUE(media::IsWebAddress(station.address)) << station.address;
    EXPECT_NE(station.title, "");
  }
  const std::string mine = "#EXTM3U\nhttp://127.0.0.1:1/\n";
  folder.Write("Stations.m3u", mine);
  EXPECT_EQ(LoadStations(folder.At("")).size(), 1u);
  EXPECT_EQ(ReadFile(folder.At("Stations.m3u")), mine);
  EXPECT_TRUE(LoadStations("").empty());
  // The digits follow the length of the list.
  RadioRig few({});
  EXPECT_EQ(few.rack.Control(*few.module, "Station").getMax(), 99.0f);
  RadioRig many(std::vector<std::string>(95, "http://127.0.0.1:1/"));
  EXPECT_EQ(many.rack.Control(*many.module, "Station").getMax(), 999.0f);
}

TEST(S313InternetRadio, PlaysAStationAtItsPitchInARackOfAnotherRate) {
  WebServer server;
  server.Stream("/live", "application/ogg",
                SineFile("ogg", 4.0, 1000.0, 48000, 2, "Somebody", "Something"), After::kSilence,
                {{"icy-name", "A station"}, {"icy-url", "http://a/"}});
  RadioRig rig({server.Address("/live")}, 96000.0f);
  rig.Connect();
  EXPECT_EQ(rig.Label("Status"), "Connecting...");
  ASSERT_TRUE(rig.AwaitState(State::kPlaying));
  EXPECT_EQ(rig.Label("Name"), "A station   http://a/");
  EXPECT_EQ(rig.Label("Title"), "Somebody - Something");
  EXPECT_EQ(rig.Label("Format"), "48.0kHz - Stereo");
  ASSERT_TRUE(rig.Await([&](const auto&) { return rig.rack.Out(*rig.module, "Left") != 0.0f; }));
  const auto begin = static_cast<std::ptrdiff_t>(rig.rack.Recorded(*rig.module, "Left").size());
  rig.rack.Run(96000);
  const std::vector<float>& all = rig.rack.Recorded(*rig.module, "Left");
  const std::vector<float> left(all.begin() + begin, all.end());
  int rises = 0;
  for (std::size_t i = 1; i < left.size(); ++i) rises += left[i - 1] < 0.0f && left[i] >= 0.0f;
  EXPECT_NEAR(rises, 1000, 1);
  EXPECT_EQ(rig.rack.Recorded(*rig.module, "Right").back(), all.back());

  rig.rack.MoveControl(*rig.module, "Disconnect", 1.0f);
  rig.rack.Run(64);
  EXPECT_EQ(rig.rack.Out(*rig.module, "Left"), 0.0f);
  EXPECT_EQ(rig.Label("Status"), "");
}

TEST(S313InternetRadio, PlaysAStreamThatIsShorterThanItsStore) {
  WebServer server;
  server.Stream("/short", "application/ogg", SineFile("ogg", 0.3, 1000.0, 48000), After::kEnd);
  RadioRig rig({server.Address("/short")});
  rig.module->player.times.firstPause = 60s;
  rig.Connect();
  ASSERT_TRUE(rig.AwaitState(State::kReconnecting));
  const std::size_t begin = rig.rack.Recorded(*rig.module, "Left").size();
  rig.rack.Run(24000);
  const std::vector<float>& left = rig.rack.Recorded(*rig.module, "Left");
  int moving = 0;  // after the end the output stands still
  for (std::size_t i = begin + 1; i < left.size(); ++i) moving += left[i] != left[i - 1] ? 1 : 0;
  EXPECT_NEAR(moving, 0.3 * 48000, 1000);
}

TEST(S313InternetRadio, SaysWhatFailsAndStepsRoundItsSlots) {
  WebServer server;
  server.Serve("/page", "text/html", "<html></html>");
  RadioRig rig({server.Address("/page")});
  rig.Connect();
  ASSERT_TRUE(rig.AwaitState(State::kFailed));
  EXPECT_EQ(rig.Label("Status"), "Failed!!");
  EXPECT_EQ(rig.rack.Out(*rig.module, "Left"), 0.0f);
  rig.rack.MoveControl(*rig.module, "Down", 1.0f);
  EXPECT_EQ(rig.module->Station(), 99);
  EXPECT_EQ(rig.Label("Status"), "") << "the failure was another station's";
  rig.rack.MoveControl(*rig.module, "Connect", 1.0f);
  EXPECT_EQ(rig.Label("Status"), "...Empty...");
  EXPECT_EQ(rig.Label("Name"), "...Empty...");
  rig.rack.MoveControl(*rig.module, "Up", 1.0f);
  EXPECT_EQ(rig.module->Station(), 1);
  EXPECT_EQ(rig.Label("Name"), "A name");
  EXPECT_EQ(rig.Label("Status"), "");
}

TEST(S313InternetRadio, SaysThatItStoresWhileASlowStationHasRunDry) {
  WebServer server;
  server.Stream("/slow", "audio/mpeg", SineFile("mp3", 2.0, 440.0), After::kPause);
  RadioRig rig({server.Address("/slow")});
  rig.module->player.times.stall = 60s;
  const auto awaitStatus = [&rig](const std::string& status) {
    return rig.Await([&](const auto&) { return rig.Label("Status") == status; });
  };
  rig.Connect();
  ASSERT_TRUE(awaitStatus("Playing"));
  rig.rack.Run(3 * 48000);
  EXPECT_TRUE(awaitStatus("Buffering"));
  EXPECT_EQ(rig.module->player.Shown().state, State::kPlaying) << "the connection stands";
  server.Resume();
  EXPECT_TRUE(awaitStatus("Playing"));
}

TEST(S313InternetRadio, ConnectsAgainAfterADropWithGrowingPauses) {
  WebServer server;
  server.Stream("/live", "audio/mpeg", SineFile("mp3", 1.0, 440.0), After::kAgain);
  RadioRig rig({server.Address("/live")});
  rig.Connect();
  ASSERT_TRUE(rig.AwaitState(State::kPlaying));
  server.SetDown(true);
  ASSERT_TRUE(rig.AwaitState(State::kReconnecting));
  std::vector<std::string> said;
  const int before = server.Requests("/live");
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(rig.Await([&](const RadioPlayer::Display& shown) {
    if (said.empty() || said.back() != shown.status) said.push_back(shown.status);
    return server.Requests("/live") >= before + 3;
  }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 500ms) << "200 ms and 400 ms between them";
  EXPECT_NE(std::find(said.begin(), said.end(), "Connection lost, next try in 1 s"), said.end());
  server.SetDown(false);
  EXPECT_TRUE(rig.AwaitState(State::kPlaying));
}

TEST(S313InternetRadio, GoesAtOnceWhileItsConnectionHangs) {
  WebServer server;
  server.Hang("/hang");
  server.Stream("/stall", "audio/mpeg", SineFile("mp3", 1.0, 440.0), After::kSilence);
  server.Stream("/live", "application/ogg", SineFile("ogg", 1.0, 440.0), After::kSilence);
  for (const int station : {1, 2, 3}) {
    auto rig = std::make_unique<RadioRig>(
        std::vector<std::string>{server.Address("/hang"), server.Address("/stall"),
                                 "http://192.0.2.1/", server.Address("/live")});
    rig->module->player.times = {20s, 20s, 1s, 1s, 60s};
    rig->Connect(station);
    std::this_thread::sleep_for(100ms);
    // Another station need not wait for the one that hangs.
    rig->Connect(4);
    EXPECT_TRUE(rig->AwaitState(State::kPlaying));
    rig->Connect(station);
    std::this_thread::sleep_for(100ms);
    const auto start = std::chrono::steady_clock::now();
    rig.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << station;
  }
}

TEST(S313InternetRadio, KeepsItsStationAsANumber) {
  RadioRig rig({});
  rig.rack.SetControl(*rig.module, "Station", 42.0f);
  const std::vector<std::byte> saved = rig.rack.SavedPreset(*rig.module);
  std::int32_t station = 0;
  ASSERT_GE(saved.size(), sizeof station);
  std::memcpy(&station, saved.data() + saved.size() - sizeof station, sizeof station);
  EXPECT_EQ(station, 42);
  auto& twin = static_cast<S313InternetRadio&>(rig.rack.Add("S313 Internet Radio"));
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(twin.Station(), 42);
  EXPECT_EQ(twin.player.Shown().state, State::kIdle) << "a preset opens no connection";
  // A station of a longer list than there is here is kept until the user chooses another.
  const float digits = 150.0f;
  station = 150;
  std::vector<std::byte> longer = saved;
  std::memcpy(longer.data(), &digits, sizeof digits);
  std::memcpy(longer.data() + longer.size() - sizeof station, &station, sizeof station);
  for (int round = 0; round < 2; ++round) {
    twin.LoadPreset(longer.data(), static_cast<int>(longer.size()), 1000);
    EXPECT_EQ(twin.Station(), 150);
    EXPECT_EQ(rig.rack.Control(twin, "Station").getValue(), 99.0f);
    longer = rig.rack.SavedPreset(twin);
  }
  rig.rack.MoveControl(twin, "Down", 1.0f);
  EXPECT_EQ(twin.Station(), 98);
}

}  // namespace
}  // namespace halveron::testing
