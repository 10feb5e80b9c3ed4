#include "media/midi_file.h"

#include <gtest/gtest.h>

#include <random>

#include "platform/file_error.h"
#include "tests/support/song_file.h"

namespace halveron::media {
namespace {

using halveron::testing::BigEndian;
using halveron::testing::Quantity;
using halveron::testing::ScratchFolder;
using halveron::testing::SongHeader;
using halveron::testing::SongTrack;

using Bytes = std::vector<std::uint8_t>;

// Ticks: 480 a quarter. 120 to tick 240, 240 to tick 960, then 60, set by two different tracks.
std::string TempoSong() {
  const SongTrack conductor = SongTrack()
                                  .Tempo(0, 500000)
                                  .Add(0, {0xFF, 0x58, 4, 3, 2, 24, 8})
                                  .Tempo(960, 1000000)
                                  .Add(0, {0xFF, 0x01})
                                  .Raw(Quantity(300) + std::string(300, 'x'));
  const SongTrack notes = SongTrack()
                              .Add(0, {0x90, 64, 64})
                              .Add(480, {64, 0})
                              .Add(480, {0x81, 64, 0})
                              .Add(480, {0xC0, 5});
  return SongHeader(3, 480) + conductor.Chunk() + notes.Chunk() +
         SongTrack().Tempo(240, 250000).Chunk(1920);
}

TEST(MidiFile, TimesFollowTheTempoMapOfAllTracks) {
  const ScratchFolder folder;
  const MidiFile midi = ReadMidiFile(folder.Write("song.mid", TempoSong()));

  ASSERT_EQ(midi.tempos.size(), 3u);
  const double seconds[] = {0.0, 0.25, 0.25 + 1.5 * 0.25};
  const double quarters[] = {0.0, 0.5, 2.0};
  const double tempos[] = {120.0, 240.0, 60.0};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(midi.tempos[i].seconds, seconds[i], 1e-12);
    EXPECT_DOUBLE_EQ(midi.tempos[i].quarters, quarters[i]);
    EXPECT_DOUBLE_EQ(midi.tempos[i].tempo, tempos[i]);
    EXPECT_EQ(midi.tempos[i].numerator, 3);
    EXPECT_EQ(midi.tempos[i].denominator, 4);
  }
  // The second message has its status from the one before it.
  const Bytes messages[] = {{0x90, 64, 64}, {0x90, 64, 0}, {0x81, 64, 0}, {0xC0, 5}};
  const double times[] = {0.0, 0.25 + 0.5 * 0.25, 0.625, 1.625};
  ASSERT_EQ(midi.events.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(midi.events[i].bytes, messages[i]) << i;
    EXPECT_NEAR(midi.events[i].seconds, times[i], 1e-12) << i;
    EXPECT_DOUBLE_EQ(midi.events[i].quarters, static_cast<double>(i)) << i;
  }
  EXPECT_NEAR(midi.seconds, 0.625 + 2.5, 1e-12) << "the last track ends at tick 2160";
}

TEST(MidiFile, SystemMessagesComeWholeAndInTheOrderOfTracks) {
  const ScratchFolder folder;
  const SongTrack first = SongTrack()
                              .Add(0, {0xF0, 3, 1, 2, 0xF7})
                              .Add(10, {0xF0, 2, 3, 4})  // in three parts
                              .Add(10, {0xF7, 1, 5})
                              .Add(10, {0xF7, 2, 6, 0xF7})
                              .Add(0, {0xF7, 1, 0xFA})  // a real-time message
                              .Add(0, {0xF0, 1, 7});    // without its end
  const SongTrack second = SongTrack().Add(0, {0x90, 60, 1}).Add(30, {0x80, 60, 1});
  const MidiFile midi = ReadMidiFile(
      folder.Write("song.mid", SongHeader(2, 96) + first.Chunk() + "XYZW" + BigEndian(3, 4) +
                                   "abc" + second.Chunk() + "behind the end"));
  const Bytes expected[] = {{0xF0, 1, 2, 0xF7}, {0x90, 60, 1}, {0xF0, 3, 4, 5, 6, 0xF7}, {0xFA},
                            {0xF0, 7, 0xF7},    {0x80, 60, 1}};
  ASSERT_EQ(midi.events.size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    EXPECT_EQ(midi.events[i].bytes, expected[i]) << i;
  }
  EXPECT_DOUBLE_EQ(midi.events[2].quarters, 30.0 / 96.0) << "at its last part";
}

TEST(MidiFile, WhatIsBrokenIsRefusedWithItsPlace) {
  const ScratchFolder folder;
  const std::string good = TempoSong();
  const std::string header = SongHeader(1, 96);
  struct Case {
    std::string bytes;
    const char* message;
  };
  const Case cases[] = {
      {"", "the file is empty"},
      {"RIFF, or something else of that kind", "header: not a standard MIDI file"},
      {good.substr(0, 10), "header: not a standard MIDI file"},
      {good.substr(0, good.size() - 3), "track 3 reaches beyond the end of the file"},
      {good.substr(0, good.find("MTrk", 20)), "header: announces 3 tracks, but the file has 1"},
      {SongHeader(1, 0xE728) + SongTrack().Chunk(), "header: its time counts SMPTE frames"},
      {SongHeader(1, 0) + SongTrack().Chunk(), "header: a division of 0 ticks"},
      {SongHeader(1, 96, 2) + SongTrack().Chunk(), "header: format 2"},
      {header + "MTrk" + BigEndian(0, 4), "track 1, byte 22: the track ends before"},
      {header + "MTrk" + BigEndian(0x80000000, 4), "byte 14: track 1 reaches beyond"},
      {header + SongTrack().Add(0, {60, 60}).Chunk(), "data without a status byte"},
      {header + SongTrack().Add(0, {0x90, 60, 0x90}).Chunk(), "a status byte within a message"},
      {header + SongTrack().Add(0, {0xF8}).Chunk(), "a byte that begins no event"},
      {header + SongTrack().Add(0, {0xF0, 90, 1}).Chunk(), "an event reaches beyond the end"},
      {header + SongTrack().Tempo(0, 0).Chunk(), "a tempo of 0 microseconds"},
      {header + SongTrack().Raw(std::string(5, '\xFF')).Chunk(), "a length of more than four"},
  };
  for (const Case& broken : cases) {
    const std::string path = folder.Write("broken.mid", broken.bytes);
    try {
      ReadMidiFile(path);
      ADD_FAILURE() << "accepted, but: " << broken.message;
    } catch (const platform::FileError& error) {
      EXPECT_NE(std::string(error.what()).find(path + ": "), std::string::npos);
      EXPECT_NE(std::string(error.what()).find(broken.message), std::string::npos) << error.what();
    }
  }
  EXPECT_THROW(ReadMidiFile(folder.At("missing.mid")), platform::FileError);
}

TEST(MidiFile, DamagedBytesAreReadOrRefusedButNeverMore) {
  const ScratchFolder folder;
  std::mt19937 random(7);
  const std::string good =
      TempoSong() + SongTrack().Add(0, {0xF0, 2, 1, 2}).Add(0, {0xF7, 1, 0xF7}).Chunk();
  int read = 0;
  for (int round = 0; round < 600; ++round) {
    std::string bytes = good;
    for (int change = 0; change < 3; ++change) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
      if (random() % 8 == 0) bytes.erase(random() % bytes.size(), 1);
    }
    try {
      const MidiFile midi = ReadMidiFile(folder.Write("damaged.mid", bytes));
      for (const MidiFileEvent& event : midi.events) ASSERT_FALSE(event.bytes.empty());
      ++read;
    } catch (const platform::FileError&) {
    }
  }
  EXPECT_GT(read, 50) << "the damage is too great to test what comes after the first checks";
}

}  // namespace
}  // namespace halveron::media
