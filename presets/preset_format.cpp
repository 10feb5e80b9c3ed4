#include "presets/preset_format.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "framework/byte_io.h"
#include "framework/cable.h"
#include "framework/oversampling_filters.h"
#include "framework/rack_limits.h"
#include "presets/midi_block.h"

namespace halveron {

namespace {

constexpr int kHeaderSize = 28;
/// Higher numbers are not versions; the first four characters of a text, for example, are far
/// above.
constexpr int kLastPlausibleVersion = 99'999;
constexpr const char* kTextPatch = "it is a text patch; `halveron convert` makes a preset of it";
constexpr int kModuleNumbersSize = 31;
constexpr int kCableHeaderSize = 8;
constexpr int kCableSize = 12;
constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

/// Whether what stands for the version are the first characters of a text patch.
bool BeginsATextPatch(int version) { return (version & 0xFF) == '{'; }

/// Thrown to end a read.
struct Refusal {
  PresetError error;
};

/// The current record, for messages.
class Place {
 public:
  void Enter(const char* list, std::size_t index) {
    list_ = list;
    index_ = index;
  }
  void Leave() { list_ = nullptr; }
  std::string Text() const {
    return list_ ? std::string(list_) + "[" + std::to_string(index_) + "]: " : std::string();
  }

 private:
  const char* list_ = nullptr;
  std::size_t index_ = 0;
};

/// Reads the fields that a layout names from bytes.
class Source {
 public:
  explicit Source(std::span<const std::byte> bytes) : reader_(bytes.data(), bytes.size()) {}

  Place place;

  /// `complaint` builds the message, on failure only.
  template <class Complaint>
  void Require(bool holds, Complaint&& complaint,
               PresetFault fault = PresetFault::kInconsistent) const {
    if (!holds) Refuse(fault, complaint());
  }

  void Integer(const char* name, int& value, int least = kLowest, int most = kHighest) {
    Take(name, value);
    Require(value >= least && value <= most, [&] {
      return std::string(name) + " is " + std::to_string(value) + ", not " + std::to_string(least) +
             " to " + std::to_string(most);
    });
  }

  void Constant(const char* name, int) {
    int ignored = 0;
    Take(name, ignored);
  }

  void Version(int& version) {
    Take("version", version);
    Require(
        version >= 0 && version <= kLastPlausibleVersion,
        [&] {
          return BeginsATextPatch(version) ? std::string(kTextPatch)
                                           : std::to_string(version) + " is not a preset version";
        },
        PresetFault::kNotAPreset);
    if (version > kPresetVersion) RefuseLater(version);
  }

  /// A number of records that follow, each of at least so many bytes.
  void Count(const char* name, int& count, std::size_t leastBytesEach) {
    Integer(name, count, 0);
    Require(
        static_cast<std::size_t>(count) <= reader_.Remaining() / leastBytesEach,
        [&] {
          return std::string(name) + " is " + std::to_string(count) + ", but only " +
                 std::to_string(reader_.Remaining()) + " bytes follow";
        },
        PresetFault::kTruncated);
  }

  void Flag(const char* name, bool& flag) {
    unsigned char byte = 0;
    Take(name, byte);
    Require(byte <= 1, [&] { return std::string(name) + " is neither on nor off"; });
    flag = byte == 1;
  }

  void Real(const char* name, float& value) {
    Take(name, value);
    Require(std::isfinite(value), [&] { return std::string(name) + " is not finite"; });
  }

  template <class T>
  T& Present(const char*, std::optional<T>& value) {
    value = T{};
    return *value;
  }

  /// Text up to its NUL; the size before it is ignored.
  void Name(const char* name, std::string& text) {
    Constant(name, 0);
    Path(name, text);
  }

  void Path(const char* name, std::string& text) {
    at_ = reader_.Position();
    const bool isWhole = reader_.Remaining() >= kMostPresetTextBytes;
    const auto taken = reader_.TakeString(kMostPresetTextBytes);
    if (!taken) {
      Refuse(isWhole ? PresetFault::kInconsistent : PresetFault::kTruncated,
             std::string(name) + " has no end");
    }
    text = *taken;
  }

  /// Text in a field of the size before it.
  void SizedText(const char* name, std::string& text, bool& hasBytes) {
    SizedText(name, text, hasBytes, nullptr);
  }

