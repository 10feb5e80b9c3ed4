// Controllers of a preset as bytes.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "presets/preset_document.h"

namespace halveron {

/// The block behind the NUL of a preset's description, which readers without it skip with the
/// description. Empty if there is no controller.
std::vector<std::byte> WriteMidiBlock(const std::vector<PresetMidiBinding>& midi);
/// What such a block holds; nothing for other bytes, and nothing that is out of range.
std::vector<PresetMidiBinding> ReadMidiBlock(std::span<const std::byte> bytes);

}  // namespace halveron
