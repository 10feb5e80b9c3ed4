#include "presets/preset_format.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace halveron {
namespace {

using Bytes = std::vector<std::byte>;

/// Bytes as a reader of the layout would lay them down by hand.
class ByteList {
 public:
  ByteList& Int(std::int32_t value) { return Raw(&value, 4); }
  ByteList& Real(float value) { return Raw(&value, 4); }
  ByteList& Flag(int value) { return Raw(&value, 1); }
  ByteList& Text(const char* text) { return Raw(text, std::strlen(text) + 1); }
  Bytes bytes;

 private:
  ByteList& Raw(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    bytes.insert(bytes.end(), first, first + size);
    return *this;
  }
};

// Where things stand in SmallBytes.
constexpr std::size_t kVersionAt = 0, kRowsAt = 8, kLargestAt = 12, kFactorAt = 16, kFilterAt = 20;
constexpr std::size_t kModulesAt = 24, kPointsAt = 28, kVoicesAt = 32, kHighestAt = 36;
constexpr std::size_t kAuthorAt = 40, kDescriptionAt = 47, kNameAt = 52, kModuleAt = 66;
constexpr std::size_t kModulePointsAt = kModuleAt + 12, kXAt = kModuleAt + 16;
constexpr std::size_t kFlagAt = kModuleAt + 24, kBandlimitAt = kModuleAt + 26;
constexpr std::size_t kClipAt = kModuleAt + 30, kMonoAt = kModuleAt + 34;
constexpr std::size_t kDataAt = kModuleAt + 35, kIndicesAt = kDataAt + 8;
constexpr std::size_t kCablesAt = kIndicesAt + 16, kCableAt = kCablesAt + 12;

Bytes SmallBytes() {
  ByteList list;
  list.Int(2211).Int(28).Int(3).Int(12).Int(4).Int(2).Int(1).Int(2).Int(8).Int(1);
  list.Int(3).Text("Me").Int(1).Text("");
  list.Int(3).Text("VC").Int(3).Text("Ca");
  list.Int(31).Int(1001).Int(3).Int(2).Int(24).Int(291).Flag(1).Flag(0).Int(0).Real(2.0f).Flag(1);
  list.Int(4).Real(0.5f).Int(12).Int(0).Int(1).Int(7);
  list.Int(8).Int(1).Int(12).Int(0).Int(1).Int(7);
  return list.bytes;
}

PresetDocument SmallDocument() {
  PresetDocument document;
  document.oversamplingFactor = 4;
  document.oversamplingFilter = 2;
  document.voices = 8;
  document.highestParameterIndex = 1;
  document.author = "Me";
  PresetModule module{"VC", "Ca", 1001, 3, 2, 24, 291, true, false, 0, 2.0f, true, {}, {0, 1, 7}};
  module.data.resize(4);
  constexpr float kKnob = 0.5f;
  std::memcpy(module.data.data(), &kKnob, sizeof(kKnob));
  document.modules.push_back(module);
  document.cables.push_back({0, 1, 7});
  return document;
}

PresetDocument RichDocument() {
  PresetDocument document = SmallDocument();
  document.rows = 40;
  document.description = "Two lines,\nof \xC3\xBCmlauts";
  document.pathPrefix = "Leads/Sharp.hvp";
  document.modules[0].x = -3;
  document.modules.push_back({"S310 VCO",
                              "Calderine",
                              1,
                              5,
                              4,
                              4000,
                              11349,
                              false,
                              true,
                              -1,
                              -1.0f,
                              false,
                              Bytes(777, std::byte{0xFF}),
                              {2, 3, 4, 5, 1234567890}});
  document.modules.push_back({"", "", -1, 0, 0, 0, 0, true, false, 1, 0.0f, false, {}, {}});
  for (int colour = 1; colour <= 7; ++colour) document.cables.push_back({5, colour - 1, colour});
  document.cables.pop_back();
  return document;
}

void PutInt(Bytes& bytes, std::size_t at, std::int32_t value) {
  ASSERT_LE(at + 4, bytes.size());
  std::memcpy(bytes.data() + at, &value, 4);
}

void Erase(Bytes& bytes, std::size_t at, std::ptrdiff_t count) {
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  bytes.erase(first, first + count);
}

PresetDocument MustRead(const Bytes& bytes, PresetForm form) {
  const PresetReadResult read = ReadPreset(bytes, form);
  EXPECT_TRUE(read.document) << read.error.message;
  return read.document.value_or(PresetDocument{});
}

PresetError MustRefuse(const Bytes& bytes, PresetForm form = PresetForm::kFile) {
  const PresetReadResult read = ReadPreset(bytes, form);
  EXPECT_FALSE(read.document);
  return read.error;
}

TEST(PresetFormat, LaysOutEveryByte) {
  EXPECT_EQ(WritePreset(SmallDocument(), PresetForm::kFile), SmallBytes());
  const PresetDocument read = MustRead(SmallBytes(), PresetForm::kFile);
  EXPECT_EQ(read, SmallDocument());
  EXPECT_EQ(read.largestBlock, 12);
  EXPECT_EQ(read.patchPointCount, 2);

  PresetDocument chunk = SmallDocument();
  chunk.pathPrefix = "a/b.hvp";
  Bytes expected = ByteList().Text("a/b.hvp").bytes;
  const Bytes file = SmallBytes();
  expected.insert(expected.end(), file.begin(), file.end());
  EXPECT_EQ(WritePreset(chunk, PresetForm::kChunk), expected);

  ByteList empty;
  empty.Int(2211).Int(28).Int(3).Int(0).Int(1).Int(1).Int(0).Int(0).Int(1).Int(-1);
  empty.Int(1).Text("").Int(0).Int(8).Int(0).Int(12);
  const PresetDocument emptyRack = MustRead(empty.bytes, PresetForm::kFile);
  EXPECT_TRUE(emptyRack.hasAuthorBytes);
  EXPECT_FALSE(emptyRack.hasDescriptionBytes);
  EXPECT_EQ(WritePreset(emptyRack, PresetForm::kFile), empty.bytes);
}

TEST(PresetFormat, GivesBackWhatWasWritten) {
  const PresetDocument rich = RichDocument();
  const Bytes chunk = WritePreset(rich, PresetForm::kChunk);
  const PresetDocument read = MustRead(chunk, PresetForm::kChunk);
  EXPECT_EQ(read, rich);
  EXPECT_EQ(read.largestBlock, 777);
  EXPECT_EQ(read.patchPointCount, 6);
  EXPECT_EQ(WritePreset(read, PresetForm::kChunk), chunk);

  PresetDocument file = rich;
  file.pathPrefix.reset();
  EXPECT_EQ(MustRead(WritePreset(rich, PresetForm::kFile), PresetForm::kFile), file);
}

TEST(PresetFormat, ReadsEveryVersion) {
  for (const int version : {0, 1299, 1300, 1999, 2000, 2001, 2211}) {
    SCOPED_TRACE(version);
    Bytes bytes = SmallBytes();
    PutInt(bytes, kVersionAt, version);
    PresetDocument expected = SmallDocument();
    expected.version = version;
    // From the back, so that the places before stay.
    if (version < 2000) {
      Erase(bytes, kMonoAt, 1);
      expected.modules[0].mono.reset();
    }
    if (version < 1300) {
      Erase(bytes, kClipAt, 4);
      expected.modules[0].clipLevel.reset();
    }
    if (version < 2001) {
      Erase(bytes, kHighestAt, 4);
      expected.highestParameterIndex.reset();
    }
    if (version < 2000) {
      Erase(bytes, kVoicesAt, 4);
      expected.voices = 1;
    }
    EXPECT_EQ(MustRead(bytes, PresetForm::kFile), expected);
    EXPECT_EQ(WritePreset(expected, PresetForm::kFile), bytes);
  }
  // As many modules as fit into so few bytes: none is taken for one too many.
  for (const int version : {1299, 1999, 2211}) {
    PresetDocument crowded = SmallDocument();
    crowded.version = version;
    crowded.cables.clear();
    PresetModule least;
    least.clipLevel = 1.0f;
    least.mono = true;
    crowded.modules.assign(100, least);
    EXPECT_EQ(MustRead(WritePreset(crowded, PresetForm::kFile), PresetForm::kFile).modules.size(),
              100u);
  }
}

TEST(PresetFormat, TellsALaterVersionFromWhatIsNoPreset) {
  Bytes later = SmallBytes();
  PutInt(later, kVersionAt, 2212);
  PutInt(later, kVoicesAt, -5);  // what follows the header may have changed its meaning
  EXPECT_EQ(MustRefuse(later).fault, PresetFault::kLaterVersion);
  EXPECT_NE(MustRefuse(later).message.find("version 2212 is later than 2211"), std::string::npos);
  EXPECT_EQ(MustRefuse(ByteList().Int(2212).bytes).fault, PresetFault::kTruncated);
  for (const std::size_t at : {kRowsAt, kLargestAt, kFactorAt, kModulesAt}) {
    Bytes broken = later;
    PutInt(broken, at, -1);
    EXPECT_EQ(MustRefuse(broken).fault, PresetFault::kNotAPreset) << at;
  }
  const std::pair<std::string, const char*> texts[] = {
      {"hello\n", "is not a preset version"},
      {"{\"halveron\": 1}\n", "it is a text patch; `halveron convert` makes a preset of it"}};
  for (const auto& [text, expected] : texts) {
    const auto bytes = std::as_bytes(std::span(text));
    const PresetError notAPreset = MustRefuse(Bytes(bytes.begin(), bytes.end()));
    EXPECT_EQ(notAPreset.fault, PresetFault::kNotAPreset) << text;
    EXPECT_NE(notAPreset.message.find(expected), std::string::npos) << notAPreset.message;
  }
}

TEST(PresetFormat, RefusesWhateverIsCutShort) {
  for (const PresetForm form : {PresetForm::kFile, PresetForm::kChunk}) {
    const Bytes whole = WritePreset(RichDocument(), form);
    for (std::size_t size = 0; size < whole.size(); ++size) {
      // A block of its own, so that a read beyond its end is seen.
      const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
      const PresetError error = MustRefuse(cut, form);
      ASSERT_EQ(error.fault, PresetFault::kTruncated) << size << ": " << error.message;
      ASSERT_LE(error.offset, size);
    }
  }
}

TEST(PresetFormat, RefusesWhatDoesNotHoldTogether) {
  constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kNotANumber = 0x7FC00000, kInfinity = 0x7F800000;
  constexpr auto kInconsistent = PresetFault::kInconsistent, kTruncated = PresetFault::kTruncated;
  struct Case {
    std::size_t at;
    std::int32_t value;
    PresetFault fault;
    const char* expected;
  };
  const Case cases[] = {
      {kVersionAt, -1, PresetFault::kNotAPreset, "-1 is not a preset version"},
      {kRowsAt, 0, kInconsistent, "rows is 0, not 1 to 10000 (byte 8)"},
      {kRowsAt, 10001, kInconsistent, "rows is 10001"},
      {kLargestAt, -1, kInconsistent, "largest block is -1"},
      {kLargestAt, 11, kInconsistent, "modules[0]: index block of 12 bytes is above"},
      {kLargestAt, kHuge, kTruncated, "largest block is 2147483647, but only"},
      {kFactorAt, 0, kInconsistent, "oversampling factor is 0"},
      {kFactorAt, 3, kInconsistent, "oversampling factor 3 is no power of two"},
      {kFactorAt, 512, kInconsistent, "oversampling factor is 512"},
      {kFilterAt, 20, kInconsistent, "oversampling filter is 20"},
      {kFilterAt, -1, kInconsistent, "oversampling filter is -1"},
      {kModulesAt, -1, kInconsistent, "module count is -1"},
      {kModulesAt, kHuge, kTruncated, "module count"},
      {kPointsAt, 1, kInconsistent, "the modules have 2 patch points, not 1"},
      {kPointsAt, 3, kInconsistent, "the modules have 2 patch points, not 3"},
      {kPointsAt, kHuge, kTruncated, "patch point count"},
      {kVoicesAt, 0, kInconsistent, "voices is 0"},
      {kVoicesAt, 17, kInconsistent, "voices is 17"},
      {kHighestAt, -2, kInconsistent, "highest parameter index is -2"},
      {kHighestAt, 1000, kInconsistent, "highest parameter index is 1000"},
      {kAuthorAt, -1, kInconsistent, "author is -1"},
      {kAuthorAt, 2, kInconsistent, "author has no end"},
      {kAuthorAt, kHuge, kTruncated, "author"},
      {kDescriptionAt, kHuge, kTruncated, "description"},
      {kModulePointsAt, -1, kInconsistent, "modules[0]: patch point count is -1"},
      {kModulePointsAt, 4, kInconsistent, "modules[0]: 4 patch points have only 3 indices"},
      {kXAt, (1 << 24) + 1, kInconsistent, "modules[0]: x is 16777217"},
      {kXAt + 4, -(1 << 24) - 1, kInconsistent, "modules[0]: y is -16777217"},
      {kFlagAt, 2, kInconsistent, "modules[0]: oversampled is neither on nor off"},
      {kBandlimitAt, 2, kInconsistent, "modules[0]: bandlimit mode is 2"},
      {kClipAt, kNotANumber, kInconsistent, "modules[0]: clip level is not finite"},
      {kClipAt, kInfinity, kInconsistent, "modules[0]: clip level is not finite"},
      {kDataAt, -1, kInconsistent, "modules[0]: preset data is -1"},
      {kDataAt, 13, kInconsistent, "modules[0]: preset data of 13 bytes is above"},
      {kDataAt, kHuge, kTruncated, "modules[0]: preset data"},
      {kIndicesAt, 10, kInconsistent, "modules[0]: index block is not a list of 32-bit numbers"},
      {kCablesAt + 4, -1, kInconsistent, "cable count is -1"},
      {kCablesAt + 4, 2, kTruncated, "cable count is 2"},
      {kCablesAt + 4, 0, kInconsistent, "12 bytes follow the last cable"},
      {kCableAt, -1, kInconsistent, "cables[0]: from is -1 of 2 patch points"},
      {kCableAt + 4, 2, kInconsistent, "cables[0]: to is 2 of 2 patch points"},
      {kCableAt + 8, 0, kInconsistent, "cables[0]: colour is 0, not 1 to 7"},
      {kCableAt + 8, 8, kInconsistent, "cables[0]: colour is 8"},
  };
  for (const Case& wrong : cases) {
    Bytes bytes = SmallBytes();
    PutInt(bytes, wrong.at, wrong.value);
    const PresetError error = MustRefuse(bytes);
    EXPECT_EQ(error.fault, wrong.fault) << wrong.expected;
    EXPECT_NE(error.message.find(wrong.expected), std::string::npos) << error.message;
    EXPECT_NE(error.message.find("(byte " + std::to_string(error.offset) + ")"), std::string::npos);
  }
}

TEST(PresetFormat, IgnoresWhatNothingDependsOn) {
  Bytes bytes = SmallBytes();
  constexpr std::size_t kControlsAt = kModuleAt + 8;
  for (const std::size_t at :
       {std::size_t{4}, kNameAt, kNameAt + 7, kModuleAt, kCablesAt, kCablesAt + 8}) {
    PutInt(bytes, at, -77);
  }
  EXPECT_EQ(WritePreset(MustRead(bytes, PresetForm::kFile), PresetForm::kFile), SmallBytes());
  PutInt(bytes, kControlsAt, -1);
  EXPECT_EQ(MustRead(bytes, PresetForm::kFile).modules[0].controlCount, -1);

  bytes = SmallBytes();
  PutInt(bytes, kLargestAt, 20);
  EXPECT_EQ(MustRead(bytes, PresetForm::kFile), SmallDocument());

  // A text ends where it is read to, even if more was kept behind it.
  bytes = SmallBytes();
  bytes[kAuthorAt + 5] = std::byte{0};
  EXPECT_EQ(MustRead(bytes, PresetForm::kFile).author, "M");
}

TEST(PresetFormat, PutsThePathBeforeAChunkOnly) {
  PresetDocument document = SmallDocument();
  const auto writtenPath = [&](const std::string& path) {
    document.pathPrefix = path;
    return *MustRead(WritePreset(document, PresetForm::kChunk), PresetForm::kChunk).pathPrefix;
  };
  EXPECT_EQ(writtenPath(""), "");
  EXPECT_EQ(writtenPath(std::string(519, 'p')), std::string(519, 'p'));
  EXPECT_EQ(writtenPath(std::string(520, 'p')), std::string(519, 'p'));
  // Cut before a letter of two bytes, not within it.
  EXPECT_EQ(writtenPath(std::string(518, 'p') + "\xC3\xBC"), std::string(518, 'p'));

  Bytes padded = WritePreset(document, PresetForm::kChunk);
  padded.resize(padded.size() + 9);
  EXPECT_EQ(MustRead(padded, PresetForm::kChunk).modules, document.modules);
  Bytes longFile = SmallBytes();
  longFile.push_back(std::byte{0});
  EXPECT_EQ(MustRefuse(longFile).fault, PresetFault::kInconsistent);

  const Bytes endless(600, std::byte{'p'});
  EXPECT_EQ(MustRefuse(endless, PresetForm::kChunk).fault, PresetFault::kInconsistent);
  document.pathPrefix = "p";
  Bytes later = WritePreset(document, PresetForm::kChunk);
  PutInt(later, 2, 9999);
  EXPECT_EQ(MustRefuse(later, PresetForm::kChunk).fault, PresetFault::kLaterVersion);
}

TEST(PresetFormat, WritesNothingThatCouldNotBeRead) {
  const auto refuses = [](auto&& spoil) {
    PresetDocument document = SmallDocument();
    spoil(document);
    EXPECT_THROW(WritePreset(document, PresetForm::kFile), std::invalid_argument);
  };
  refuses([](PresetDocument& d) { d.version = 2212; });
  refuses([](PresetDocument& d) { d.voices = 17; });
  refuses([](PresetDocument& d) { d.oversamplingFactor = 6; });
  refuses([](PresetDocument& d) { d.highestParameterIndex.reset(); });
  refuses([](PresetDocument& d) { d.modules[0].mono.reset(); });
  refuses(
      [](PresetDocument& d) { d.modules[0].clipLevel = std::numeric_limits<float>::quiet_NaN(); });
  refuses([](PresetDocument& d) { d.modules[0].name.assign(520, 'n'); });
  refuses([](PresetDocument& d) { d.modules[0].patchPointCount = 4; });
  refuses([](PresetDocument& d) { d.cables[0].to = 2; });
  EXPECT_THROW(WritePreset(SmallDocument(), PresetForm::kChunk), std::invalid_argument);
}

}  // namespace
}  // namespace halveron
