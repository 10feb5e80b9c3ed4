#include "media/midi_file_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/file_error.h"
#include "tests/support/scratch_folder.h"

namespace halveron::media {
namespace {

using halveron::testing::ScratchFolder;

TEST(MidiFileWriter, WhatItWritesIsReadBack) {
  const ScratchFolder folder;
  MidiFile file;
  file.tempos = {{0.0, 0.0, 120.0, 3, 4}, {1.0, 2.0, 60.0, 6, 8}};
  std::vector<std::uint8_t> dump(300, 0x11);
  dump.front() = 0xF0;
  dump.back() = 0xF7;
  const std::vector<std::vector<std::uint8_t>> messages = {
      {0x90, 60, 100}, {0xC5, 7}, dump, {0xF8}, {0xF2, 1, 2}, {0xE0, 0, 64}, {0x80, 60, 0}};
  for (std::size_t i = 0; i < messages.size(); ++i) {
    file.events.push_back({0.0, static_cast<double>(i / 2) + 1.0 / 960, messages[i]});
  }
  file.quarters = 10.0;
  WriteMidiFile(folder.At("song.mid"), file);

  const MidiFile read = ReadMidiFile(folder.At("song.mid"));
  ASSERT_EQ(read.events.size(), messages.size());
  for (std::size_t i = 0; i < messages.size(); ++i) {
    EXPECT_EQ(read.events[i].bytes, messages[i]) << i;
    EXPECT_DOUBLE_EQ(read.events[i].quarters, file.events[i].quarters) << i;
  }
  ASSERT_EQ(read.tempos.size(), 2u);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_DOUBLE_EQ(read.tempos[i].quarters, file.tempos[i].quarters);
    EXPECT_NEAR(read.tempos[i].tempo, file.tempos[i].tempo, 1e-9);
    EXPECT_EQ(read.tempos[i].numerator, file.tempos[i].numerator);
    EXPECT_EQ(read.tempos[i].denominator, file.tempos[i].denominator);
  }
  EXPECT_DOUBLE_EQ(read.quarters, 10.0);
}

TEST(MidiFileWriter, WhatCannotBeWrittenLeavesNothingBehind) {
  const ScratchFolder folder;
  MidiFile file;
  file.tempos = {{0.0, 0.0, 120.0, 4, 4}};
  EXPECT_THROW(WriteMidiFile(folder.At("nowhere/song.mid"), file), platform::FileError);
  std::filesystem::create_directory(folder.At("song.mid"));
  EXPECT_THROW(WriteMidiFile(folder.At("song.mid"), file), platform::FileError);
  EXPECT_TRUE(std::filesystem::is_empty(folder.At("song.mid")));
}

}  // namespace
}  // namespace halveron::media
