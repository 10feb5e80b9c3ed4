// Racks in files, of either kind: presets (.hvp) and text patches (.json).
#pragma once

#include <string>

#include "presets/preset_document.h"

namespace halveron {

class SynEditor;

/// Replaces what is in the rack. Throws platform::FileError if the file cannot be read, is refused,
/// or has another extension.
void LoadPatchFile(const std::string& path, SynEditor& editor);

/// What a file of either kind holds, as a preset of the present version; a preset of an earlier one
/// goes through the editor's rack. Throws platform::FileError.
PresetDocument ReadPatchFile(const std::string& path, SynEditor& editor);

/// Writes a preset as a file of either kind, over what stood there. Throws platform::FileError, and
/// leaves that as it was.
void WritePatchFile(const std::string& path, const PresetDocument& preset, SynEditor& editor);

/// Throws platform::FileError if the path's extension is neither kind's.
void RequirePatchExtension(const std::string& path);

}  // namespace halveron
