#include "modules/sources/S315MiniSampler.h"

#include <chrono>
#include <cstring>
#include <numeric>
#include <random>
#include <thread>

#include "editor/known_modules.h"
#include "media/audio_decoder.h"
#include "platform/file_error.h"
#include "presets/text_patch.h"
#include "tests/gui/input.h"
#include "tests/modules/sources/sampler_bench.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/test_rack.h"
#include "tests/support/window_rig.h"

namespace halveron::testing {
namespace {

std::vector<float> Noise(std::size_t count, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::vector<float> noise(count);
  for (float& value : noise) value = static_cast<float>(random()) / 4294967296.0f - 0.5f;
  return noise;
}

struct Rig {
  Rig() : module(dynamic_cast<S315MiniSampler&>(rack.Add("S315 Mini Sampler VCO"))) {
    rack.Run(64);  // the first run has steps of its own
  }

  void Press(const char* role) {
    rack.MoveControl(module, role, 1.0f);
    rack.MoveControl(module, role, 0.0f);
  }
  void Use(const std::vector<float>& samples, double rate = 48000.0) {
    module.Workshop().Use(BufferOf(samples), rate);
    module.Workshop().Resume();
    Wait();
  }
  void Wait() {
    while (module.Workshop().IsBusy()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    module.Poll();
    rack.Run(64);
  }
  std::vector<float> Sample() const {
    const SampleSet set = module.Workshop().Latest();
    return {set.buffer->Samples(), set.buffer->Samples() + set.buffer->Length()};
  }
  /// The preset data behind the control values.
  std::vector<std::byte> Block() {
    const auto preset = rack.SavedPreset(module);
    return {preset.begin() + module.GetControlValuesSize(), preset.end()};
  }
  void LoadBlock(const std::vector<std::byte>& block) {
    std::vector<std::byte> preset(static_cast<std::size_t>(module.GetControlValuesSize()));
    module.SaveControlValues(reinterpret_cast<float*>(preset.data()));
    preset.insert(preset.end(), block.begin(), block.end());
    module.LoadPreset(preset.data(), static_cast<int>(preset.size()), 1000);
  }
  void Record(const std::vector<float>& samples) {
    rack.MoveControl(module, "Record", 1.0f);
    rack.Feed(module, "In", samples);
    rack.Run(static_cast<int>(samples.size()));
    rack.MoveControl(module, "Record", 0.0f);
  }

  TestRack rack;
  S315MiniSampler& module;
};

template <class T>
T FieldAt(const std::vector<std::byte>& block, std::size_t offset) {
  T value;
  std::memcpy(&value, block.data() + offset, sizeof value);
  return value;
}

TEST(S315MiniSampler, WhatIsRecordedIsSavedAndLoadedAgain) {
  const ScratchFolder folder;
  const std::vector<float> noise = Noise(3000);
  Rig rig;
  rig.rack.Tap(rig.module, "Out");
  rig.Record(noise);
  std::vector<float> sample = rig.Sample();
  EXPECT_EQ(sample.size(), noise.size());
  // The feed takes a step to arrive, so the recording begins with silence.
  const auto begin = std::search(sample.begin(), sample.end(), noise.begin(), noise.begin() + 100);
  ASSERT_LT(begin - sample.begin(), 3);
  EXPECT_TRUE(std::equal(begin, sample.end(), noise.begin()));
  EXPECT_EQ(rig.rack.Control(rig.module, "Record").getValue(), 0.0f);

  // Overdub adds to what is there and leaves the rest.
  rig.rack.MoveControl(rig.module, "Overdub", 1.0f);
  rig.Record(std::vector<float>(1000, 0.25f));
  const std::vector<float> dubbed = rig.Sample();
  ASSERT_EQ(dubbed.size(), sample.size());
  EXPECT_EQ(dubbed[500], sample[500] + 0.25f);
  EXPECT_EQ(dubbed[1500], sample[1500]);

  rig.Press("Root up");
  for (const float format : {1.0f, 0.0f}) {
    rig.rack.MoveControl(rig.module, "Format", format);
    rig.module.Save(folder.At("take.wav"));
    rig.Wait();
    EXPECT_STREQ(rig.module.Message(), "Saved take.wav");
    Rig other;
    other.module.Load(folder.At("take.wav"));
    other.Wait();
    const std::vector<float> loaded = other.Sample();
    ASSERT_EQ(loaded.size(), dubbed.size());
    const double tolerance = format == 1.0f ? 0.0 : std::ldexp(1.0, -23);
    for (std::size_t i = 0; i < loaded.size(); ++i) ASSERT_NEAR(loaded[i], dubbed[i], tolerance);
    EXPECT_NEAR(other.module.Workshop().RootPitch(), 1.0 / 120.0, 1e-9);
    EXPECT_EQ(other.rack.Control(other.module, "Root note").getValue(), 61.0f);
    EXPECT_EQ(other.module.Workshop().Latest().rate, 48000.0);
  }
}

TEST(S315MiniSampler, RecordingGrowsWithoutAnEnd) {
  Rig rig;
  rig.rack.MoveControl(rig.module, "Record", 1.0f);
  rig.rack.FeedConstant(rig.module, "In", 0.5f);
  rig.rack.Run(600000);
  const auto preset = rig.rack.SavedPreset(rig.module);
  EXPECT_EQ(rig.rack.Control(rig.module, "Record").getValue(), 0.0f) << "saving ends it";
  EXPECT_EQ(rig.Sample().size(), 600000u);
  EXPECT_EQ(preset.size(),
            static_cast<std::size_t>(rig.module.GetControlValuesSize()) + 42 + 4 * 600000u);
  rig.rack.Run(100);
  EXPECT_EQ(rig.Sample().size(), 600000u);
}

TEST(S315MiniSampler, AFileWithAKeyPlaysAtItsRateThere) {
  const ScratchFolder folder;
  std::vector<float> ramp(4000);
  std::iota(ramp.begin(), ramp.end(), 1.0f);
  for (const double note : {60.0, 72.5}) {
    {
      media::AudioFileWriter writer(folder.At("ramp.wav"), 2, 24000, 2000,
                                    media::SampleFormat::kFloat32, media::SampleKey{note});
      writer.Write(ramp.data(), 2000);
      writer.Commit();
    }
    Rig rig;
    rig.rack.MoveControl(rig.module, "De-click", 0.0f);
    const std::string path = folder.At("ramp.wav");
    EXPECT_TRUE(rig.module.onDrop(std::span(&path, 1), CPoint(1, 1)));
    rig.Wait();
    ASSERT_EQ(rig.Sample().size(), 2000u);
    EXPECT_EQ(rig.Sample()[1], 3.5f) << "the mean of the channels";
    rig.rack.FeedConstant(rig.module, "Pitch", static_cast<float>((note - 60.0) / 120.0));
    rig.rack.Feed(rig.module, "Gate", std::vector<float>(300, 1.0f));
    rig.rack.Tap(rig.module, "Out");
    rig.rack.Run(300);
    const std::vector<float>& y = rig.rack.Recorded(rig.module, "Out");
    EXPECT_NEAR(y[250] - y[150], 100.0, 0.01) << "half a sample of 2 a step";
  }
}

/// 16-bit samples at 44100 Hz with the chunk of an instrument.
std::string AiffFile(const std::vector<float>& samples, int note, int detune) {
  const auto number = [](std::uint32_t value, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i));
    return text;
  };
  const auto chunk = [&](const char* id, const std::string& data) {
    return id + number(static_cast<std::uint32_t>(data.size()), 4) + data;
  };
  const auto count = static_cast<std::uint32_t>(samples.size());
  const std::string rate("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10);
  std::string sound(8, '\0');
  for (const float x : samples) {
    sound += number(static_cast<std::uint32_t>(std::lround(x * 32767.0f)), 2);
  }
  const std::string instrument = {
      static_cast<char>(note), static_cast<char>(detune), 0, 127, 1, 127};
  return chunk("FORM",
               "AIFF" + chunk("COMM", number(1, 2) + number(count, 4) + number(16, 2) + rate) +
                   chunk("INST", instrument + std::string(14, '\0')) + chunk("SSND", sound));
}

TEST(S315MiniSampler, AnAiffThatIsToBeRaisedPlaysAtItsRateBelowItsNote) {
  const ScratchFolder folder;
  for (const int detune : {0, 20, -30}) {
    folder.Write("a.aiff", AiffFile(Noise(50), 64, detune));
    Rig rig;
    rig.module.Load(folder.At("a.aiff"));
    rig.Wait();
    EXPECT_EQ(rig.Sample().size(), 50u);
    EXPECT_NEAR(rig.module.Workshop().RootPitch(), (64 - 0.01 * detune - 60) / 120.0, 1e-9);
  }
}

TEST(S315MiniSampler, AFileThatCannotBePlayedIsRefusedInOneLine) {
  const ScratchFolder folder;
  Rig rig;
  const std::vector<float> noise = Noise(100);
  rig.Use(noise);
  {
    media::AudioFileWriter writer(folder.At("none.wav"), 1, 44100, 0);
    writer.Commit();
    media::AudioFileWriter good(folder.At("good.wav"), 1, 44100, 100);
    good.Write(noise.data(), 100);
    good.Commit();
  }
  folder.Write("broken.wav", ReadFile(folder.At("good.wav")).substr(0, 200));
  folder.Write("empty.wav", "");
  folder.Write("words.mp3", "no sound at all");
  // A header that promises more than the largest sample, over a hole in the file.
  std::string header = ReadFile(folder.At("good.wav"));
  const auto data = header.find("data");
  const std::uint32_t bytes = 1000000004, riff = bytes + static_cast<std::uint32_t>(data);
  std::memcpy(header.data() + data + 4, &bytes, 4);
  std::memcpy(header.data() + 4, &riff, 4);
  folder.Write("large.wav", header.substr(0, data + 8));
  std::filesystem::resize_file(folder.At("large.wav"), data + 8 + bytes);
  std::string aiff = AiffFile(noise, 60, 0);
  folder.Write("cut.aiff", aiff.substr(0, aiff.size() - 50));
  std::string fast = ReadFile(folder.At("good.wav"));
  const std::uint32_t rate = 300000000;
  std::memcpy(fast.data() + 24, &rate, 4);
  folder.Write("fast.wav", fast);
  const std::pair<const char*, const char*> cases[] = {
      {"none.wav", "no samples"},  {"broken.wav", "ends before"},
      {"empty.wav", "is empty"},   {"words.mp3", "cannot be read as sound"},
      {"large.wav", "too large"},  {"missing.wav", "is not there"},
      {"cut.aiff", "ends before"}, {"fast.wav", "has a rate of 300000000 Hz"}};
  for (const auto& [name, cause] : cases) {
    rig.module.Load(folder.At(name));
    rig.Wait();
    const std::string line = rig.module.Message();
    EXPECT_EQ(line.find(name), 0u) << line;
    EXPECT_NE(line.find(cause), std::string::npos) << line;
    EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    EXPECT_EQ(rig.Sample(), noise) << name;
  }
  rig.module.Save(folder.At("nowhere/x.wav"));
  rig.Wait();
  EXPECT_EQ(std::string(rig.module.Message()).find("x.wav: cannot be written"), 0u);
}

TEST(S315MiniSampler, SelectorsOfferTheFileTypes) {
  const ScratchFolder folder;
  Rig rig;
  rig.Use(Noise(50));
  std::vector<std::string> kinds;
  rig.rack.editor.files.answer = [&](const FileQuestion& question) {
    kinds.clear();
    for (const CFileExtension& kind : question.kinds) kinds.push_back(kind.description);
    return folder.At("a.wav");
  };
  rig.Press("Save");
  EXPECT_EQ(kinds, std::vector<std::string>{"Microsoft wave file"});
  rig.Wait();
  rig.Press("Clear");
  EXPECT_TRUE(rig.Sample().empty());
  rig.Press("Load");
  ASSERT_GE(kinds.size(), 4u);
  EXPECT_EQ(kinds[1], "MPEG 3 audio file");
  EXPECT_EQ(kinds[2], "Ogg Vorbis audio file");
  EXPECT_EQ(kinds[3], "Apple AIFF audio file");
  rig.Wait();
  EXPECT_EQ(rig.Sample(), Noise(50));
}

TEST(S315MiniSampler, ThePresetHoldsTheSample) {
  Rig rig;
  rig.Use(Noise(77), 32000.0);
  rig.Press("Root down");
  rig.rack.MoveControl(rig.module, "Quality", 3.0f / 12.0f);
  rig.Wait();
  const std::vector<std::byte> block = rig.Block();
  ASSERT_EQ(block.size(), 42u + 4 * 77);
  EXPECT_EQ(FieldAt<std::uint8_t>(block, 0), 1);
  EXPECT_EQ(FieldAt<double>(block, 2), -1.0 / 120.0);
  EXPECT_EQ(FieldAt<std::int32_t>(block, 10), 76);
  EXPECT_EQ(FieldAt<double>(block, 14), 0.0);
  EXPECT_EQ(FieldAt<double>(block, 22), 32000.0);
  EXPECT_EQ(FieldAt<float>(block, 42 + 4 * 5), Noise(77)[5]);

  const auto whole = rig.rack.SavedPreset(rig.module);
  Rig other;
  other.module.LoadPreset(whole.data(), static_cast<int>(whole.size()), 1000);
  EXPECT_EQ(other.rack.SavedPreset(other.module), whole);
  EXPECT_EQ(other.rack.Control(other.module, "Root note").getValue(), 59.0f);
  EXPECT_NE(other.module.Workshop().Latest().tables, nullptr) << "ready at once";

  // Cut at every byte: what is whole is taken, the rest stays.
  for (std::size_t size = 0; size <= block.size(); ++size) {
    Rig& cut = other;
    cut.Use({1.0f, 2.0f});
    cut.LoadBlock({block.begin(), block.begin() + static_cast<std::ptrdiff_t>(size)});
    const std::size_t expected = size < 42 ? 2 : (size - 42) / 4;
    ASSERT_EQ(cut.Sample().size(), expected) << size;
    if (size > 46) {
      ASSERT_EQ(cut.Sample()[0], Noise(77)[0]);
    }
  }
  // Fields out of range: the sample stays.
  const auto breakField = [&](std::size_t offset, auto value) {
    std::vector<std::byte> broken = block;
    std::memcpy(broken.data() + offset, &value, sizeof value);
    other.Use({1.0f, 2.0f});
    other.LoadBlock(broken);
    EXPECT_EQ(other.Sample().size(), 2u) << offset;
    other.rack.Run(64);
  };
  breakField(10, std::int32_t{-2});
  breakField(10, std::int32_t{250000000});
  breakField(22, std::nan(""));
  breakField(22, 0.0);
  breakField(2, 1e300);
  breakField(14, std::nan(""));
  std::vector<std::byte> broken = block;
  const float wild[] = {INFINITY, 3e38f};
  std::memcpy(broken.data() + 42, wild, sizeof wild);
  other.LoadBlock(broken);
  EXPECT_EQ(other.Sample()[0], 0.0f);
  EXPECT_EQ(other.Sample()[1], 1e6f);
}

TEST(S315MiniSampler, WhatWasMeasuredIsSavedWholeWhileAnotherIsLoaded) {
  Rig rig;
  SampleWorkshop& workshop = rig.module.Workshop();
  rig.Use(Noise(300));
  workshop.SetRoot(0.1);
  std::vector<std::byte> saved(static_cast<std::size_t>(rig.module.GetPresetSize()));
  workshop.Use(BufferOf(Noise(3000, 2)), 22050.0);
  workshop.SetRoot(0.2);
  rig.module.SavePreset(saved.data(), static_cast<int>(saved.size()));
  Rig other;
  other.module.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  EXPECT_EQ(other.Sample(), Noise(300));
  EXPECT_EQ(other.module.Workshop().Latest().rate, 48000.0);
  EXPECT_DOUBLE_EQ(other.module.Workshop().RootPitch(), 0.1);
  EXPECT_EQ(FieldAt<std::int32_t>(rig.Block(), 10), 2999) << "the next has the new one";
}

TEST(S315MiniSampler, VoicesShareOneSample) {
  TestRack rack;
  auto& module = dynamic_cast<S315MiniSampler&>(rack.Add("S315 Mini Sampler VCO"));
  rack.Add("SD05 MIDI Poly Chainer");
  rack.editor.voices.ApplyVoiceCount(4);
  module.Workshop().Use(BufferOf(std::vector<float>(5000, 0.5f)), 48000.0);
  rack.MoveControl(module, "Looping", 1.0f);
  rack.Tap(module, "Out");
  rack.Run(200);
  for (int v = 1; v < 4; ++v) {
    auto& clone = dynamic_cast<S315MiniSampler&>(*module.GetVoiceModule(v));
    EXPECT_EQ(&clone.Workshop(), &module.Workshop());
  }
  EXPECT_NEAR(rack.Out(module, "Out"), 0.5f, 1e-6);
  // All of them begin a recording at its start.
  rack.MoveControl(module, "Record", 1.0f);
  rack.FeedConstant(module, "In", 0.25f);
  rack.Run(2000);
  rack.MoveControl(module, "Record", 0.0f);
  rack.Run(1);
  for (int v = 0; v < 4; ++v) {
    EXPECT_EQ(rack.Out(*module.GetVoiceModule(v), "Out"), rack.Out(module, "Out")) << v;
  }
  rack.editor.voices.ApplyVoiceCount(2);
  rack.editor.voices.ApplyVoiceCount(16);
  module.Workshop().Use(BufferOf(std::vector<float>(50, -0.5f)), 48000.0);
  rack.Run(200);
  auto* last = dynamic_cast<S315MiniSampler*>(module.GetVoiceModule(15));
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->Workshop().Latest().buffer->Length(), 50);
}

TEST(S315MiniSampler, ButtonsEditTheSample) {
  Rig rig;
  std::vector<float> ramp(1000);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i) / 2000.0f;
  rig.Use(ramp);
  rig.Press("Reverse");
  EXPECT_EQ(rig.Sample().front(), ramp.back());
  rig.Press("Normalise");
  EXPECT_EQ(rig.Sample().front(), 1.0f);
  rig.rack.MoveControl(rig.module, "Start", 0.25f);
  rig.rack.MoveControl(rig.module, "Length", std::cbrt(0.5f));
  const std::vector<float> before = rig.Sample();
  rig.Press("Crop");
  ASSERT_EQ(rig.Sample().size(), 500u);
  EXPECT_EQ(rig.Sample()[0], before[250]);
  EXPECT_EQ(rig.rack.Control(rig.module, "Length").getValue(), 1.0f);