  /// The same, and the controllers that may stand behind the text's NUL.
  void SizedText(const char* name, std::string& text, bool& hasBytes,
                 std::vector<PresetMidiBinding>* midi) {
    int size = 0;
    Count(name, size, 1);
    hasBytes = size > 0;
    if (!hasBytes) return;
    const auto bytes = reader_.Take(static_cast<std::size_t>(size));
    const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
    Require(end != bytes.end(), [&] { return std::string(name) + " has no end"; });
    text.assign(reinterpret_cast<const char*>(bytes.data()),
                static_cast<std::size_t>(end - bytes.begin()));
    if (midi && end != bytes.end()) *midi = ReadMidiBlock({end + 1, bytes.end()});
  }

  template <class T>
  void Block(const char* name, std::vector<T>& block, int largestBlock) {
    int size = 0;
    Count(name, size, 1);
    Require(size <= largestBlock, [&] {
      return std::string(name) + " of " + std::to_string(size) +
             " bytes is above the largest block of " + std::to_string(largestBlock);
    });
    const auto bytes = reader_.Take(static_cast<std::size_t>(size));
    Require(bytes.size() % sizeof(T) == 0,
            [&] { return std::string(name) + " is not a list of 32-bit numbers"; });
    block.resize(bytes.size() / sizeof(T));
    if (!bytes.empty()) std::memcpy(block.data(), bytes.data(), bytes.size());
  }

  template <class T>
  void Fit(std::vector<T>& list, int count) {
    list.resize(static_cast<std::size_t>(count));
  }

  void End(PresetForm form) {
    at_ = reader_.Position();
    Require(form == PresetForm::kChunk || reader_.Remaining() == 0,
            [&] { return std::to_string(reader_.Remaining()) + " bytes follow the last cable"; });
  }

 private:
  template <class T>
  void Take(const char* name, T& value) {
    at_ = reader_.Position();
    if (!reader_.Read(value)) {
      Refuse(PresetFault::kTruncated, "the bytes end at " + std::string(name));
    }
  }

  /// A later version is accepted as such only with a complete and plausible header.
  [[noreturn]] void RefuseLater(int version) {
    constexpr const char* kName = "header of a later version";
    int headerSize = 0, rows = 0, largestBlock = 0, factor = 0, filter = 0;
    int modules = 0, patchPoints = 0;
    Take(kName, headerSize);
    const bool isWhole =
        headerSize >= kHeaderSize && reader_.Remaining() >= static_cast<std::size_t>(headerSize);
    for (int* field : {&rows, &largestBlock, &factor, &filter, &modules, &patchPoints}) {
      Take(kName, *field);
    }
    const bool isPlausible = rows >= 1 && rows <= kMostRackRows && largestBlock >= 0 &&
                             factor >= 1 && (factor & (factor - 1)) == 0 && filter >= 0 &&
                             modules >= 0 && patchPoints >= 0;
    Require(
        isWhole && isPlausible, [&] { return std::string(kName) + " does not hold together"; },
        PresetFault::kNotAPreset);
    Refuse(PresetFault::kLaterVersion, "version " + std::to_string(version) + " is later than " +
                                           std::to_string(kPresetVersion));
  }

  [[noreturn]] void Refuse(PresetFault fault, const std::string& complaint) const {
    throw Refusal{{fault, at_, place.Text() + complaint + " (byte " + std::to_string(at_) + ")"}};
  }

  ByteReader reader_;
  std::size_t at_ = 0;  // start of the last field
};

/// Appends the fields that a layout names to bytes.
class Sink {
 public:
  std::vector<std::byte> bytes;
  Place place;

  template <class Complaint>
  void Require(bool holds, Complaint&& complaint, PresetFault = PresetFault::kInconsistent) const {
    if (!holds) {
      throw std::invalid_argument("preset cannot be written: " + place.Text() + complaint());
    }
  }

  void Integer(const char* name, int value, int least = kLowest, int most = kHighest) {
    Require(value >= least && value <= most,
            [&] { return std::string(name) + " is out of range: " + std::to_string(value); });
    Append(&value, sizeof(value));
  }
  void Constant(const char* name, int value) { Integer(name, value); }
  void Version(int version) { Integer("version", version, 0, kPresetVersion); }
  void Count(const char* name, int count, std::size_t) { Integer(name, count, 0); }
  void Flag(const char*, bool flag) {
    const unsigned char byte = flag ? 1 : 0;
    Append(&byte, sizeof(byte));
  }
  void Real(const char* name, float value) {
    Require(std::isfinite(value), [&] { return std::string(name) + " is not finite"; });
    Append(&value, sizeof(value));
  }

