// The binary layout of a rack, as a file and as the chunk that a host keeps.
//
// Integers are 32 bits wide and little-endian, floats single precision, flags single bytes, nothing
// is aligned. There is no magic number and no checksum, so a reader's only defence is that all of
// it must hold together. Neither operation is for the audio thread.
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
  kTruncated,     ///< the bytes end before the layout does, or a size tells of more than follows
  kInconsistent,  ///< a value that no writer can have meant
  kLaterVersion,  ///< nothing behind the version was looked at
};

struct PresetError {
  PresetFault fault = PresetFault::kTruncated;
  std::size_t offset = 0;  ///< byte of the field at fault, from the first byte given
  std::string message;     ///< one line, with place and offset
};

struct PresetReadResult {
  std::optional<PresetDocument> document;
  PresetError error;  ///< tells why there is no document
};

/// Texts in a module's record and the path before a chunk take at most this many bytes, NUL
/// included.
inline constexpr std::size_t kMostPresetTextBytes = 520;
/// Positions lie within this on either side of 0: beyond, a float does not hold every pixel.
inline constexpr int kFarthestPresetPosition = 1 << 24;

/// Reads versions 0 to kPresetVersion. Memory is taken only for what the bytes really hold.
///
/// Ignored, as always: the fixed sizes of header, records and sections, the sizes of names, and
/// control counts. Author and description end at their first NUL. The largest block may be larger
/// than the blocks ask for. A chunk may be followed by what a host padded it with, a file ends
/// behind its last cable.
///
/// Refused as inconsistent: sizes and counts below 0; texts without a NUL within their limit; flags
/// other than 0 and 1; blocks above the largest block; index blocks that are no whole numbers;
/// modules with more patch points than indices; a patch point count that is not the modules' sum;
/// cables to patch points that are not there; clip levels that are not finite; and anything outside
/// the ranges that PresetDocument gives.
PresetReadResult ReadPreset(std::span<const std::byte> bytes, PresetForm form);

/// The bytes in the layout of the document's version, which ReadPreset turns back into an equal
/// document. Texts are written up to their first NUL, and a path before a chunk that is too long is
/// cut: it only names the preset. The file form leaves the path out. Throws std::invalid_argument
/// for a document that ReadPreset would refuse, or that lacks a value that its version has.
std::vector<std::byte> WritePreset(const PresetDocument& document, PresetForm form);

}  // namespace halveron