  rig.Use(Tone(20000, 440.0 / 48000.0, 4));
  rig.Press("Tune");
  EXPECT_NEAR(rig.module.Workshop().RootPitch(), 0.075, 1e-4) << "the A, nine semitones up";
  EXPECT_EQ(rig.rack.Control(rig.module, "Root note").getValue(), 69.0f);
  rig.rack.MoveControl(rig.module, "Single cycle", 1.0f);
  rig.Use(Tone(100, 0.01, 4));
  rig.Press("Tune");
  EXPECT_NEAR(rig.module.Workshop().RootPitch(), std::log2(480.0 / 261.62558) / 10.0, 1e-7);
  // At a multiple of the rate as soon, and as well.
  rig.rack.MoveControl(rig.module, "Single cycle", 0.0f);
  rig.Use(Tone(400000, 440.0 / 12288000.0, 4), 12288000.0);
  rig.Press("Tune");
  EXPECT_NEAR(rig.module.Workshop().RootPitch(), 0.075, 1e-4);
  rig.rack.FeedConstant(rig.module, "Pitch", 0.2f);
  rig.rack.Run(10);
  rig.Press("Root from pitch");
  EXPECT_NEAR(rig.module.Workshop().RootPitch(), 0.2, 1e-7);
}

TEST(S315MiniSampler, HandlesMoveTheKnobs) {
  Rig rig;
  rig.Use(Noise(1000));
  rig.rack.MoveControl(rig.module, "Looping", 1.0f);
  SampleScreen& screen = rig.module.Screen();
  const CRect area = screen.getViewSize();
  const auto drag = [&](double from, double to, CCoord y) {
    CPoint press(area.left + from * area.getWidth(), y);
    CPoint move(area.left + to * area.getWidth(), y);
    EXPECT_EQ(screen.onMouseDown(press, CButtonState(kLButton)), kMouseEventHandled);
    screen.onMouseMoved(move, CButtonState(kLButton));
    screen.onMouseUp(move, CButtonState(0));
  };
  const auto value = [&](const char* role) {
    return rig.rack.Control(rig.module, role).getValue();
  };
  drag(1.0, 0.75, area.top + 5);
  EXPECT_NEAR(value("Length"), std::cbrt(0.75), 1e-3);
  drag(0.0, 0.25, area.top + 5);
  EXPECT_NEAR(value("Start"), 0.25, 1e-3);
  EXPECT_NEAR(value("Length"), std::cbrt(0.5), 1e-3) << "the end stays";
  drag(0.25, 0.5, area.bottom - 5);
  EXPECT_NEAR(value("Loop"), 0.5, 1e-3);
  CPoint nowhere(area.left + area.getWidth() * 0.9, area.top + 5);
  EXPECT_EQ(screen.onMouseDown(nowhere, CButtonState(kLButton)), kMouseEventNotHandled);
  screen.onMouseDown(nowhere, CButtonState(kLButton | kDoubleClick));
  EXPECT_TRUE(screen.IsZoomed());
  EXPECT_EQ(FieldAt<std::uint8_t>(rig.Block(), 1), 1);
}

