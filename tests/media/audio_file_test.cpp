#include "media/audio_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/file_error.h"
#include "tests/support/scratch_folder.h"

namespace halveron::media {
namespace {

using halveron::testing::ReadFile;
using halveron::testing::ScratchFolder;

std::vector<float> Ramp(std::size_t count) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i) samples[i] = static_cast<float>(i) * 0.37f - 40.0f;
  return samples;
}

void WriteWave(const std::string& path, const std::vector<float>& samples, int channels) {
  const auto frames = static_cast<std::int64_t>(samples.size()) / channels;
  AudioFileWriter writer(path, channels, 44100, frames);
  writer.Write(samples.data(), frames / 2);
  writer.Write(samples.data() + frames / 2 * channels, frames - frames / 2);
  writer.Commit();
}

TEST(AudioFile, WhatIsWrittenIsReadAgainAndDependsOnTheSamplesAlone) {
  const ScratchFolder folder;
  const std::vector<float> samples = Ramp(3000);
  WriteWave(folder.At("a.wav"), samples, 3);
  WriteWave(folder.At("b.wav"), samples, 3);
  const std::string bytes = ReadFile(folder.At("a.wav"));
  EXPECT_EQ(bytes, ReadFile(folder.At("b.wav")));
  EXPECT_EQ(bytes.find("PEAK"), std::string::npos) << "that chunk holds the time of day";
  EXPECT_EQ(folder.Names().size(), 2u) << "nothing is left beside the files";

  AudioFileReader reader(folder.At("a.wav"), 10);
  EXPECT_EQ(reader.Channels(), 3);
  EXPECT_EQ(reader.SampleRate(), 44100);
  EXPECT_EQ(reader.Frames(), 1000);
  std::vector<float> back(3000);
  EXPECT_EQ(reader.Read(back.data(), 1000), 1000);
  EXPECT_EQ(back, samples) << "above full scale as well";
  EXPECT_EQ(reader.Read(back.data(), 1000), 0);
}

TEST(AudioFile, TheTargetIsReplacedByCommitAlone) {
  const ScratchFolder folder;
  const std::string path = folder.Write("take.wav", "precious");
  std::filesystem::create_symlink(path, folder.At("link.wav"));
  {
    AudioFileWriter writer(folder.At("link.wav"), 1, 48000, 3);
    writer.Write(Ramp(3).data(), 3);
  }
  EXPECT_EQ(ReadFile(path), "precious");
  EXPECT_EQ(folder.Names().size(), 2u);
  WriteWave(folder.At("link.wav"), Ramp(4), 1);
  EXPECT_EQ(ReadFile(path).substr(0, 4), "RIFF");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.At("link.wav")));
}

TEST(AudioFile, LongTakesHaveTheHeaderOfSixtyFourBits) {
  const ScratchFolder folder;
  AudioFileWriter writer(folder.At("long.wav"), 12, 48000, std::int64_t{1} << 28);
  writer.Commit();
  EXPECT_EQ(ReadFile(folder.At("long.wav")).substr(0, 4), "RF64");
}

TEST(AudioFile, ReadsWhatAProgramWroteIntoAPipe) {
  const ScratchFolder folder;
  WriteWave(folder.At("good.wav"), Ramp(100), 1);
  const std::string good = ReadFile(folder.At("good.wav"));
  const std::size_t size = good.find("data") + 4;
  // Sizes of which nobody knew how large they would be.
  for (const std::string sizeOfStream :
       {"\xFF\xFF\xFF\xFF", "\xFF\xFF\xFF\x7F", "\xDB\xFF\xFF\xFF"}) {
    std::string streamed = good;
    streamed.replace(4, 4, "\xFF\xFF\xFF\xFF").replace(size, 4, sizeOfStream);
    folder.Write("streamed.wav", streamed);
    AudioFileReader reader(folder.At("streamed.wav"), 2);
    std::vector<float> samples(200);
    ASSERT_EQ(reader.Read(samples.data(), 200), 100);
    samples.resize(100);
    EXPECT_EQ(samples, Ramp(100));
  }
}

TEST(AudioFile, WhatCannotBeUsedIsRefused) {
  const ScratchFolder folder;
  WriteWave(folder.At("wide.wav"), Ramp(11), 11);
  WriteWave(folder.At("good.wav"), Ramp(1000), 1);
  folder.Write("cut.wav", ReadFile(folder.At("good.wav")).substr(0, 2000));
  folder.Write("text.wav", "no sound at all, only words");
  folder.Write("empty.wav", "");
  std::vector<float> broken = Ramp(100);
  broken[71] = std::numeric_limits<float>::quiet_NaN();
  WriteWave(folder.At("nan.wav"), broken, 2);
  struct Case {
    const char* name;
    const char* message;
  };
  const Case cases[] = {
      {"wide.wav", "header: 11 channels, of which at most 10 can be taken"},
      {"cut.wav", "data: the file ends before its samples do"},
      {"text.wav", "cannot be read as a sound file"},
      {"empty.wav", "cannot be read as a sound file"},
      {"missing.wav", "No such file"},
      {"nan.wav", "frame 35, channel 2: the sample is no finite number"},
  };
  for (const Case& bad : cases) {
    try {
      AudioFileReader reader(folder.At(bad.name), 10);
      float samples[200];
      reader.Read(samples, 100);
      ADD_FAILURE() << bad.name << " was accepted";
    } catch (const platform::FileError& error) {
      const std::string line = error.what();
      EXPECT_NE(line.find(folder.At(bad.name)), std::string::npos) << line;
      EXPECT_NE(line.find(bad.message), std::string::npos) << line;
    }
  }
  EXPECT_THROW(AudioFileWriter(folder.At("none/x.wav"), 1, 48000, 1), platform::FileError);
  EXPECT_THROW(AudioFileWriter(folder.At(""), 1, 48000, 1), platform::FileError);
}

}  // namespace
}  // namespace halveron::media
