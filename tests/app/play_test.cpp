#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "app/live_host.h"
#include "app/message_queue.h"
#include "app/run_command.h"
#include "editor/known_modules.h"
#include "presets/text_patch.h"
#include "tests/app/played.h"
#include "tests/support/display/test_display.h"
#include "tests/support/dummy_server.h"
#include "tests/support/song_file.h"

namespace halveron {
namespace {

using halveron::testing::Convert;
using halveron::testing::Played;
using halveron::testing::ReadFile;
using halveron::testing::ScratchFolder;
using halveron::testing::WaitUntil;

TEST(MessageQueue, KeepsOrderAndBytesBetweenTwoThreads) {
  MessageQueue queue(200);
  constexpr int kMessages = 20000;
  std::thread writer([&queue] {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < kMessages; ++i) {
      bytes.assign(static_cast<std::size_t>(i % 90), static_cast<std::uint8_t>(i));
      while (!queue.Push(i, bytes)) std::this_thread::yield();
    }
  });
  std::uint8_t room[90];
  for (int i = 0; i < kMessages; ++i) {
    std::size_t length = 0;
    double time = -1;
    while (!queue.Peek(time)) std::this_thread::yield();
    ASSERT_EQ(time, i);
    ASSERT_TRUE(queue.Pop(room, length));
    ASSERT_EQ(length, static_cast<std::size_t>(i % 90));
    for (std::size_t k = 0; k < length; ++k) ASSERT_EQ(room[k], static_cast<std::uint8_t>(i));
  }
  writer.join();

  // What finds no room is dropped, what is too long for the reader stays.
  const std::vector<std::uint8_t> large(190);
  EXPECT_FALSE(queue.Push(0, large));
  ASSERT_TRUE(queue.Push(7, std::span(large).first(100)));
  std::size_t length = 0;
  EXPECT_FALSE(queue.Pop(room, length));
  double time = 0;
  EXPECT_TRUE(queue.Peek(time));
  EXPECT_EQ(time, 7);
}

/// A live host with a patch, played by hand: blocks of 480 samples at 48000 Hz, 10 ms each.
class LiveHostTest : public ::testing::Test {
 protected:
  static constexpr int kBlock = 480;
  static constexpr double kSeconds = 0.01;

  void Load(const std::string& text) {
    ApplyTextPatch(ParseTextPatch(text, ""), "", host.Rack(), KnownModules());
    host.Start();
    now = LiveHost::Now() + 1;
    Play();
  }
  /// One block that begins to sound now; its left channel.
  std::vector<float> Play(float input = 0) {
    std::vector<float> in(kBlock, input), left(kBlock, 9), beyond(kBlock, 9);
    const float* ins[] = {in.data()};
    std::vector<float*> outs(14, beyond.data());
    outs[0] = left.data();
    host.Process(ins, 1, outs.data(), 14, kBlock, now);
    EXPECT_EQ(beyond[0], 0);
    now += kSeconds;
    return left;
  }

  LiveHost host{{48000, kBlock, true, SongPosition(120.0)}, UserFiles::kLeaveAlone};
  double now = 0;
};

TEST_F(LiveHostTest, PlaysAMessageOneBlockAfterItCame) {
  Load(R"({"halveron": 1, "modules": [
      {"id": "midi", "name": "SA03 MIDI/Sync From DAW"}, {"id": "keys", "name": "SD02 MIDI-CV/Sync"},
      {"id": "out", "name": "SA02 2 DAW", "controls": {"Left gain": 1}}],
    "cables": [{"from": "midi.MIDI", "to": "keys.MIDI in"}, {"from": "keys.Gate", "to": "out.Left"}]})");
  const auto firstHigh = [](const std::vector<float>& block) {
    return std::find_if(block.begin(), block.end(), [](float v) { return v > 0.25f; }) -
           block.begin();
  };
  const std::uint8_t on[] = {0x90, 60, 100};
  // 4 ms into the block that sounds now.
  host.QueueMessage(on, now - kSeconds + 0.004);
  const auto when = firstHigh(Play());
  EXPECT_NEAR(static_cast<double>(when), 192, 12);
  const std::uint8_t off[] = {0x80, 60, 0};
  // After the next block began: it waits for the one after.
  host.QueueMessage(off, now + 0.001);
  EXPECT_EQ(firstHigh(Play()), 0);
  EXPECT_GT(Play().back(), -0.01f);
  EXPECT_EQ(firstHigh(Play()), kBlock);
}