TEST(S315MiniSampler, ClosesAtOnceWhileAWorkerIsBusy) {
  const ScratchFolder folder;
  const std::vector<float> noise = Noise(1 << 22);
  {
    media::AudioFileWriter writer(folder.At("long.wav"), 1, 48000, 1 << 22);
    writer.Write(noise.data(), 1 << 22);
    writer.Commit();
  }
  for (const bool loads : {true, false}) {
    auto rig = std::make_unique<Rig>();
    if (loads) {
      rig->module.Load(folder.At("long.wav"));
    } else {
      rig->module.Workshop().Use(BufferOf(noise), 48000.0);
      rig->rack.MoveControl(rig->module, "Quality", 1.0f);
    }
    EXPECT_TRUE(rig->module.Workshop().IsBusy());
    const auto begin = std::chrono::steady_clock::now();
    rig->rack.editor.RemoveModule(&rig->module, true);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
  }
}

TEST(S315MiniSampler, AStopEndsTheWorkOnAHugeSampleAtOnce) {
  auto buffer = SampleBuffer::Make(40000000);
  ASSERT_TRUE(buffer);
  buffer->SetLength(40000000);
  for (const int delay : {0, 20, 60, 150, 300}) {
    std::stop_source stop;
    std::chrono::steady_clock::time_point end;
    std::thread worker([&] {
      EXPECT_FALSE(BuildSampleTables(*buffer, 44100.0, false, 12, stop.get_token()));
      end = std::chrono::steady_clock::now();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(delay));
    const auto begin = std::chrono::steady_clock::now();
    stop.request_stop();
    worker.join();
    EXPECT_LT(end - begin, std::chrono::seconds(2)) << delay;
  }
}

TEST(S315MiniSampler, ASecondSaveDoesNotEndTheFirst) {
  const ScratchFolder folder;
  Rig rig;
  rig.module.Workshop().Use(BufferOf(std::vector<float>(1 << 23)), 48000.0);
  rig.module.Save(folder.At("first.wav"));
  rig.module.Save(folder.At("second.wav"));
  rig.module.Poll();
  EXPECT_EQ(std::string(rig.module.Message()).find("Still saving"), 0u);
  rig.Wait();
  EXPECT_STREQ(rig.module.Message(), "Saved first.wav");
  EXPECT_GT(std::filesystem::file_size(folder.At("first.wav")), std::size_t{1} << 25);
  EXPECT_FALSE(std::filesystem::exists(folder.At("second.wav")));
}

TEST(S315MiniSampler, AQualityOutlivesTheWindow) {
  WindowRig rig;
  auto& sampler = dynamic_cast<S315MiniSampler&>(rig.Add("S315 Mini Sampler VCO", 0, 0));
  sampler.Workshop().Use(BufferOf(Noise(100)), 48000.0);
  rig.rack.MoveControl(sampler, "Quality", 1.0f);
  EXPECT_EQ(sampler.Workshop().Latest().quality, 0) << "the knob may still turn";
  rig.editor.CloseWindow();
  sampler.Workshop().Finish();
  EXPECT_EQ(sampler.Workshop().Latest().quality, 12);
}

TEST(S315MiniSampler, ATextPatchNamesAFileBesideIt) {
  const ScratchFolder folder;
  const std::vector<float> noise = Noise(40);
  {
    media::AudioFileWriter writer(folder.At("a.wav"), 1, 44100, 40);
    writer.Write(noise.data(), 40);
    writer.Commit();
  }
  const auto patch = [](const std::string& entry) {
    return R"({"halveron": 1, "modules": [{"id": "s", "name": "S315 Mini Sampler VCO", )" + entry +
           "}]}";
  };
  const std::string file = folder.At("patch.json");
  TestRack rack;
  const auto apply = [&](const std::string& entry) {
    ApplyTextPatch(ParseTextPatch(patch(entry), file), file, rack.editor, KnownModules());
  };
  apply(R"("sample": "a.wav", "controls": {"Root note": 48})");
  auto& module = dynamic_cast<S315MiniSampler&>(*rack.editor.modules[0][0]);
  const SampleSet set = module.Workshop().Latest();
  EXPECT_EQ(std::vector<float>(set.buffer->Samples(), set.buffer->Samples() + set.buffer->Length()),
            noise);
  EXPECT_NEAR(module.Workshop().RootPitch(), -0.1, 1e-12) << "no key in the file";
  for (const char* entry : {R"("sample": "none.wav")", R"("sample": 3)", R"("bars": [])"}) {
    EXPECT_THROW(apply(entry), platform::FileError) << entry;
  }
  EXPECT_EQ(dynamic_cast<S315MiniSampler&>(*rack.editor.modules[0][0])
                .Workshop()
                .Latest()
                .buffer->Length(),
            40)
      << "the rack stays";
}

struct TwoSampleFiles {
  TwoSampleFiles() {
    const std::string paths[] = {first, second};
    for (std::size_t i = 0; i < 2; ++i) {
      media::AudioFileWriter writer(paths[i], 1, 44100, 300);
      writer.Write(samples[i].data(), 300);
      writer.Commit();
    }
  }

  const ScratchFolder folder;
  const std::string first = folder.At("a.wav");
  const std::string second = folder.At("b.wav");
  const std::vector<float> samples[2] = {Noise(300, 1), Noise(300, 2)};
};

/// A sampler in a rack with its window.
struct WindowedSampler {
  testing::WindowRig rig;
  S315MiniSampler& module = dynamic_cast<S315MiniSampler&>(rig.Add("S315 Mini Sampler VCO", 0, 0));
  EditHistory& history = rig.editor.history;

  std::vector<float> Sample() const {
    const SampleSet set = module.Workshop().Latest();
    return {set.buffer->Samples(), set.buffer->Samples() + set.buffer->Length()};
  }
  void Load(const std::string& path) {
    module.Load(path);
    while (module.Workshop().IsBusy()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    module.Poll();
    rig.frame.advanceTime(1.0);
    history.Settle();
  }
};

TEST(S315MiniSampler, ALoadedSampleIsUndoneAndOnlyItsChangesAreRead) {
  const TwoSampleFiles files;
  WindowedSampler window;
  EditHistory& history = window.history;
  history.Follow();
  window.Load(files.first);
  window.Load(files.second);
  ASSERT_EQ(history.Steps(), 2u);
  EXPECT_EQ(history.UndoName(), "Change S315 Mini Sampler VCO");
  history.Undo();
  EXPECT_EQ(window.Sample(), files.samples[0]);
  history.Undo();
  EXPECT_TRUE(window.Sample().empty());
  history.Redo();
  history.Redo();
  EXPECT_EQ(window.Sample(), files.samples[1]);

  // A knob leaves the data as they are; each thing that they hold changes them.
  testing::TestRack& rack = window.rig.rack;
  std::uint64_t last = window.module.GetDataRevision();
  const auto isNew = [&] {
    const std::uint64_t before = last;
    last = window.module.GetDataRevision();
    return last != before;
  };
  rack.MoveControl(window.module, "Speed", 0.75f);
  EXPECT_FALSE(isNew());
  for (const char* role : {"Format", "Root note", "Single cycle", "Quality"}) {
    CControl& control = rack.Control(window.module, role);
    rack.MoveControl(window.module, role, control.getValue() == 0.0f ? 1.0f : 0.0f);
    EXPECT_TRUE(isNew()) << role;
  }
  rack.MoveControl(window.module, "Reverse", 1.0f);
  EXPECT_TRUE(isNew());
  window.module.Screen().SetZoomed(true);
  EXPECT_TRUE(isNew());
  EXPECT_FALSE(isNew());
}

TEST(S315MiniSampler, TheLastStepIsUndoneHoweverLargeTheSample) {
  constexpr int kLength = 17 << 20;  // 68 MB, more than the history keeps
  WindowedSampler window;
  EditHistory& history = window.history;
  const auto length = [&] { return window.module.Workshop().Latest().buffer->Length(); };
  auto buffer = SampleBuffer::Make(kLength);
  buffer->SetLength(kLength);
  window.module.Workshop().Use(std::move(buffer), 44100.0);
  history.Follow();
  TestRack& rack = window.rig.rack;
  rack.MoveControl(window.module, "Speed", 0.75f);
  history.Settle();
  ASSERT_EQ(history.Steps(), 1u);
  // A lamp that has changed since is no reason to load the sample again, which cuts the sound.
  CControl& lamp = rack.Control(window.module, "Building");
  lamp.setValue(1.0f);
  const unsigned changes = window.module.Workshop().Changes();
  history.Undo();
  EXPECT_EQ(rack.Control(window.module, "Speed").getValue(), 0.5f);
  EXPECT_EQ(window.module.Workshop().Changes(), changes);
  EXPECT_EQ(lamp.getValue(), 1.0f);

  window.rig.frame.advanceTime(1.0);
  rack.MoveControl(window.module, "Clear", 1.0f);
  history.Settle();
  EXPECT_EQ(length(), 0);
  EXPECT_EQ(history.Steps(), 1u);
  history.Undo();
  EXPECT_EQ(length(), kLength);
}

TEST(S315MiniSampler, AFileThatIsNotReportedYetIsAStepOfItsOwn) {
  const TwoSampleFiles files;
  WindowedSampler window;
  EditHistory& history = window.history;
  history.Follow();
  window.Load(files.first);
  window.module.Load(files.second);
  while (window.module.Workshop().IsBusy()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  window.rig.rack.MoveControl(window.module, "Speed", 0.75f);
  history.Settle();
  window.module.Poll();
  window.rig.frame.advanceTime(1.0);
  history.Settle();
  EXPECT_EQ(history.Steps(), 3u);
  EXPECT_EQ(window.Sample(), files.samples[1]);
  history.Undo();
  EXPECT_EQ(window.Sample(), files.samples[0]);
  EXPECT_EQ(window.rig.rack.Control(window.module, "Speed").getValue(), 0.75f);
}

TEST(S315MiniSampler, GoesOnRecordingWhileTheWindowRuns) {
  testing::WindowRig rig;
  Module& sampler = rig.Add("S315 Mini Sampler VCO", 0, 0);
  CControl& record = rig.rack.Control(sampler, "Record");
  rig.Click(rig.Middle(record));
  for (int i = 0; i < 5; ++i) {
    rig.rack.Run(64);
    rig.editor.Idle();
  }
  EXPECT_EQ(record.getValue(), 1.0f);
  rig.Click(rig.Middle(record));
  rig.editor.Idle();
  EXPECT_EQ(record.getValue(), 0.0f);
}

}  // namespace
}  // namespace halveron::testing
