// The binary layout of a rack, as a file and as the chunk that a host keeps.
//
// Integers are 32 bits wide and little-endian, floats single precision, flags single bytes; nothing
// is aligned. The format has no magic number and no checksum, so the reader checks every field
// against its range and against the others. Not for the audio thread.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "presets/preset_document.h"

namespace halveron {

enum class PresetForm {
  kFile,
  kChunk,  ///< the file's bytes behind a path that ends in a NUL
};

enum class PresetFault {
  kTruncated,     ///< the bytes end too early, or a size or count exceeds them
  kInconsistent,  ///< a value out of range, or two that contradict each other
  kNotAPreset,    ///< no plausible version and header
  kLaterVersion,  ///< a plausible header of a later version; the rest is not read
};

struct PresetError {
  PresetFault fault = PresetFault::kTruncated;
  std::size_t offset = 0;  ///< byte of the field at fault, from the first byte given
  std::string message;     ///< one line, with place and offset
};

struct PresetReadResult {
  std::optional<PresetDocument> document;
  PresetError error;  ///< why there is no document
};

/// Limit of names, vendors and the path before a chunk, in bytes with the NUL.
inline constexpr std::size_t kMostPresetTextBytes = 520;
/// Limit of positions on either side of 0; a float represents every integer up to here.
inline constexpr int kFarthestPresetPosition = 1 << 24;

/// Reads versions 0 to kPresetVersion. Allocates no more than the bytes justify.
///
/// Ignored: the fixed sizes of header, records and sections, the sizes of names, and control
/// counts. Author and description end at their first NUL. The largest block may be larger than any
/// block. Bytes may follow a chunk, since hosts pad it, but not a file.
///
/// Refused as inconsistent: sizes and counts below 0; texts without a NUL within their limit; flags
/// other than 0 and 1; blocks above the largest block; index blocks that are not a multiple of 4
/// bytes; modules with more patch points than indices; a patch point count that is not the modules'
/// sum; cables to patch points that do not exist; clip levels that are not finite; and anything
/// outside the ranges in PresetDocument.
PresetReadResult ReadPreset(std::span<const std::byte> bytes, PresetForm form);

/// What a preset says of itself.
struct PresetTexts {
  std::string author;
  std::string description;
};

/// The bytes of a preset's file in which ReadPresetTexts finds all texts that the editor can write.
inline constexpr std::size_t kPresetTextsBytes = std::size_t{32} << 10;

/// The texts of a preset, from the beginning of its file; nothing if it holds no preset, or texts
/// that go on beyond it.
std::optional<PresetTexts> ReadPresetTexts(std::span<const std::byte> beginning);

/// The bytes in the layout of the document's version; ReadPreset gives an equal document. Texts are
/// written up to their first NUL. The path before a chunk only names the preset and is cut at the
/// limit; the file form has none. Throws std::invalid_argument for a document that ReadPreset would
/// refuse, or that lacks a field of its version.
std::vector<std::byte> WritePreset(const PresetDocument& document, PresetForm form);

}  // namespace halveron