TEST_F(LiveHostTest, KeepsWhatGoesOutWithinFullScaleAndSendsMessagesOn) {
  std::vector<std::vector<std::uint8_t>> received;
  std::mutex lock;
  host.onMessage = [&](std::span<const std::uint8_t> bytes) {
    const std::lock_guard guard(lock);
    received.emplace_back(bytes.begin(), bytes.end());
  };
  Load(R"({"halveron": 1, "modules": [
      {"id": "in", "name": "SA01 2 From DAW"}, {"id": "out", "name": "SA02 2 DAW", "controls": {"Left gain": 1}},
      {"id": "midi", "name": "SA03 MIDI/Sync From DAW"}, {"id": "send", "name": "SA06 MIDI To DAW"}],
    "cables": [{"from": "in.Left", "to": "out.Left"}, {"from": "midi.MIDI", "to": "send.MIDI"}]})");
  const float nan = std::nanf("");
  for (const float input : {0.5f, 7.0f, -7.0f, nan}) {
    Play(input);
    const float out = Play(input).back();
    EXPECT_EQ(out, std::isnan(input) ? 0 : std::clamp(input, -1.0f, 1.0f));
  }
  const std::vector<std::uint8_t> sysEx = {0xF0, 1, 2, 3, 4, 5, 6, 7, 0xF7};
  host.QueueMessage(sysEx, now - kSeconds);
  // The clock's own messages go out as well.
  const auto hasCome = [&] {
    const std::lock_guard guard(lock);
    return std::find(received.begin(), received.end(), sysEx) != received.end();
  };
  EXPECT_TRUE(TestDisplay::PumpUntil([&] { Play(); }, hasCome));
}

TEST(Play, GoesOnWithoutCardAndWindowUntilInterrupted) {
  const ScratchFolder folder;
  const std::string patch = folder.Write("a.json", R"({"halveron": 1})");
  Played played({patch, "--no-window"}, folder);
  ASSERT_TRUE(WaitUntil([&] { return played.Log().find("Ctrl+C") != std::string::npos; }))
      << played.Log();
  EXPECT_NE(played.Log().find(patch), std::string::npos);
  EXPECT_EQ(played.Status(), -1);
  played.Interrupt();
  int status = -1;
  EXPECT_TRUE(WaitUntil([&] { return (status = played.Status()) != -1; }));
  EXPECT_EQ(status, kExitDone);
}

TEST(Play, ShowsAWindowUntilItIsClosed) {
  HALVERON_NEEDS_DISPLAY(display);
  const ScratchFolder folder;
  Played played({}, folder);
  TestDisplay::WindowId window = 0;
  ASSERT_TRUE(WaitUntil([&] { return (window = display->FindByTitle("Halveron")) != 0; }))
      << played.Log();
  // The rack's own window fills it.
  std::vector<TestDisplay::WindowId> children;
  ASSERT_TRUE(WaitUntil([&] { return !(children = display->ChildrenOf(window)).empty(); }));
  int outer = 0, inner = 0;
  display->GetGeometry(window, nullptr, nullptr, &outer);
  display->GetGeometry(children[0], nullptr, nullptr, &inner);
  EXPECT_EQ(outer, inner);
  EXPECT_GT(outer, 300);
  // A preset that is dropped on the window is the rack's.
  const std::string preset = folder.At("a.hvp");
  Convert(folder.Write("a.json", R"({"halveron": 1})"), preset);
  EXPECT_TRUE(display->DropFiles(window, outer / 2, 150, "file://" + preset + "\r\n", [] {}));
  display->AskToClose(window);
  int status = -1;
  EXPECT_TRUE(WaitUntil([&] { return (status = played.Status()) != -1; })) << played.Log();
  EXPECT_EQ(status, kExitDone);
}

