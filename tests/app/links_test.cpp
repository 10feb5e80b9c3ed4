// What keeps live playing going when cards, servers and ports come and go.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "app/live_host.h"
#include "app/live_sound.h"
#include "app/midi_link.h"
#include "app/sound_link.h"
#include "media/live/device_error.h"
#include "platform/user_error.h"
#include "tests/support/dummy_server.h"

namespace halveron {
namespace {

using platform::UserError;

bool WaitUntil(const std::function<bool()>& done, double seconds = 20) {
  const double end = LiveHost::Now() + seconds;
  while (!done()) {
    if (LiveHost::Now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

/// A card that the test plays by hand.
class FakeCard final : public media::SoundOutput {
 public:
  explicit FakeCard(int rate) : rate_(rate) {}

  const std::string& Name() const override { return name_; }
  std::string System() const override { return "fake"; }
  int Rate() const override { return rate_; }
  int BlockSize() const override { return 64; }
  int Inputs() const override { return 0; }
  int Outputs() const override { return 1; }
  void Start(Process process) override {
    if (!starts) throw UserError("", "", "the sound device does not start");
    process_ = std::move(process);
    isRunning = true;
  }
  void Stop() override { isRunning = false; }
  bool IsRunning() const override { return isRunning; }
  std::int64_t FramesPlayed() const override { return frames; }

  void PlayBlock() {
    float block[64];
    float* outs[] = {block};
    process_(nullptr, 0, outs, 1, 64);
    frames += 64;
  }

  bool starts = true;
  bool isRunning = false;
  std::int64_t frames = 0;

 private:
  std::string name_ = "Fake card";
  int rate_;
  Process process_;
};

class SoundLinkTest : public ::testing::Test {
 protected:
  void SetUp() override { host.Start(); }

  SoundLink::Opener Open() {
    return [this](const std::string& system) -> std::unique_ptr<media::SoundOutput> {
      const std::lock_guard guard(lock);
      askedSystem = system;
      ++searches;
      if (offeredRate == 0) throw UserError("", "", "there is no sound card");
      auto card = std::make_unique<FakeCard>(offeredRate);
      card->starts = offeredStarts;
      return card;
    };
  }
  void Offer(int rate, bool starts = true) {
    const std::lock_guard guard(lock);
    offeredRate = rate;
    offeredStarts = starts;
  }
  bool HasSearchedAgain() {
    const int before = searches;
    return WaitUntil([&] {
      link->Poll(now += 1);
      return searches >= before + 2;
    });
  }
  bool PlaysInSilence() {
    const auto position = host.Position();
    return WaitUntil([&] { return host.Position() > position; });
  }
  FakeCard& Card() { return const_cast<FakeCard&>(dynamic_cast<const FakeCard&>(*link->Card())); }

  LiveHost host{{48000, 64, true, SongPosition(120.0)}, UserFiles::kLeaveAlone};
  std::mutex lock;
  std::string askedSystem;
  std::atomic<int> searches = 0;
  int offeredRate = 0;
  bool offeredStarts = true;
  double now = 100;
  std::unique_ptr<SoundLink> link;
};

TEST_F(SoundLinkTest, TakesACardThatAppears) {
  link = std::make_unique<SoundLink>(host, nullptr, Open(), 64);
  EXPECT_NE(link->Notice(), "");
  EXPECT_TRUE(PlaysInSilence());
  EXPECT_TRUE(HasSearchedAgain());
  EXPECT_EQ(link->Card(), nullptr);
  EXPECT_EQ(askedSystem, "") << "any will do";

  Offer(44100, false);
  EXPECT_TRUE(HasSearchedAgain());
  EXPECT_EQ(link->Card(), nullptr);
  EXPECT_TRUE(PlaysInSilence()) << "a card that does not start";

  Offer(44100);
  ASSERT_TRUE(WaitUntil([&] { return link->Poll(now += 1); }));
  ASSERT_NE(link->Card(), nullptr);
  EXPECT_EQ(link->Notice(), "");
  EXPECT_EQ(host.SampleRate(), 44100);
  EXPECT_EQ(host.Plugin().getSampleRate(), 44100.0f);
  const auto position = host.Position();
  Card().PlayBlock();
  EXPECT_EQ(host.Position(), position + 64) << "only the card plays";
}

TEST_F(SoundLinkTest, NoticesACardThatEndsStallsOrRaces) {
  const double framesPerSecond[] = {0, 48000, 48000 * 40};
  for (const double speed : framesPerSecond) {
    Offer(0);
    auto card = std::make_unique<FakeCard>(48000);
    link = std::make_unique<SoundLink>(host, std::move(card), Open(), 64);
    const bool ends = speed == 48000;
    // A card in time stays, whatever its thread does between two looks.
    for (int i = 0; i < 20; ++i) {
      Card().frames += 48000;
      EXPECT_FALSE(link->Poll(now += 1)) << i;
    }
    Card().isRunning = !ends;
    bool hasGone = false;
    for (int i = 0; i < 7 && !hasGone; ++i) {
      Card().frames += static_cast<std::int64_t>(speed);
      hasGone = link->Poll(now += 1);
    }
    ASSERT_TRUE(hasGone) << speed;
    EXPECT_NE(link->Notice().find("\"Fake card\" has gone"), std::string::npos);
    EXPECT_TRUE(PlaysInSilence());
    Offer(48000);
    ASSERT_TRUE(WaitUntil([&] { return link->Poll(now += 1); }));
    EXPECT_EQ(askedSystem, "fake") << "another sound system could keep this one from returning";
    EXPECT_EQ(link->Notice(), "");
    link = nullptr;
  }
}

TEST(FadeOut, EndsWithoutAStepWithin10Ms) {
  FadeOut fade;
  std::vector<float> left(960, 1.0f), right(960, -0.5f);
  float* outs[] = {left.data(), right.data()};
  fade.Apply(outs, 2, 480, 48000);
  EXPECT_EQ(left[479], 1.0f) << "not yet";
  fade.Begin();
  float* later[] = {left.data() + 400, right.data() + 400};
  fade.Apply(later, 2, 500, 48000);
  for (std::size_t i = 400; i < 900; ++i) {
    EXPECT_LE(std::abs(left[i] - left[i - 1]), 1.0f / 479) << i;
    EXPECT_EQ(right[i], left[i] * -0.5f);
  }
  EXPECT_EQ(left[890], 0.0f);
  EXPECT_TRUE(fade.IsDone());
}

TEST_F(SoundLinkTest, EndsAtOnceWhateverItWaitsFor) {
  const auto isSearching = std::make_shared<std::atomic<bool>>(false);
  const SoundLink::Opener slow =
      [isSearching](const std::string&) -> std::unique_ptr<media::SoundOutput> {
    *isSearching = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    throw UserError("", "", "there is no sound card");
  };
  constexpr int kLongBlock = 1 << 17;  // 2.7 s
  link = std::make_unique<SoundLink>(host, nullptr, slow, kLongBlock);
  ASSERT_TRUE(WaitUntil([&] {
    link->Poll(now += 1);
    return isSearching->load();
  }));
  const double began = LiveHost::Now();
  link = nullptr;
  EXPECT_LT(LiveHost::Now() - began, 1.2) << "less than either wait";
}

TEST_F(SoundLinkTest, SurvivesTheEndOfItsSoundServer) {
  DummyServer server;
  if (!server.Start()) GTEST_SKIP() << "jackd is not installed";
  const SoundLink::Opener open = [](const std::string&) {
    media::SoundCard::Settings settings;
    settings.system = "jack";
    return std::make_unique<media::SoundCard>(settings);
  };
  link = std::make_unique<SoundLink>(host, nullptr, open, 64);
  const auto hasCard = [&] {
    link->Poll(LiveHost::Now());
    return link->Card() != nullptr;
  };
  if (!WaitUntil(hasCard)) GTEST_SKIP() << "jackd does not run here";
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(host.SampleRate(), 44100);
    EXPECT_TRUE(WaitUntil([&] { return link->Card()->FramesPlayed() > 2048; }));
    server.End();
    ASSERT_TRUE(WaitUntil([&] { return !hasCard(); })) << round;
    EXPECT_TRUE(PlaysInSilence());
    ASSERT_TRUE(server.Start());
    ASSERT_TRUE(WaitUntil(hasCard)) << round;
  }
  // Before the server, whose end would close the same stream from a thread of its own.
  link = nullptr;
}

TEST(DeviceError, NamesTheOptionToTheCommandAndTheFieldToTheDialog) {
  using media::DeviceChoice;
  const media::DeviceError busy(DeviceChoice::kDevice, "it is busy", "close others");
  EXPECT_STREQ(busy.what(),
               "--device: it is busy; close others, or see halveron play --list-devices");
  EXPECT_EQ(DialogWords(busy),
            "it is busy; close others, or choose another under \"Sound Device\"");
  for (const auto choice : {DeviceChoice::kDevice, DeviceChoice::kRate, DeviceChoice::kMidiInput,
                            DeviceChoice::kMidiOutput}) {
    const media::DeviceError error(choice, "it is not there");
    EXPECT_EQ(std::string(error.what()).substr(0, 2), "--");
    EXPECT_EQ(DialogWords(error).find("--"), std::string::npos) << DialogWords(error);
  }
  EXPECT_EQ(DialogWords(UserError("", "", "it does not start")), "it does not start");
}

/// A machine's ports, which come and go as the test likes.
struct FakePorts {
  MidiInputSource Source() {
    MidiInputSource source;
    source.openOwn = [this] { return hasMidi ? std::make_shared<int>() : nullptr; };
    source.names = [this] { return names; };
    source.open = [this](const std::string& wanted) {
      for (const std::string& name : names) {
        if (name.find(wanted) == std::string::npos || name == busy) continue;
        opened.push_back(name);
        return MidiLinkPort{name, std::make_shared<int>()};
      }
      throw UserError("", "", "there is no MIDI input");
    };
    return source;
  }

  bool hasMidi = true;
  std::string busy;
  std::vector<std::string> names;
  std::vector<std::string> opened;
};

using Names = std::vector<std::string>;

TEST(MidiLink, TakesEveryPortThatAppearsButLoops) {
  FakePorts ports;
  ports.hasMidi = false;
  MidiLink link(ports.Source(), {});
  EXPECT_FALSE(link.Poll());
  EXPECT_EQ(link.Names(), Names{});
  ports.hasMidi = true;
  ports.names = {"Midi Through 14:0", "Keys 20:0", "Halveron:Output 129:0", "Pads 24:0"};
  ports.busy = "Pads 24:0";
  EXPECT_TRUE(link.Poll());
  EXPECT_EQ(link.Names(), (Names{"Halveron", "Keys 20:0"}));
  EXPECT_FALSE(link.Poll());
  ports.busy = "";
  EXPECT_TRUE(link.Poll());
  EXPECT_EQ(link.Names(), (Names{"Halveron", "Keys 20:0", "Pads 24:0"}));
  ports.names.erase(ports.names.begin() + 1);
  EXPECT_TRUE(link.Poll());
  EXPECT_EQ(link.Names(), (Names{"Halveron", "Pads 24:0"}));
  EXPECT_EQ(ports.opened, (Names{"Keys 20:0", "Pads 24:0"})) << "each once";
  link.Reopen();
  EXPECT_EQ(link.Names(), (Names{"Halveron", "Pads 24:0"}));
  EXPECT_EQ(ports.opened.size(), 3u);
}

TEST(MidiLink, TakesOnlyNamedPortsAndTakesThemAgain) {
  FakePorts ports;
  ports.names = {"Keys 20:0", "Pads 24:0"};
  EXPECT_THROW(MidiLink(ports.Source(), {"Organ"}), UserError);
  MidiLink link(ports.Source(), {"Pads"});
  EXPECT_EQ(link.Names(), (Names{"Halveron", "Pads 24:0"}));
  ports.names = {"Keys 20:0"};
  EXPECT_TRUE(link.Poll());
  EXPECT_EQ(link.Names(), Names{"Halveron"});
  ports.names = {"Keys 20:0", "Pads 28:0"};  // at another address
  EXPECT_TRUE(link.Poll());
  EXPECT_EQ(link.Names(), (Names{"Halveron", "Pads 28:0"}));

  ports.names = {"Keys 2", "Pads 3"};
  MidiLink numbered(ports.Source(), {"3"});
  ports.names = {"Organ 1", "Synth 33"};
  EXPECT_TRUE(numbered.Poll());
  EXPECT_EQ(numbered.Names(), Names{"Halveron"}) << "another port has the number now";
}

TEST(LiveSound, OffersEveryMidiInputButOurOwn) {
  FakePorts ports;
  ports.names = {"Midi Through 14:0", "Keys 20:0", "Halveron:Output 129:0",
                 "Halveron-2:Output 130:0"};
  MidiLink midi(ports.Source(), {});
  LiveHost host({48000, 64, true, SongPosition(120.0)}, UserFiles::kLeaveAlone);
  SoundLink sound(
      host, nullptr,
      [](const std::string&) -> std::unique_ptr<media::SoundOutput> {
        throw UserError("", "", "there is no sound card");
      },
      64);
  LiveSound control(host, sound, midi, {}, [](const std::string&) {});
  control.LookForDevices();
  const auto groups = control.Groups();
  const auto inputs = std::find_if(groups.begin(), groups.end(),
                                   [](const auto& group) { return group.title == "MIDI Inputs"; });
  ASSERT_NE(inputs, groups.end());
  Names offered;
  for (const SoundControl::Choice& choice : inputs->choices) offered.push_back(choice.text);
  EXPECT_EQ(offered, (Names{"All", "Midi Through 14:0", "Keys 20:0"}));
}

}  // namespace
}  // namespace halveron