  template <class T>
  const T& Present(const char* name, const std::optional<T>& value) const {
    Require(value.has_value(), [&] { return std::string(name) + " is missing"; });
    return *value;
  }

  void Name(const char* name, const std::string& text) {
    const std::string_view clean = UpToNul(text);
    Require(clean.size() < kMostPresetTextBytes,
            [&] { return std::string(name) + " is too long"; });
    Integer(name, static_cast<int>(clean.size()) + 1);
    AppendText(clean);
  }

  void Path(const char*, const std::string& path) {
    std::string_view clean = UpToNul(path);
    if (clean.size() >= kMostPresetTextBytes) {
      std::size_t end = kMostPresetTextBytes - 1;
      // Not within a multi-byte character.
      while (end > 0 && (static_cast<unsigned char>(clean[end]) & 0xC0) == 0x80) --end;
      clean = clean.substr(0, end);
    }
    AppendText(clean);
  }

  void SizedText(const char* name, const std::string& text, bool hasBytes,
                 const std::vector<PresetMidiBinding>* midi = nullptr) {
    const std::string_view clean = UpToNul(text);
    const std::vector<std::byte> block = WriteMidiBlock(midi ? *midi : NoBindings());
    const bool isEmpty = clean.empty() && !hasBytes && block.empty();
    Integer(name, isEmpty ? 0 : SizeAsInt(clean.size() + 1 + block.size()));
    if (isEmpty) return;
    AppendText(clean);
    Append(block.data(), block.size());
  }

  template <class T>
  void Block(const char* name, const std::vector<T>& block, int) {
    const int size = SizeAsInt(block.size() * sizeof(T));
    Integer(name, size);
    Append(block.data(), block.size() * sizeof(T));
  }

  template <class T>
  void Fit(const std::vector<T>&, int) {}
  void End(PresetForm) {}

  int SizeAsInt(std::size_t size) const {
    Require(size <= static_cast<std::size_t>(kHighest),
            [] { return std::string("a size is beyond 32 bits"); });
    return static_cast<int>(size);
  }

