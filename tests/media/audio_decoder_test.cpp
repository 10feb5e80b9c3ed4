#include "media/audio_decoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "media/audio_file.h"
#include "media/ffmpeg_decoder.h"
#include "platform/file_error.h"
#include "tests/support/scratch_folder.h"

namespace halveron::media {
namespace {

using halveron::testing::ReadFile;
using halveron::testing::ScratchFolder;

std::vector<float> Sine(std::size_t count) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i] = 0.9f * static_cast<float>(std::sin(0.05 * static_cast<double>(i)));
  }
  return samples;
}

template <class T>
void Append(std::string& bytes, T value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// A file of the SoX program's own format, which FFmpeg alone knows of the two.
std::string SoxFile(const std::vector<float>& samples, int channels, double rate) {
  std::string bytes = ".SoX";
  Append(bytes, std::uint32_t{28});  // of the header, without the name
  Append(bytes, std::uint64_t{samples.size()});
  Append(bytes, rate);
  Append(bytes, static_cast<std::uint32_t>(channels));
  Append(bytes, std::uint32_t{0});
  for (const float sample : samples) {
    Append(bytes, static_cast<std::int32_t>(std::lround(sample * 2147483647.0)));
  }
  return bytes;
}

std::vector<float> ReadAll(AudioDecoder& decoder, std::int64_t block) {
  std::vector<float> all;
  std::vector<float> part(static_cast<std::size_t>(block * decoder.Channels()));
  while (const std::int64_t got = decoder.Read(part.data(), block)) {
    all.insert(all.end(), part.begin(), part.begin() + got * decoder.Channels());
  }
  return all;
}

TEST(AudioDecoder, ReadsWhatEitherLibraryKnows) {
  const ScratchFolder folder;
  const std::vector<float> sine = Sine(20000);
  {
    AudioFileWriter writer(folder.At("a.wav"), 2, 44100, 10000);
    writer.Write(sine.data(), 10000);
    writer.Commit();
  }
  folder.Write("a.sox", SoxFile(sine, 2, 22050));
  for (const auto& [name, rate] : {std::pair{"a.wav", 44100}, std::pair{"a.sox", 22050}}) {
    const auto decoder = OpenAudioFile(folder.At(name));
    EXPECT_EQ(decoder->Channels(), 2) << name;
    EXPECT_EQ(decoder->SampleRate(), rate) << name;
    EXPECT_NEAR(static_cast<double>(decoder->Frames()), 10000, 1) << name;
    const std::vector<float> read = ReadAll(*decoder, 333);
    ASSERT_EQ(read.size(), sine.size()) << name;
    for (std::size_t i = 0; i < sine.size(); ++i) ASSERT_NEAR(read[i], sine[i], 1e-7) << name;
  }
}

TEST(AudioDecoder, AWrittenKeyIsReadAgainToAThousandthOfACent) {
  const ScratchFolder folder;
  for (const double note : {0.0, 60.0, 61.23456, 127.5}) {
    for (const SampleFormat format : {SampleFormat::kFloat32, SampleFormat::kInteger24}) {
      const SampleKey key{note, SampleKey::Loop{10, 499}};
      AudioFileWriter writer(folder.At("key.wav"), 1, 44100, 500, format, key);
      std::vector<float> samples = Sine(500);
      samples[7] = 1.5f;
      writer.Write(samples.data(), 500);
      writer.Commit();
      const auto decoder = OpenAudioFile(folder.At("key.wav"));
      ASSERT_TRUE(decoder->RootNote()) << note;
      EXPECT_NEAR(*decoder->RootNote(), note, 1e-5);
      const std::vector<float> read = ReadAll(*decoder, 500);
      ASSERT_EQ(read.size(), 500u);
      const bool isFloat = format == SampleFormat::kFloat32;
      EXPECT_NEAR(read[7], isFloat ? 1.5f : 1.0f, 1e-6) << "limited, not wrapped round";
      EXPECT_NEAR(read[300], samples[300], isFloat ? 0.0 : std::ldexp(0.5, -23));
    }
  }
  AudioFileWriter writer(folder.At("plain.wav"), 1, 44100, 1);
  const float sample = 0;
  writer.Write(&sample, 1);
  writer.Commit();
  EXPECT_FALSE(OpenAudioFile(folder.At("plain.wav"))->RootNote());
}

TEST(AudioDecoder, RefusesWhatIsNoSound) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.At("folder"));
  folder.Write("empty.wav", "");
  folder.Write("words.mp3", "no sound at all, only words");
  folder.Write("noise.ogg", std::string(5000, '\x7f'));
  folder.Write("cut.sox", SoxFile(Sine(100), 1, 44100).substr(0, 20));
  folder.Write("wide.sox", SoxFile(Sine(650), 65, 44100));
  // A list that leads to a device must not be followed.
  folder.Write("list.m3u8",
               "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\nhttp://127.0.0.1:9/\n");
  for (const char* name : {"empty.wav", "folder", "missing.wav", "words.mp3", "noise.ogg",
                           "cut.sox", "wide.sox", "list.m3u8"}) {
    try {
      OpenAudioFile(folder.At(name));
      ADD_FAILURE() << name << " was accepted";
    } catch (const platform::FileError& error) {
      EXPECT_EQ(std::string(error.what()).find(folder.At(name)), 0u) << error.what();
    }
  }
}

TEST(AudioDecoder, AStopEndsTheReading) {
  const ScratchFolder folder;
  folder.Write("a.sox", SoxFile(Sine(100000), 1, 44100));
  {
    AudioFileWriter writer(folder.At("a.wav"), 1, 44100, 100000);
    writer.Write(Sine(100000).data(), 100000);
    writer.Commit();
  }
  for (const char* name : {"a.sox", "a.wav"}) {
    std::stop_source stop;
    const auto decoder = OpenAudioFile(folder.At(name), stop.get_token());
    float samples[10];
    EXPECT_EQ(decoder->Read(samples, 10), 10);
    stop.request_stop();
    EXPECT_THROW(decoder->Read(samples, 10), platform::FileError) << name;
  }
}

}  // namespace
}  // namespace halveron::media