TEST(Play, AsksBeforeChangesGoAndOffersThemAfterAnInterrupt) {
  HALVERON_NEEDS_DISPLAY(display);
  const ScratchFolder folder;
  const std::string patch = folder.Write("a.json", R"({"halveron": 1})");
  const std::string autosaves = folder.At("Documents/Halveron/Autosave");
  constexpr const char* kChanged = "Untitled * - Halveron";
  TestDisplay::WindowId window = 0;
  const auto shows = [&](const char* title) {
    return WaitUntil([&] { return (window = display->FindByTitle(title)) != 0; });
  };
  const auto press = [&](const char* key) {
    display->SetFocus(window);
    display->TypeKey(key);
  };
  {
    Played played({patch}, folder);
    ASSERT_TRUE(shows("Halveron")) << played.Log();
    int x = 0, y = 0, width = 0;
    ASSERT_TRUE(WaitUntil([&] {
      // The button that adds a row is the last but one of the bar; where, depends on the skin.
      display->GetGeometry(window, &x, &y, &width);
      static int step = 0;
      display->Click(x + width - 40 - 4 * (step++ % 12), y + 24);
      return display->FindByTitle(kChanged) != 0;
    })) << played.Log();
    display->AskToClose(window);
    EXPECT_FALSE(TestDisplay::PumpUntil([] {}, [&] { return played.Status() != -1; }));
    press("c");
    played.Interrupt();
    ASSERT_TRUE(WaitUntil([&] { return played.Status() != -1; })) << "it asks nothing then";
    EXPECT_FALSE(std::filesystem::is_empty(autosaves));
  }
  Played next({patch}, folder);
  ASSERT_TRUE(shows("Halveron")) << next.Log();
  ASSERT_TRUE(WaitUntil([&] {
    press("r");
    return display->FindByTitle(kChanged) != 0;
  }));
  display->AskToClose(window);
  int status = -1;
  EXPECT_TRUE(WaitUntil([&] {
    press("d");
    return (status = next.Status()) != -1;
  }));
  EXPECT_EQ(status, kExitDone);
  EXPECT_TRUE(std::filesystem::is_empty(autosaves)) << "what was given up does not come back";
}

TEST(Play, TakesItsSoundFromTheDialogAndKeepsTheChoice) {
  HALVERON_NEEDS_DISPLAY(display);
  DummyServer server;
  if (!server.Start()) GTEST_SKIP() << "jackd is not installed";
  const ScratchFolder folder;
  const std::string patch = folder.Write("a.json", R"({"halveron": 1})");
  const std::string config = folder.At("Documents/Halveron/Config.ini");
  const auto isKept = [&](const std::string& line) {
    return std::filesystem::exists(config) && ReadFile(config).find(line) != std::string::npos;
  };
  TestDisplay::WindowId window = 0;
  {
    Played played({patch}, folder);
    const auto hasCard = [&] { return played.Log().find("at 44100 Hz") != std::string::npos; };
    if (!WaitUntil(hasCard)) GTEST_SKIP() << "jackd does not run here: " << played.Log();
    ASSERT_TRUE(WaitUntil([&] { return (window = display->FindByTitle("Halveron")) != 0; }));
    // From the first field, which has the focus, its list is found by typing.
    const auto choose = [&](const char* system) {
      display->SetFocus(window);
      display->TypeChord("Ctrl+comma");
      display->TypeKey("Return");
      display->TypeText(system);
      display->TypeKey("Return");
    };
    EXPECT_TRUE(WaitUntil([&] {
      choose("jack");
      return isKept("system=jack");
    }));
    // There is no card that another system could play by, and what played before plays on.
    choose("alsa");
    display->TypeKey("Escape");
    display->AskToClose(window);
    ASSERT_TRUE(WaitUntil([&] { return played.Status() != -1; })) << played.Log();
    EXPECT_TRUE(isKept("system=jack")) << ReadFile(config);
  }
  Played next({patch, "--no-window"}, folder);
  EXPECT_TRUE(WaitUntil([&] { return next.Log().find("at 44100 Hz") != std::string::npos; }))
      << next.Log();
}

TEST(Play, RefusesWhatIsNotThere) {
  const ScratchFolder folder;
  const std::string patch = folder.Write("a.json", R"({"halveron": 1})");
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"--device", "no such card"}, "sound"},
      {{"--midi", "no such port"}, "there is no MIDI input \"no such port\""},
      {{"--midi-output", "99"}, "there is no MIDI output \"99\""},
      {{folder.At("missing.json")}, "missing.json"},
      {{folder.At("words.txt")}, "of no known kind"},
      {{"--rate", "12"}, "--rate"},
      {{"--blok", "12"}, "\"--block\""}};
  for (auto [words, part] : cases) {
    words.insert(words.begin(), {"halveron", "play", "--no-window"});
    std::vector<const char*> argv;
    for (const std::string& word : words) argv.push_back(word.c_str());
    std::ostringstream out, err;
    EXPECT_EQ(RunCommand(static_cast<int>(argv.size()), argv.data(), out, err), kExitMisuse);
    EXPECT_NE(err.str().find(part), std::string::npos) << err.str();
    EXPECT_EQ(out.str(), "");
  }
  const char* argv[] = {"halveron", "play", "--list-devices"};
  std::ostringstream out, err;
  EXPECT_EQ(RunCommand(3, argv, out, err), kExitDone);
  EXPECT_NE(out.str().find("MIDI inputs (--midi):\n"), std::string::npos);
  EXPECT_EQ(err.str(), "");
}

}  // namespace
}  // namespace halveron