 private:
  static const std::vector<PresetMidiBinding>& NoBindings() {
    static const std::vector<PresetMidiBinding> none;
    return none;
  }
  static std::string_view UpToNul(const std::string& text) {
    return std::string_view(text).substr(0, text.find('\0'));
  }
  void AppendText(std::string_view text) {
    Append(text.data(), text.size());
    bytes.push_back(std::byte{0});
  }
  void Append(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    bytes.insert(bytes.end(), first, first + size);
  }
};

/// Sizes and counts of the header and the cable section.
struct Counts {
  int largestBlock = 0;
  int modules = 0;
  int patchPoints = 0;
  int cables = 0;
};

/// Bytes of a module's record with empty texts and blocks.
std::size_t LeastModuleBytes(int version) {
  constexpr std::size_t kOldest = 48;
  return kOldest + (version >= kClipLevelVersion ? sizeof(float) : 0) +
         (version >= kVoicesVersion ? 1 : 0);
}

// One layout for both directions: with a Source it fills the document, with a Sink the document is
// const.

template <class Stream, class Document>
void LayOutHeader(Stream& stream, Document& document, Counts& counts) {
  stream.Version(document.version);
  stream.Constant("header size", kHeaderSize);
  stream.Integer("rows", document.rows, 1, kMostRackRows);
  stream.Count("largest block", counts.largestBlock, 1);
  stream.Integer("oversampling factor", document.oversamplingFactor, 1, kMostOversampling);
  stream.Require((document.oversamplingFactor & (document.oversamplingFactor - 1)) == 0, [&] {
    return "oversampling factor " + std::to_string(document.oversamplingFactor) +
           " is no power of two";
  });
  stream.Integer("oversampling filter", document.oversamplingFilter, 0, kOversamplingFilters - 1);
  stream.Count("module count", counts.modules, LeastModuleBytes(document.version));
  stream.Count("patch point count", counts.patchPoints, sizeof(std::int32_t));
  if (document.version >= kVoicesVersion) {
    stream.Integer("voices", document.voices, 1, kMaxVoices);
  }
  if (document.version >= kHighestParameterVersion) {
    constexpr const char* kName = "highest parameter index";
    stream.Integer(kName, stream.Present(kName, document.highestParameterIndex), -1,
                   kParameterCount - 1);
  }
  stream.SizedText("author", document.author, document.hasAuthorBytes);
  stream.SizedText("description", document.description, document.hasDescriptionBytes,
                   &document.midi);
}

template <class Stream, class Module>
void LayOutModule(Stream& stream, int version, int largestBlock, Module& module) {
  stream.Name("name", module.name);
  stream.Name("vendor", module.vendor);
  stream.Constant("record size", kModuleNumbersSize);
  stream.Integer("module version", module.version);
  stream.Integer("control count", module.controlCount);
  stream.Integer("patch point count", module.patchPointCount, 0);
  stream.Integer("x", module.x, -kFarthestPresetPosition, kFarthestPresetPosition);
  stream.Integer("y", module.y, -kFarthestPresetPosition, kFarthestPresetPosition);
  stream.Flag("oversampled", module.oversampled);
  stream.Flag("always on", module.alwaysOn);
  stream.Integer("bandlimit mode", module.bandlimitMode, -1, 1);
  if (version >= kClipLevelVersion) {
    stream.Real("clip level", stream.Present("clip level", module.clipLevel));
  }
  if (version >= kVoicesVersion) stream.Flag("mono", stream.Present("mono", module.mono));
  stream.Block("preset data", module.data, largestBlock);
  stream.Block("index block", module.indices, largestBlock);
  stream.Require(static_cast<std::size_t>(module.patchPointCount) <= module.indices.size(), [&] {
    return std::to_string(module.patchPointCount) + " patch points have only " +
           std::to_string(module.indices.size()) + " indices";
  });
}

template <class Stream, class Cable>
void LayOutCable(Stream& stream, int patchPoints, Cable& cable) {
  const auto point = [&](const char* name, auto& index) {
    stream.Integer(name, index);
    stream.Require(index >= 0 && index < patchPoints, [&] {
      return std::string(name) + " is " + std::to_string(index) + " of " +
             std::to_string(patchPoints) + " patch points";
    });
  };
  point("from", cable.from);
  point("to", cable.to);
  stream.Integer("colour", cable.colour, 1, kMidiCableColour);
}

template <class Stream, class Document>
void LayOut(Stream& stream, PresetForm form, Document& document, Counts& counts) {
  if (form == PresetForm::kChunk) {
    stream.Path("path", stream.Present("path", document.pathPrefix));
  }
  LayOutHeader(stream, document, counts);
  stream.Fit(document.modules, counts.modules);
  std::int64_t patchPoints = 0;
  for (std::size_t i = 0; i < document.modules.size(); ++i) {
    stream.place.Enter("modules", i);
    LayOutModule(stream, document.version, counts.largestBlock, document.modules[i]);
    patchPoints += document.modules[i].patchPointCount;
  }
  stream.place.Leave();
  stream.Require(patchPoints == counts.patchPoints, [&] {
    return "the modules have " + std::to_string(patchPoints) + " patch points, not " +
           std::to_string(counts.patchPoints);
  });
  stream.Constant("cable header size", kCableHeaderSize);
  stream.Count("cable count", counts.cables, kCableSize);
  stream.Constant("cable record size", kCableSize);
  stream.Fit(document.cables, counts.cables);
  for (std::size_t i = 0; i < document.cables.size(); ++i) {
    stream.place.Enter("cables", i);
    LayOutCable(stream, counts.patchPoints, document.cables[i]);
  }
  stream.place.Leave();
  stream.End(form);
}

Counts CountsOf(const PresetDocument& document, const Sink& sink) {
  std::size_t largest = 0;
  std::int64_t patchPoints = 0;
  for (const PresetModule& module : document.modules) {
    largest = std::max({largest, module.data.size(), module.indices.size() * sizeof(std::int32_t)});
    patchPoints += std::max(module.patchPointCount, 0);
  }
  return {sink.SizeAsInt(largest), sink.SizeAsInt(document.modules.size()),
          sink.SizeAsInt(static_cast<std::size_t>(patchPoints)),
          sink.SizeAsInt(document.cables.size())};
}

}  // namespace

PresetReadResult ReadPreset(std::span<const std::byte> bytes, PresetForm form) {
  Source source(bytes);
  PresetDocument document;
  Counts counts;
  try {
    LayOut(source, form, document, counts);
  } catch (const Refusal& refusal) {
    return {std::nullopt, refusal.error};
  }
  document.largestBlock = counts.largestBlock;
  document.patchPointCount = counts.patchPoints;
  return {std::move(document), {}};
}

std::vector<std::byte> WritePreset(const PresetDocument& document, PresetForm form) {
  Sink sink;
  Counts counts = CountsOf(document, sink);
  LayOut(sink, form, document, counts);
  return std::move(sink.bytes);
}

}  // namespace halveron
