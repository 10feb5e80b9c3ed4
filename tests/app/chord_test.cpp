// A chord of sixteen notes from a MIDI file, one voice each.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "app/run_command.h"
#include "media/audio_file.h"
#include "tests/support/song_file.h"

namespace halveron::testing {
namespace {

// One triangle a voice, summed; the gates of all voices on host channel 3.
constexpr const char* kPatch = R"({"halveron": 1, "voices": 16, "modules": [
  {"id": "host", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
  {"id": "deal", "name": "SD05 MIDI Poly Chainer"},
  {"id": "midi", "name": "SD02 MIDI-CV/Sync"},
  {"id": "vco", "name": "S310 VCO"}, {"id": "amp", "name": "S400 Dual VCA"},
  {"id": "out", "name": "SA02 2 DAW", "controls": {"Left gain": 0.2}},
  {"id": "gates", "name": "SA12 Audio/CV To DAW"}], "cables": [
  {"from": "host.MIDI", "to": "deal.MIDI in"}, {"from": "deal.MIDI out 1", "to": "midi.MIDI in"},
  {"from": "midi.Pitch", "to": "vco.Pitch"}, {"from": "vco.Triangle", "to": "amp.In 1"},
  {"from": "midi.Gate", "to": "amp.CV 1"}, {"from": "amp.Out 1", "to": "out.Left"},
  {"from": "midi.Gate", "to": "gates.1"}]})";

constexpr int kRate = 48000;
constexpr int kNotes = 16;
constexpr int KeyOf(int note) { return 48 + 2 * note; }

/// Amplitude at a frequency over a Hann window.
double AmplitudeAt(const std::vector<float>& wave, std::size_t first, double frequency) {
  constexpr std::size_t kLength = 48000;
  double re = 0.0, im = 0.0;
  for (std::size_t i = 0; i < kLength; ++i) {
    const double window = 0.5 - 0.5 * std::cos(2 * M_PI * i / kLength);
    re += wave[first + i] * window * std::cos(2 * M_PI * frequency * i / kRate);
    im += wave[first + i] * window * std::sin(2 * M_PI * frequency * i / kRate);
  }
  return std::hypot(re, im) * 4.0 / kLength;
}

TEST(Chord, SixteenNotesOfAMidiFileSoundInSixteenVoices) {
  ScratchFolder folder;
  SongTrack track;
  for (int note = 0; note < kNotes; ++note) track.Add(0, {0x90, KeyOf(note), 100});
  for (int note = 0; note < kNotes; ++note) {
    track.Add(note == 0 ? 960 * 2 : 0, {0x80, KeyOf(note), 0});
  }
  const std::string midi = folder.Write("chord.mid", SongHeader(1, 480, 0) + track.Chunk());
  const std::string patch = folder.Write("chord.json", kPatch);
  const std::string wav = folder.At("chord.wav");
  const std::vector<const char*> argv{"halveron", "render",     patch.c_str(),
                                      "--midi",   midi.c_str(), "--channels",
                                      "3",        "-o",         wav.c_str()};
  std::ostringstream out, err;
  ASSERT_EQ(RunCommand(static_cast<int>(argv.size()), argv.data(), out, err), 0) << err.str();

  media::AudioFileReader reader(wav, 3);
  std::vector<float> frames(static_cast<std::size_t>(reader.Frames()) * 3);
  ASSERT_EQ(reader.Read(frames.data(), reader.Frames()), reader.Frames());
  std::vector<float> left, gates;
  for (std::size_t i = 0; i < frames.size(); i += 3) {
    left.push_back(frames[i]);
    gates.push_back(frames[i + 2]);
  }
  // All gates are up within a few samples, and down after the last note.
  EXPECT_EQ(gates[100], kNotes);
  EXPECT_EQ(gates.back(), 0.0f);
  // The triangle's first harmonic is 8 / pi^2, doubled by the amplifier, under a gain of 0.04.
  const double expected = 8.0 / (M_PI * M_PI) * 2.0 * 0.04;
  for (int note = 0; note < kNotes; ++note) {
    const double frequency = 261.62558 * std::exp2((KeyOf(note) - 60) / 12.0);
    EXPECT_NEAR(AmplitudeAt(left, 24000, frequency), expected, 0.15 * expected) << KeyOf(note);
    EXPECT_LT(AmplitudeAt(left, 24000, frequency * std::exp2(1.0 / 12.0)), 0.15 * expected)
        << "between the notes there are third harmonics at most";
  }
}

}  // namespace
}  // namespace halveron::testing
